#pragma once

#include "platform/SoundPlayer.h"

#include <map>
#include <memory>
#include <optional>

namespace tarnvik {

// Sound effects through QSoundEffect, which plays uncompressed WAV. Each sound has a few voices
// so that quick repeats overlap. Without an audio device plays are silently lost.
class QtSoundPlayer : public SoundPlayer
{
public:
    explicit QtSoundPlayer(int voicesPerSound = 4);
    ~QtSoundPlayer() override;

    bool load(const std::string &name, const std::string &path, std::string &error) override;
    double duration(const std::string &name) const override;
    void play(const std::string &name, float volume) override;
    void unload(const std::string &name) override;

    // Seconds of sound from a WAV file's header, or nothing with `error` set when the file is
    // not one that can be played.
    static std::optional<double> wavDuration(const std::string &path, std::string &error);

private:
    struct Sound;
    int _voicesPerSound;
    std::map<std::string, std::unique_ptr<Sound>> _sounds;
};

} // namespace tarnvik
