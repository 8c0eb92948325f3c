#include "click/SessionGeometry.h"

#include "support/TreeBuilding.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

// Two screens side by side, 1000 by 800 each, in the screen space (origin bottom left).
const std::vector<Screen> twoScreens = {Screen {makeRect(0, 0, 1000, 800), {}, 1, 1.0 / 60},
                                        Screen {makeRect(1000, 0, 1000, 800), {}, 1, 1.0 / 60}};

TEST(SessionGeometry, TheScreenHoldingMostOfTheWindowWinsAndTiesStayWithTheEarlier)
{
    EXPECT_EQ(chooseScreen(makeRect(1200, 100, 300, 300), twoScreens)->frame.origin.x, 1000);
    EXPECT_EQ(chooseScreen(makeRect(900, 100, 300, 300), twoScreens)->frame.origin.x, 1000);
    EXPECT_EQ(chooseScreen(makeRect(900, 100, 200, 300), twoScreens)->frame.origin.x, 0)
        << "equal halves";
    EXPECT_EQ(chooseScreen(makeRect(5000, 5000, 10, 10), twoScreens)->frame.origin.x, 0)
        << "on no screen";
    EXPECT_FALSE(chooseScreen(makeRect(0, 0, 10, 10), {}));
}

TEST(SessionGeometry, OnlyWhatShowsOnTheSessionsScreenIsKept)
{
    test::HandTree t("AXWindow", makeRect(0, 0, 2000, 800));
    auto left = t.add(t.root, "AXButton", makeRect(10, 10, 50, 20));
    auto right = t.add(t.root, "AXButton", makeRect(1500, 10, 50, 20));
    auto scroll = t.add(t.root, "AXScrollArea", makeRect(0, 100, 1000, 100));
    // Its frame reaches the other screen, but what shows of it doesn't.
    auto clipped = t.add(scroll, "AXButton", makeRect(900, 150, 400, 20));
    auto kept = elementsOnScreen({left, right, clipped}, twoScreens[0], 800);
    EXPECT_EQ(kept, (std::vector<UIElementPtr> {left, clipped}));
    EXPECT_EQ(elementsOnScreen({left, right, clipped}, twoScreens[1], 800),
              std::vector<UIElementPtr> {right});
}

TEST(SessionGeometry, ADockCountsOnlyWhollyOnTheSessionsScreen)
{
    test::HandTree dock("AXList", makeRect(200, 750, 600, 50));
    EXPECT_EQ(dockFrameOnScreen(*dock.tree, twoScreens[0], 800), makeRect(200, 0, 600, 50));
    EXPECT_FALSE(dockFrameOnScreen(*dock.tree, twoScreens[1], 800));
    test::HandTree across("AXList", makeRect(900, 750, 600, 50));
    EXPECT_FALSE(dockFrameOnScreen(*across.tree, twoScreens[0], 800));
}

} // namespace
} // namespace tarnvik
