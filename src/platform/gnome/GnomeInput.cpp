#include "platform/gnome/GnomeInput.h"

#include "platform/linux/WheelScrolling.h"
#include "platform/linux/X11Keys.h"

namespace tarnvik::gnome {

GnomePointer::GnomePointer(Parts parts)
    : _shell(parts.shell)
    , _doubleClickInterval(std::move(parts.doubleClickInterval))
    , _scrollsByPage(std::move(parts.scrollsByPage))
    , _clicks(
          parts.scheduler,
          {.heldModifiers =
               [this] {
                   return linux::modifierFlags(static_cast<std::uint16_t>(_shell.heldModifiers()));
               },
           .post =
               [this](const ClickQueue::Press &press) {
                   // Left, right and middle, as Clutter numbers them.
                   const std::uint32_t button = press.button == 0 ? 1 : press.button == 1 ? 3 : 2;
                   _shell.pressButton(button, press.down, press.position,
                                      linux::clickModifiers(press.flags));
               },
           .beep =
               [this] {
                   beep();
               }})
{ }

void GnomePointer::postMouseButton(int button, bool down, CGPoint position, std::uint64_t flags,
                                   int)
{
    _clicks.ask({button, down, position, flags});
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
    const double steps = _stepsPerPixel;
    _shell.scroll(-horizontalPx * steps, -verticalPx * steps);
}

void GnomePointer::aimAt(CGRect area)
{
    _stepsPerPixel = linux::touchpadStepsPerPixel(_scrollsByPage(), area.size.height);
}

GnomeModifierWatch::GnomeModifierWatch(TarnvikGnomeExtension &shell)
    : _shell(shell)
{
    _shell.onModifiers([this](std::uint32_t mask) {
        if (_handler)
            _handler(KeyEvent {.type = EventType::flagsChanged,
                               .flags = linux::modifierFlags(static_cast<std::uint16_t>(mask))});
    });
}

GnomeModifierWatch::~GnomeModifierWatch()
{
    _shell.onModifiers({});
}

void GnomeModifierWatch::setMonitorHandler(Handler handler)
{
    const bool watch = bool(handler);
    _handler = std::move(handler);
    _shell.watchModifiers(watch);
}

} // namespace tarnvik::gnome
