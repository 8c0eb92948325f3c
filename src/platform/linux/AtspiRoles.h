#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarnvik::linux {

// AT-SPI role and state numbers, as the accessibility bus sends them.
namespace role {
enum : std::uint32_t {
    Alert = 2,
    CheckBox = 7,
    CheckMenuItem = 8,
    ComboBox = 11,
    Dialog = 16,
    Filler = 20,
    Frame = 23,
    Icon = 26,
    Image = 27,
    Label = 29,
    List = 31,
    ListItem = 32,
    Menu = 33,
    MenuBar = 34,
    MenuItem = 35,
    PageTab = 37,
    PageTabList = 38,
    Panel = 39,
    PasswordText = 40,
    PopupMenu = 41,
    PushButton = 43,
    RadioButton = 44,
    RadioMenuItem = 45,
    ScrollBar = 48,
    ScrollPane = 49,
    Separator = 50,
    Slider = 51,
    SpinButton = 52,
    SplitPane = 53,
    Table = 55,
    TableCell = 56,
    TearoffMenuItem = 59,
    Text = 61,
    ToggleButton = 62,
    ToolBar = 63,
    Tree = 65,
    TreeTable = 66,
    Window = 69,
    Paragraph = 73,
    Application = 75,
    Entry = 79,
    DocumentFrame = 82,
    Heading = 83,
    Section = 85,
    Form = 87,
    Link = 88,
    TableRow = 90,
    TreeItem = 91,
    DocumentWeb = 95,
    ListBox = 98,
    Grouping = 99,
    Article = 109,
    Landmark = 110,
    Static = 116,
    PushButtonMenu = 129,
};
}

namespace state {
enum : std::uint32_t {
    Active = 1,
    Checked = 4,
    Defunct = 6,
    Editable = 7,
    Enabled = 8,
    Expanded = 10,
    Focused = 12,
    MultiLine = 17,
    Selected = 23,
    Sensitive = 24,
    Showing = 25,
    SingleLine = 26,
    Visible = 30,
};
}

// The two 32-bit words of an AT-SPI state set.
struct StateSet
{
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    bool has(std::uint32_t s) const { return s < 32 ? (low >> s) & 1u : (high >> (s - 32)) & 1u; }
};

// What decides an element's role beyond its own AT-SPI role.
struct RoleContext
{
    std::uint32_t role = 0;
    StateSet states;
    std::optional<std::uint32_t> parentRole;
    bool hasEntryChild = false;
    // A menu or menu item among the children: Chromium wraps a context menu in a "menu bar" of
    // the menu's own window, which is no menu bar.
    bool hasMenuChild = false;
    // The "xml-roles" attribute of web content, for landmarks.
    std::string xmlRoles;
    // Whether the object has a place on the screen of its own: a page tab or a combo box
    // without one (GTK 3's notebook with its tabs hidden, Firefox's open `<select>` list) is no
    // control a person sees, only what it holds.
    bool placed = true;
    // Whether a section holds children outside its own frame: a box the page scrolls. The
    // browsers say nothing else of such a box (Chromium makes it focusable, but only while it
    // holds nothing focusable).
    bool overflows = false;
};

struct AxRole
{
    std::string role;
    std::optional<std::string> subrole;
};

// The accessibility role an AT-SPI object plays. Roles outside the documented mapping keep a
// name of their own ("AXProgressBar"), so that their actions decide whether they are pressed.
AxRole axRoleOf(const RoleContext &context);

// Whether the role table needs the parent's role, the children or the extents to decide this
// role.
bool needsParentRole(std::uint32_t atspiRole);
bool needsChildren(std::uint32_t atspiRole);
bool needsExtents(std::uint32_t atspiRole);
// Whether the role table needs the object's extents and where its first and last children
// stand.
bool needsChildPlaces(std::uint32_t atspiRole);
bool isWindowRole(std::uint32_t atspiRole);

// The action vocabulary: "click", "press", "activate", "jump", "toggle" and "doDefault" are
// "AXPress", "showmenu" and "menu" are "AXShowMenu"; any other name stays as it is.
std::string axActionName(const std::string &atspiName);
// Whether the action name is one of those `axActionName` knows, whatever its case.
bool isKnownActionName(const std::string &atspiName);

// GTK 4 marks mnemonics in names ("Page _1"); the name a person reads has no underscore.
std::string withoutMnemonic(const std::string &name);

} // namespace tarnvik::linux
