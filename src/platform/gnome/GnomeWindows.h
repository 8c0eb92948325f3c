#pragma once

#include "platform/gnome/TarnvikGnomeExtension.h"
#include "platform/linux/WindowSystem.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <vector>

namespace tarnvik::gnome {

// The windows of a GNOME session on Wayland as the shell places them, through the extension:
// there no client learns where another's windows stand, or which one has the focus. Every
// toolkit reports its objects relative to its window's surface. Coordinates are the shell's
// logical pixels, whatever the monitors' scales.
class GnomeWindows final : public linux::WindowSystem
{
public:
    explicit GnomeWindows(TarnvikGnomeExtension &shell);

    std::vector<linux::ClientWindow> clientWindows(pid_t pid) override;
    bool placesRelativeToWindows() const override { return true; }
    // The shell composites every window.
    bool hasCompositor() override { return true; }
    // The defaults: GNOME's settings are not read yet.
    linux::DesktopAppearance appearance() override { return {}; }

    std::optional<RunningApplication> frontmostApplication() override;
    std::optional<RunningApplication> menuBarOwningApplication() override;
    std::vector<RunningApplication> runningApplications() override;
    pid_t currentProcessIdentifier() override;

    ValueArray onScreenWindowInfo() override;
    std::vector<Screen> screens() override;

private:
    void watchFocus() override;
    // The shell's windows, asked again only after a tenth of a second: a read of the desktop
    // asks for them many times over, each a round trip to the busy shell.
    std::vector<ShellWindow> frames();

    TarnvikGnomeExtension &_shell;
    std::mutex _mutex;
    std::vector<ShellWindow> _frames;
    std::chrono::steady_clock::time_point _framesAt;
};

} // namespace tarnvik::gnome
