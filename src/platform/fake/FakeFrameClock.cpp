#include "platform/fake/FakeFrameClock.h"

namespace tarnvik::fake {

int FakeFrameClock::start(Tick tick)
{
    if (_startError != 0)
        return _startError;
    _tick = std::move(tick);
    return 0;
}

void FakeFrameClock::tick()
{
    // A copy: the tick may stop the clock.
    if (auto tick = _tick)
        tick();
}

} // namespace tarnvik::fake
