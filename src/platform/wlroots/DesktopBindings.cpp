#include "platform/wlroots/DesktopBindings.h"

#include "platform/wlroots/SwayIpc.h"

#include <cstdio>

namespace tarnvik::wlroots {

DesktopBindings::DesktopBindings(std::string desktop)
    : _desktop(std::move(desktop))
{ }

DesktopBindings::~DesktopBindings() = default;

void DesktopBindings::onNamedShortcut(std::function<void(const std::string &name)> handler)
{
    _sway = SwayIpc::connect();
    if (!_sway)
        return;
    _sway->onBinding([handler = std::move(handler)](const std::string &command) {
        constexpr std::string_view ours = "nop tarnvik ";
        if (command.starts_with(ours))
            handler(command.substr(ours.size()));
    });
}

bool DesktopBindings::registerHotKey(HotKeyId, std::uint16_t, std::uint64_t)
{
    if (!_saidHotKeys) {
        _saidHotKeys = true;
        const char *binding = _sway ? "`nop tarnvik" : "`exec tarnvik activate";
        std::fprintf(stderr,
                     "Tarnvik: %s keeps global shortcuts to itself: bind keys to %s click`, "
                     "%s search` and %s scroll` in its configuration (see the README)\n",
                     _desktop.c_str(), binding, binding, binding);
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
