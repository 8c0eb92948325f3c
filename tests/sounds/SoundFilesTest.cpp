#include "platform/fake/FakePreferenceStore.h"
#include "platform/qt/QtSoundPlayer.h"
#include "preferences/Preferences.h"
#include "sounds/SoundEffectManager.h"

#include <QAudioDevice>
#include <QCoreApplication>
#include <QMediaDevices>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <unistd.h>
#include <vector>

namespace tarnvik {
namespace {

namespace fs = std::filesystem;

const fs::path soundsDirectory = TARNVIK_SOUNDS_DIR;

// The plain 44-byte header of a 16-bit mono file, read without the player's own parser.
struct Wav
{
    std::uint16_t encoding = 0, channels = 0, bits = 0;
    std::uint32_t rate = 0;
    std::vector<std::int16_t> samples;
};

std::uint32_t word(const std::vector<unsigned char> &b, std::size_t at, int bytes)
{
    std::uint32_t value = 0;
    for (int i = bytes - 1; i >= 0; --i)
        value = (value << 8) | b[at + static_cast<std::size_t>(i)];
    return value;
}

Wav readWav(const fs::path &path)
{
    std::ifstream in(path, std::ios::binary);
    const std::vector<unsigned char> b {std::istreambuf_iterator<char>(in), {}};
    Wav wav;
    if (b.size() < 44 || std::string(b.begin(), b.begin() + 4) != "RIFF"
        || std::string(b.begin() + 12, b.begin() + 16) != "fmt "
        || std::string(b.begin() + 36, b.begin() + 40) != "data")
        return wav;
    wav.encoding = static_cast<std::uint16_t>(word(b, 20, 2));
    wav.channels = static_cast<std::uint16_t>(word(b, 22, 2));
    wav.rate = word(b, 24, 4);
    wav.bits = static_cast<std::uint16_t>(word(b, 34, 2));
    const std::size_t size = std::min<std::size_t>(word(b, 40, 4), b.size() - 44);
    for (std::size_t i = 0; i + 1 < size; i += 2)
        wav.samples.push_back(static_cast<std::int16_t>(word(b, 44 + i, 2)));
    return wav;
}

int loudest(auto first, auto last)
{
    int peak = 0;
    for (auto it = first; it != last; ++it)
        peak = std::max(peak, std::abs(static_cast<int>(*it)));
    return peak;
}

TEST(SoundFiles, AreShortQuietAtBothEndsAndAudible)
{
    for (const char *name : SoundEffectManager::soundNames) {
        SCOPED_TRACE(name);
        const fs::path path = soundsDirectory / (std::string(name) + ".wav");
        ASSERT_TRUE(fs::is_regular_file(path));
        const Wav wav = readWav(path);
        EXPECT_EQ(wav.encoding, 1);
        EXPECT_EQ(wav.channels, 1);
        EXPECT_EQ(wav.bits, 16);
        EXPECT_EQ(wav.rate, 44100u);
        ASSERT_GT(wav.samples.size(), 100u);
        const double seconds = static_cast<double>(wav.samples.size()) / wav.rate;
        EXPECT_GE(seconds, 0.040);
        EXPECT_LE(seconds, 0.150);
        EXPECT_GT(loudest(wav.samples.begin(), wav.samples.end()), 32767 / 4);
        // Within 1% of full scale over the first and last few samples: no pop.
        EXPECT_LT(loudest(wav.samples.begin(), wav.samples.begin() + 5), 328);
        EXPECT_LT(loudest(wav.samples.end() - 5, wav.samples.end()), 328);
    }
}

TEST(SoundFiles, AreDifferentSounds)
{
    std::vector<std::vector<std::int16_t>> all;
    for (const char *name : SoundEffectManager::soundNames)
        all.push_back(readWav(soundsDirectory / (std::string(name) + ".wav")).samples);
    for (std::size_t i = 0; i < all.size(); ++i)
        for (std::size_t j = i + 1; j < all.size(); ++j)
            EXPECT_NE(all[i], all[j]) << i << " " << j;
}

class QtSounds : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        static int argc = 1;
        static char name[] = "tarnvik_sounds_tests";
        static char *argv[] = {name, nullptr};
        if (!QCoreApplication::instance())
            application = new QCoreApplication(argc, argv);
    }

