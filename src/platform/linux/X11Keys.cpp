#include "platform/linux/X11Keys.h"

#include "platform/ClickQueue.h"
#include "platform/KeyEvents.h"

#include <QSocketNotifier>

#include <array>
#include <cstdlib>
#include <utility>
#include <xcb/xcb.h>
#include <xcb/xinput.h>
#include <xkbcommon/xkbcommon-x11.h>

namespace tarnvik::linux {

namespace {

constexpr std::array<KeyPosition, 95> positions {{
    {0, 30},    {1, 31},    {2, 32},    {3, 33},    {4, 35},    {5, 34},    {6, 44},    {7, 45},
    {8, 46},    {9, 47},    {11, 48},   {12, 16},   {13, 17},   {14, 18},   {15, 19},   {16, 21},
    {17, 20},   {18, 2},    {19, 3},    {20, 4},    {21, 5},    {22, 7},    {23, 6},    {24, 13},
    {25, 10},   {26, 8},    {27, 12},   {28, 9},    {29, 11},   {30, 27},   {31, 24},   {32, 22},
    {33, 26},   {34, 23},   {35, 25},   {36, 28},   {37, 38},   {38, 36},   {39, 40},   {40, 37},
    {41, 39},   {42, 43},   {43, 51},   {44, 53},   {45, 49},   {46, 50},   {47, 52},   {48, 15},
    {49, 57},   {50, 41},   {51, 14},   {53, 1},    {54, 126},  {55, 125},  {56, 42},   {57, 58},
    {58, 56},   {59, 29},   {60, 54},   {61, 100},  {62, 97},   {76, 96},   {122, 59},  {120, 60},
    {99, 61},   {118, 62},  {96, 63},   {97, 64},   {98, 65},   {100, 66},  {101, 67},  {109, 68},
    {103, 87},  {111, 88},  {105, 183}, {107, 184}, {113, 185}, {106, 186}, {64, 187},  {79, 188},
    {80, 189},  {90, 190},  {114, 110}, {115, 102}, {116, 104}, {117, 111}, {119, 107}, {121, 109},
    {123, 105}, {124, 106}, {125, 108}, {126, 103}, {10, 86},
}};

// Caps Lock is read from X's state but never asked for: hot keys are grabbed with and without
// it, and a posted click holds no lock.
constexpr std::array<std::pair<std::uint64_t, std::uint16_t>, 5> modifierMasks {{
    {ModifierFlag::shift, XMod::shift},
    {ModifierFlag::capsLock, XMod::lock},
    {ModifierFlag::control, XMod::control},
    {ModifierFlag::option, XMod::alt},
    {ModifierFlag::command, XMod::super},
}};

} // namespace

std::span<const KeyPosition> keyPositions()
{
    return positions;
}

std::optional<std::uint8_t> xKeyCode(std::uint16_t keyCode)
{
    for (const auto &p : positions)
        if (p.keyCode == keyCode)
            return p.xKey();
    return std::nullopt;
}

std::optional<std::uint16_t> virtualKeyCode(std::uint32_t xKey)
{
    for (const auto &p : positions)
        if (p.xKey() == xKey)
            return p.keyCode;
    return std::nullopt;
}

std::uint16_t xModifiers(std::uint64_t flags)
{
    std::uint16_t m = 0;
    for (const auto &[flag, mask] : modifierMasks)
        if (flag != ModifierFlag::capsLock && (flags & flag))
            m |= mask;
    return m;
}

std::uint16_t clickModifiers(std::uint64_t flags)
{
    return xModifiers(clickModifierFlags(flags));
}

std::uint64_t modifierFlags(std::uint16_t state)
{
    std::uint64_t flags = 0;
    for (const auto &[flag, mask] : modifierMasks)
        if (state & mask)
            flags |= flag;
    return flags;
}

std::optional<KeyEvent> keyEventOf(const TypedKey &typed, KeyboardLayout &layout)
{
    const auto keyCode = virtualKeyCode(typed.keycode);
    if (!keyCode || isModifierKey(*keyCode))
        return std::nullopt;
    KeyEvent event {
        .type = typed.pressed ? EventType::keyDown : EventType::keyUp,
        .keyCode = *keyCode,
        // The arrows' and the keypad's bits too, as the X keyboard's keys carry them.
        .flags =
            modifierFlags(static_cast<std::uint16_t>(typed.state)) | keyPositionFlags(*keyCode),
        .isARepeat = typed.repeat,
    };
    // The typed text carries Shift's level ("?", capitals) in the user's layout; for a key that
    // types no character (Return, Escape) the layout's text stands.
    event.characters = event.charactersIgnoringModifiers =
        typed.text.empty() ? layout.translate(*keyCode) : typed.text;
    return event;
}

XConnection::~XConnection()
{
    if (c)
        xcb_disconnect(c);
}

bool XConnection::connect()
{
    c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c))
        return false;
    root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    return true;
}

bool XConnection::connectWithXkb(std::uint8_t *xkbEvents)
{
    return connect()
        && xkb_x11_setup_xkb_extension(
               c, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
               XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, xkbEvents, nullptr)
        != 0;
}

std::uint8_t xinput22(xcb_connection_t *c)
{
    const auto *extension = xcb_get_extension_data(c, &xcb_input_id);
    if (!extension || !extension->present)
        return 0;
    auto *version =
        xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 2), nullptr);
    const bool speaks = version
        && (version->major_version > 2
            || (version->major_version == 2 && version->minor_version >= 2));
    std::free(version);
    return speaks ? extension->major_opcode : 0;
}

void selectXInputEvents(xcb_connection_t *c, std::uint32_t root, std::uint16_t devices,
                        std::uint32_t mask)
{
    struct
    {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } events {{devices, 1}, mask};
    xcb_input_xi_select_events(c, root, 1, &events.head);
}

std::unique_ptr<QSocketNotifier> watchEvents(xcb_connection_t *c, std::function<void()> readEvents)
{
    auto notifier =
        std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(c), QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     std::move(readEvents));
    return notifier;
}

} // namespace tarnvik::linux
