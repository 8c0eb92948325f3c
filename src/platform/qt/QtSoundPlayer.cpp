#include "platform/qt/QtSoundPlayer.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSink>
#include <QBuffer>
#include <QByteArray>
#include <QMediaDevices>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>

namespace tarnvik {

struct QtSoundPlayer::Sound
{
    QAudioFormat format;
    QByteArray samples;
    double duration = 0.0;
};

struct QtSoundPlayer::Play
{
    // The sound is shared so that unloading it doesn't pull the data from under a play.
    std::shared_ptr<const Sound> sound;
    QBuffer source;
    std::unique_ptr<QAudioSink> sink;
    bool finished = false;
};

namespace {

std::uint32_t littleEndian(const char *bytes, int count)
{
    std::uint32_t value = 0;
    for (int i = count - 1; i >= 0; --i)
        value = (value << 8) | static_cast<unsigned char>(bytes[i]);
    return value;
}

std::optional<QAudioFormat::SampleFormat> sampleFormat(std::uint32_t encoding, std::uint32_t bits)
{
    // Integer PCM or float; the extensible wrapper is read as what its size says.
    const bool floating = encoding == 3;
    if (encoding != 1 && encoding != 3 && encoding != 0xFFFE)
        return std::nullopt;
    if (floating)
        return bits == 32 ? std::optional(QAudioFormat::Float) : std::nullopt;
    switch (bits) {
    case 8:
        return QAudioFormat::UInt8;
    case 16:
        return QAudioFormat::Int16;
    case 32:
        return QAudioFormat::Int32;
    default:
        return std::nullopt;
    }
}

// The format and samples of a RIFF WAVE file, or nothing with `error` set.
std::optional<std::pair<QAudioFormat, QByteArray>> readWav(const std::string &path,
                                                           std::string &error)
{
    std::ifstream in(path, std::ios::binary);
    char riff[12] {};
    if (!in.read(riff, sizeof riff) || std::string_view(riff, 4) != "RIFF"
        || std::string_view(riff + 8, 4) != "WAVE") {
        error = "not a WAV file";
        return std::nullopt;
    }
    std::optional<QAudioFormat> format;
    char header[8] {};
    while (in.read(header, sizeof header)) {
        const std::string_view id(header, 4);
        const std::uint32_t size = littleEndian(header + 4, 4);
        if (id == "fmt ") {
            char fields[16] {};
            if (size < sizeof fields || !in.read(fields, sizeof fields))
                break;
            const std::uint32_t encoding = littleEndian(fields, 2);
            const std::uint32_t bits = littleEndian(fields + 14, 2);
            const auto samples = sampleFormat(encoding, bits);
            if (!samples) {
                error = "unsupported WAV encoding " + std::to_string(encoding) + " of "
                    + std::to_string(bits) + " bits";
                return std::nullopt;
            }
            format.emplace();
            format->setChannelCount(static_cast<int>(littleEndian(fields + 2, 2)));
            format->setSampleRate(static_cast<int>(littleEndian(fields + 4, 4)));
            format->setSampleFormat(*samples);
            in.seekg(static_cast<std::streamoff>(size - sizeof fields + (size & 1u)),
                     std::ios::cur);
        } else if (id == "data" && format) {
            if (format->channelCount() <= 0 || format->sampleRate() <= 0)
                break;
            // A size beyond the end of the file, as a file cut short has, is taken at its word
            // only as far as the file goes.
            std::error_code ignored;
            const auto fileSize = std::filesystem::file_size(path, ignored);
            const auto here = static_cast<std::uintmax_t>(std::max<std::streamoff>(0, in.tellg()));
            const std::uintmax_t available = fileSize > here ? fileSize - here : 0;
            QByteArray samples(static_cast<qsizetype>(std::min<std::uintmax_t>(size, available)),
                               Qt::Uninitialized);
            in.read(samples.data(), samples.size());
            // Whole frames only.
            const auto frame = static_cast<std::streamsize>(format->bytesPerFrame());
            samples.truncate(static_cast<qsizetype>(in.gcount() / frame * frame));
            return std::pair(*format, std::move(samples));
        } else {
            // Chunks are padded to an even length.
            in.seekg(static_cast<std::streamoff>(size + (size & 1u)), std::ios::cur);
        }
    }
    error = "WAV file without a format and a data chunk";
    return std::nullopt;
}

} // namespace

QtSoundPlayer::QtSoundPlayer()
{
    // The first question to the media backend loads it: Qt 6.8's FFmpeg backend took some 55 ms
    // there, which the first session's first sound would otherwise wait for.
    QMediaDevices::defaultAudioOutput();
}

QtSoundPlayer::~QtSoundPlayer()
{
    for (auto &play : _plays)
        play->sink->stop();
}

bool QtSoundPlayer::load(const std::string &name, const std::string &path, std::string &error)
{
    _sounds.erase(name);
    std::string reason;
    auto wav = readWav(path, reason);
    if (!wav) {
        error = "Failed to load sound (" + path + ": " + reason + ")";
        return false;
    }
    auto sound = std::make_shared<Sound>();
    sound->format = wav->first;
    sound->samples = std::move(wav->second);
    const int frame = sound->format.bytesPerFrame();
    sound->duration = static_cast<double>(sound->samples.size() / frame)
        / static_cast<double>(sound->format.sampleRate());
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
    dropFinishedPlays();
    auto it = _sounds.find(name);
    if (it == _sounds.end() || it->second->samples.isEmpty())
        return;
    const QAudioDevice device = QMediaDevices::defaultAudioOutput();
    if (device.isNull())
        return;
    auto play = std::make_unique<Play>();
    play->sound = it->second;
    play->source.setData(play->sound->samples);
    play->source.open(QIODevice::ReadOnly);
    play->sink = std::make_unique<QAudioSink>(device, play->sound->format);
    play->sink->setVolume(static_cast<qreal>(volume));
    Play *raw = play.get();
    // Finished plays are only marked here and deleted later: a sink mustn't go inside its own
    // signal.
    QObject::connect(play->sink.get(), &QAudioSink::stateChanged, play->sink.get(),
                     [raw](QAudio::State state) {
                         if (state == QAudio::IdleState || state == QAudio::StoppedState) {
                             raw->finished = true;
                             if (state == QAudio::IdleState)
                                 raw->sink->stop();
                         }
                     });
    play->sink->start(&play->source);
    if (play->sink->state() == QAudio::StoppedState)
        play->finished = true;
    _plays.push_back(std::move(play));
}

void QtSoundPlayer::unload(const std::string &name)
{
    _sounds.erase(name);
}

std::size_t QtSoundPlayer::playsUnderWay()
{
    dropFinishedPlays();
    return _plays.size();
}

void QtSoundPlayer::dropFinishedPlays()
{
    _plays.remove_if([](const auto &play) { return play->finished; });
}

} // namespace tarnvik
