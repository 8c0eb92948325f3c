#pragma once

#include "platform/Geometry.h"
#include "scroll/ScrollDirection.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>

namespace tarnvik {

class FrameClock;
class ScrollPosting;

// Turns a held key into a steady stream of pixel scroll events, one per frame of the display,
// each as long as the rate times the frame's measured duration; and posts single scrolls of any
// length. The process has one, for its whole life. Ticks run on the frame clock's thread; the
// rest on the main thread. A stop is requested through `willStopWhenBufferIsEmpty`: the first
// tick after at least `bufferPx` has been delivered ends the scroll.
class BufferAndRateScroller
{
public:
    BufferAndRateScroller(FrameClock &clock, ScrollPosting &posting)
        : _clock(clock)
        , _posting(posting)
    { }
    ~BufferAndRateScroller() { stop(); }
    BufferAndRateScroller(const BufferAndRateScroller &) = delete;
    BufferAndRateScroller &operator=(const BufferAndRateScroller &) = delete;

    // Replaces any running scroll.
    void start(ScrollDirection direction, double bufferPx, double ratePxPerMs);
    // Back to idle; harmless when idle.
    void stop();
    // One event of `px` at once; leaves a running scroll as it is.
    void scrollOnce(ScrollDirection direction, double px);
    // The area the scrolls reach from now on (see ScrollPosting::aimAt).
    void aimAt(CGRect area);

    std::atomic<bool> willStopWhenBufferIsEmpty = false;

    std::optional<ScrollDirection> direction() const;
    double scrolledPx() const;
    std::int64_t scrollCount() const;

private:
    void tick();
    // With `_mutex` held.
    void post(ScrollDirection direction, double px);

    FrameClock &_clock;
    ScrollPosting &_posting;
    // Guards the scroll's state between the main thread and the clock's; never held while the
    // clock stops, which may wait for a tick.
    mutable std::mutex _mutex;
    std::optional<ScrollDirection> _direction;
    std::optional<double> _ratePxPerMs;
    std::optional<double> _bufferPx;
    double _elapsedMs = 0;
    double _scrolledPx = 0;
    std::int64_t _scrollCount = 0;
};

} // namespace tarnvik
