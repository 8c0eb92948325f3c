#include "platform/linux/LinuxDesktop.h"

#include "platform/linux/AtspiBus.h"

#include <cstdio>

namespace tarnvik::linux {

std::unique_ptr<LinuxDesktop> LinuxDesktop::connect()
{
    std::unique_ptr<LinuxDesktop> d(new LinuxDesktop);
    d->_desktop = X11Desktop::connect();
    if (!d->_desktop) {
        std::fputs("tarnvik: no X display to connect to (is DISPLAY set?)\n", stderr);
        return nullptr;
    }
    d->_bus = AtspiBus::connect();
    if (!d->_bus) {
        std::fputs("tarnvik: no accessibility bus in this session (is at-spi2-core running?)\n",
                   stderr);
        return nullptr;
    }
    auto *x = d->_desktop.get();
    d->_accessibility = std::make_unique<AtspiAccessibility>(
        *d->_bus, [x](pid_t pid) { return x->clientWindows(pid); });
    return d;
}

LinuxDesktop::~LinuxDesktop() = default;

} // namespace tarnvik::linux
