#include "accessibility/UITrees.h"
#include "support/TreeBuilding.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using test::HandTree;

TEST(UITreeAdd, LinksByIdAndRefusesUnknownParentsAndDuplicates)
{
    HandTree t("AXWindow", makeRect(0, 0, 100, 100));
    auto a = t.add(t.root, "AXGroup", makeRect(0, 0, 50, 50));
    auto b = t.add(t.root, "AXButton", makeRect(0, 0, 5, 5));
    auto c = t.add(a, "AXButton", makeRect(0, 0, 5, 5));

    EXPECT_FALSE(t.tree->add(test::element("AXButton", {}), "no-such-id"));
    EXPECT_FALSE(t.tree->addChild(c, a->id)) << "already in the tree";
    EXPECT_TRUE(t.tree->add(test::element("AXButton", {}), c->id))
        << "an element without a handle is never taken for a cycle";

    EXPECT_EQ(t.tree->childIds(t.root->id), (std::vector<std::string> {a->id, b->id}));
    EXPECT_FALSE(t.tree->childIds(b->id)) << "no children, no entry";
    EXPECT_EQ(t.tree->parent(c->id), a);
    EXPECT_FALSE(t.tree->parent(t.root->id));
    EXPECT_FALSE(t.tree->parent("no-such-id"));
    EXPECT_EQ(t.tree->children(a->id)->size(), 1u);
    EXPECT_EQ(c->uiTree.lock(), t.tree);
    EXPECT_EQ(t.root->uiTree.lock(), t.tree);
}

TEST(UITreeBounds, OnlyClippingRolesCutTheirDescendants)
{
    HandTree t("AXWindow", makeRect(0, 0, 400, 400));
    EXPECT_EQ(t.tree->boundCache(t.root->id), makeRect(0, 0, 400, 400));

    // A group doesn't clip: a button outside its group's frame stays visible.
    auto group = t.add(t.root, "AXGroup", makeRect(0, 0, 50, 50));
    auto outside = t.add(group, "AXButton", makeRect(100, 100, 20, 20));
    EXPECT_EQ(t.tree->boundCache(outside->id), makeRect(0, 0, 400, 400));
    EXPECT_TRUE(t.tree->isVisible(outside->id));

    // A scroll area does: what is scrolled out has no visible frame.
    auto scroll = t.add(t.root, "AXScrollArea", makeRect(0, 200, 400, 100));
    auto row = t.add(scroll, "AXRow", makeRect(0, 350, 400, 20));
    auto half = t.add(scroll, "AXRow", makeRect(0, 290, 400, 20));
    EXPECT_FALSE(t.tree->isVisible(row->id));
    EXPECT_EQ(t.tree->visibleFrame(row->id), CGRect {});
    EXPECT_EQ(t.tree->visibleFrame(half->id), makeRect(0, 290, 400, 10));

    // So does a heading, and an article or main landmark by subrole.
    auto heading = t.add(t.root, "AXHeading", makeRect(0, 0, 100, 10));
    auto inHeading = t.add(heading, "AXLink", makeRect(0, 0, 200, 10));
    EXPECT_EQ(t.tree->visibleFrame(inHeading->id), makeRect(0, 0, 100, 10));
    auto article = t.add(t.root, "AXGroup", makeRect(0, 0, 30, 30));
    article->subrole = "AXDocumentArticle";
    EXPECT_EQ(t.tree->computeBound(article->id), makeRect(0, 0, 30, 30));

    HandTree area("AXScrollArea", makeRect(10, 10, 20, 20));
    EXPECT_EQ(area.tree->computeBound(area.root->id), makeRect(10, 10, 20, 20))
        << "a clipping root is bound by its own frame";
}

