#pragma once

#include "platform/HotKeys.h"
#include "platform/InputSources.h"
#include "platform/KeyEvents.h"
#include "platform/Pointer.h"
#include "platform/Scheduler.h"
#include "platform/Screens.h"

#include <functional>
#include <memory>
#include <string>

namespace tarnvik {

namespace gnome {
class TarnvikGnomeExtension;
}

// The keyboard and the pointer as the desktop lets this program reach them: X11's server, on
// GNOME's Wayland session the shell through its extension, on sway and KWin their protocols.
class DesktopInput
{
public:
    virtual ~DesktopInput() = default;

    virtual KeyboardCapture &keyboard() = 0;
    virtual KeyboardLayout &layout() = 0;
    // Including over GNOME's overview, which keeps the keys from every other program.
    virtual HotKeys &hotKeys() = 0;
    virtual KeyEventMonitor &keyMonitor() = 0;
    virtual CapsLockKey &capsLock() = 0;
    virtual KeyboardInputSources &inputSources() = 0;
    virtual EventPosting &events() = 0;
    virtual PointerVisibility &cursor() = 0;
    virtual PointerMotion &pointerMotion() = 0;
    virtual ScrollPosting &scrolling() = 0;
    // How the scrolling reaches applications, for the start-up line.
    virtual std::string scrollingName() const = 0;
    // Shortcuts the desktop hands over by a mode's name as they are pressed (sway's key
    // bindings to `nop tarnvik click`); most desktops have none.
    virtual void onNamedShortcut(std::function<void(const std::string &name)>) { }
};

// The X display's; nothing, with the reason on standard error, when it lacks what the program
// needs.
std::unique_ptr<DesktopInput> connectX11Input(gnome::TarnvikGnomeExtension &shell,
                                              Scheduler &scheduler,
                                              std::function<double()> doubleClickInterval);
// GNOME Shell's on Wayland, through the extension; `scrollsByPage` as GnomePointer takes it.
std::unique_ptr<DesktopInput> connectGnomeInput(gnome::TarnvikGnomeExtension &shell,
                                                Scheduler &scheduler,
                                                std::function<double()> doubleClickInterval,
                                                std::function<bool()> scrollsByPage);
#if TARNVIK_LAYER_SHELL
// A layer-shell compositor's (sway and the other wlroots compositors, KWin), through the layer
// shell and wlroots' virtual pointer or KWin's fake input; `screens` to place the pointer,
// `scrollsByPage` as GnomePointer takes it.
std::unique_ptr<DesktopInput> connectLayerShellInput(Screens &screens,
                                                     std::function<double()> doubleClickInterval,
                                                     std::function<bool()> scrollsByPage);
#endif

} // namespace tarnvik
