#include "platform/linux/TimerFrameClock.h"

#include <chrono>
#include <system_error>

namespace tarnvik::linux {

namespace {

using Clock = std::chrono::steady_clock;

// The running flag of the clock whose tick is running on this thread, if any: a tick that
// stops its own clock must not wait for itself.
thread_local std::atomic<bool> *runningHere = nullptr;
thread_local const TimerFrameClock *clockHere = nullptr;

} // namespace

int TimerFrameClock::start(Tick tick)
{
    stop();
    double period = _nominalPeriod();
    if (!(period > 0 && period < 1))
        period = 1.0 / 60;
    _measured = period;
    _running = std::make_shared<std::atomic<bool>>(true);
    try {
        _thread = std::thread([this, running = _running, tick = std::move(tick), period] {
            runningHere = running.get();
            clockHere = this;
            run(*running, tick, period);
        });
    } catch (const std::system_error &error) {
        _running.reset();
        return error.code().value();
    }
    return 0;
}

void TimerFrameClock::stop()
{
    if (clockHere == this) {
        runningHere->store(false);
        return;
    }
    if (_running)
        _running->store(false);
    if (_thread.joinable())
        _thread.join();
    _running.reset();
}

void TimerFrameClock::run(std::atomic<bool> &running, const Tick &tick, double period)
{
    const auto frame =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(period));
    auto last = Clock::now();
    auto next = last + frame;
    while (running) {
        std::this_thread::sleep_until(next);
        if (!running)
            return;
        const auto now = Clock::now();
        _measured = std::chrono::duration<double>(now - last).count();
        last = now;
        next += frame;
        // After a stall the next deadline is a whole frame away; the measured period of the
        // late tick covers the gap, so no distance is lost.
        if (next <= now)
            next = now + frame;
        tick();
    }
}

} // namespace tarnvik::linux
