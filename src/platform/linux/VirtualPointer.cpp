#include "platform/linux/VirtualPointer.h"

#include "platform/ClickQueue.h"
#include "platform/KeyEvents.h"
#include "platform/linux/WheelScrolling.h"

#include <linux/input-event-codes.h>

namespace tarnvik::linux {

void VirtualPointer::postMouseMoved(CGPoint position)
{
    _parts.device.moveTo(position, _parts.layout());
}

void VirtualPointer::postMouseButton(int button, bool down, CGPoint position, std::uint64_t flags,
                                     int)
{
    // Held from the press to the release, as X11's clicks hold it. The keys may be a device
    // of another connection, which the compositor reads in no order with the pointer's.
    const bool control = _parts.keys && (clickModifierFlags(flags) & ModifierFlag::control);
    if (control && down)
        _parts.keys->key(KEY_LEFTCTRL, true);
    _parts.device.moveTo(position, _parts.layout());
    _parts.device.press(button == 0 ? BTN_LEFT : button == 1 ? BTN_RIGHT : BTN_MIDDLE, down);
    if (control && !down) {
        _parts.device.sync();
        _parts.keys->key(KEY_LEFTCTRL, false);
    }
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
