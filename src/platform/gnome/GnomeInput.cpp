#include "platform/gnome/GnomeInput.h"

#include "platform/linux/X11Keys.h"

#include <cstdio>

namespace tarnvik::gnome {

void GnomePointer::postMouseButton(int button, bool down, CGPoint position, std::uint64_t flags,
                                   int)
{
    // Left, right and middle, as Clutter numbers them.
    const std::uint32_t clutterButton = button == 0 ? 1 : button == 1 ? 3 : 2;
    _shell.pressButton(clutterButton, down, position, linux::clickModifiers(flags));
}

void GnomePointer::beep()
{
    // The shell plays the desktop's alert sound.
    _shell.beep();
}

void GnomePointer::hideCursor()
{
    if (_hides++ == 0)
        _shell.setCursorVisible(false);
}

void GnomePointer::showCursor()
{
    if (_hides > 0 && --_hides == 0)
        _shell.setCursorVisible(true);
}

void GnomePointer::postScroll(double verticalPx, double horizontalPx)
{
    // The shell's deltas grow downwards and to the right.
    _shell.scroll(-horizontalPx, -verticalPx);
}

void UnwatchedKeyboard::setMonitorHandler(KeyEventMonitor::Handler handler)
{
    if (handler)
        sayUnavailable();
}

void UnwatchedKeyboard::setCapsLockHandler(CapsLockKey::Handler handler)
{
    if (handler)
        sayUnavailable();
}

void UnwatchedKeyboard::sayUnavailable()
{
    if (_said)
        return;
    _said = true;
    std::fputs("Tarnvik: on GNOME's Wayland session, shortcuts of modifiers alone and the "
               "Hyperkey don't work yet\n",
               stderr);
}

} // namespace tarnvik::gnome
