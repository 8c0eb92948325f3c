#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tarnvik {

// One keyboard input source the user has enabled: a layout of the desktop.
struct InputSource
{
    // What the preference stores ("us", "ru", "de(nodeadkeys)").
    std::string id;
    // What the settings show ("English (US)").
    std::string name;
    // The platform's own handle of it.
    int platformIndex = 0;

    friend bool operator==(const InputSource &, const InputSource &) = default;
};

// The keyboard input sources of the desktop.
class KeyboardInputSources
{
public:
    virtual ~KeyboardInputSources() = default;
    // The enabled sources that can be selected, in the desktop's order.
    virtual std::vector<InputSource> inputSources() = 0;
    // The source in use; nothing when the desktop can't say.
    virtual std::optional<InputSource> currentInputSource() = 0;
    virtual void selectInputSource(const InputSource &source) = 0;
};

} // namespace tarnvik
