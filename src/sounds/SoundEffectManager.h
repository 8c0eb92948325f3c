#pragma once

#include "platform/SoundPlayer.h"

#include <set>
#include <string>

namespace tarnvik {

class Preferences;

// The short sounds that confirm clicks and activation. Sounds are preloaded at construction;
// the user's switch and volume are read at every play. Failures are printed and leave the sound
// absent: no caller learns of them.
class SoundEffectManager
{
public:
    // The preload order.
    static constexpr const char *soundNames[] = {"click1", "click8", "warning", "click7"};
    // Uncompressed WAV rather than a compressed format: it plays from memory with no decoder.
    static constexpr const char *fileExtension = ".wav";

    SoundEffectManager(SoundPlayer &player, const Preferences &preferences,
                       std::string soundsDirectory);

    // A click was performed; also the preview of the volume setting.
    void playClick();
    // A typed key matches nothing.
    void playWarning();
    // Labels are shown.
    void playActivation();

    bool isLoaded(const std::string &name) const { return _loaded.contains(name); }

private:
    void play(const std::string &name, float volume);
    bool enabled() const;
    float volume() const;

    SoundPlayer &_player;
    const Preferences &_preferences;
    std::set<std::string> _loaded;
};

} // namespace tarnvik
