#include "platform/linux/AtspiRoles.h"

#include <array>
#include <cctype>
#include <string_view>

namespace tarnvik::linux {

namespace {

// "AX" and the camel-cased name of every AT-SPI role, by number.
constexpr std::array<std::string_view, 130> genericNames = {
    "AXInvalid",
    "AXAcceleratorLabel",
    "AXAlert",
    "AXAnimation",
    "AXArrow",
    "AXCalendar",
    "AXCanvas",
    "AXCheckBox",
    "AXCheckMenuItem",
    "AXColorChooser",
    "AXColumnHeader",
    "AXComboBox",
    "AXDateEditor",
    "AXDesktopIcon",
    "AXDesktopFrame",
    "AXDial",
    "AXDialog",
    "AXDirectoryPane",
    "AXDrawingArea",
    "AXFileChooser",
    "AXFiller",
    "AXFocusTraversable",
    "AXFontChooser",
    "AXFrame",
    "AXGlassPane",
    "AXHtmlContainer",
    "AXIcon",
    "AXImage",
    "AXInternalFrame",
    "AXLabel",
    "AXLayeredPane",
    "AXList",
    "AXListItem",
    "AXMenu",
    "AXMenuBar",
    "AXMenuItem",
    "AXOptionPane",
    "AXPageTab",
    "AXPageTabList",
    "AXPanel",
    "AXPasswordText",
    "AXPopupMenu",
    "AXProgressBar",
    "AXPushButton",
    "AXRadioButton",
    "AXRadioMenuItem",
    "AXRootPane",
    "AXRowHeader",
    "AXScrollBar",
    "AXScrollPane",
    "AXSeparator",
    "AXSlider",
    "AXSpinButton",
    "AXSplitPane",
    "AXStatusBar",
    "AXTable",
    "AXTableCell",
    "AXTableColumnHeader",
    "AXTableRowHeader",
    "AXTearoffMenuItem",
    "AXTerminal",
    "AXText",
    "AXToggleButton",
    "AXToolBar",
    "AXToolTip",
    "AXTree",
    "AXTreeTable",
    "AXUnknown",
    "AXViewport",
    "AXWindow",
    "AXExtended",
    "AXHeader",
    "AXFooter",
    "AXParagraph",
    "AXRuler",
    "AXApplication",
    "AXAutocomplete",
    "AXEditbar",
    "AXEmbedded",
    "AXEntry",
    "AXChart",
    "AXCaption",
    "AXDocumentFrame",
    "AXHeading",
    "AXPage",
    "AXSection",
    "AXRedundantObject",
    "AXForm",
    "AXLink",
    "AXInputMethodWindow",
    "AXTableRow",
    "AXTreeItem",
    "AXDocumentSpreadsheet",
    "AXDocumentPresentation",
    "AXDocumentText",
    "AXDocumentWeb",
    "AXDocumentEmail",
    "AXComment",
    "AXListBox",
    "AXGrouping",
    "AXImageMap",
    "AXNotification",
    "AXInfoBar",
    "AXLevelBar",
    "AXTitleBar",
    "AXBlockQuote",
    "AXAudio",
    "AXVideo",
    "AXDefinition",
    "AXArticle",
    "AXLandmark",
    "AXLog",
    "AXMarquee",
    "AXMath",
    "AXRating",
    "AXTimer",
    "AXStatic",
    "AXMathFraction",
    "AXMathRoot",
    "AXSubscript",
    "AXSuperscript",
    "AXDescriptionList",
    "AXDescriptionTerm",
    "AXDescriptionValue",
    "AXFootnote",
    "AXContentDeletion",
    "AXContentInsertion",
    "AXMark",
    "AXSuggestion",
    "AXPushButtonMenu",
};

std::optional<std::string> landmarkSubrole(const std::string &xmlRoles)
{
    for (const char *landmark : {"main", "navigation", "complementary"}) {
        if (xmlRoles.find(landmark) != std::string::npos) {
            std::string subrole = std::string("AXLandmark") + landmark;
            subrole[10] = static_cast<char>(std::toupper(static_cast<unsigned char>(subrole[10])));
            return subrole;
        }
    }
    return std::nullopt;
}

std::string lower(std::string s)
{
    for (auto &c : s)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

} // namespace

AxRole axRoleOf(const RoleContext &c)
{
    switch (c.role) {
    case role::PushButton:
        return {"AXButton", {}};
    case role::PushButtonMenu:
        return {"AXMenuButton", {}};
    case role::ToggleButton:
    case role::CheckBox:
        return {"AXCheckBox", {}};
    case role::RadioButton:
        return {"AXRadioButton", {}};
    case role::PageTab:
        if (!c.placed)
            return {"AXGroup", {}};
        return {"AXRadioButton", "AXTabButton"};
    case role::PageTabList:
        return {"AXTabGroup", {}};
    case role::MenuBar:
        return {c.hasMenuChild ? "AXMenuBar" : "AXGroup", {}};
    case role::Menu:
        // GTK's item that opens a submenu is the submenu itself: an item of the menu it stands
        // in, as a menu bar's is an item of the bar.
        if (c.parentRole == role::MenuBar)
            return {"AXMenuBarItem", {}};
        if (c.parentRole == role::Menu || c.parentRole == role::PopupMenu)
            return {"AXMenuItem", {}};
        return {"AXMenu", {}};
    case role::PopupMenu:
        return {"AXMenu", {}};
    case role::MenuItem:
    case role::CheckMenuItem:
    case role::RadioMenuItem:
    case role::TearoffMenuItem:
        return {"AXMenuItem", {}};
    case role::Link:
        return {"AXLink", {}};
    case role::Entry:
    case role::PasswordText:
    case role::SpinButton:
        return {"AXTextField", {}};
    case role::Text:
        if (c.states.has(state::MultiLine))
            return {"AXTextArea", {}};
        return {c.states.has(state::Editable) ? "AXTextField" : "AXStaticText", {}};
    case role::ComboBox:
        // Firefox holds an open `<select>`'s list in a combo box of its own with no place: it
        // stands where the list is, and only the list's items are pressed.
        if (!c.placed)
            return {"AXGroup", {}};
        return {c.hasEntryChild ? "AXComboBox" : "AXPopUpButton", {}};
    case role::List:
    case role::ListBox:
        return {"AXList", {}};
    case role::ListItem:
    case role::TableRow:
    case role::TreeItem:
        return {"AXRow", {}};
    case role::Table:
        return {"AXTable", {}};
    case role::TreeTable:
    case role::Tree:
        return {"AXOutline", {}};
    case role::TableCell:
        return {"AXCell", {}};
    case role::ScrollPane:
        return {"AXScrollArea", {}};
    case role::ScrollBar:
        return {"AXScrollBar", {}};
    case role::Slider:
        return {"AXSlider", {}};
    case role::Frame:
    case role::Window:
    case role::Dialog:
    case role::Alert:
        return {"AXWindow", {}};
    case role::Section:
        return {c.overflows ? "AXScrollArea" : "AXGroup", {}};
    case role::Panel:
    case role::Filler:
    case role::Grouping:
    case role::Form:
        return {"AXGroup", {}};
    case role::Article:
        return {"AXGroup", "AXDocumentArticle"};
    case role::Landmark:
        return {"AXGroup", landmarkSubrole(c.xmlRoles)};
    case role::Label:
    case role::Static:
    case role::Paragraph:
        return {"AXStaticText", {}};
    case role::Image:
    case role::Icon:
        return {"AXImage", {}};
    case role::DocumentWeb:
        return {"AXWebArea", {}};
    case role::Heading:
        return {"AXHeading", {}};
    case role::ToolBar:
        return {"AXToolbar", {}};
    case role::SplitPane:
        return {"AXSplitGroup", {}};
    case role::Separator:
        return {"AXSplitter", {}};
    case role::Application:
        return {"AXApplication", {}};
    default:
        if (c.role < genericNames.size())
            return {std::string(genericNames[c.role]), {}};
        return {"AXUnknown", {}};
    }
}

bool needsParentRole(std::uint32_t atspiRole)
{
    return atspiRole == role::Menu;
}

bool needsChildren(std::uint32_t atspiRole)
{
    return atspiRole == role::ComboBox || atspiRole == role::MenuBar;
}

bool needsExtents(std::uint32_t atspiRole)
{
    return atspiRole == role::PageTab || atspiRole == role::ComboBox;
}

bool needsChildPlaces(std::uint32_t atspiRole)
{
    return atspiRole == role::Section;
}

bool isWindowRole(std::uint32_t atspiRole)
{
    return atspiRole == role::Frame || atspiRole == role::Window || atspiRole == role::Dialog
        || atspiRole == role::Alert;
}

std::string axActionName(const std::string &atspiName)
{
    const std::string name = lower(atspiName);
    for (const char *press : {"click", "press", "activate", "jump", "toggle", "dodefault"}) {
        if (name == press)
            return "AXPress";
    }
    // Chromium names its context menu's action in full.
    if (name == "showmenu" || name == "menu" || name == "showcontextmenu")
        return "AXShowMenu";
    return atspiName;
}

bool isKnownActionName(const std::string &atspiName)
{
    return axActionName(atspiName) != atspiName;
}

std::string withoutMnemonic(const std::string &name)
{
    if (name.find('_') == std::string::npos)
        return name;
    std::string result;
    result.reserve(name.size());
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] == '_' && i + 1 < name.size())
            ++i; // "__" stands for one underscore, "_x" for a mnemonic x
        result += name[i];
    }
    return result;
}

} // namespace tarnvik::linux
