#include "click/CursorManager.h"
#include "platform/KeyCodes.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeFrameClock.h"
#include "platform/fake/FakeInput.h"
#include "platform/fake/FakePreferenceStore.h"
#include "preferences/Preferences.h"
#include "scroll/BufferAndRateScroller.h"
#include "scroll/ScrollMode.h"
#include "support/FrontWindow.h"
#include "support/RecordingScrollViews.h"
#include "support/TreeBuilding.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using fake::FakeInput;
using Keys = Preferences::Keys;

constexpr std::uint16_t keyA = 0, keyD = 2, keyG = 5, keyH = 4, keyJ = 38, keyK = 40, keyL = 37,
                        keyU = 32, key1 = 18, key2 = 19, key9 = 25, key0 = 29;

KeyEvent key(std::uint16_t keyCode, int type = EventType::keyDown, std::uint64_t flags = 0,
             std::string characters = {})
{
    if (characters.empty())
        if (auto c = asciiCharacter(keyCode))
            characters = std::string(1, *c);
    return {type, keyCode, flags | keyPositionFlags(keyCode), characters, characters};
}

KeyEvent repeat(std::uint16_t keyCode)
{
    auto event = key(keyCode);
    event.isARepeat = true;
    return event;
}

class ScrollDirectionTest : public ::testing::Test
{
protected:
    std::optional<ScrollDirection> direction(const KeyEvent &event)
    {
        return scrollDirection(event, preferences);
    }

    fake::FakePreferenceStore store;
    Preferences preferences {store};
};

TEST_F(ScrollDirectionTest, PhysicalKeysWithAnyModifiersAndNoRepeats)
{
    EXPECT_EQ(direction(key(keyH)), ScrollDirection::left);
    EXPECT_EQ(direction(key(keyJ, EventType::keyUp)), ScrollDirection::down);
    EXPECT_EQ(direction(key(keyK, EventType::keyDown, ModifierFlag::command)), ScrollDirection::up);
    EXPECT_EQ(direction(key(keyL, EventType::keyDown, ModifierFlag::shift)),
              ScrollDirection::right);
    EXPECT_EQ(direction(key(keyD)), ScrollDirection::down);
    EXPECT_EQ(direction(key(keyU)), ScrollDirection::up);
    EXPECT_EQ(direction(repeat(keyJ)), std::nullopt);
    EXPECT_EQ(direction(key(keyA)), std::nullopt);
    EXPECT_EQ(direction(key(KeyCode::down)), std::nullopt) << "arrows don't scroll by default";
    // Positions, not characters: the key at J's place scrolls down whatever it types.
    EXPECT_EQ(direction(key(keyJ, EventType::keyDown, 0, "h")), ScrollDirection::down);
}

TEST_F(ScrollDirectionTest, CustomKeysFollowTheTypedCharacterAndKeepTheOtherTables)
{
    preferences.setString(Keys::scrollKeys, "aBcD");
    EXPECT_EQ(direction(key(keyA, EventType::keyDown, 0, "A")), ScrollDirection::left);
    EXPECT_EQ(direction(key(11, EventType::keyDown, 0, "b")), ScrollDirection::down);
    EXPECT_EQ(direction(key(keyJ)), std::nullopt) << "H, J, K, L no longer scroll";
    EXPECT_EQ(direction(key(keyU)), ScrollDirection::up) << "U still scrolls up";
    // On a Dvorak layout the key at H's position types "d": matched by character.
    preferences.setString(Keys::scrollKeys, "dhtn");
    EXPECT_EQ(direction(key(keyH, EventType::keyDown, 0, "d")), ScrollDirection::left);
    EXPECT_EQ(direction(key(keyD, EventType::keyDown, 0, "e")), ScrollDirection::down)
        << "D's position scrolls through the shortcut table, whatever it types";

    preferences.setBool(Keys::mapArrowKeysToScroll, true);
    EXPECT_EQ(direction(key(KeyCode::left)), ScrollDirection::left);
    for (const char *wrongLength : {"hjk", "hjklm"}) {
        preferences.setString(Keys::scrollKeys, wrongLength);
        EXPECT_EQ(direction(key(keyJ)), ScrollDirection::down) << wrongLength;
    }
}

