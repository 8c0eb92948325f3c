#pragma once

#include "platform/SoundPlayer.h"

#include <list>
#include <map>
#include <memory>

namespace tarnvik {

// Sound effects from uncompressed WAV files, read whole at load and played from memory through
// an audio output of their own per play, so that plays overlap. QSoundEffect is not used: in
// Qt 6.4 its shared loader can lose a load and can deadlock at exit. Without an audio device
// nothing is played.
class QtSoundPlayer : public SoundPlayer
{
public:
    QtSoundPlayer();
    ~QtSoundPlayer() override;

    bool load(const std::string &name, const std::string &path, std::string &error) override;
    double duration(const std::string &name) const override;
    void play(const std::string &name, float volume) override;
    void unload(const std::string &name) override;

    // Plays started and not yet finished.
    std::size_t playsUnderWay();

private:
    struct Sound;
    struct Play;
    void dropFinishedPlays();

    std::map<std::string, std::shared_ptr<const Sound>> _sounds;
    std::list<std::unique_ptr<Play>> _plays;
};

} // namespace tarnvik
