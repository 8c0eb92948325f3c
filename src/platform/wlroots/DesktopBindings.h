#pragma once

#include "platform/HotKeys.h"
#include "platform/KeyEvents.h"

#include <string>

namespace tarnvik::wlroots {

// Shortcuts where the compositor keeps global keys to itself and lets its own key bindings run
// commands (sway): the user binds keys to `tarnvik activate click|search|scroll`. Hot keys are
// taken as registered and never fire; shortcuts of modifiers alone can't be had. Each says so
// once. On KWin only the monitor serves: KDE's global shortcuts take keys with modifiers.
class DesktopBindings final : public HotKeys, public KeyEventMonitor
{
public:
    // The compositor, by the name its users know.
    explicit DesktopBindings(std::string desktop)
        : _desktop(std::move(desktop))
    { }

    void setHandler(HotKeys::Handler) override { }
    bool registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifierFlags) override;
    bool unregisterHotKey(HotKeyId) override { return true; }

    void setMonitorHandler(KeyEventMonitor::Handler handler) override;

private:
    std::string _desktop;
    bool _saidHotKeys = false;
    bool _saidModifiers = false;
};

} // namespace tarnvik::wlroots
