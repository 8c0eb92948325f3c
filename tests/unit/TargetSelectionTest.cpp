#include "accessibility/UITree.h"
#include "support/TreeBuilding.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using test::HandTree;
using test::names;
using Names = std::vector<std::string>;

class TargetSelectionTest : public ::testing::Test
{
protected:
    HandTree t {"AXWindow", makeRect(0, 0, 800, 600)};

    UIElementPtr add(const UIElementPtr &parent, const std::string &role, CGRect frame,
                     const std::string &title = {})
    {
        auto e = t.add(parent, role, frame);
        if (!title.empty())
            e->title = title;
        return e;
    }
    UIElementPtr text(const UIElementPtr &parent, CGRect frame, const std::string &value)
    {
        auto e = t.add(parent, "AXStaticText", frame);
        e->value = value;
        return e;
    }
    Names targets(bool includeAll = false) { return names(t.tree->targets(includeAll)); }
};

TEST_F(TargetSelectionTest, AControlKeepsTheLabelOfWhatItHolds)
{
    auto plain = add(t.root, "AXButton", makeRect(0, 0, 100, 30), "Plain");
    text(plain, makeRect(10, 5, 80, 20), "Plain");

    // Text and image beside the centre: both go as well.
    auto beside = add(t.root, "AXButton", makeRect(0, 40, 100, 30), "Beside");
    text(beside, makeRect(60, 45, 30, 20), "Beside");
    auto icon = add(beside, "AXImage", makeRect(2, 45, 10, 10));
    icon->enabled = true;

    // Two nested buttons keep their labels; their texts don't.
    auto outer = add(t.root, "AXButton", makeRect(0, 80, 200, 30), "Outer");
    auto left = add(outer, "AXButton", makeRect(0, 80, 90, 30), "Left");
    text(left, makeRect(10, 85, 40, 20), "Left");
    add(outer, "AXButton", makeRect(110, 80, 90, 30), "Right");
    text(outer, makeRect(95, 85, 10, 20), "Sep");

    EXPECT_EQ(targets(),
              (Names {"AXButton Plain", "AXButton Beside", "AXButton Outer", "AXButton Left",
                      "AXButton Right"}));
    EXPECT_EQ(targets(true),
              (Names {"AXButton Plain", "AXStaticText Plain", "AXButton Beside",
                      "AXStaticText Beside", "AXImage", "AXButton Outer", "AXButton Left",
                      "AXStaticText Left", "AXButton Right", "AXStaticText Sep"}))
        << "without heuristics every actionable candidate stays";
}

TEST_F(TargetSelectionTest, ASingleInnerTargetOverTheCentreGivesWayWhateverItsRole)
{
    auto tab = add(t.root, "AXRadioButton", makeRect(0, 0, 100, 30), "Tab");
    tab->subrole = "AXTabButton";
    add(tab, "AXCheckBox", makeRect(0, 0, 100, 30), "Inner");
    auto link = add(t.root, "AXLink", makeRect(0, 50, 100, 30), "Link");
    add(link, "AXButton", makeRect(0, 50, 10, 10), "Corner");
    EXPECT_EQ(targets(), (Names {"AXRadioButton Tab", "AXLink Link", "AXButton Corner"}))
        << "a single inner button off the centre is no static text or image, and stays";
}

TEST_F(TargetSelectionTest, RowsGiveWayToWhatTheyHoldUnlessItRepeatsThem)
{
    auto list = add(t.root, "AXList", makeRect(0, 0, 400, 400));
    // Only a text that repeats the title: the row keeps the label.
    auto named = add(list, "AXRow", makeRect(0, 0, 400, 20), "Inbox (3)");
    text(named, makeRect(0, 0, 100, 20), "Inbox");
    // A one-character text: the row goes, the text stays.
    auto single = add(list, "AXRow", makeRect(0, 20, 400, 20), "A");
    text(single, makeRect(0, 20, 100, 20), "A");
    // Two targets inside: the row goes.
    auto two = add(list, "AXRow", makeRect(0, 40, 400, 20), "Two");
    add(two, "AXButton", makeRect(0, 40, 100, 20), "One");
    add(two, "AXButton", makeRect(100, 40, 100, 20), "Other");
    // Nothing pressable inside: the row stays.
    auto empty = add(list, "AXRow", makeRect(0, 60, 400, 20), "Empty");
    add(empty, "AXGroup", makeRect(0, 60, 400, 20));
    // Exactly covered by a link: the link takes the label.
    auto covered = add(list, "AXRow", makeRect(0, 80, 400, 20), "Covered");
    add(covered, "AXLink", makeRect(0, 80, 400, 20), "Link");
    // A description counts like a title.
    auto described = add(list, "AXRow", makeRect(0, 100, 400, 20));
    described->description = "Drafts folder";
    text(described, makeRect(0, 100, 100, 20), "Drafts");

    EXPECT_EQ(targets(),
              (Names {"AXRow Inbox (3)", "AXStaticText A", "AXButton One", "AXButton Other",
                      "AXRow Empty", "AXLink Link", "AXRow"}));
}

