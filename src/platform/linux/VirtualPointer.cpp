#include "platform/linux/VirtualPointer.h"

#include "platform/linux/WheelScrolling.h"

#include <linux/input-event-codes.h>

namespace tarnvik::linux {

void VirtualPointer::postMouseMoved(CGPoint position)
{
    _parts.device.moveTo(position, _parts.layout());
}

void VirtualPointer::postMouseButton(int button, bool down, CGPoint position, std::uint64_t, int)
{
    _parts.device.moveTo(position, _parts.layout());
    _parts.device.press(button == 0 ? BTN_LEFT : button == 1 ? BTN_RIGHT : BTN_MIDDLE, down);
}

void VirtualPointer::postScroll(double verticalPx, double horizontalPx)
{
    // A touchpad's steps grow downwards and to the right.
    const double steps = _stepsPerPixel;
    _parts.device.scroll(-verticalPx * steps, -horizontalPx * steps);
}

void VirtualPointer::aimAt(CGRect area)
{
    _stepsPerPixel = touchpadStepsPerPixel(_parts.scrollsByPage(), area.size.height);
}

} // namespace tarnvik::linux