    void TearDown() override
    {
        for (const auto &file : scratch)
            fs::remove(file);
    }

    fs::path scratchFile(const std::string &suffix, const std::string &contents)
    {
        fs::path path =
            fs::temp_directory_path() / ("tarnvik-" + std::to_string(getpid()) + suffix);
        std::ofstream(path, std::ios::binary) << contents;
        scratch.push_back(path);
        return path;
    }

    static inline QCoreApplication *application = nullptr;
    std::vector<fs::path> scratch;
};

TEST_F(QtSounds, ReadsTheDurationFromTheHeader)
{
    QtSoundPlayer player;
    for (const char *name : SoundEffectManager::soundNames) {
        const fs::path path = soundsDirectory / (std::string(name) + ".wav");
        std::string error;
        ASSERT_TRUE(player.load(name, path.string(), error)) << error;
        const Wav wav = readWav(path);
        EXPECT_DOUBLE_EQ(player.duration(name), static_cast<double>(wav.samples.size()) / wav.rate);
    }
    player.unload("click1");
    EXPECT_EQ(player.duration("click1"), 0.0);
    EXPECT_EQ(player.duration("never-loaded"), 0.0);
}

TEST_F(QtSounds, RejectsWhatIsNotAPlayableWav)
{
    QtSoundPlayer player;
    std::string error;
    EXPECT_FALSE(player.load("text", scratchFile(".wav", "not a sound").string(), error));
    EXPECT_NE(error.find("Failed to load sound"), std::string::npos) << error;
    EXPECT_FALSE(player.load("none", "/nonexistent/tarnvik.wav", error));

    std::string header(44, '\0');
    header.replace(0, 4, "RIFF");
    header.replace(8, 8, "WAVEfmt ");
    header[16] = 16;
    header[20] = 2; // ADPCM
    header[22] = 1;
    EXPECT_FALSE(player.load("adpcm", scratchFile("-adpcm.wav", header).string(), error));
    EXPECT_NE(error.find("encoding 2"), std::string::npos) << error;
    EXPECT_EQ(player.duration("adpcm"), 0.0);
}

TEST_F(QtSounds, EmptyFileIsDroppedAndTheRestPlayWithoutADevice)
{
    // A valid header over no samples: it loads, and has nothing to play.
    const fs::path directory =
        fs::temp_directory_path() / ("tarnvik-qt-" + std::to_string(getpid()));
    fs::create_directories(directory);
    for (const char *name : SoundEffectManager::soundNames)
        fs::copy_file(soundsDirectory / (std::string(name) + ".wav"),
                      directory / (std::string(name) + ".wav"));
    std::ifstream in(directory / "click7.wav", std::ios::binary);
    std::string header(44, '\0');
    in.read(header.data(), 44);
    in.close();
    header.replace(40, 4, std::string(4, '\0'));
    std::ofstream(directory / "click7.wav", std::ios::binary | std::ios::trunc) << header;

    QtSoundPlayer player;
    fake::FakePreferenceStore store;
    Preferences preferences(store);
    testing::internal::CaptureStdout();
    SoundEffectManager manager(player, preferences, directory.string());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(manager.isLoaded("click7"));
    EXPECT_EQ(player.duration("click7"), 0.0);

    manager.playActivation();
    EXPECT_FALSE(manager.isLoaded("click7"));
    // Many quick clicks, more than there are voices: they must neither crash nor block.
    for (int i = 0; i < 10; ++i)
        manager.playClick();
    manager.playWarning();
    QCoreApplication::processEvents();
    EXPECT_TRUE(manager.isLoaded("click1"));
    if (QMediaDevices::audioOutputs().isEmpty())
        EXPECT_EQ(player.playsUnderWay(), 0u) << "without a device plays end at once";
    else
        EXPECT_LE(player.playsUnderWay(), 21u);
    fs::remove_all(directory);
}

} // namespace
} // namespace tarnvik
