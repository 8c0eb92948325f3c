#pragma once

#include "platform/FrameClock.h"

namespace tarnvik::fake {

// A frame clock that ticks when the test says, on the test's thread, with whatever measured
// period the test sets.
class FakeFrameClock final : public FrameClock
{
public:
    int start(Tick tick) override;
    void stop() override { _tick = nullptr; }
    double actualOutputVideoRefreshPeriod() const override { return _period; }

    // Runs one tick if the clock runs.
    void tick();
    bool running() const { return static_cast<bool>(_tick); }
    void setPeriod(double seconds) { _period = seconds; }
    // Makes every start fail with `error`; 0 lets them succeed again.
    void failStarts(int error) { _startError = error; }

private:
    Tick _tick;
    double _period = 1.0 / 60;
    int _startError = 0;
};

} // namespace tarnvik::fake