TEST_F(ScrollDirectionTest, ShiftDashesByTheMultiplier)
{
    preferences.setDouble(Keys::scrollPxPerMs, 2.0);
    preferences.setDouble(Keys::dashSpeedMultiplier, 3.0);
    EXPECT_DOUBLE_EQ(scrollRate(key(keyJ), preferences), 2.0);
    EXPECT_DOUBLE_EQ(scrollRate(key(keyJ, EventType::keyDown, ModifierFlag::shift), preferences),
                     6.0);
}

class ScrollerTest : public ::testing::Test
{
protected:
    std::vector<double> verticals() const
    {
        std::vector<double> v;
        for (const auto &s : input.scrolls())
            v.push_back(s.vertical);
        return v;
    }

    fake::FakeFrameClock clock;
    FakeInput input;
    BufferAndRateScroller scroller {clock, input};
};

TEST_F(ScrollerTest, EachTickScrollsTheRateTimesTheMeasuredFrameAndAStopEndsItDead)
{
    scroller.start(ScrollDirection::down, 0.0, 1.0);
    clock.tick();
    clock.setPeriod(1.0 / 120);
    clock.tick();
    ASSERT_EQ(input.scrolls().size(), 2u);
    EXPECT_NEAR(input.scrolls()[0].vertical, -1000.0 / 60, 1e-9);
    EXPECT_NEAR(input.scrolls()[1].vertical, -1000.0 / 120, 1e-9);
    EXPECT_DOUBLE_EQ(input.scrolls()[1].horizontal, 0.0);

    scroller.willStopWhenBufferIsEmpty = true;
    clock.tick();
    EXPECT_EQ(input.scrolls().size(), 2u) << "the stopping tick posts nothing";
    EXPECT_FALSE(clock.running());
    EXPECT_EQ(scroller.direction(), std::nullopt);
    EXPECT_EQ(scroller.scrollCount(), 0) << "the stop clears the counters";
    clock.tick();
    EXPECT_EQ(input.scrolls().size(), 2u);
}

TEST_F(ScrollerTest, ABufferHoldsOffTheStopAndDeliversTheShortfallInOneEvent)
{
    clock.setPeriod(0.010);
    scroller.start(ScrollDirection::left, 35.0, 1.0);
    scroller.willStopWhenBufferIsEmpty = true;
    for (int i = 0; i < 5; ++i)
        clock.tick();
    // 10 px at 10, 20 and 30 ms; at 40 ms the buffer's time is up and the last 5 px go.
    std::vector<double> horizontals;
    for (const auto &s : input.scrolls())
        horizontals.push_back(s.horizontal);
    EXPECT_EQ(horizontals, (std::vector<double> {10, 10, 10, 5}));
    EXPECT_FALSE(clock.running());
}

TEST_F(ScrollerTest, StartReplacesARunningScrollAndSingleScrollsLeaveItAlone)
{
    scroller.start(ScrollDirection::right, 0.0, 1.0);
    clock.tick();
    scroller.scrollOnce(ScrollDirection::up, 99999.0);
    EXPECT_EQ(scroller.direction(), ScrollDirection::right);
    EXPECT_DOUBLE_EQ(scroller.scrolledPx(), 1000.0 / 60 + 99999.0);
    scroller.start(ScrollDirection::left, 0.0, 2.0);
    EXPECT_EQ(scroller.scrollCount(), 0);
    clock.tick();
    EXPECT_NEAR(input.scrolls().back().horizontal, 2000.0 / 60, 1e-9);
    EXPECT_NEAR(input.scrolls()[0].horizontal, -1000.0 / 60, 1e-9);
    EXPECT_DOUBLE_EQ(input.scrolls()[1].vertical, 99999.0);
}

TEST_F(ScrollerTest, AFailedStartTicksNeverAndTheNextStartRecovers)
{
    clock.failStarts(-6661);
    scroller.start(ScrollDirection::down, 0.0, 1.0);
    EXPECT_FALSE(clock.running());
    EXPECT_EQ(scroller.direction(), ScrollDirection::down) << "left stored, harmless";
    clock.failStarts(0);
    scroller.start(ScrollDirection::up, 0.0, 1.0);
    clock.tick();
    ASSERT_EQ(input.scrolls().size(), 1u);
    EXPECT_GT(input.scrolls()[0].vertical, 0);
}

