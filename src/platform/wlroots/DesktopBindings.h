#pragma once

#include "platform/HotKeys.h"
#include "platform/KeyEvents.h"

namespace tarnvik::wlroots {

// Shortcuts where the compositor keeps global keys to itself and lets its own key bindings run
// commands (sway): the user binds keys to `tarnvik activate click|search|scroll`. Hot keys are
// taken as registered and never fire; shortcuts of modifiers alone can't be had. Each says so
// once.
class DesktopBindings final : public HotKeys, public KeyEventMonitor
{
public:
    void setHandler(HotKeys::Handler) override { }
    bool registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifierFlags) override;
    bool unregisterHotKey(HotKeyId) override { return true; }

    void setMonitorHandler(KeyEventMonitor::Handler handler) override;

private:
    bool _saidHotKeys = false;
    bool _saidModifiers = false;
};

} // namespace tarnvik::wlroots
