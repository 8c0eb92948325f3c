#include "click/Mode.h"

#include "platform/KeyCodes.h"
#include "support/ModeSession.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using test::ModeTest;

constexpr std::uint16_t keyA = 0, keyS = 1, keyD = 2, keyF = 3, keyZ = 6;

TEST_F(ModeTest, TypedLabelClicksTheElementAndTheSameKeyAgainDoubleClicks)
{
    mode.activate(true);
    ASSERT_TRUE(mode.active());
    scheduler.runPending();
    ASSERT_NE(mode.targetsView(), nullptr);
    EXPECT_EQ(mode.targetsView()->labels(), (std::vector<std::string> {"S", "A", "D", "F"}));
    EXPECT_EQ(player.plays["click7"], 1);
    EXPECT_EQ(input.hiddenLevel(), 1);

    EXPECT_FALSE(press(keyA)) << "a label key is kept from the application";
    EXPECT_FALSE(mode.active());
    EXPECT_EQ(input.hiddenLevel(), 0);
    EXPECT_FALSE(input.captured());
    ASSERT_EQ(presses().size(), 1u);
    EXPECT_EQ(presses()[0].position, (CGPoint {150, 52})) << "the centre of the second button";
    EXPECT_EQ(presses()[0].clickState, 1);
    EXPECT_EQ(views.w.open, 1) << "the overlay stays for the double-click interval";

    scheduler.advance(Seconds(0.2));
    EXPECT_FALSE(press(keyA)) << "the second press is taken for the double click";
    ASSERT_EQ(presses().size(), 2u);
    EXPECT_EQ(presses()[1].clickState, 2);
    EXPECT_EQ(presses()[1].position, presses()[0].position);

    scheduler.advance(Seconds(1));
    EXPECT_EQ(views.w.open, 0);
    EXPECT_EQ(input.hotKeyCount(), 0u);
    EXPECT_TRUE(press(keyA)) << "after the interval the key belongs to the application again";
    EXPECT_EQ(presses().size(), 2u);
}

TEST_F(ModeTest, AWrongLetterWarnsAndAPartialLabelIsForgottenAfterASecond)
{
    // Sixteen targets: S stops being a label of its own and starts SS, SA and SD.
    for (int i = 0; i < 12; ++i)
        window.add("AXButton", makeRect(10 + 30 * i, 200, 20, 20)).actions({AXPressAction});
    mode.activate(true);
    scheduler.runPending();
    ASSERT_EQ(mode.targetsView()->labels().size(), 16u);
    EXPECT_EQ(mode.targetsView()->labels()[13], "SS");

    press(keyS);
    EXPECT_EQ(mode.labelQuery(), "S");
    EXPECT_EQ(mode.targetsView()->matchedPrefixes()[13], 1);
    EXPECT_EQ(mode.targetsView()->matchedPrefixes()[0], 0);
    scheduler.advance(Seconds(1.01));
    EXPECT_EQ(mode.labelQuery(), "") << "forgotten after a second";
    EXPECT_EQ(mode.targetsView()->matchedPrefixes()[13], 0);

    press(keyS);
    press(keyZ);
    EXPECT_EQ(player.plays["warning"], 1);
    EXPECT_EQ(mode.labelQuery(), "");
    press(keyS);
    press(keyA);
    EXPECT_FALSE(mode.active()) << "SA clicks after the wrong letter was forgotten";
    EXPECT_EQ(presses().size(), 1u);
}

TEST_F(ModeTest, LabelModeKeyTableAndAClickElsewhereThatLeavesItOn)
{
    mode.activate(true);
    scheduler.runPending();
    EXPECT_TRUE(press(KeyCode::returnKey)) << "with auto-click nothing is focused: Return passes";
    EXPECT_FALSE(press(KeyCode::tab));
    EXPECT_FALSE(mode.targetsView()->focusedElement()) << "Tab has nothing to move";
    EXPECT_FALSE(press(KeyCode::space)) << "Space rotates the clusters";
    EXPECT_TRUE(press(keyS, ModifierFlag::control)) << "Control and a letter pass on";
    input.pressButton();
    scheduler.runPending();
    EXPECT_TRUE(mode.active()) << "only search mode ends at a click";
    EXPECT_TRUE(presses().empty());
    EXPECT_TRUE(press(KeyCode::escape)) << "Escape ends the session and passes on";
    EXPECT_FALSE(mode.active());
    EXPECT_EQ(views.w.open, 0);
    EXPECT_EQ(input.hiddenLevel(), 0);
}

