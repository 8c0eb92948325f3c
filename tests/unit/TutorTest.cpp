#include "platform/KeyCodes.h"
#include "support/ModeSession.h"
#include "tutorial/TutorMode.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using Rows = std::vector<TutorRow>;

TEST(TutorPopover, StandsOnTheScreenOfItsElement)
{
    // A second monitor to the right of the first, taller, and lower down.
    const std::vector<CGRect> screens = {makeRect(0, 0, 1920, 1080),
                                         makeRect(1920, 200, 1280, 1024)};
    const CGSize popover {300, 200};

    const CGPoint below = TutorMode::popoverOrigin(makeRect(2500, 500, 100, 30), popover, screens);
    EXPECT_EQ(below.x, 2400) << "centred on the element, on its own screen";
    EXPECT_EQ(below.y, 534);

    // At the second screen's right and bottom edges: kept inside that screen, above the element.
    const CGPoint corner = TutorMode::popoverOrigin(makeRect(3150, 1150, 40, 30), popover, screens);
    EXPECT_EQ(corner.x, 3200 - 300);
    EXPECT_EQ(corner.y, 1150 - 200 - 4);

    // Low on the second screen, where the first has already ended: still below.
    const CGPoint low = TutorMode::popoverOrigin(makeRect(2000, 900, 100, 30), popover, screens);
    EXPECT_EQ(low.y, 934);
    EXPECT_EQ(low.x, 1920) << "not pushed back onto the first screen";
}

TEST(TutorRows, SortedByKeyWithTheCustomAttributesAmongThemAndEmptyOnesLeftOut)
{
    UIElement e(std::nullopt, "AXButton", {}, {});
    e.title = "Open";
    e.help = "Opens a file";
    e.placeholderValue = "";
    e.customAttributes = {{"MissionControl", "Files"}, {"App", "Nautilus"}};
    EXPECT_EQ(TutorMode::rows(e),
              (Rows {{"App", "Nautilus"},
                     {"Help", "Opens a file"},
                     {"MissionControl", "Files"},
                     {"Role", "AXButton"},
                     {"Title", "Open"}}));

    UIElement identified(std::nullopt, "", {}, {});
    identified.identifier = "open-button";
    EXPECT_TRUE(TutorMode::rows(identified).empty()) << "the identifier is no row";
}

class TutorTest : public test::ModeTest
{
protected:
    TutorTest()
    {
        mode.activate(false);
        scheduler.runPending();
    }
    bool question() { return input.type(44, ModifierFlag::shift, EventType::keyDown, "?"); }
    std::string shownTitle() const
    {
        for (const auto &row : tutorViews.shown->rows)
            if (row.key == "Title")
                return row.value;
        return {};
    }
};

TEST_F(TutorTest, QuestionMarkShowsTheFocusedElementTabMovesItAndItAgainDismissesIt)
{
    // Search mode focuses the first result.
    EXPECT_FALSE(question()) << "swallowed";
    ASSERT_TRUE(tutorMode.active());
    ASSERT_TRUE(tutorViews.shown);
    EXPECT_EQ(shownTitle(), "Button 0");
    EXPECT_TRUE(tutorViews.shown->boxHidden) << "the focus frame marks it already";
    EXPECT_EQ(tutorViews.shown->frame, makeRect(10, 900 - 40 - 24, 80, 24)) << "screen space";

    press(KeyCode::tab);
    EXPECT_EQ(shownTitle(), "Button 1");

    question();
    EXPECT_FALSE(tutorMode.active()) << "? again dismisses it";
    question();
    press(KeyCode::escape);
    EXPECT_FALSE(mode.active());
    EXPECT_FALSE(tutorMode.active());

    mode.activate(false);
    scheduler.runPending();
    for (const char *letter : {"z", "q"})
        input.type(6, 0, EventType::keyDown, letter);
    scheduler.runPending();
    ASSERT_FALSE(mode.targetsView()->focusedElement()) << "nothing found";
    question();
    EXPECT_FALSE(tutorMode.active()) << "nothing focused: nothing to show";
}

} // namespace
} // namespace tarnvik
