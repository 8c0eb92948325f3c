#include "accessibility/Text.h"
#include "accessibility/UITrees.h"
#include "platform/fake/FakePreferenceStore.h"
#include "preferences/Preferences.h"
#include "support/TreeBuilding.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using test::HandTree;
using test::names;
using Names = std::vector<std::string>;

class ElementSearchTest : public ::testing::Test
{
protected:
    ElementSearchTest()
    {
        auto signIn = window.add(window.root, "AXButton", makeRect(0, 0, 100, 20));
        signIn->title = "Sign-In";
        auto field = window.add(window.root, "AXTextField", makeRect(0, 30, 100, 20));
        field->placeholderValue = "Straße";
        auto check = window.add(window.root, "AXCheckBox", makeRect(0, 60, 100, 20));
        check->subrole = "AXSwitch";
        check->help = "Turns the lights on";
        trees.frontmostWindowUiTree = window.tree;

        auto extra = menubarExtra.root;
        extra->customAttributes.emplace_back("App", "Clock Widget");
        trees.menubarExtraUiTrees = {menubarExtra.tree};
    }

    Names search(const std::string &query)
    {
        return names(trees.matchingElements(query, false, preferences));
    }

    fake::FakePreferenceStore store;
    Preferences preferences {store};
    HandTree window {"AXWindow", makeRect(0, 0, 400, 400)};
    HandTree menubarExtra {"AXMenuBarItem", makeRect(500, 0, 20, 20)};
    UITrees trees;
};

TEST_F(ElementSearchTest, MatchesAnySearchableStringIgnoringCaseBlanksAndHyphens)
{
    for (const auto *query : {"signin", "sign in", "SIGN-IN", "Sign\u2011in"})
        EXPECT_EQ(search(query), (Names {"AXButton Sign-In"})) << query;
    EXPECT_EQ(search("button"), (Names {"AXButton Sign-In"})) << "the role without its AX";
    EXPECT_EQ(search("axswitch"), (Names {"AXCheckBox"})) << "the subrole keeps its AX";
    EXPECT_EQ(search("lights"), (Names {"AXCheckBox"}));
    EXPECT_EQ(search("STRASSE"), Names {}) << "no folding beyond lower case";
    EXPECT_EQ(search("STRAßE"), (Names {"AXTextField"}));
    EXPECT_EQ(search("clock"), (Names {"AXMenuBarItem"})) << "extras are found by application";
}

TEST_F(ElementSearchTest, EmptyQueriesShowAllOrNothingButStarAndSemicolonAlwaysShowAll)
{
    const Names all {"AXMenuBarItem", "AXButton Sign-In", "AXTextField", "AXCheckBox"};
    EXPECT_EQ(search(""), all) << "extras come before the window";
    EXPECT_EQ(search(" - "), all);
    preferences.setBool(Preferences::Keys::hideLabelsWhenNothingIsSearched, true);
    EXPECT_EQ(search(""), Names {});
    EXPECT_EQ(search("- -"), Names {});
    EXPECT_EQ(search("*"), all);
    EXPECT_EQ(search(";"), all);
}

TEST(Normalize, LowersAndStripsOnlyBlanksAndHyphens)
{
    EXPECT_EQ(normalize("Log-In  Now\u2011Here"), "loginnowhere");
    EXPECT_EQ(normalize("ÉCOLE\tX"), "école\tx");
    EXPECT_EQ(characterCount("e\u0301a"), 2u) << "a combining accent is part of its letter";
}

} // namespace
} // namespace tarnvik
