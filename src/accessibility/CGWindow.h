#pragma once

#include "platform/Geometry.h"
#include "platform/Value.h"

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tarnvik {

class WindowList;

// One window of the window server's on-screen list.
struct CGWindow
{
    CGRect frame;
    std::int64_t layer = 0;
    pid_t pid = 0;
    std::string ownerName;
    std::optional<std::string> windowName;
    ValueDictionary rawInfo;

    // Nothing if a key other than the window's name is missing or of another type.
    static std::optional<CGWindow> fromInfo(const ValueDictionary &info);
    // In the window server's order; entries that can't be read are dropped with a message.
    static std::vector<CGWindow> onScreenWindows(WindowList &windowList);

    bool isMenubar() const;
    bool isPanel() const;
};

} // namespace tarnvik
