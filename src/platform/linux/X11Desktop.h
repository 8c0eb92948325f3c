#pragma once

#include "platform/linux/WindowSystem.h"

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
    // A compositing manager runs.
    bool hasCompositor() override;
    // As the desktop's settings manager publishes it; the defaults when none runs.
    DesktopAppearance appearance() override;

    std::optional<RunningApplication> frontmostApplication() override;
    std::optional<RunningApplication> menuBarOwningApplication() override;
    std::vector<RunningApplication> runningApplications() override;
    pid_t currentProcessIdentifier() override;

    ValueArray onScreenWindowInfo() override;
    std::vector<Screen> screens() override;

private:
    class Connection;
    explicit X11Desktop(std::unique_ptr<Connection> connection);

    // Watches the active window.
    void watchFocus() override;
    void readEvents();

    std::unique_ptr<Connection> _x;
    std::unique_ptr<QSocketNotifier> _events;
};

} // namespace tarnvik::linux
