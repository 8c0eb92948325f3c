#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace tarnvik {

using Seconds = std::chrono::duration<double>;
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Seconds>;

// The main queue, one-shot timers on it, and the clock they run by. Timers run on the main
// thread; posting is safe from any thread.
class Scheduler
{
public:
    using TimerId = std::uint64_t;

    virtual ~Scheduler() = default;

    virtual TimePoint now() const = 0;
    virtual void postToMain(std::function<void()> task) = 0;
    virtual TimerId scheduleOnMain(Seconds delay, std::function<void()> task) = 0;
    // Cancelling a timer that has fired or was cancelled does nothing.
    virtual void cancel(TimerId timer) = 0;
    virtual bool isMainThread() const = 0;

    // Runs `task` on the main thread and returns when it has run: at once on the main thread,
    // otherwise by posting it and waiting.
    void runOnMainAndWait(const std::function<void()> &task);
};

} // namespace tarnvik
