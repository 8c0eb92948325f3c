#pragma once

#include "platform/Pointer.h"

#include <memory>
#include <string>

namespace tarnvik::linux {

// Pixels in, whole units out: carries what is left over from one scroll to the next, so that a
// slow scroll of a few pixels a frame still moves, and rounds to the nearest unit, so that a
// short tap moves too. A change of direction starts afresh.
class WheelAccumulator
{
public:
    explicit WheelAccumulator(double pixelsPerUnit)
        : _pixelsPerUnit(pixelsPerUnit)
    { }
    // The signed number of units to post for `px` more.
    long add(double px);

private:
    const double _pixelsPerUnit;
    double _pending = 0;
    double _lastPx = 0;
};

// How far an application scrolls for one step of a wheel, about: GTK scrolls a page's height to
// the power two thirds (50-60 px for the usual lists), Firefox three lines, Chromium 53 px.
constexpr double pixelsPerWheelStep = 50;

// The way this desktop scrolls best: a virtual mouse with a high-resolution wheel through
// uinput, when the user may write to /dev/uinput and the X server takes the device up; X wheel
// buttons through XTest otherwise. `how` is told which, for the log.
std::unique_ptr<ScrollPosting> makeScrollPosting(std::string &how);

} // namespace tarnvik::linux
