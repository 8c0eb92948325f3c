#include "app/DesktopSession.h"

#include "platform/gnome/TarnvikGnomeExtension.h"
#include "platform/kwin/KWinScript.h"
#include "platform/linux/CompositorWindows.h"
#include "platform/wlroots/SwayIpc.h"

#include <QtGlobal>

#include <cstdio>

namespace tarnvik {

bool onGnomeWayland()
{
    return qEnvironmentVariable("XDG_SESSION_TYPE") == "wayland"
        && qEnvironmentVariableIsSet("WAYLAND_DISPLAY")
        && qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':').contains("GNOME");
}

bool onSway()
{
    return qEnvironmentVariable("XDG_SESSION_TYPE") == "wayland"
        && qEnvironmentVariableIsSet("WAYLAND_DISPLAY") && qEnvironmentVariableIsSet("SWAYSOCK");
}

bool onKWin()
{
    return qEnvironmentVariable("XDG_SESSION_TYPE") == "wayland"
        && qEnvironmentVariableIsSet("WAYLAND_DISPLAY")
        && qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':').contains("KDE");
}

std::unique_ptr<linux::LinuxDesktop> connectDesktop(gnome::TarnvikGnomeExtension &shell)
{
    if (onGnomeWayland()) {
        if (!shell.monitors().empty())
            return linux::LinuxDesktop::connect(std::make_unique<linux::CompositorWindows>(shell));
        std::fprintf(stderr,
                     "Tarnvik: GNOME Shell's extension %s does not answer: only X programs' "
                     "windows can be reached. Enable it with: gnome-extensions enable %s, then "
                     "log out and in\n",
                     gnome::TarnvikGnomeExtension::uuid, gnome::TarnvikGnomeExtension::uuid);
    }
    if (onSway()) {
        if (auto sway = wlroots::SwayIpc::connect())
            return linux::LinuxDesktop::connect(
                std::make_unique<linux::CompositorWindows>(std::move(sway)));
        std::fputs("Tarnvik: sway's IPC socket (SWAYSOCK) does not answer: only X programs' "
                   "windows can be reached\n",
                   stderr);
    }
    if (onKWin()) {
        if (auto kwin = kwin::KWinScript::load())
            return linux::LinuxDesktop::connect(
                std::make_unique<linux::CompositorWindows>(std::move(kwin)));
        std::fputs("Tarnvik: KWin's scripting service (org.kde.KWin on the session bus) does not "
                   "run Tarnvik's script: only X programs' windows can be reached\n",
                   stderr);
    }
    return linux::LinuxDesktop::connect();
}

} // namespace tarnvik