TEST_F(ModeTest, WithoutAutoClickTheFirstElementIsFocusedAndSpaceClicks)
{
    store.setBool(Preferences::Keys::isAutoClickEnabled, false);
    mode.activate(true);
    scheduler.runPending();
    press(KeyCode::down);
    EXPECT_EQ(mode.targetsView()->focusedIndex(), 1u);
    press(KeyCode::up);
    press(KeyCode::up);
    EXPECT_EQ(mode.targetsView()->focusedIndex(), 3u) << "focus wraps at the ends";
    press(keyA);
    EXPECT_TRUE(mode.active()) << "a typed label only focuses";
    EXPECT_EQ(mode.targetsView()->focusedIndex(), 1u);
    press(KeyCode::space);
    EXPECT_FALSE(mode.active());
    ASSERT_EQ(presses().size(), 1u);
    EXPECT_EQ(presses()[0].position, (CGPoint {150, 52}));
}

TEST_F(ModeTest, TheSearchFieldGetsWhatTheSessionLeaves)
{
    mode.activate(false);
    scheduler.runPending();
    const auto before = views.w.typed.size();
    EXPECT_FALSE(input.type(keyD, 0, EventType::keyDown, "d"));
    EXPECT_EQ(views.w.typed.size(), before + 1) << "a plain letter is search text";
    EXPECT_FALSE(input.type(keyD, ModifierFlag::shift, EventType::keyDown, "D"));
    EXPECT_EQ(views.w.typed.size(), before + 1) << "Shift and a letter picks a label";
    EXPECT_EQ(mode.targetsView()->focusedIndex(), 2u);
    EXPECT_TRUE(mode.active()) << "in search mode a label focuses, Return clicks";
    input.type(KeyCode::escape, 0, EventType::keyDown);
    EXPECT_FALSE(mode.active());
}

TEST_F(ModeTest, EscapeBeforeTheTreesArriveDropsTheLateResult)
{
    treeQueue.hold = true;
    mode.activate(true);
    press(KeyCode::escape);
    EXPECT_FALSE(mode.active());
    treeQueue.runAll();
    scheduler.runPending();
    EXPECT_EQ(views.w.shows, 0);
}

TEST_F(ModeTest, LabelsWaitForTheKeyboardWhereTheDesktopGivesItLater)
{
    input.giveKeyboardLater(true);
    mode.activate(false);
    scheduler.runPending();
    ASSERT_NE(mode.targetsView(), nullptr) << "the labels are made meanwhile";
    EXPECT_EQ(views.w.ordered, 0) << "and shown only once typing them reaches the session";
    input.giveKeyboard(true);
    EXPECT_EQ(views.w.ordered, 2) << "the labels and the search bar";
    press(KeyCode::escape);

    mode.activate(true);
    input.giveKeyboard(false);
    EXPECT_FALSE(mode.active());
    EXPECT_EQ(input.beeps(), 1);
    EXPECT_FALSE(input.captured());
    EXPECT_EQ(input.hiddenLevel(), 0);
    EXPECT_EQ(views.w.ordered, 2);
}

TEST_F(ModeTest, IgnoredApplicationsGetNoSession)
{
    preferences.setDisabledBundlePaths({"/usr/bin/example"});
    mode.activate(true);
    EXPECT_FALSE(mode.active());
    EXPECT_EQ(views.w.targetsWindows, 0);
    EXPECT_EQ(player.plays["click7"], 0);
    EXPECT_EQ(input.beeps(), 0);

    desktop.setFrontmost(std::nullopt);
    mode.activate(true);
    EXPECT_EQ(input.beeps(), 1) << "no application in front: the beep";
}

