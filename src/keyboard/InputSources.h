#pragma once

#include "platform/InputSources.h"

#include <optional>
#include <vector>

namespace tarnvik {

class Preferences;

// The keyboard input sources, listed once at set-up, and the steps by which a mode selects the
// one the user chose (`auto-switch-input-source-id`) and gives back the one before. Each mode
// keeps its own prior source.
class InputSources
{
public:
    explicit InputSources(KeyboardInputSources &platform)
        : _platform(platform)
    { }

    // Reads the enabled sources; sources enabled later are not seen until the next start.
    void load() { _list = _platform.inputSources(); }
    const std::vector<InputSource> &list() const { return _list; }

    // With the preference naming a listed source, the source in use goes to `prior` and the
    // named one is selected. An id that is no longer listed changes nothing.
    void switchOnActivation(const Preferences &preferences, std::optional<InputSource> &prior);
    // The prior source, if any, is selected again and forgotten.
    void restoreOnStop(std::optional<InputSource> &prior);

private:
    KeyboardInputSources &_platform;
    std::vector<InputSource> _list;
};

} // namespace tarnvik
