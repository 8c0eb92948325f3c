#include "platform/linux/UnwatchedKeyboard.h"

#include <cstdio>

namespace tarnvik::linux {

void UnwatchedKeyboard::setCapsLockHandler(CapsLockKey::Handler handler)
{
    if (!handler || _said)
        return;
    _said = true;
    std::fprintf(stderr, "Tarnvik: on %s the Hyperkey doesn't work yet\n", _desktop.c_str());
}

} // namespace tarnvik::linux
