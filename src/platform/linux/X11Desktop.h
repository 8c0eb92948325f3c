#pragma once

#include "platform/linux/WindowSystem.h"
#include "platform/linux/XSettings.h"

#include <functional>
#include <memory>
#include <optional>

class QSocketNotifier;

namespace tarnvik::linux {

// The running applications, the window list and the screens, as the X server and the window
// manager (EWMH) tell them.
class X11Desktop final : public WindowSystem
{
public:
    // Nothing when there is no display to connect to.
    static std::unique_ptr<X11Desktop> connect();
    ~X11Desktop() override;

    std::vector<ClientWindow> clientWindows(pid_t pid) override;
    bool placesRelativeToWindows() const override { return false; }
    // A compositing manager runs: windows may be translucent.
    bool hasCompositor();
    // As the desktop's settings manager publishes it; the defaults when none runs.
    DesktopAppearance appearance();

    std::optional<RunningApplication> frontmostApplication() override;
    std::optional<RunningApplication> menuBarOwningApplication() override;
    std::vector<RunningApplication> runningApplications() override;
    pid_t currentProcessIdentifier() override;
    // Watches the active window on the thread that calls it, which needs a Qt event loop.
    void observeActivations(std::function<void(const RunningApplication &)> observer) override;

    ValueArray onScreenWindowInfo() override;
    std::vector<Screen> screens() override;

private:
    class Connection;
    explicit X11Desktop(std::unique_ptr<Connection> connection);

    void readEvents();

    std::unique_ptr<Connection> _x;
    std::vector<std::function<void(const RunningApplication &)>> _activationObservers;
    std::unique_ptr<QSocketNotifier> _events;
    pid_t _frontmostProcess = 0;
};

} // namespace tarnvik::linux
