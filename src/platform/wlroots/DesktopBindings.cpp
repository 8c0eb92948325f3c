#include "platform/wlroots/DesktopBindings.h"

#include <cstdio>

namespace tarnvik::wlroots {

bool DesktopBindings::registerHotKey(HotKeyId, std::uint16_t, std::uint64_t)
{
    if (!_saidHotKeys) {
        _saidHotKeys = true;
        std::fprintf(stderr,
                     "Tarnvik: %s keeps global shortcuts to itself: bind keys to `tarnvik "
                     "activate click`, `tarnvik activate search` and `tarnvik activate scroll` "
                     "in its configuration (see the README)\n",
                     _desktop.c_str());
    }
    return true;
}

void DesktopBindings::setMonitorHandler(KeyEventMonitor::Handler handler)
{
    if (!handler || _saidModifiers)
        return;
    _saidModifiers = true;
    std::fprintf(stderr, "Tarnvik: on %s shortcuts of modifiers alone don't work\n",
                 _desktop.c_str());
}

} // namespace tarnvik::wlroots
