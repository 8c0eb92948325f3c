#pragma once

#include "platform/InputSources.h"
#include "platform/KeyEvents.h"

#include <string>

namespace tarnvik::linux {

// What a Wayland desktop does not hand over yet: the Caps Lock key for the Hyperkey, and the
// input sources. Says so once, when asked for the key.
class UnwatchedKeyboard final : public CapsLockKey, public KeyboardInputSources
{
public:
    // `desktop` as the line names it: "GNOME's Wayland session".
    explicit UnwatchedKeyboard(std::string desktop)
        : _desktop(std::move(desktop))
    { }

    void setCapsLockHandler(CapsLockKey::Handler handler) override;
    bool isCapsLockOn() override { return false; }
    void setCapsLock(bool) override { }

    std::vector<InputSource> inputSources() override { return {}; }
    std::optional<InputSource> currentInputSource() override { return std::nullopt; }
    void selectInputSource(const InputSource &) override { }

private:
    std::string _desktop;
    bool _said = false;
};

} // namespace tarnvik::linux
