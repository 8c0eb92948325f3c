#include "platform/qt/QtSoundPlayer.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QSoundEffect>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <vector>

namespace tarnvik {

struct QtSoundPlayer::Sound
{
    double duration = 0.0;
    std::vector<std::unique_ptr<QSoundEffect>> voices;
    std::size_t next = 0;
};

namespace {

std::uint32_t littleEndian(const unsigned char *bytes, int count)
{
    std::uint32_t value = 0;
    for (int i = count - 1; i >= 0; --i)
        value = (value << 8) | bytes[i];
    return value;
}

std::unique_ptr<QSoundEffect> makeVoice(const QUrl &source)
{
    auto voice = std::make_unique<QSoundEffect>();
    voice->setSource(source);
    return voice;
}

// Qt decodes on a thread of its own and reports back through the event loop. Waiting for it
// makes a later play cost no decoding, and leaves no decoding under way at exit, where Qt 6.4's
// sample cache deadlocks with its loading thread. The files are small; the limit is for safety.
void awaitDecoding(QSoundEffect &voice)
{
    if (!QCoreApplication::instance() || voice.status() != QSoundEffect::Loading)
        return;
    QEventLoop loop;
    QObject::connect(&voice, &QSoundEffect::statusChanged, &loop, &QEventLoop::quit);
    QTimer::singleShot(1000, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
}

bool readBytes(std::ifstream &in, unsigned char *into, std::size_t count)
{
    return static_cast<bool>(
        in.read(reinterpret_cast<char *>(into), static_cast<std::streamsize>(count)));
}

} // namespace

std::optional<double> QtSoundPlayer::wavDuration(const std::string &path, std::string &error)
{
    std::ifstream in(path, std::ios::binary);
    std::array<unsigned char, 12> riff {};
    if (!in || !readBytes(in, riff.data(), riff.size())
        || std::string_view(reinterpret_cast<char *>(riff.data()), 4) != "RIFF"
        || std::string_view(reinterpret_cast<char *>(riff.data() + 8), 4) != "WAVE") {
        error = "not a WAV file";
        return std::nullopt;
    }
    std::uint32_t blockAlign = 0;
    std::uint32_t sampleRate = 0;
    std::array<unsigned char, 8> header {};
    while (readBytes(in, header.data(), header.size())) {
        const std::string_view id(reinterpret_cast<char *>(header.data()), 4);
        const std::uint32_t size = littleEndian(header.data() + 4, 4);
        if (id == "fmt ") {
            std::array<unsigned char, 16> format {};
            if (size < format.size() || !readBytes(in, format.data(), format.size()))
                break;
            const std::uint32_t encoding = littleEndian(format.data(), 2);
            // Integer PCM, float, or either in the extensible wrapper.
            if (encoding != 1 && encoding != 3 && encoding != 0xFFFE) {
                error = "unsupported WAV encoding " + std::to_string(encoding);
                return std::nullopt;
            }
            sampleRate = littleEndian(format.data() + 4, 4);
            blockAlign = littleEndian(format.data() + 12, 2);
            in.seekg(static_cast<std::streamoff>(size - format.size() + (size & 1u)),
                     std::ios::cur);
        } else if (id == "data") {
            if (blockAlign == 0 || sampleRate == 0)
                break;
            return static_cast<double>(size / blockAlign) / sampleRate;
        } else {
            // Chunks are padded to an even length.
            in.seekg(static_cast<std::streamoff>(size + (size & 1u)), std::ios::cur);
        }
    }
    error = "WAV file without a format and a data chunk";
    return std::nullopt;
}

QtSoundPlayer::QtSoundPlayer(int voicesPerSound)
    : _voicesPerSound(std::max(1, voicesPerSound))
{ }

QtSoundPlayer::~QtSoundPlayer() = default;

bool QtSoundPlayer::load(const std::string &name, const std::string &path, std::string &error)
{
    _sounds.erase(name);
    std::string reason;
    const auto seconds = wavDuration(path, reason);
    if (!seconds) {
        error = "Failed to load sound (" + path + ": " + reason + ")";
        return false;
    }
    auto sound = std::make_unique<Sound>();
    sound->duration = *seconds;
    // Nothing to play: kept only so that its duration tells the caller so.
    if (*seconds <= 0.0) {
        _sounds.emplace(name, std::move(sound));
        return true;
    }
    const QUrl source = QUrl::fromLocalFile(QString::fromStdString(path));
    auto first = makeVoice(source);
    awaitDecoding(*first);
    // Qt 6.4 can miss the end of a decode that finishes while a voice is being attached to it,
    // and that voice then waits for ever; a fresh one finds the finished sample in Qt's cache.
    if (first->status() == QSoundEffect::Loading) {
        first = makeVoice(source);
        awaitDecoding(*first);
    }
    if (first->status() == QSoundEffect::Error) {
        error = "Failed to load sound (" + path + ": not decodable)";
        return false;
    }
    // The other voices share the decoded sample, so they are ready at once.
    sound->voices.push_back(std::move(first));
    while (sound->voices.size() < static_cast<std::size_t>(_voicesPerSound))
        sound->voices.push_back(makeVoice(source));
    _sounds.emplace(name, std::move(sound));
    return true;
}

double QtSoundPlayer::duration(const std::string &name) const
{
    auto it = _sounds.find(name);
    return it == _sounds.end() ? 0.0 : it->second->duration;
}

void QtSoundPlayer::play(const std::string &name, float volume)
{
    auto it = _sounds.find(name);
    if (it == _sounds.end())
        return;
    Sound &sound = *it->second;
    if (sound.voices.empty())
        return;
    // An idle voice if there is one, else each busy one in turn.
    QSoundEffect *voice = nullptr;
    for (auto &candidate : sound.voices)
        if (!candidate->isPlaying()) {
            voice = candidate.get();
            break;
        }
    if (!voice) {
        voice = sound.voices[sound.next].get();
        sound.next = (sound.next + 1) % sound.voices.size();
    }
    voice->setVolume(volume);
    voice->play();
}

void QtSoundPlayer::unload(const std::string &name)
{
    _sounds.erase(name);
}

} // namespace tarnvik