TEST_F(ModeTest, ThePointerShowsWhileTheMouseMovesAndIsBalancedAtTheEnd)
{
    mode.activate(true);
    EXPECT_EQ(input.hiddenLevel(), 1);
    input.moveMouse();
    EXPECT_EQ(input.hiddenLevel(), 0);
    scheduler.advance(Seconds(0.5));
    input.moveMouse();
    scheduler.advance(Seconds(0.9));
    EXPECT_EQ(input.hiddenLevel(), 0) << "still within a second of the last move";
    scheduler.advance(Seconds(0.2));
    EXPECT_EQ(input.hiddenLevel(), 1);
    mode.deactivate(true);
    EXPECT_EQ(input.hiddenLevel(), 0);
    EXPECT_EQ(cursor.hideCursorCount(), 0);
    EXPECT_FALSE(input.observingMotion());
}

TEST_F(ModeTest, ChainClicksBringLabelsBackUntilATextFieldIsClicked)
{
    store.setBool(Preferences::Keys::chainClicks, true);
    mode.activate(true);
    scheduler.runPending();
    press(keyS);
    EXPECT_FALSE(mode.active());
    scheduler.advance(Seconds(0.31));
    EXPECT_TRUE(mode.active()) << "labels come back";
    scheduler.runPending();
    press(keyF); // the text field
    scheduler.advance(Seconds(1));
    EXPECT_FALSE(mode.active());

    // The scroll shortcut within the chain's 0.3 s ends click mode before it starts its own.
    mode.activate(true);
    scheduler.runPending();
    press(keyS);
    mode.deactivate(true);
    scheduler.advance(Seconds(0.31));
    EXPECT_FALSE(mode.active()) << "a chain cut short never comes back";
}

class ClickUtilsTest : public ::testing::Test, protected test::FrontWindow
{
protected:
    // The element, read whole as a tree building reads it, with a clicker for it.
    std::shared_ptr<ClickUtils> clickerFor(const fake::FakeElement &target)
    {
        auto root = UIElement::fullElement(desktop, window.ref());
        auto tree = UITree::make(root);
        auto element = UIElement::fullElement(desktop, target.ref());
        EXPECT_TRUE(tree->add(element, root->id));
        UITrees trees;
        trees.frontmostWindowUiTree = tree;
        return std::make_shared<ClickUtils>(ClickUtils::Services {desktop, input, scheduler},
                                            element, trees);
    }
};

TEST_F(ClickUtilsTest, LinksAreClickedNearTheirEndWhenTheCentreMissesThem)
{
    auto link = window.add("AXLink", makeRect(100, 100, 10, 40));
    // Something else lies over the link's centre, as the gap between a wrapped link's lines.
    window.add("AXStaticText", makeRect(100, 115, 10, 10));
    // A 10-point-wide link is entered by half its width from the right, 8 points from the top.
    EXPECT_EQ(clickerFor(link)->clickPosition(), (CGPoint {105, 108}));
}

TEST_F(ClickUtilsTest, MenuItemsArePressedByTheirActionOtherElementsByTheMouse)
{
    auto item = window.add("AXMenuItem", makeRect(0, 0, 90, 20)).actions({AXPressAction});
    auto mute = window.add("AXMenuItem", makeRect(0, 20, 90, 20)).actions({"AXShowMenu"});
    auto button = window.add("AXButton", makeRect(0, 40, 90, 20)).actions({AXPressAction});

    clickerFor(item)->click(1);
    EXPECT_EQ(desktop.performed(), std::vector<std::string> {AXPressAction});
    EXPECT_TRUE(input.mouseEvents().empty());

    clickerFor(mute)->click(1);
    clickerFor(button)->click(1);
    EXPECT_EQ(desktop.performed().size(), 1u);
    scheduler.advance(Seconds(1));
    EXPECT_EQ(std::count_if(input.mouseEvents().begin(), input.mouseEvents().end(),
                            [](const auto &e) { return e.button == 0; }),
              4)
        << "a press and a release each, by the mouse";
}

} // namespace
} // namespace tarnvik
