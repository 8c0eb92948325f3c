#include "accessibility/UIElement.h"

#include "platform/AXNames.h"
#include "platform/fake/FakeDesktop.h"
#include "support/TreeBuilding.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using fake::FakeDesktop;

class UIElementTest : public ::testing::Test
{
protected:
    FakeDesktop desktop;
    fake::FakeApplication &app = desktop.addApplication({.processIdentifier = 10});
    fake::FakeElement window = app.addWindow(makeRect(0, 0, 400, 300));
};

TEST_F(UIElementTest, FullElementReadsEverythingSearchNeedsInOneBatch)
{
    auto button = window.add("AXButton", makeRect(10, 20, 80, 24))
                      .title("Save")
                      .value("v")
                      .description("Saves")
                      .subrole("AXSecureTextField")
                      .identifier("save-button")
                      .enabled(true)
                      .actions({"AXPress", "AXShowMenu"});
    button.set(NSAccessibilityHelpAttribute, "help")
        .set(NSAccessibilityPlaceholderValueAttribute, "hint");
    button.set(NSAccessibilityActivationPointAttribute, CGPoint {50, 32});

    auto e = UIElement::fullElement(desktop, button.ref());

    ASSERT_TRUE(e);
    EXPECT_EQ(button.calls(), 1);
    EXPECT_EQ(e->role, "AXButton");
    EXPECT_EQ(e->frame(), makeRect(10, 20, 80, 24));
    EXPECT_EQ(e->title, "Save");
    EXPECT_EQ(e->value, "v");
    EXPECT_EQ(e->description, "Saves");
    EXPECT_EQ(e->help, "help");
    EXPECT_EQ(e->placeholderValue, "hint");
    EXPECT_EQ(e->subrole, "AXSecureTextField");
    EXPECT_EQ(e->identifier, "save-button");
    EXPECT_EQ(e->enabled, true);
    EXPECT_EQ(e->activationPoint, (CGPoint {50, 32}));
    EXPECT_FALSE(e->actions) << "the role decides; names are read where a press needs them";
    EXPECT_EQ(e->ref, button.ref());
    EXPECT_FALSE(e->roleDescription);
    EXPECT_FALSE(e->attributes);
}

TEST_F(UIElementTest, ActionNamesAreReadWhereTheRoleLeavesTheVerdictToThem)
{
    auto indicator = window.add("AXValueIndicator", makeRect(0, 0, 10, 10))
                         .actions({"AXIncrement", "AXShowMenu"});
    for (auto read : {UIElement::fullElement, UIElement::lightElement}) {
        auto e = read(desktop, indicator.ref());
        ASSERT_TRUE(e);
        EXPECT_EQ(e->actions, (std::vector<std::string> {"AXIncrement", "AXShowMenu"}));
    }
    EXPECT_EQ(indicator.calls(), 4) << "a batch and the action names, twice";
}

TEST_F(UIElementTest, LightElementLeavesTheTextsForLater)
{
    auto field = window.add("AXTextField", makeRect(0, 0, 10, 10))
                     .title("Name")
                     .identifier("name")
                     .enabled(false);

    auto e = UIElement::lightElement(desktop, field.ref());

    ASSERT_TRUE(e);
    EXPECT_EQ(field.calls(), 1);
    EXPECT_FALSE(e->title);
    EXPECT_EQ(e->identifier, "name");
    EXPECT_EQ(e->enabled, false);

    UIElement::loadSearchAttributes(desktop, *e);
    EXPECT_EQ(e->title, "Name");
    EXPECT_EQ(field.calls(), 2);

    field.kill();
    UIElement::loadSearchAttributes(desktop, *e);
    EXPECT_FALSE(e->title) << "a failed read leaves all five texts absent";
}

TEST_F(UIElementTest, RoleFrameAndBatchAreCompulsory)
{
    auto noRole = window.add("AXButton").fail(NSAccessibilityRoleAttribute, AXError::NoValue);
    auto numberPosition = window.add("AXButton").set(NSAccessibilityPositionAttribute, 3);
    auto noSize = window.add("AXButton").fail(NSAccessibilitySizeAttribute, AXError::Failure);
    auto dead = window.add("AXButton");
    dead.kill();

    for (const auto &e : {noRole, numberPosition, noSize, dead}) {
        EXPECT_FALSE(UIElement::fullElement(desktop, e.ref()));
        EXPECT_FALSE(UIElement::lightElement(desktop, e.ref()));
    }
    EXPECT_EQ(noRole.calls(), 2) << "one batch read each, no action read";
}

TEST_F(UIElementTest, UnreadableOrWronglyTypedOptionalsStayAbsentWithoutFailing)
{
    auto bare = window.add("AXValueIndicator", makeRect(1, 2, 3, 4)).failActions(AXError::Failure);
    auto odd = window.add("AXIncrementor")
                   .set(NSAccessibilityValueAttribute, 1)
                   .set(NSAccessibilityEnabledAttribute, "yes")
                   .fail(NSAccessibilityTitleAttribute, AXError::CannotComplete)
                   .rawActions({"AXPress", 7});

    auto b = UIElement::fullElement(desktop, bare.ref());
    ASSERT_TRUE(b);
    EXPECT_FALSE(b->subrole || b->title || b->value || b->description || b->help
                 || b->placeholderValue || b->enabled || b->activationPoint || b->identifier
                 || b->actions);

    auto o = UIElement::fullElement(desktop, odd.ref());
    ASSERT_TRUE(o);
    EXPECT_FALSE(o->value) << "a number is no value";
    EXPECT_FALSE(o->enabled) << "unreadable is absent, not false";
    EXPECT_FALSE(o->title);
    EXPECT_FALSE(o->actions) << "one name that isn't a string spoils the list";
}

TEST(UIElementActionable, RoleTableDecidesBeforeActions)
{
    auto withActions = [](const std::string &role, std::optional<std::vector<std::string>> actions,
                          std::optional<bool> enabled = std::nullopt) {
        auto e = test::element(role, {});
        e->actions = std::move(actions);
        e->enabled = enabled;
        return e->isActionable();
    };
    EXPECT_FALSE(withActions("AXGroup", std::vector<std::string> {"AXPress"}));
    EXPECT_TRUE(withActions("AXStaticText", std::nullopt));

    EXPECT_TRUE(withActions("AXImage", std::nullopt, true));
    EXPECT_FALSE(withActions("AXImage", std::vector<std::string> {"AXPress"}))
        << "an image counts only when enabled";

    EXPECT_FALSE(withActions("AXUnknownThing", std::nullopt));
    EXPECT_FALSE(withActions("AXUnknownThing", std::vector<std::string> {"AXShowMenu"}));
    EXPECT_TRUE(withActions("AXUnknownThing", std::vector<std::string> {"AXShowMenu", "AXPress"}));
    EXPECT_TRUE(withActions("AXValueIndicator", std::vector<std::string> {"AXIncrement"}));
}

} // namespace
} // namespace tarnvik