// Areas as the finder sees them: a hand-built tree.
TEST(ScrollableElementsTest, OutermostShowingAreasDepthFirstFromTheLastChild)
{
    test::HandTree t("AXWindow", makeRect(0, 0, 800, 600));
    auto sidebar = t.add(t.root, "AXScrollArea", makeRect(0, 0, 200, 600));
    t.add(sidebar, "AXScrollArea", makeRect(0, 0, 200, 100)); // nested: never listed
    auto split = t.add(t.root, "AXSplitGroup", makeRect(200, 0, 600, 600));
    auto content = t.add(split, "AXScrollArea", makeRect(200, 0, 600, 300));
    auto hidden = t.add(split, "AXGroup", makeRect(200, 300, 600, 1)); // too thin to count
    auto inHidden = t.add(hidden, "AXScrollArea", makeRect(200, 300, 600, 200));
    t.add(split, "AXScrollArea", makeRect(900, 0, 100, 100)); // off the window
    auto landmark =
        std::make_shared<UIElement>(std::nullopt, "AXGroup", CGPoint {200, 300}, CGSize {600, 300});
    landmark->subrole = "AXLandmarkMain";
    ASSERT_TRUE(t.tree->add(landmark, split->id));

    const auto areas = ScrollMode::findScrollableElements(*t.tree);
    const std::vector<UIElementPtr> expected {t.root, landmark, inHidden, content, sidebar};
    EXPECT_EQ(areas, expected) << "a thin group is passed through; the area off the window "
                                  "isn't seen";
}

class ScrollModeTest : public ::testing::Test, protected test::FrontWindow
{
protected:
    using RecordingViews = test::RecordingScrollViews;

    ScrollModeTest()
    {
        // Two lists side by side, each in a scroll area.
        left = window.add("AXScrollArea", makeRect(0, 0, 300, 600));
        left.add("AXList", makeRect(0, 0, 300, 3000));
        right = window.add("AXScrollArea", makeRect(300, 0, 500, 400));
        right.add("AXList", makeRect(300, 0, 500, 3000));
        desktop.setFrontmost(1);
        desktop.setCurrentProcess(99);
    }

    std::optional<std::size_t> index() const
    {
        return mode.windowController() ? mode.windowController()->state().index : std::nullopt;
    }

    CGPoint pointer() const { return input.mouseEvents().back().position; }

    ScrollMode::Services services(WorkQueue &queue)
    {
        return {.platform = {desktop, desktop, desktop},
                .screens = screens,
                .preferences = preferences,
                .scheduler = scheduler,
                .keyboard = input,
                .events = input,
                .cursor = cursor,
                .scroller = scroller,
                .views = views,
                .treeQueue = queue,
                .inputSources = inputSources};
    }

    fake::FakeElement left = window;
    fake::FakeElement right = window;
    CursorManager cursor {input};
    InputSources inputSources {input};
    fake::FakeFrameClock clock;
    BufferAndRateScroller scroller {clock, input};
    RecordingViews views;
    fake::InlineWorkQueue treeQueue;
    ScrollMode mode {services(treeQueue)};
};

TEST_F(ScrollModeTest, FindsTheAreasAimsAtTheWindowThenCyclesWithArrowsDigitsAndControlP)
{
    mode.activate();
    ASSERT_TRUE(mode.active());
    EXPECT_TRUE(input.captured());
    EXPECT_EQ(input.hiddenLevel(), 1);
    ASSERT_TRUE(views.shown.scrollableElements);
    EXPECT_EQ(views.shown.scrollableElements->size(), 1u) << "the window alone, at once";
    scheduler.runPending();
    ASSERT_EQ(views.shown.scrollableElements->size(), 3u);
    EXPECT_EQ(index(), 0u);
    EXPECT_EQ(pointer(), (CGPoint {400, 300})) << "the window's centre";

    // After the window come the areas from the last child to the first (Tab, Shift-Tab and
    // Control-N: linux.scroll_mode).
    press(KeyCode::p, ModifierFlag::control);
    EXPECT_EQ(index(), 2u) << "Control-P wraps round to the last";
    press(KeyCode::down);
    EXPECT_EQ(index(), 0u);
    press(KeyCode::up);
    EXPECT_EQ(index(), 2u);
    press(key2);
    EXPECT_EQ(index(), 1u);
    EXPECT_EQ(pointer(), (CGPoint {550, 200})) << "the right-hand area's centre";
    press(key9);
    press(key0);
    EXPECT_EQ(index(), 1u) << "9 is past the areas and 0 is no area";
    press(KeyCode::tab, ModifierFlag::control);
    EXPECT_EQ(index(), 1u) << "Control-Tab is no command";
    EXPECT_TRUE(input.scrolls().empty());

    press(KeyCode::escape);
    EXPECT_FALSE(mode.active());
    EXPECT_FALSE(input.captured());
    EXPECT_EQ(input.hiddenLevel(), 0);
    EXPECT_EQ(views.open, 0);
}