TEST_F(TargetSelectionTest, ComboBoxesMenuItemsAndTextAreasAbsorbTheirInnerLabels)
{
    auto combo = add(t.root, "AXComboBox", makeRect(0, 0, 200, 30), "Combo");
    add(combo, "AXButton", makeRect(170, 0, 30, 30), "Arrow");
    auto item = add(t.root, "AXMenuItem", makeRect(0, 40, 200, 20), "Item");
    text(item, makeRect(0, 40, 50, 20), "Item");
    add(item, "AXCheckBox", makeRect(180, 40, 20, 20), "Check");
    auto area = add(t.root, "AXTextArea", makeRect(0, 100, 200, 100), "Area");
    text(area, makeRect(0, 100, 200, 20), "line one");
    add(area, "AXLink", makeRect(0, 120, 50, 20), "Inline");
    EXPECT_EQ(targets(),
              (Names {"AXComboBox Combo", "AXMenuItem Item", "AXTextArea Area", "AXLink Inline"}));
}

TEST_F(TargetSelectionTest, EmptyCellsAndSplitSentencesBecomeTargets)
{
    auto table = add(t.root, "AXTable", makeRect(0, 0, 400, 100));
    add(table, "AXCell", makeRect(0, 0, 100, 20), "Empty");
    auto full = add(table, "AXCell", makeRect(100, 0, 100, 20), "Full");
    add(full, "AXButton", makeRect(100, 0, 50, 20), "Go");

    auto sentence = add(t.root, "AXGroup", makeRect(0, 200, 200, 20), "Sentence");
    sentence->description = "Sign in now";
    text(sentence, makeRect(0, 200, 40, 20), "Sign");
    text(sentence, makeRect(40, 200, 20, 20), " In");
    auto other = add(t.root, "AXGroup", makeRect(0, 300, 200, 20), "Other");
    other->description = "Log out";
    text(other, makeRect(0, 300, 40, 20), "Sign");
    text(other, makeRect(40, 300, 40, 20), "up");

    EXPECT_EQ(targets(),
              (Names {"AXCell Empty", "AXButton Go", "AXGroup Sentence", "AXStaticText Sign",
                      "AXStaticText up"}));
}

TEST_F(TargetSelectionTest, RepeatedTextsGetOneLabelAndStackedTextAreasOne)
{
    auto a = add(t.root, "AXGroup", makeRect(0, 0, 100, 100));
    auto b = add(t.root, "AXGroup", makeRect(0, 0, 100, 100));
    text(a, makeRect(0, 0, 50, 20), "first");
    text(b, makeRect(0, 0, 50, 20), "second");
    add(t.root, "AXTextArea", makeRect(0, 200, 100, 50), "Editor");
    add(t.root, "AXTextArea", makeRect(0, 200, 100, 50), "Shadow");
    EXPECT_EQ(targets(), (Names {"AXStaticText first", "AXTextArea Editor"}));

    HandTree lone("AXWindow", makeRect(0, 0, 100, 100));
    auto area = lone.add(lone.root, "AXTextArea", makeRect(0, 0, 50, 50));
    lone.add(area, "AXTextArea", makeRect(0, 0, 50, 50));
    EXPECT_EQ(lone.tree->targets(false).size(), 2u)
        << "a first child has no previous sibling to repeat";
}

TEST_F(TargetSelectionTest, WebContentDropsPageSizedLinksAndImagesOverLinks)
{
    auto page = add(t.root, "AXWebArea", makeRect(0, 0, 800, 600));
    auto firstImage = add(page, "AXImage", makeRect(0, 0, 200, 100), "Hero");
    firstImage->enabled = true;
    add(page, "AXLink", makeRect(0, 0, 800, 600), "Whole page");
    add(page, "AXLink", makeRect(10, 10, 100, 20), "Story");
    auto cover = add(page, "AXImage", makeRect(0, 0, 200, 100), "Cover");
    cover->enabled = true;
    auto aside = add(page, "AXImage", makeRect(400, 400, 50, 50), "Aside");
    aside->enabled = true;
    EXPECT_EQ(targets(), (Names {"AXImage Hero", "AXLink Story", "AXImage Aside"}))
        << "the first child is kept; the cover image repeats the story link";
}

TEST_F(TargetSelectionTest, InvisibleAndTinyElementsGetNoLabelsButTinyOnesAreEntered)
{
    auto scroll = add(t.root, "AXScrollArea", makeRect(0, 0, 200, 100));
    auto gone = add(scroll, "AXGroup", makeRect(0, 300, 200, 100));
    add(gone, "AXButton", makeRect(0, 300, 50, 20), "Gone");
    auto hairline = add(t.root, "AXGroup", makeRect(0, 200, 1, 1));
    add(hairline, "AXButton", makeRect(0, 200, 50, 20), "Inside hairline");
    add(t.root, "AXButton", makeRect(300, 300, 1, 40), "Thin");
    EXPECT_EQ(targets(), (Names {"AXButton Inside hairline"}));
}

} // namespace
} // namespace tarnvik
