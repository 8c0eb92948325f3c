#pragma once

#include "platform/Value.h"

#include <optional>
#include <string>

namespace tarnvik {

inline constexpr const char *kCGWindowBounds = "kCGWindowBounds";
inline constexpr const char *kCGWindowLayer = "kCGWindowLayer";
inline constexpr const char *kCGWindowOwnerPID = "kCGWindowOwnerPID";
inline constexpr const char *kCGWindowOwnerName = "kCGWindowOwnerName";
inline constexpr const char *kCGWindowName = "kCGWindowName";
// The owner and name under which the menu bar appears in the list while it is on screen.
inline constexpr const char *kMenubarOwnerName = "Window Server";
inline constexpr const char *kMenubarWindowName = "Menubar";
// The name under which a panel along the top of a screen appears, owned like the menu bar: a
// strip that holds extras as the menu bar's does, whatever the frontmost application. Linux
// desktops have them; macOS has none.
inline constexpr const char *kPanelWindowName = "Panel";

// One entry of the list, as a backend describes a window.
Value windowInfo(CGRect frame, std::int64_t pid, const std::string &ownerName,
                 const std::optional<std::string> &windowName, std::int64_t layer = 0);

// The window server's list of on-screen windows, front to back. Each entry is a dictionary with
// the kCGWindow keys above; "kCGWindowBounds" is itself a dictionary of "X", "Y", "Width",
// "Height" in the accessibility space.
class WindowList
{
public:
    virtual ~WindowList() = default;
    virtual ValueArray onScreenWindowInfo() = 0;
};

} // namespace tarnvik
