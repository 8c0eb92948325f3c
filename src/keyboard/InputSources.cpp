#include "keyboard/InputSources.h"

#include "preferences/Preferences.h"

#include <algorithm>

namespace tarnvik {

void InputSources::switchOnActivation(const Preferences &preferences,
                                      std::optional<InputSource> &prior)
{
    const auto id = preferences.stringForKey(Preferences::Keys::autoSwitchInputSourceId);
    if (!id)
        return;
    const auto chosen = std::ranges::find(_list, *id, &InputSource::id);
    if (chosen == _list.end())
        return;
    prior = _platform.currentInputSource();
    _platform.selectInputSource(*chosen);
}

void InputSources::restoreOnStop(std::optional<InputSource> &prior)
{
    if (!prior)
        return;
    _platform.selectInputSource(*prior);
    prior.reset();
}

} // namespace tarnvik
