#pragma once

#include <string>

namespace tarnvik {

// Plays short sound effects that were decoded ahead of time, so that playing costs no file
// access. Named sounds are loaded once and played many times; plays of one sound overlap rather
// than cut each other short. Used from the main thread only.
class SoundPlayer
{
public:
    virtual ~SoundPlayer() = default;

    // Reads and decodes the file under `name`, replacing any sound of that name. On failure
    // nothing is kept under the name and `error` says why.
    virtual bool load(const std::string &name, const std::string &path, std::string &error) = 0;
    // Seconds of sound; 0 or less for a name not loaded or a file with nothing to play.
    virtual double duration(const std::string &name) const = 0;
    // Starts a play and returns at once. `volume` is linear, 0 silent to 1 full; a name not
    // loaded plays nothing.
    virtual void play(const std::string &name, float volume) = 0;
    // Forgets the sound; plays under way may be cut short.
    virtual void unload(const std::string &name) = 0;
};

} // namespace tarnvik
