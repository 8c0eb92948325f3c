#include "app/DesktopSession.h"

#include "platform/gnome/GnomeWindows.h"

#include <QtGlobal>

#include <cstdio>

namespace tarnvik {

bool onGnomeWayland()
{
    return qEnvironmentVariable("XDG_SESSION_TYPE") == "wayland"
        && qEnvironmentVariableIsSet("WAYLAND_DISPLAY")
        && qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':').contains("GNOME");
}

std::unique_ptr<linux::LinuxDesktop> connectDesktop(gnome::TarnvikGnomeExtension &shell)
{
    if (onGnomeWayland()) {
        if (!shell.monitors().empty())
            return linux::LinuxDesktop::connect(std::make_unique<gnome::GnomeWindows>(shell));
        std::fprintf(stderr,
                     "Tarnvik: GNOME Shell's extension %s does not answer: only X programs' "
                     "windows can be reached. Enable it with: gnome-extensions enable %s, then "
                     "log out and in\n",
                     gnome::TarnvikGnomeExtension::uuid, gnome::TarnvikGnomeExtension::uuid);
    }
    return linux::LinuxDesktop::connect();
}

} // namespace tarnvik
