#pragma once

#include "platform/HotKeys.h"
#include "platform/KeyEvents.h"

#include <functional>
#include <memory>
#include <string>

namespace tarnvik::wlroots {

class SwayIpc;

// Shortcuts where the compositor keeps global keys to itself and lets its own key bindings run
// commands: on sway the user binds keys to `nop tarnvik click|search|scroll`, which sway's IPC
// reports as they run; elsewhere to `exec tarnvik activate click|search|scroll`. Hot keys are
// taken as registered and never fire; shortcuts of modifiers alone can't be had. Each says so
// once. On KWin only the monitor serves: KDE's global shortcuts take keys with modifiers.
class DesktopBindings final : public HotKeys, public KeyEventMonitor
{
public:
    // The compositor, by the name its users know.
    explicit DesktopBindings(std::string desktop);
    ~DesktopBindings() override;

    // Each binding to `nop tarnvik NAME` as it runs, with NAME (sway's).
    void onNamedShortcut(std::function<void(const std::string &name)> handler);

    void setHandler(HotKeys::Handler) override { }
    bool registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifierFlags) override;
    bool unregisterHotKey(HotKeyId) override { return true; }

    void setMonitorHandler(KeyEventMonitor::Handler handler) override;

private:
    std::string _desktop;
    std::unique_ptr<SwayIpc> _sway;
    bool _saidHotKeys = false;
    bool _saidModifiers = false;
};

} // namespace tarnvik::wlroots
