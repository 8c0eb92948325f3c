#include "app/settings/SettingsWindow.h"

#include "app/settings/ShortcutRecorderView.h"
#include "keyboard/CapsLockController.h"
#include "keyboard/SRGlobalShortcutMonitor.h"
#include "platform/KeyCodes.h"
#include "platform/KeyEvents.h"
#include "platform/LoginItem.h"
#include "platform/fake/FakeInput.h"
#include "platform/fake/FakePreferenceStore.h"
#include "preferences/Preferences.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>
#include <QTest>

#include <gtest/gtest.h>
#include <vector>

namespace tarnvik {
namespace {

using Keys = Preferences::Keys;

struct RecordingLoginItem : LoginItem
{
    void setEnabled(bool enabled) override { written.push_back(enabled); }
    std::vector<bool> written;
};

// The window over a store of its own, with every call it makes outside counted.
class SettingsWindowTest : public ::testing::Test
{
protected:
    SettingsWindowTest()
    {
        for (const char *text : {"⇧⌘Space", "⇧⌘J"})
            shortcuts.addAction(
                SRShortcutAction::shortcutActionWithShortcut(
                    *SRShortcut::shortcutWithKeyEquivalent(text), [](auto &) { return true; }),
                EventType::keyDown);
    }

    // Tarnvik's own widgets have no meta-object of their own (no moc) for findChildren to match.
    template<class T>
    std::vector<T *> all()
    {
        std::vector<T *> found;
        for (auto *widget : window.findChildren<QWidget *>()) {
            if (auto *t = dynamic_cast<T *>(widget))
                found.push_back(t);
        }
        return found;
    }

    template<class T>
    T *named(const QString &name)
    {
        for (auto *widget : all<T>()) {
            if (widget->accessibleName() == name)
                return widget;
        }
        ADD_FAILURE() << "no control named " << name.toStdString();
        return nullptr;
    }

    // The Clicking and the Scrolling page each have a row "Shortcut".
    ShortcutRecorderView *recorderShowing(const QString &text)
    {
        for (auto *recorder : all<ShortcutRecorderView>()) {
            if (recorder->text() == text)
                return recorder;
        }
        ADD_FAILURE() << "no recorder shows " << text.toStdString();
        return nullptr;
    }

    // A key as X delivers it, its scan code standing for the key position itself.
    void key(QWidget *to, QEvent::Type type, int qtKey, Qt::KeyboardModifiers modifiers,
             std::uint16_t position = 0)
    {
        QKeyEvent event(type, qtKey, modifiers, position, 0, 0);
        QApplication::sendEvent(to, &event);
    }

