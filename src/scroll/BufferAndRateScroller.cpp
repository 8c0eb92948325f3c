#include "scroll/BufferAndRateScroller.h"

#include "platform/Diagnostics.h"
#include "platform/FrameClock.h"
#include "platform/Pointer.h"

namespace tarnvik {

void BufferAndRateScroller::start(ScrollDirection direction, double bufferPx, double ratePxPerMs)
{
    stop();
    {
        std::lock_guard lock(_mutex);
        _direction = direction;
        _bufferPx = bufferPx;
        _ratePxPerMs = ratePxPerMs;
    }
    // A failed start leaves the scroll stored with no ticks to run it; the next start clears it.
    if (const int error = _clock.start([this] { tick(); }); error != 0)
        printLine("CVDisplayLinkStart failed with " + std::to_string(error));
}

void BufferAndRateScroller::stop()
{
    _clock.stop();
    std::lock_guard lock(_mutex);
    _direction.reset();
    _ratePxPerMs.reset();
    _bufferPx.reset();
    _elapsedMs = 0;
    _scrolledPx = 0;
    _scrollCount = 0;
    willStopWhenBufferIsEmpty = false;
}

void BufferAndRateScroller::aimAt(CGRect area)
{
    _posting.aimAt(area);
}

void BufferAndRateScroller::scrollOnce(ScrollDirection direction, double px)
{
    std::lock_guard lock(_mutex);
    post(direction, px);
}

void BufferAndRateScroller::post(ScrollDirection direction, double px)
{
    _scrolledPx += px;
    ++_scrollCount;
    switch (direction) {
    case ScrollDirection::up:
        return _posting.postScroll(px, 0);
    case ScrollDirection::down:
        return _posting.postScroll(-px, 0);
    case ScrollDirection::left:
        return _posting.postScroll(0, px);
    case ScrollDirection::right:
        return _posting.postScroll(0, -px);
    }
}

void BufferAndRateScroller::tick()
{
    {
        std::lock_guard lock(_mutex);
        // A tick may come during a start or after a stop.
        if (!_direction || !_bufferPx || !_ratePxPerMs)
            return;
        const double drainMs = *_bufferPx / *_ratePxPerMs;
        const double frameMs = _clock.actualOutputVideoRefreshPeriod() * 1000;
        _elapsedMs += frameMs;
        if (!(drainMs <= _elapsedMs && willStopWhenBufferIsEmpty)) {
            post(*_direction, *_ratePxPerMs * frameMs);
            return;
        }
        // The buffer is delivered: the shortfall goes in one event, and the scroll ends dead.
        if (const double rest = *_bufferPx - _scrolledPx; rest > 0)
            post(*_direction, rest);
    }
    stop();
}

std::optional<ScrollDirection> BufferAndRateScroller::direction() const
{
    std::lock_guard lock(_mutex);
    return _direction;
}

double BufferAndRateScroller::scrolledPx() const
{
    std::lock_guard lock(_mutex);
    return _scrolledPx;
}

std::int64_t BufferAndRateScroller::scrollCount() const
{
    std::lock_guard lock(_mutex);
    return _scrollCount;
}

} // namespace tarnvik
