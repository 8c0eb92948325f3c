#include "platform/linux/LinuxDesktop.h"

#include "platform/linux/AtspiBus.h"
#include "platform/linux/X11Desktop.h"

#include <cstdio>

namespace tarnvik::linux {

std::unique_ptr<LinuxDesktop> LinuxDesktop::connect()
{
    auto x = X11Desktop::connect();
    if (!x) {
        std::fputs("tarnvik: no X display to connect to (is DISPLAY set?)\n", stderr);
        return nullptr;
    }
    auto *x11 = x.get();
    auto d = connect(std::move(x));
    if (d)
        d->_x11 = x11;
    return d;
}

std::unique_ptr<LinuxDesktop> LinuxDesktop::connect(std::unique_ptr<WindowSystem> windows)
{
    std::unique_ptr<LinuxDesktop> d(new LinuxDesktop);
    d->_windows = std::move(windows);
    d->_bus = AtspiBus::connect();
    if (!d->_bus) {
        std::fputs("tarnvik: no accessibility bus in this session (is at-spi2-core running?)\n",
                   stderr);
        return nullptr;
    }
    auto *w = d->_windows.get();
    d->_accessibility = std::make_unique<AtspiAccessibility>(
        *d->_bus,
        ClientWindows {.of = [w](pid_t pid) { return w->clientWindows(pid); },
                       .placesRelativeToThem = w->placesRelativeToWindows()});
    auto *accessibility = d->_accessibility.get();
    d->_events = AtspiEvents::connect(
        *d->_bus, [accessibility](pid_t pid) { return accessibility->serviceOf(pid); });
    if (!d->_events) {
        std::fputs("tarnvik: no second connection to the accessibility bus, for its events\n",
                   stderr);
        return nullptr;
    }
    return d;
}

LinuxDesktop::~LinuxDesktop() = default;

} // namespace tarnvik::linux
