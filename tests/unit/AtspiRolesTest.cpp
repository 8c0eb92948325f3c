#include "platform/linux/AtspiRoles.h"

#include <gtest/gtest.h>

namespace tarnvik::linux {
namespace {

RoleContext of(std::uint32_t r, std::initializer_list<std::uint32_t> states = {})
{
    RoleContext c;
    c.role = r;
    for (auto s : states)
        (s < 32 ? c.states.low : c.states.high) |= 1u << (s % 32);
    return c;
}

TEST(AtspiRoles, ContextDecidesMenusCombosTextsTabsAndLandmarks)
{
    auto menu = of(role::Menu);
    EXPECT_EQ(axRoleOf(menu).role, "AXMenu");
    menu.parentRole = role::MenuBar;
    EXPECT_EQ(axRoleOf(menu).role, "AXMenuBarItem");
    menu.parentRole = role::PopupMenu;
    EXPECT_EQ(axRoleOf(menu).role, "AXMenuItem") << "an item that opens a submenu";

    // Chromium's context menu: a "menu bar" around panels in the menu's own window.
    auto bar = of(role::MenuBar);
    EXPECT_EQ(axRoleOf(bar).role, "AXGroup");
    bar.hasMenuChild = true;
    EXPECT_EQ(axRoleOf(bar).role, "AXMenuBar");

    auto combo = of(role::ComboBox);
    EXPECT_EQ(axRoleOf(combo).role, "AXPopUpButton");
    combo.hasEntryChild = true;
    EXPECT_EQ(axRoleOf(combo).role, "AXComboBox");

    EXPECT_EQ(axRoleOf(of(role::Text, {state::Editable, state::MultiLine})).role, "AXTextArea");
    EXPECT_EQ(axRoleOf(of(role::Text, {state::Editable, state::SingleLine})).role, "AXTextField");
    EXPECT_EQ(axRoleOf(of(role::Text)).role, "AXStaticText");

    auto tab = axRoleOf(of(role::PageTab));
    EXPECT_EQ(tab.role, "AXRadioButton");
    EXPECT_EQ(tab.subrole, "AXTabButton");
    auto hiddenTab = of(role::PageTab);
    hiddenTab.placed = false;
    EXPECT_EQ(axRoleOf(hiddenTab).role, "AXGroup");
    EXPECT_FALSE(axRoleOf(hiddenTab).subrole);
    auto landmark = of(role::Landmark);
    landmark.xmlRoles = "main";
    EXPECT_EQ(axRoleOf(landmark).subrole, "AXLandmarkMain");
    landmark.xmlRoles = "banner";
    EXPECT_FALSE(axRoleOf(landmark).subrole);
    EXPECT_EQ(axRoleOf(of(role::Article)).subrole, "AXDocumentArticle");
    EXPECT_EQ(axRoleOf(of(5000)).role, "AXUnknown") << "a role number past the table";
}

TEST(AtspiRoles, MnemonicUnderscoresAreDroppedAndDoubledOnesKeptSingle)
{
    EXPECT_EQ(withoutMnemonic("Page _1"), "Page 1");
    EXPECT_EQ(withoutMnemonic("snake__case"), "snake_case");
    EXPECT_EQ(withoutMnemonic("trailing_"), "trailing_");
}

} // namespace
} // namespace tarnvik::linux
