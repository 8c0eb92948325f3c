#pragma once

#include "platform/Geometry.h"

#include <cstdint>
#include <functional>

namespace tarnvik {

// Synthesised mouse input, posted as if the user had made it. Positions are in the
// accessibility space (origin at the top left of the first screen).
class EventPosting
{
public:
    virtual ~EventPosting() = default;

    virtual void postMouseMoved(CGPoint position) = 0;
    // `button` 0 left, 1 right, 2 other; `flags` the modifier bits held during the press;
    // `clickState` 2 for the second click of a double click.
    virtual void postMouseButton(int button, bool down, CGPoint position, std::uint64_t flags,
                                 int clickState) = 0;
    // The user's double-click interval.
    virtual double doubleClickInterval() = 0;
    // The system's alert sound.
    virtual void beep() = 0;
};

// Synthesised scroll-wheel input in pixels, delivered to whatever is under the pointer. Safe to
// call from any thread: the frame clock's ticks post from theirs.
class ScrollPosting
{
public:
    virtual ~ScrollPosting() = default;
    // Positive `verticalPx` scrolls up (towards the top), positive `horizontalPx` to the left.
    virtual void postScroll(double verticalPx, double horizontalPx) = 0;
    // The area, in the screen space, that the scrolls from now on reach, the pointer aimed at
    // it: where a toolkit turns smooth scrolls into a measure of its page, the pixels are
    // turned into that measure. A wheel's clicks, which every toolkit measures its own way,
    // need nothing.
    virtual void aimAt(CGRect area) { (void)area; }
};

// Hiding and showing the pointer over every application. Hides nest: each hide needs a show.
class PointerVisibility
{
public:
    virtual ~PointerVisibility() = default;
    virtual void hideCursor() = 0;
    virtual void showCursor() = 0;
};

// Observes the pointer moving and its buttons pressed, whichever application has it.
class PointerMotion
{
public:
    virtual ~PointerMotion() = default;
    // Calls `observer` on the main thread for movements from now on; an empty function stops.
    virtual void observe(std::function<void()> observer) = 0;
    // The same for presses of the user's buttons (not the wheel's, not this program's own).
    virtual void observePresses(std::function<void()> observer) = 0;
};

} // namespace tarnvik