TEST_F(ScrollModeTest, HeldKeyScrollsEveryFrameUntilTheFirstTickAfterItsRelease)
{
    mode.activate();
    scheduler.runPending();
    EXPECT_FALSE(input.type(keyJ)) << "kept from the application";
    clock.tick();
    input.type(repeat(keyJ));
    clock.tick();
    ASSERT_EQ(input.scrolls().size(), 2u) << "a repeat doesn't restart the scroll";
    EXPECT_NEAR(input.scrolls()[0].vertical, -1000.0 / 60, 1e-9);

    // H over J: the later key rules, and the earlier key's release doesn't stop it.
    input.type(keyH);
    input.type(keyJ, 0, EventType::keyUp);
    clock.tick();
    EXPECT_NEAR(input.scrolls().back().horizontal, 1000.0 / 60, 1e-9);
    input.type(keyH, 0, EventType::keyUp);
    clock.tick();
    clock.tick();
    EXPECT_EQ(input.scrolls().size(), 3u);
    EXPECT_FALSE(clock.running());

    preferences.setDouble(Keys::scrollPxPerMs, 0.0);
    input.type(keyJ);
    EXPECT_FALSE(clock.running()) << "a rate of 0 starts nothing";
}

TEST_F(ScrollModeTest, JumpsAndHalfPages)
{
    mode.activate();
    scheduler.runPending();
    press(KeyCode::tab);
    press(keyD);
    EXPECT_DOUBLE_EQ(input.scrolls().back().vertical, -200.0) << "half the chosen area";
    press(keyU, ModifierFlag::command);
    EXPECT_DOUBLE_EQ(input.scrolls().back().vertical, -200.0) << "Command-U is no half page";
    EXPECT_TRUE(clock.running()) << "but it scrolls up, as any scroll key with modifiers does";
    clock.tick();
    EXPECT_FALSE(clock.running()) << "released before the first frame: no distance at all";

    press(keyG, ModifierFlag::shift);
    EXPECT_DOUBLE_EQ(input.scrolls().back().vertical, -99999.0);
    const auto count = input.scrolls().size();
    press(keyG);
    EXPECT_EQ(input.scrolls().size(), count) << "after Shift-G one G is no jump";
    press(keyG);
    EXPECT_DOUBLE_EQ(input.scrolls().back().vertical, 99999.0) << "gg goes to the top";
    press(keyG);
    EXPECT_EQ(input.scrolls().size(), count + 2) << "the second G's release starts the next gg";

    press(keyA);
    press(keyG);
    EXPECT_EQ(input.scrolls().size(), count + 2) << "G, another key, G is no jump";
    press(keyA);
    input.type(keyG);
    input.type(repeat(keyG));
    EXPECT_EQ(input.scrolls().size(), count + 3) << "holding G: the first repeat is the second G";

    preferences.setBool(Keys::isScrollShortcutsEnabled, false);
    input.type(keyG, 0, EventType::keyUp);
    press(keyG);
    press(keyG);
    press(keyD);
    clock.tick();
    EXPECT_EQ(input.scrolls().size(), count + 3) << "G jumps no more, D doesn't scroll";
}

TEST_F(ScrollModeTest, ArrowKeysScrollWhenMappedAndTheOtherWaysStillCycle)
{
    preferences.setBool(Keys::mapArrowKeysToScroll, true);
    mode.activate();
    scheduler.runPending();
    input.type(KeyCode::down);
    EXPECT_EQ(index(), 0u);
    clock.tick();
    ASSERT_EQ(input.scrolls().size(), 1u);
    EXPECT_LT(input.scrolls()[0].vertical, 0);
    press(KeyCode::tab);
    press(KeyCode::n, ModifierFlag::control);
    press(key1);
    EXPECT_EQ(index(), 0u);
    press(key2);
    EXPECT_EQ(index(), 1u);
}

