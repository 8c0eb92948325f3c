#include "sounds/SoundEffectManager.h"

#include "platform/Diagnostics.h"
#include "preferences/Preferences.h"

#include <filesystem>

namespace tarnvik {

SoundEffectManager::SoundEffectManager(SoundPlayer &player, const Preferences &preferences,
                                       std::string soundsDirectory)
    : _player(player)
    , _preferences(preferences)
{
    const std::filesystem::path directory(std::move(soundsDirectory));
    for (const char *name : soundNames) {
        const auto file = directory / (std::string(name) + fileExtension);
        std::error_code ignored;
        if (!std::filesystem::is_regular_file(file, ignored)) {
            tellUser(std::string("SoundEffectManager: Failed to find sound file: ") + name);
            continue;
        }
        std::string error;
        if (!_player.load(name, file.string(), error)) {
            tellUser(std::string("SoundEffectManager: Failed to preload ") + name + ": " + error);
            continue;
        }
        _loaded.insert(name);
    }
}

bool SoundEffectManager::enabled() const
{
    return _preferences.boolForKey(Preferences::Keys::enableSoundEffects);
}

float SoundEffectManager::volume() const
{
    return _preferences.floatForKey(Preferences::Keys::soundEffectVolume);
}

void SoundEffectManager::playClick()
{
    if (!enabled())
        return;
    // Both factors apply to the user's volume; they don't compound.
    const float base = volume();
    play("click1", base * 0.1f);
    play("click8", base * 0.2f);
}

void SoundEffectManager::playWarning()
{
    if (enabled())
        play("warning", volume() * 0.3f);
}

void SoundEffectManager::playActivation()
{
    if (enabled())
        play("click7", volume() * 0.1f);
}

void SoundEffectManager::play(const std::string &name, float volume)
{
    if (!_loaded.contains(name))
        return;
    // A file that decodes to nothing is only found out here; it is dropped for good, quietly.
    if (_player.duration(name) <= 0.0) {
        _player.unload(name);
        _loaded.erase(name);
        return;
    }
    _player.play(name, volume);
}

} // namespace tarnvik
