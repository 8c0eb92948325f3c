#pragma once

#include "platform/Pointer.h"

#include <cstdint>
#include <memory>
#include <mutex>
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

// The touchpad steps that move a list by one pixel. A touchpad's step reaches a Wayland client
// as a pixel; GTK 3 (`scrollsByPage`) takes ten of them for one step of its own, which moves a
// list by the two-thirds power of its page, `pageHeight`.
double touchpadStepsPerPixel(bool scrollsByPage, double pageHeight);

// How far an application scrolls for one step of a wheel, about: GTK scrolls a page's height to
// the power two thirds (50-60 px for the usual lists), Firefox three lines, Chromium 53 px.
constexpr double pixelsPerWheelStep = 50;
// Units of a high-resolution wheel per step, as the kernel counts them.
constexpr double hiResUnitsPerStep = 120;

// A virtual mouse whose wheels report in 120ths of a step, and also in whole steps for readers
// of the old axes, as real high-resolution wheels do. Writes the kernel's input events to `fd`,
// a uinput device made ready for them, which it then owns.
class UinputScrolling final : public ScrollPosting
{
public:
    explicit UinputScrolling(int fd)
        : _fd(fd)
    { }
    ~UinputScrolling() override;
    UinputScrolling(const UinputScrolling &) = delete;
    UinputScrolling &operator=(const UinputScrolling &) = delete;

    void postScroll(double verticalPx, double horizontalPx) override;

private:
    void axis(long units, long &steps, std::uint16_t hiRes, std::uint16_t whole);
    void emit(std::uint16_t type, std::uint16_t code, std::int32_t value);

    int _fd;
    std::mutex _mutex;
    WheelAccumulator _vertical {pixelsPerWheelStep / hiResUnitsPerStep};
    WheelAccumulator _horizontal {pixelsPerWheelStep / hiResUnitsPerStep};
    long _verticalSteps = 0;
    long _horizontalSteps = 0;
};

// The way this desktop scrolls best: a virtual mouse with a high-resolution wheel through
// uinput, when the user may write to /dev/uinput and the X server takes the device up; X wheel
// buttons through XTest otherwise. `how` is told which, for the log.
std::unique_ptr<ScrollPosting> makeScrollPosting(std::string &how);

} // namespace tarnvik::linux
