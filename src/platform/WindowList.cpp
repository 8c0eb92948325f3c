#include "platform/WindowList.h"

namespace tarnvik {

Value windowInfo(CGRect frame, std::int64_t pid, const std::string &ownerName,
                 const std::optional<std::string> &windowName, std::int64_t layer)
{
    ValueDictionary bounds;
    bounds.insert("X", frame.origin.x);
    bounds.insert("Y", frame.origin.y);
    bounds.insert("Width", frame.size.width);
    bounds.insert("Height", frame.size.height);
    ValueDictionary info;
    info.insert(kCGWindowBounds, std::move(bounds));
    info.insert(kCGWindowLayer, layer);
    info.insert(kCGWindowOwnerPID, pid);
    info.insert(kCGWindowOwnerName, ownerName);
    if (windowName)
        info.insert(kCGWindowName, *windowName);
    return info;
}

} // namespace tarnvik