TEST_F(ScrollModeTest, IdleTimeEndsTheModeButNotWhileAKeyIsHeld)
{
    preferences.setBool(Keys::autoDeactivateScrolling, true);
    preferences.setDouble(Keys::autoDeactivateScrollingDelayS, 1.0);
    mode.activate();
    scheduler.runPending();
    scheduler.advance(Seconds(0.6));
    press(KeyCode::tab);
    scheduler.advance(Seconds(0.6));
    EXPECT_TRUE(mode.active()) << "Tab restarted the timer";
    input.type(keyJ);
    scheduler.advance(Seconds(5));
    EXPECT_TRUE(mode.active()) << "a held key keeps the mode";
    input.type(keyJ, 0, EventType::keyUp);
    scheduler.advance(Seconds(0.9));
    EXPECT_TRUE(mode.active());
    scheduler.advance(Seconds(0.2));
    EXPECT_FALSE(mode.active());
    EXPECT_EQ(input.hiddenLevel(), 0);
    EXPECT_TRUE(scroller.willStopWhenBufferIsEmpty) << "a scroll in flight ends on its next tick";

    preferences.setDouble(Keys::autoDeactivateScrollingDelayS, 0.0);
    mode.activate();
    scheduler.advance(Seconds(0));
    EXPECT_FALSE(mode.active()) << "a delay of 0 ends the mode at the next pass";
}

TEST_F(ScrollModeTest, AWindowWithoutAreasKeepsTheWindowAndFailuresBeep)
{
    auto &plain = desktop.addApplication({.processIdentifier = 2, .bundlePath = "/usr/bin/plain"});
    plain.addWindow(makeRect(0, 0, 400, 300), "Plain").add("AXButton", makeRect(10, 10, 80, 20));
    desktop.setFrontmost(2);
    mode.activate();
    scheduler.runPending();
    ASSERT_TRUE(mode.active());
    EXPECT_EQ(views.shown.scrollableElements->size(), 1u);
    press(KeyCode::tab);
    EXPECT_EQ(index(), 0u);
    mode.deactivate();

    preferences.setDisabledBundlePaths({"/usr/bin/plain"});
    mode.activate();
    EXPECT_FALSE(mode.active());
    EXPECT_EQ(input.beeps(), 0) << "an ignored application is left in silence";

    desktop.setFrontmost(std::nullopt);
    mode.activate();
    EXPECT_EQ(input.beeps(), 1);
    EXPECT_FALSE(input.captured());

    // An open menu holds the keyboard and would take the wheel: nothing starts at all.
    desktop.setFrontmost(1);
    input.holdElsewhere(true);
    mode.activate();
    EXPECT_FALSE(mode.active());
    EXPECT_EQ(input.beeps(), 2);
    EXPECT_FALSE(input.captured());
    EXPECT_EQ(input.hiddenLevel(), 0);
}

TEST_F(ScrollModeTest, TheWindowWaitsForTheKeyboardWhereTheDesktopGivesItLater)
{
    input.giveKeyboardLater(true);
    mode.activate();
    scheduler.runPending();
    EXPECT_TRUE(input.captured());
    EXPECT_EQ(views.ordered, 0) << "keys held now would still scroll nothing";
    EXPECT_EQ(input.hiddenLevel(), 0);
    input.giveKeyboard(true);
    EXPECT_EQ(views.ordered, 1);
    EXPECT_EQ(input.hiddenLevel(), 1);
    mode.deactivate();

    mode.activate();
    input.giveKeyboard(false);
    EXPECT_FALSE(mode.active());
    EXPECT_EQ(input.beeps(), 1);
    EXPECT_FALSE(input.captured());
    EXPECT_EQ(input.hiddenLevel(), 0);
    EXPECT_EQ(views.ordered, 1) << "the window never shown";
    EXPECT_EQ(mode.windowController(), nullptr);
}

TEST_F(ScrollModeTest, ATreeThatComesAfterTheModeEndedIsDropped)
{
    test::HeldQueue queue;
    ScrollMode held {services(queue)};
    held.activate();
    held.deactivate();
    held.activate();
    ASSERT_EQ(queue.held.size(), 2u);
    queue.held[0]();
    scheduler.runPending();
    EXPECT_EQ(held.windowController()->state().scrollableElements->size(), 1u)
        << "the first activation's tree is dropped";
    queue.held[1]();
    scheduler.runPending();
    EXPECT_EQ(held.windowController()->state().scrollableElements->size(), 3u);
}

} // namespace
} // namespace tarnvik