    fake::FakePreferenceStore store;
    Preferences preferences {store};
    fake::FakeInput keys;
    SRGlobalShortcutMonitor shortcuts {keys};
    RecordingLoginItem loginItem;
    RecordingSlot recordingSlot;
    int rewirings = 0;
    int statusItemChanges = 0;
    int clicksPlayed = 0;
    SettingsWindow window {
        {.preferences = preferences,
         .shortcuts = shortcuts,
         .loginItem = loginItem,
         .keyCodeOfScanCode = [](std::uint32_t code) -> std::optional<std::uint16_t> {
             if (code == 0)
                 return std::nullopt;
             return static_cast<std::uint16_t>(code);
         },
         .rewireShortcuts = [this] { ++rewirings; },
         .recordingSlot = recordingSlot,
         .hyperKeyDown = [] { return false; },
         .statusItemChanged = [this] { ++statusItemChanges; },
         .playClick = [this] { ++clicksPlayed; },
         .applications = [] { return std::vector<ListedApplication> {}; },
         .inputSources =
             [] {
                 return std::vector<std::pair<std::string, std::string>> {{"us", "English (US)"},
                                                                          {"de", "German"}};
             },
         .openPage = [](const std::string &) {},
         .openLabelDesigner = [] {},
         .hasTray = [] { return true; },
         .quit = [] {},
         .version = "0.2.0",
         .appcastPath = TARNVIK_APPCAST}};
};

TEST_F(SettingsWindowTest, ToggleChoicesAndFieldsWriteTheirPreferenceAndMakeTheirCall)
{
    named<QCheckBox>("Launch on login")->click();
    EXPECT_EQ(loginItem.written, std::vector<bool> {true});
    named<QCheckBox>("Show tray icon")->click();
    EXPECT_EQ(store.boolValue(Keys::showMenubarIcon), false);
    EXPECT_EQ(statusItemChanges, 1);
    named<QCheckBox>("Hyperkey enabled")->click();
    EXPECT_EQ(store.boolValue(Keys::enableHyperKey), true);
    EXPECT_EQ(rewirings, 1);

    for (auto *choice : window.findChildren<QRadioButton *>())
        if (choice->text() == "Exhaustive" || choice->text() == "Scroll")
            choice->click();
    EXPECT_EQ(store.boolValue(Keys::useSearchPredicate), false);
    EXPECT_EQ(store.boolValue(Keys::mapArrowKeysToScroll), true);

    QTest::keyClicks(named<QLineEdit>("Label characters"), "ASDF");
    EXPECT_EQ(store.stringValue(Keys::labelCharacters), "ASDF");

    auto *theme = named<QComboBox>("Theme");
    theme->activated(theme->findText("Dark"));
    EXPECT_EQ(store.stringValue(Keys::themeId), "dark");
    theme->activated(theme->findText("Original"));
    EXPECT_FALSE(store.stringValue(Keys::themeId)) << "the stock theme is no stored theme";

    auto *source = named<QComboBox>("Input source");
    source->activated(source->findText("German"));
    EXPECT_EQ(store.stringValue(Keys::autoSwitchInputSourceId), "de");
}

TEST_F(SettingsWindowTest, SlidersStoreTheirStepAndTheVolumeClicksOnceWhenADragEnds)
{
    auto *speed = named<QSlider>("Scroll speed");
    speed->setValue(3);
    EXPECT_EQ(store.doubleValue(Keys::scrollPxPerMs), 2.5);

    auto *volume = named<QSlider>("Volume");
    volume->setSliderDown(true);
    for (int step = 0; step <= volume->maximum(); ++step)
        volume->setValue(step);
    EXPECT_EQ(clicksPlayed, 0) << "none while the drag lasts";
    volume->setSliderDown(false);
    EXPECT_EQ(clicksPlayed, 1);
    EXPECT_DOUBLE_EQ(*store.doubleValue(Keys::soundEffectVolume), 1.0);
    QTest::keyClick(volume, Qt::Key_Left);
    EXPECT_EQ(clicksPlayed, 2) << "a step from the keyboard is a drag of its own";
}

TEST_F(SettingsWindowTest, TheRecorderTakesAKeyByPositionAndRefusesOneInUse)
{
    auto *recorder = recorderShowing("⇧⌘Space");
    ASSERT_EQ(recorder->accessibleName(), "Shortcut");
    recorder->click();
    ASSERT_TRUE(recorder->isRecording());
    EXPECT_EQ(keys.hotKeyCount(), 0u) << "the current shortcut can be recorded, not fired";

    key(recorder, QEvent::KeyPress, Qt::Key_J, Qt::ShiftModifier | Qt::MetaModifier, 38);
    EXPECT_TRUE(recorder->isRecording()) << "the scroll shortcut's";
    key(recorder, QEvent::KeyPress, Qt::Key_Tab, Qt::NoModifier, 48);
    EXPECT_TRUE(recorder->isRecording()) << "a plain key, and Tab kept from moving the focus";
    key(recorder, QEvent::KeyPress, Qt::Key_K, Qt::ControlModifier | Qt::AltModifier, 40);
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_EQ(store.stringValue(Keys::nonSearchShortcut), "⌃⌥K");
    EXPECT_EQ(keys.hotKeyCount(), 2u) << "the hot keys are back";
    EXPECT_EQ(rewirings, 0) << "wired after the key's event";
    QCoreApplication::processEvents();
    EXPECT_EQ(rewirings, 1);

    // Modifiers pressed and let go with no key between: the modifiers alone.
    recorder->click();
    key(recorder, QEvent::KeyPress, Qt::Key_Control, Qt::NoModifier, 59);
    key(recorder, QEvent::KeyPress, Qt::Key_Alt, Qt::ControlModifier, 58);
    EXPECT_EQ(recorder->text(), QString("⌃⌥")) << "shown while held";
    key(recorder, QEvent::KeyRelease, Qt::Key_Control, Qt::ControlModifier | Qt::AltModifier, 59);
    key(recorder, QEvent::KeyRelease, Qt::Key_Alt, Qt::AltModifier, 58);
    EXPECT_EQ(store.stringValue(Keys::nonSearchShortcut), "⌃⌥");

    // The Hyperkey alone, given by the Hyperkey to the control in the slot.
    recorder->click();
    ASSERT_EQ(recordingSlot.recording(), recorder);
    recordingSlot.recording()->takeShortcut(
        SRShortcut::shortcutWithCode(KeyCode::none, CapsLockController::hyperFlags));
    EXPECT_EQ(store.stringValue(Keys::nonSearchShortcut), "⌃⌥⇧⌘");
    EXPECT_EQ(recordingSlot.recording(), nullptr);

    auto *search = named<ShortcutRecorderView>("Search Shortcut");
    EXPECT_EQ(search->text(), QString("Record")) << "unset";
    search->click();
    search->endRecording();
    EXPECT_EQ(store.stringValue(Keys::searchShortcut), "") << "ended with nothing recorded";
}

TEST_F(SettingsWindowTest, ControlsShowTheFileAgainAndEveryOneHasAName)
{
    store.setBool(Keys::chainClicks, true);
    store.setString(Keys::scrollShortcut, "⌃F5");
    EXPECT_FALSE(named<QCheckBox>("Chain clicks")->isChecked());
    window.preferencesChanged();
    EXPECT_TRUE(named<QCheckBox>("Chain clicks")->isChecked());
    EXPECT_TRUE(recorderShowing("⌃F5"));

    // What can be operated is named, by its row or its own text, for a screen reader and for
    // Tarnvik's own search; the scroll bars of the pages are Qt's.
    for (auto *control : window.findChildren<QWidget *>()) {
        const auto *button = qobject_cast<QAbstractButton *>(control);
        const bool operable = button
            || (qobject_cast<QAbstractSlider *>(control) && !qobject_cast<QScrollBar *>(control))
            || qobject_cast<QComboBox *>(control) || qobject_cast<QLineEdit *>(control);
        const bool hasName =
            !control->accessibleName().isEmpty() || (button && !button->text().isEmpty());
        EXPECT_TRUE(!operable || hasName) << control->metaObject()->className() << " in "
                                          << control->parent()->metaObject()->className();
    }

    window.selectTab("about");
    EXPECT_EQ(window.selectedTabID(), "about");
    window.selectTab("nowhere");
    EXPECT_EQ(window.selectedTabID(), "about");
}

} // namespace
} // namespace tarnvik
