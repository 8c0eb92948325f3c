#pragma once

#include "platform/Screens.h"
#include "platform/WindowList.h"
#include "platform/Workspace.h"
#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/XSettings.h"

#include <functional>
#include <optional>
#include <vector>

namespace tarnvik::linux {

// Where the desktop's windows stand and which is in front: the X server and its window manager
// on X11, the compositor's shell on Wayland, where no client learns another's place.
class WindowSystem : public Workspace, public WindowList, public Screens
{
public:
    // The process's top-level windows that show.
    virtual std::vector<ClientWindow> clientWindows(pid_t pid) = 0;
    // Whether every toolkit reports its objects' places relative to its own window's surface,
    // as on Wayland, where no client knows where its window stands.
    virtual bool placesRelativeToWindows() const = 0;
    // Whether windows may be translucent.
    virtual bool hasCompositor() = 0;
    // Dark or light, high contrast, reduced motion, as the desktop says.
    virtual DesktopAppearance appearance() = 0;

    // The frame of the frontmost application's menu bar while it is showing: the window list
    // shows it as the menu bar, as the window server would.
    void setMenubarFrame(std::function<std::optional<CGRect>()> frame)
    {
        _menubarFrame = std::move(frame);
    }

    // Watches the focus from the first observer on, on the thread that calls it, which needs a
    // Qt event loop.
    void observeActivations(std::function<void(const RunningApplication &)> observer) final;

protected:
    // The window list's entries begin with it.
    ValueArray menubarEntries() const;
    // Starts watching the focus, calling focusMoved() on the main thread when it may have moved.
    virtual void watchFocus() = 0;
    void focusMoved();

private:
    std::function<std::optional<CGRect>()> _menubarFrame;
    std::vector<std::function<void(const RunningApplication &)>> _activationObservers;
    pid_t _frontmostProcess = 0;
};

} // namespace tarnvik::linux
