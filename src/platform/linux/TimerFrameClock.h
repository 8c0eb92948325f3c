#pragma once

#include "platform/FrameClock.h"

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

namespace tarnvik::linux {

// A frame clock on a thread of its own that ticks at the display's refresh period against
// absolute deadlines, so that late ticks don't add up, and reports the time each tick really
// stands for: the sum of the reported periods is the time since the start, so a speed in pixels
// per millisecond is kept however the thread is scheduled. X offers the vertical blank only
// through GL or the Present extension, so the ticks follow the refresh rate, not its phase.
class TimerFrameClock final : public FrameClock
{
public:
    // `nominalPeriod` is asked at each start, in seconds.
    explicit TimerFrameClock(std::function<double()> nominalPeriod)
        : _nominalPeriod(std::move(nominalPeriod))
    { }
    ~TimerFrameClock() override { stop(); }

    int start(Tick tick) override;
    void stop() override;
    double actualOutputVideoRefreshPeriod() const override { return _measured; }

private:
    void run(std::atomic<bool> &running, const Tick &tick, double period);

    std::function<double()> _nominalPeriod;
    // Of the running thread; both are touched by the thread that starts and stops only.
    std::shared_ptr<std::atomic<bool>> _running;
    std::thread _thread;
    std::atomic<double> _measured = 1.0 / 60;
};

} // namespace tarnvik::linux
