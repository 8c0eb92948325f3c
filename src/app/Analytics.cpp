#include "app/Analytics.h"

#include "preferences/Preferences.h"

namespace tarnvik {

void Analytics::applyIdentity(const std::optional<std::string> &knownUserId)
{
    if (knownUserId) {
        _userId = knownUserId;
        if (_sink)
            _sink->identify(*knownUserId,
                            {{Preferences::Keys::launchAtLogin,
                              _preferences.boolForKey(Preferences::Keys::launchAtLogin)},
                             {Preferences::Keys::isExperimentalSupportEnabled,
                              _preferences.isExperimentalSupportEnabled()}});
        return;
    }
    if (_userId) {
        _userId.reset();
        if (_sink)
            _sink->reset();
    }
}

} // namespace tarnvik
