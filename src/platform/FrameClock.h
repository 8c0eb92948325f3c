#pragma once

#include <functional>

namespace tarnvik {

// Calls a tick once per refresh of the display, on a thread of its own, until stopped.
class FrameClock
{
public:
    using Tick = std::function<void()>;

    virtual ~FrameClock() = default;

    // 0 once ticks are coming; otherwise an error code, and no tick comes. A running clock is
    // stopped first.
    virtual int start(Tick tick) = 0;
    // No tick runs once this returns, except the one that calls it: that tick is the last.
    virtual void stop() = 0;
    // The time between the last two ticks as it was measured, in seconds: what the current tick
    // stands for. Before a second tick, the display's nominal refresh period.
    virtual double actualOutputVideoRefreshPeriod() const = 0;
};

} // namespace tarnvik
