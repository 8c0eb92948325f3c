// The wiring of the three shortcuts to the modes: hot keys, the watch of every key for
// modifiers alone and the Hyperkey, and the input source each mode selects.
#include "app/ShortcutWiring.h"

#include "click/Mode.h"
#include "keyboard/RecordingSlot.h"
#include "platform/KeyCodes.h"
#include "platform/fake/FakeFrameClock.h"
#include "scroll/BufferAndRateScroller.h"
#include "scroll/ScrollMode.h"
#include "support/ModeSession.h"
#include "support/RecordingScrollViews.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using Keys = Preferences::Keys;
constexpr std::uint64_t hyper = CapsLockController::hyperFlags;

class ShortcutWiringTest : public test::ModeTest
{
protected:
    void wire(const std::string &nonSearch, const std::string &scroll, bool hyperKey = false)
    {
        store.setString(Keys::nonSearchShortcut, nonSearch);
        store.setString(Keys::scrollShortcut, scroll);
        store.setBool(Keys::enableHyperKey, hyperKey);
        wiring.wireShortcuts();
    }
    void flags(std::uint64_t held)
    {
        input.monitor({.type = EventType::flagsChanged, .flags = held});
        scheduler.runPending();
    }
    void keyDown(std::uint16_t keyCode)
    {
        input.monitor({.type = EventType::keyDown, .keyCode = keyCode});
        scheduler.runPending();
    }
    void capsLock(bool down)
    {
        input.pressCapsLock(down);
        scheduler.runPending();
    }

    fake::FakeFrameClock clock;
    BufferAndRateScroller scroller {clock, input};
    test::RecordingScrollViews scrollViews;
    fake::InlineWorkQueue scrollQueue;
    ScrollMode scrollMode {{.platform = {desktop, desktop, desktop},
                            .screens = screens,
                            .preferences = preferences,
                            .scheduler = scheduler,
                            .keyboard = input,
                            .events = input,
                            .cursor = cursor,
                            .scroller = scroller,
                            .views = scrollViews,
                            .treeQueue = scrollQueue,
                            .inputSources = inputSources}};
    RecordingSlot recordingSlot;
    ShortcutWiring wiring {{.preferences = preferences,
                            .shortcuts = shortcuts,
                            .mode = mode,
                            .scrollMode = scrollMode,
                            .keyMonitor = input,
                            .capsLockKey = input,
                            .scheduler = scheduler,
                            .recordingSlot = recordingSlot}};
};

TEST_F(ShortcutWiringTest, ModifiersAloneFireOnTheirExactFlagsAndHotKeysStayHotKeys)
{
    wire("⌥⌘", "⇧⌘J");
    EXPECT_TRUE(input.monitoring());
    EXPECT_EQ(input.hotKeyCount(), 1u) << "the scroll shortcut, and no key for Option-Command";
    EXPECT_FALSE(input.capsLockTaken());

    flags(ModifierFlag::command);
    EXPECT_FALSE(mode.active()) << "Super alone";
    flags(ModifierFlag::command | ModifierFlag::option | ModifierFlag::capsLock);
    EXPECT_FALSE(mode.active()) << "Caps Lock's bit stops the match";
    keyDown(17);
    EXPECT_FALSE(mode.active()) << "a key with them, such as T, is no flags change";
    flags(ModifierFlag::command | ModifierFlag::option);
    EXPECT_TRUE(mode.active());
    EXPECT_TRUE(mode.isSearchDisabled());
    flags(ModifierFlag::command | ModifierFlag::option);
    EXPECT_FALSE(mode.active()) << "the shortcut again ends its mode";

    wire("⇧⌘Space", "⇧⌘J");
    EXPECT_FALSE(input.monitoring()) << "no modifiers alone and no Hyperkey: no watch";
}

