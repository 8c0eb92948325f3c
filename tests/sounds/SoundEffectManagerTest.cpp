#include "sounds/SoundEffectManager.h"

#include "platform/fake/FakePreferenceStore.h"
#include "preferences/Preferences.h"
#include "support/CaptureDiagnostics.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <set>
#include <unistd.h>
#include <vector>

namespace tarnvik {
namespace {

namespace fs = std::filesystem;

// Loads whatever it is given and records every call.
class RecordingPlayer : public SoundPlayer
{
public:
    bool load(const std::string &name, const std::string &path, std::string &error) override
    {
        loads.push_back(name);
        if (failing.contains(name)) {
            error = "broken " + fs::path(path).filename().string();
            return false;
        }
        loaded[name] = durations.contains(name) ? durations[name] : 0.05;
        return true;
    }
    double duration(const std::string &name) const override
    {
        ++durationQueries;
        auto it = loaded.find(name);
        return it == loaded.end() ? 0.0 : it->second;
    }
    void play(const std::string &name, float volume) override { plays.emplace_back(name, volume); }
    void unload(const std::string &name) override
    {
        unloads.push_back(name);
        loaded.erase(name);
    }

    std::map<std::string, double> durations;
    std::set<std::string> failing;
    std::map<std::string, double> loaded;
    std::vector<std::string> loads;
    std::vector<std::pair<std::string, float>> plays;
    std::vector<std::string> unloads;
    mutable int durationQueries = 0;
};

class SoundEffects : public testing::Test
{
protected:
    SoundEffects()
        : directory(fs::temp_directory_path()
                    / ("tarnvik-sounds-" + std::to_string(getpid()) + "-"
                       + testing::UnitTest::GetInstance()->current_test_info()->name()))
    {
        fs::create_directories(directory);
        for (const char *name : {"click1", "click8", "warning", "click7"})
            std::ofstream(directory / (std::string(name) + ".wav")) << "RIFF";
    }
    ~SoundEffects() override { fs::remove_all(directory); }

    // Makes the manager, giving back what it printed.
    std::string start()
    {
        tarnvik::test::captureDiagnostics();
        manager.emplace(player, preferences, directory.string());
        return testing::internal::GetCapturedStdout();
    }

    fs::path directory;
    fake::FakePreferenceStore store;
    Preferences preferences {store};
    RecordingPlayer player;
    std::optional<SoundEffectManager> manager;
};

using Plays = std::vector<std::pair<std::string, float>>;

void expectPlays(const Plays &actual, const Plays &expected)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        EXPECT_EQ(actual[i].first, expected[i].first);
        EXPECT_FLOAT_EQ(actual[i].second, expected[i].second) << actual[i].first;
    }
}

TEST_F(SoundEffects, PreloadsInOrderAndScalesTheUsersVolumeEvenDownToZero)
{
    EXPECT_EQ(start(), "");
    EXPECT_EQ(player.loads, (std::vector<std::string> {"click1", "click8", "warning", "click7"}));
    EXPECT_EQ(player.loaded.size(), 4u);

    preferences.setDouble(Preferences::Keys::soundEffectVolume, 0.5);
    manager->playClick();
    manager->playClick();
    expectPlays(player.plays,
                {{"click1", 0.05f}, {"click8", 0.1f}, {"click1", 0.05f}, {"click8", 0.1f}});

    player.plays.clear();
    preferences.setDouble(Preferences::Keys::soundEffectVolume, 0.0);
    manager->playClick();
    expectPlays(player.plays, {{"click1", 0.0f}, {"click8", 0.0f}});
}

TEST_F(SoundEffects, SwitchedOffPlaysNothingAndSaysNothing)
{
    start();
    preferences.setBool(Preferences::Keys::enableSoundEffects, false);
    tarnvik::test::captureDiagnostics();
    manager->playClick();
    manager->playWarning();
    manager->playActivation();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(player.plays.empty());

    preferences.setBool(Preferences::Keys::enableSoundEffects, true);
    manager->playWarning();
    EXPECT_EQ(player.plays.size(), 1u) << "read at every play";
}

TEST_F(SoundEffects, MissingAndBrokenFilesLeaveOnlyTheirSoundOut)
{
    fs::remove(directory / "click8.wav");
    player.failing = {"warning"};
    EXPECT_EQ(start(),
              "SoundEffectManager: Failed to find sound file: click8\n"
              "SoundEffectManager: Failed to preload warning: broken warning.wav\n");
    EXPECT_EQ(player.loads, (std::vector<std::string> {"click1", "warning", "click7"}));
    EXPECT_TRUE(manager->isLoaded("click1"));
    EXPECT_FALSE(manager->isLoaded("click8"));
    EXPECT_FALSE(manager->isLoaded("warning"));

    manager->playClick();
    manager->playWarning();
    manager->playActivation();
    expectPlays(player.plays, {{"click1", 0.06f}, {"click7", 0.06f}});
}

TEST_F(SoundEffects, SoundWithoutDurationIsDroppedAtItsFirstPlay)
{
    player.durations["click7"] = 0.0;
    start();
    EXPECT_TRUE(manager->isLoaded("click7")) << "found out only when played";

    tarnvik::test::captureDiagnostics();
    manager->playActivation();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(player.plays.empty());
    EXPECT_EQ(player.unloads, std::vector<std::string> {"click7"});
    EXPECT_FALSE(manager->isLoaded("click7"));

    const int queries = player.durationQueries;
    manager->playActivation();
    EXPECT_EQ(player.durationQueries, queries) << "absent from then on";
    EXPECT_EQ(player.unloads.size(), 1u);

    manager->playClick();
    EXPECT_EQ(player.plays.size(), 2u) << "the other sounds are unaffected";
}

} // namespace
} // namespace tarnvik
