#pragma once

#include "platform/Scheduler.h"

#include <map>
#include <memory>
#include <mutex>
#include <set>

class QObject;
class QTimer;

namespace tarnvik {

// The main queue and timers of the Qt event loop of the thread that makes it.
class QtScheduler : public Scheduler
{
public:
    QtScheduler();
    ~QtScheduler() override;

    TimePoint now() const override;
    void postToMain(std::function<void()> task) override;
    TimerId scheduleOnMain(Seconds delay, std::function<void()> task) override;
    void cancel(TimerId timer) override;
    bool isMainThread() const override;

private:
    std::unique_ptr<QObject> _context;
    std::mutex _mutex;
    std::set<TimerId> _pending;
    std::map<TimerId, QTimer *> _timers;
    TimerId _next = 1;
};

} // namespace tarnvik
