#pragma once

#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/AtspiEvents.h"
#include "platform/linux/WindowSystem.h"

#include <memory>

namespace tarnvik::linux {

class AtspiBus;
class X11Desktop;

// The Linux backend, assembled: the accessibility bus and the window system, each operation
// interface answered by one of them.
class LinuxDesktop
{
public:
    // With the X display's windows. Nothing, with the reason on standard error, when the
    // display or the accessibility bus can't be reached. Needs a Qt application object.
    static std::unique_ptr<LinuxDesktop> connect();
    // With these windows; nothing when the accessibility bus can't be reached.
    static std::unique_ptr<LinuxDesktop> connect(std::unique_ptr<WindowSystem> windows);
    ~LinuxDesktop();

    AtspiAccessibility &accessibility() { return *_accessibility; }
    AtspiEvents &events() { return *_events; }
    WindowSystem &windows() { return *_windows; }
    // The X display's windows, when they are the ones.
    X11Desktop *x11() { return _x11; }
    AtspiBus &bus() { return *_bus; }

private:
    LinuxDesktop() = default;

    std::unique_ptr<AtspiBus> _bus;
    std::unique_ptr<WindowSystem> _windows;
    X11Desktop *_x11 = nullptr;
    std::unique_ptr<AtspiAccessibility> _accessibility;
    std::unique_ptr<AtspiEvents> _events;
};

} // namespace tarnvik::linux
