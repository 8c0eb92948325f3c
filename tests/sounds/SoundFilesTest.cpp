#include "platform/fake/FakePreferenceStore.h"
#include "platform/qt/QtSoundPlayer.h"
#include "preferences/Preferences.h"
#include "sounds/SoundEffectManager.h"
#include "support/CaptureDiagnostics.h"

#include <QAudioDevice>
#include <QCoreApplication>
#include <QMediaDevices>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <unistd.h>

namespace tarnvik {
namespace {

namespace fs = std::filesystem;

const fs::path soundsDirectory = TARNVIK_SOUNDS_DIR;

fs::path soundFile(const fs::path &directory, const char *name)
{
    return directory / (std::string(name) + SoundEffectManager::fileExtension);
}

std::string contents(const fs::path &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// The canonical 44-byte header and its samples, read independently of the player's parser.
struct Wav
{
    std::uint16_t encoding = 0, channels = 0, bits = 0;
    std::uint32_t rate = 0;
    std::vector<std::int16_t> samples;

    explicit Wav(const std::string &file)
    {
        if (file.size() < 44 || file.compare(0, 4, "RIFF") || file.compare(36, 4, "data"))
            return;
        std::memcpy(&encoding, &file[20], 2);
        std::memcpy(&channels, &file[22], 2);
        std::memcpy(&rate, &file[24], 4);
        std::memcpy(&bits, &file[34], 2);
        samples.resize((file.size() - 44) / 2);
        std::memcpy(samples.data(), &file[44], samples.size() * 2);
    }
    double seconds() const { return static_cast<double>(samples.size()) / rate; }
};

int loudest(auto first, auto last)
{
    int peak = 0;
    for (auto it = first; it != last; ++it)
        peak = std::max(peak, std::abs(static_cast<int>(*it)));
    return peak;
}

TEST(SoundFiles, AreShortAudibleAndSilentAtBothEnds)
{
    for (const char *name : SoundEffectManager::soundNames) {
        SCOPED_TRACE(name);
        const Wav wav(contents(soundFile(soundsDirectory, name)));
        EXPECT_EQ(wav.encoding, 1);
        EXPECT_EQ(wav.channels, 1);
        EXPECT_EQ(wav.bits, 16);
        EXPECT_EQ(wav.rate, 44100u);
        ASSERT_GT(wav.samples.size(), 100u);
        EXPECT_GE(wav.seconds(), 0.040);
        EXPECT_LE(wav.seconds(), 0.150);
        EXPECT_GT(loudest(wav.samples.begin(), wav.samples.end()), 32767 / 4);
        // Within 1% of full scale over the first and last few samples: no pop.
        EXPECT_LT(loudest(wav.samples.begin(), wav.samples.begin() + 5), 328);
        EXPECT_LT(loudest(wav.samples.end() - 5, wav.samples.end()), 328);
    }
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
            new QCoreApplication(argc, argv);
    }
    QtSounds() { fs::create_directories(scratch); }
    ~QtSounds() override { fs::remove_all(scratch); }

    std::string write(const std::string &name, const std::string &bytes)
    {
        std::ofstream(scratch / name, std::ios::binary) << bytes;
        return (scratch / name).string();
    }

    const fs::path scratch = fs::temp_directory_path() / ("tarnvik-qt-" + std::to_string(getpid()));
    QtSoundPlayer player;
    std::string error;
};

TEST_F(QtSounds, RejectsWhatIsNotAPlayableWav)
{
    EXPECT_FALSE(player.load("text", write("text.wav", "not a sound"), error));
    EXPECT_NE(error.find("Failed to load sound"), std::string::npos) << error;
    EXPECT_FALSE(player.load("none", (scratch / "absent.wav").string(), error));

    std::string adpcm = contents(soundFile(soundsDirectory, "click1"));
    adpcm[20] = 2;
    EXPECT_FALSE(player.load("adpcm", write("adpcm.wav", adpcm), error));
    EXPECT_NE(error.find("encoding 2"), std::string::npos) << error;
    EXPECT_EQ(player.duration("adpcm"), 0.0);
}

TEST_F(QtSounds, EmptySoundIsDroppedAndTheOthersPlayWithoutADevice)
{
    for (const char *name : SoundEffectManager::soundNames)
        write(std::string(name) + ".wav", contents(soundFile(soundsDirectory, name)));
    // A valid header over no samples: it loads, and has nothing to play.
    std::string empty = contents(soundFile(soundsDirectory, "click7")).substr(0, 44);
    empty.replace(40, 4, std::string(4, '\0'));
    write("click7.wav", empty);

    fake::FakePreferenceStore store;
    Preferences preferences(store);
    tarnvik::test::captureDiagnostics();
    SoundEffectManager manager(player, preferences, scratch.string());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(manager.isLoaded("click7"));
    manager.playActivation();
    EXPECT_FALSE(manager.isLoaded("click7"));

    // Overlapping plays must neither crash nor block, device or not.
    for (int i = 0; i < 10; ++i)
        manager.playClick();
    manager.playWarning();
    QCoreApplication::processEvents();
    EXPECT_TRUE(manager.isLoaded("click1"));
    if (QMediaDevices::audioOutputs().isEmpty()) {
        EXPECT_EQ(player.playsUnderWay(), 0u);
    }
}

} // namespace
} // namespace tarnvik
