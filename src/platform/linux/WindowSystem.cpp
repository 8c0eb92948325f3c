#include "platform/linux/WindowSystem.h"

namespace tarnvik::linux {

ValueArray WindowSystem::menubarEntries() const
{
    ValueArray list;
    if (_menubarFrame) {
        if (auto frame = _menubarFrame())
            list.push_back(windowInfo(*frame, 0, kMenubarOwnerName, kMenubarWindowName, 24));
    }
    return list;
}

} // namespace tarnvik::linux
