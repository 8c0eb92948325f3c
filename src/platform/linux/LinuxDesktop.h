#pragma once

#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/X11Desktop.h"

#include <memory>

namespace tarnvik::linux {

class AtspiBus;

// The Linux backend, assembled: the accessibility bus and the X display, each operation
// interface answered by one of them.
class LinuxDesktop
{
public:
    // Nothing, with the reason on standard error, when the display or the accessibility bus
    // can't be reached. Needs a Qt application object.
    static std::unique_ptr<LinuxDesktop> connect();
    ~LinuxDesktop();

    AtspiAccessibility &accessibility() { return *_accessibility; }
    X11Desktop &desktop() { return *_desktop; }
    AtspiBus &bus() { return *_bus; }

private:
    LinuxDesktop() = default;

    std::unique_ptr<AtspiBus> _bus;
    std::unique_ptr<X11Desktop> _desktop;
    std::unique_ptr<AtspiAccessibility> _accessibility;
};

} // namespace tarnvik::linux