TEST(UITreeVisibility, ZeroSizedGroupsStayButZeroSizedControlsGo)
{
    HandTree t("AXWindow", makeRect(0, 0, 100, 100));
    auto group = t.add(t.root, "AXGroup", makeRect(500, 500, 0, 0));
    auto button = t.add(t.root, "AXButton", makeRect(10, 10, 0, 0));
    auto line = t.add(t.root, "AXButton", makeRect(10, 10, 40, 0));
    EXPECT_TRUE(t.tree->isVisible(group->id)) << "containers often report no size";
    EXPECT_FALSE(t.tree->isVisible(button->id));
    EXPECT_FALSE(t.tree->isVisible(line->id));
    EXPECT_FALSE(t.tree->isVisible("no-such-id"));
}

TEST(UITreeVisibility, EdgeSliversAreDroppedOnlyInWebContent)
{
    for (bool web : {true, false}) {
        HandTree t("AXWindow", makeRect(0, 0, 500, 500));
        auto area = t.add(t.root, web ? "AXWebArea" : "AXGroup", makeRect(0, 0, 500, 500));
        auto parent = t.add(area, "AXGroup", makeRect(0, 100, 200, 100));
        auto topSliver = t.add(parent, "AXGroup", makeRect(10, 100, 50, 2));
        auto rule = t.add(parent, "AXGroup", makeRect(0, 100, 200, 1));
        auto bottomRule = t.add(parent, "AXGroup", makeRect(0, 199, 200, 1));
        auto leftSliver = t.add(parent, "AXGroup", makeRect(0, 120, 1, 30));
        auto inside = t.add(parent, "AXGroup", makeRect(10, 120, 50, 2));
        auto rightSliver = t.add(parent, "AXGroup", makeRect(199, 120, 1, 30));

        EXPECT_EQ(t.tree->isVisible(topSliver->id), !web);
        EXPECT_TRUE(t.tree->isVisible(rule->id)) << "a full-width rule is a separator";
        EXPECT_TRUE(t.tree->isVisible(bottomRule->id));
        EXPECT_EQ(t.tree->isVisible(leftSliver->id), !web);
        EXPECT_EQ(t.tree->isVisible(rightSliver->id), !web);
        EXPECT_TRUE(t.tree->isVisible(inside->id));
        EXPECT_EQ(t.tree->enclosingWebArea(*topSliver) == area, web);
    }
}

TEST(UITreeVisibility, EnclosingWebAreaCountsTheRootButNotTheElementItself)
{
    HandTree page("AXWebArea", makeRect(0, 0, 100, 100));
    auto inner = page.add(page.root, "AXWebArea", makeRect(0, 0, 50, 50));
    auto link = page.add(inner, "AXLink", makeRect(0, 0, 10, 10));
    auto top = page.add(page.root, "AXGroup", makeRect(0, 0, 10, 10));
    EXPECT_EQ(page.tree->enclosingWebArea(*link), inner);
    EXPECT_EQ(page.tree->enclosingWebArea(*inner), page.root);
    EXPECT_EQ(page.tree->enclosingWebArea(*top), page.root);
    EXPECT_FALSE(page.tree->enclosingWebArea(*page.root));
}

TEST(UITrees, AllTreesFollowTheFixedOrderAndAnswerVisibleFrames)
{
    auto tree = [](const char *role) {
        return HandTree(role, makeRect(0, 0, 10, 10)).tree;
    };
    UITrees trees;
    trees.frontmostWindowUiTree = tree("AXWindow");
    trees.menubarUiTree = tree("AXMenuBar");
    trees.menubarExtraUiTrees = {tree("AXMenuBarItem"), tree("AXMenuBarItem")};
    trees.dockUiTree = tree("AXList");
    trees.overlayUiTrees = {tree("AXMenu")};

    std::vector<std::string> roles;
    for (const auto &t : trees.allTrees())
        roles.push_back(t->element(t->rootId())->role);
    EXPECT_EQ(roles,
              (std::vector<std::string> {"AXMenuBar", "AXMenuBarItem", "AXMenuBarItem", "AXMenu",
                                         "AXWindow", "AXList"}));
    EXPECT_EQ(trees.visibleFrame(trees.dockUiTree->rootId()), makeRect(0, 0, 10, 10));
    EXPECT_FALSE(trees.visibleFrame("no-such-id"));
}

} // namespace
} // namespace tarnvik
