#pragma once

#include "platform/Scheduler.h"

#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace tarnvik::fake {

// A clock that moves only when told to; safe to read and advance from any thread.
class FakeClock
{
public:
    TimePoint now() const;
    void advance(Seconds by);
    void set(TimePoint to);

private:
    mutable std::mutex _mutex;
    TimePoint _now {Seconds(1000)};
};

// The main queue and its timers on a manual clock. The thread that makes it is the main thread;
// nothing runs until the test says so.
class FakeScheduler : public Scheduler
{
public:
    explicit FakeScheduler(FakeClock &clock);

    TimePoint now() const override { return _clock.now(); }
    void postToMain(std::function<void()> task) override;
    TimerId scheduleOnMain(Seconds delay, std::function<void()> task) override;
    void cancel(TimerId timer) override;
    bool isMainThread() const override { return std::this_thread::get_id() == _mainThread; }

    // Runs what was posted, including what those tasks post.
    void runPending();
    // Moves the clock forward, firing each timer at its own time, in time order.
    void advance(Seconds by);

private:
    FakeClock &_clock;
    std::thread::id _mainThread;
    mutable std::mutex _mutex;
    std::vector<std::function<void()>> _posted;
    // Keyed by (due time, id), so that timers due together fire in the order they were set.
    std::map<std::pair<TimePoint, TimerId>, std::function<void()>> _timers;
    TimerId _nextTimer = 1;
};

} // namespace tarnvik::fake
