#pragma once

#include "platform/linux/LinuxDesktop.h"

#include <memory>

namespace tarnvik {

namespace gnome {
class TarnvikGnomeExtension;
}

// Whether this is GNOME's Wayland session, as the session's environment says: there only the
// shell, through the extension, knows where windows stand and may post input, and this
// program's own windows are Wayland windows. Decided before Qt starts.
bool onGnomeWayland();
// Whether this is a Wayland session of sway, or of a compositor that speaks sway's IPC: there
// sway tells where windows stand.
bool onSway();
// Whether this is KDE's Wayland session: there KWin tells where windows stand, through a script
// this program loads into it.
bool onKWin();

// The desktop to read: on GNOME's Wayland session the shell's windows, when the extension
// answers (else a line says so, and X's windows are read, which there are only X programs'),
// on sway and KWin the compositor's windows (else a line says so, and X's are read), elsewhere
// the X display's (then its `x11()` is set).
std::unique_ptr<linux::LinuxDesktop> connectDesktop(gnome::TarnvikGnomeExtension &shell);

} // namespace tarnvik
