#include "keyboard/SRGlobalShortcutMonitor.h"
#include "keyboard/SRShortcut.h"
#include "keyboard/ShortcutRecording.h"
#include "platform/KeyCodes.h"
#include "platform/KeyEvents.h"
#include "platform/fake/FakeInput.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

TEST(SRShortcut, StoredTextParsesAndRoundTrips)
{
    // Symbols in any order are written in the fixed one; messages spell them out.
    const auto click = SRShortcut::shortcutWithKeyEquivalent("⌘⇧Space");
    ASSERT_TRUE(click);
    EXPECT_EQ(click->description(), "⇧⌘Space");
    EXPECT_EQ(click->readableStringRepresentation(), "Command-Shift-Space");
    EXPECT_EQ(SRShortcut::shortcutWithKeyEquivalent("⌥F12")->keyCode(), 111);
    EXPECT_EQ(SRShortcut::shortcutWithKeyEquivalent("esc")->keyCode(), KeyCode::escape);
    EXPECT_EQ(SRShortcut::shortcutWithKeyEquivalent("⌃⌥Enter")->keyCode(), KeyCode::returnKey);

    for (const char *bad : {"", "⌃⌃A", "F21", "F0", "F05", "⌘Nope", "⌘ü"})
        EXPECT_FALSE(SRShortcut::shortcutWithKeyEquivalent(bad)) << bad;
}

TEST(SRShortcut, EveryKeyWithModifiersIsStoredInATextThatReadsBackToIt)
{
    const std::uint64_t flags = ModifierFlag::control | ModifierFlag::option;
    for (std::uint16_t code = 0; code < 128; ++code) {
        if (isModifierKey(code))
            continue;
        const auto shortcut = SRShortcut::shortcutWithCode(code, flags);
        const auto read = SRShortcut::shortcutWithKeyEquivalent(shortcut.description());
        ASSERT_TRUE(read) << shortcut.description();
        EXPECT_EQ(read->keyCode(), code) << shortcut.description();
        EXPECT_EQ(read->modifierFlags(), flags) << shortcut.description();
        EXPECT_FALSE(read->isModifierOnly()) << shortcut.description();
    }
    // The keys a person names, by name.
    EXPECT_EQ(SRShortcut::shortcutWithCode(KeyCode::left, flags).description(), "⌃⌥Left");
    EXPECT_EQ(SRShortcut::shortcutWithKeyEquivalent("⌃pagedown")->keyCode(), KeyCode::pageDown);
}

TEST(SRShortcut, ModifierOnlyShortcutsHaveNoKeyAndNoCharacters)
{
    EXPECT_TRUE(SRShortcut::shortcutWithKeyEquivalent("⌃⌥⇧⌘")->isModifierOnly());
    EXPECT_FALSE(SRShortcut::shortcutWithKeyEquivalent("⌘A")->isModifierOnly());
    // Flags beyond the four modifiers fall away; characters take no part in equality.
    EXPECT_EQ(SRShortcut::shortcutWithCode(0, ModifierFlag::command | ModifierFlag::capsLock, "x"),
              SRShortcut::shortcutWithCode(0, ModifierFlag::command));
}

class MonitorTest : public ::testing::Test
{
protected:
    SRShortcutActionPtr action(const SRShortcut &s, bool answer, int &calls)
    {
        return SRShortcutAction::shortcutActionWithShortcut(s, [answer, &calls](auto &) {
            ++calls;
            return answer;
        });
    }

    fake::FakeInput keys;
    SRGlobalShortcutMonitor monitor {keys};
    SRShortcut j = *SRShortcut::shortcutWithKeyEquivalent("⇧⌘J");
};

TEST_F(MonitorTest, TheActionAddedLastIsTriedFirst)
{
    int first = 0, second = 0;
    monitor.addAction(action(j, true, first), EventType::keyDown);
    auto later = action(j, false, second);
    monitor.addAction(later, EventType::keyDown);
    EXPECT_EQ(keys.hotKeyCount(), 1u) << "one hot key per shortcut";

    keys.type(38, ModifierFlag::shift | ModifierFlag::command);
    EXPECT_EQ(second, 1);
    EXPECT_EQ(first, 1) << "a declined key goes on to the earlier action";

    monitor.removeAction(later);
    keys.type(38, ModifierFlag::shift | ModifierFlag::command);
    EXPECT_EQ(second, 1);
    EXPECT_EQ(first, 2);
    EXPECT_EQ(keys.hotKeyCount(), 1u);
}

TEST_F(MonitorTest, TheRecorderRefusesWhatAnotherShortcutHoldsAndPlainKeysButFunctionKeys)
{
    using ShortcutRecording::canRecordShortcut;
    int calls = 0;
    const auto space = *SRShortcut::shortcutWithKeyEquivalent("⇧⌘Space");
    monitor.addAction(action(space, true, calls), EventType::keyDown);
    monitor.addAction(action(j, true, calls), EventType::keyDown);
    const auto actions = monitor.actions();

    // The other shortcut's, a plain key and modifiers alone are the recorder's own test.
    EXPECT_TRUE(canRecordShortcut(space, space, actions)) << "its own may be recorded again";
    EXPECT_TRUE(
        canRecordShortcut(SRShortcut::shortcutWithCode(0, ModifierFlag::shift), space, actions))
        << "any modifier makes a combination";
    EXPECT_TRUE(canRecordShortcut(*SRShortcut::shortcutWithKeyEquivalent("F5"), space, actions));
    EXPECT_FALSE(
        canRecordShortcut(SRShortcut::shortcutWithCode(KeyCode::escape, 0), space, actions));
}

} // namespace
} // namespace tarnvik
