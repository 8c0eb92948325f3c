#pragma once

#include "platform/Workspace.h"

#include <optional>
#include <string>
#include <string_view>

namespace tarnvik::linux {

// What the X server and /proc say of a process's window.
struct WindowIdentity
{
    std::string wmInstance;
    std::string wmClass;
    std::optional<std::string> gtkApplicationId;
};

// The application behind a window, with its desktop entry's path, name and icon where one is
// installed, and the bundle identifier the rules know it by: Firefox and Chromium builds, and
// the other applications singled out by identifier, map onto the documented identifiers.
RunningApplication identify(pid_t pid, const WindowIdentity &window);

// What the process drawing the desktop's dock is known by, as the Dock is.
inline constexpr std::string_view dockBundleIdentifier = "com.apple.dock";

// The documented identifier for a Linux application name, if the rules single it out.
std::optional<std::string> documentedIdentifier(const std::string &linuxName);

} // namespace tarnvik::linux