TEST_F(ShortcutWiringTest, TheHyperkeyWithAKeyAndAloneFiresAndTheLockStaysOff)
{
    wire("⌃⌥⇧⌘Space", "⌃⌥⇧⌘", true);
    ASSERT_TRUE(input.capsLockTaken());
    EXPECT_EQ(input.hotKeyCount(), 1u) << "⌃⌥⇧⌘Space is a hot key as well";

    keyDown(KeyCode::space);
    EXPECT_FALSE(mode.active()) << "Space without the Hyperkey held";
    input.setCapsLock(true);
    capsLock(true);
    EXPECT_FALSE(input.isCapsLockOn()) << "the lock it found on is turned off";
    input.setCapsLock(true);
    scheduler.advance(Seconds(CapsLockController::lockRecheckSeconds));
    EXPECT_FALSE(input.isCapsLockOn()) << "and turned off again when the desktop locked it late";
    keyDown(KeyCode::space);
    EXPECT_TRUE(mode.active());
    capsLock(false);
    EXPECT_TRUE(scrollMode.active()) << "after a key, the release fires the Hyperkey alone too, "
                                        "on purpose: scrolling replaces the click session";
    EXPECT_FALSE(mode.active());
}

TEST_F(ShortcutWiringTest, TheHyperkeyAloneFiresOnItsReleaseAndRecordsWhileRecording)
{
    wire("⇧⌘Space", "⌃⌥⇧⌘", true);
    capsLock(true);
    EXPECT_FALSE(scrollMode.active()) << "not before the release";
    capsLock(false);
    EXPECT_TRUE(scrollMode.active());
    capsLock(true);
    capsLock(false);
    EXPECT_FALSE(scrollMode.active());

    struct Recorder : RecordingControl
    {
        void takeShortcut(const SRShortcut &s) override { taken = s.description(); }
        std::string taken;
    } recorder;
    recordingSlot.begin(&recorder);
    capsLock(true);
    EXPECT_TRUE(wiring.capsLockController()->recordingKeyDown()) << "J carries ⌃⌥⇧⌘";
    capsLock(false);
    EXPECT_EQ(recorder.taken, "") << "after a key, the release records nothing more";
    capsLock(true);
    capsLock(false);
    EXPECT_EQ(recorder.taken, "⌃⌥⇧⌘");
    EXPECT_FALSE(scrollMode.active()) << "a recording fires no shortcut";
    recordingSlot.end(&recorder);
}

TEST_F(ShortcutWiringTest, WiringAgainLeavesOneActionEachAndTheHyperkeyGoesWithItsSwitch)
{
    wire("⇧⌘Space", "⇧⌘J", true);
    wiring.wireShortcuts();
    EXPECT_EQ(shortcuts.actions().size(), 2u);
    EXPECT_EQ(input.hotKeyCount(), 2u);
    EXPECT_TRUE(input.capsLockTaken());
    EXPECT_TRUE(input.monitoring()) << "key presses while the Hyperkey is held";

    store.setBool(Keys::enableHyperKey, false);
    wiring.preferencesChanged();
    EXPECT_FALSE(input.capsLockTaken()) << "the key given back";
    EXPECT_FALSE(input.monitoring());
    EXPECT_EQ(shortcuts.actions().size(), 2u);
}

TEST_F(ShortcutWiringTest, EachModeSelectsTheChosenSourceAndTheOneEndingGivesItsOwnBackFirst)
{
    const InputSource us {"us", "English (US)", 0};
    const InputSource ru {"ru", "Russian", 1};
    input.setInputSources({us, ru});
    input.selectInputSource(ru);
    inputSources.load();
    wire("⇧⌘Space", "⇧⌘J");

    wiring.clickToggle(true);
    EXPECT_EQ(input.selectedInputSources(), (std::vector<std::string> {"ru"})) << "none chosen";
    wiring.clickToggle(true);

    store.setString(Keys::autoSwitchInputSourceId, "us");
    wiring.clickToggle(true);
    wiring.scrollToggle();
    wiring.scrollToggle();
    EXPECT_EQ(input.selectedInputSources(),
              (std::vector<std::string> {"ru", "us", "ru", "us", "ru"}))
        << "click mode's Russian back before scroll mode's US";

    store.setString(Keys::autoSwitchInputSourceId, "de");
    wiring.clickToggle(true);
    EXPECT_TRUE(mode.active());
    EXPECT_EQ(input.selectedInputSources().size(), 5u) << "a source gone is passed over";
}

} // namespace
} // namespace tarnvik
