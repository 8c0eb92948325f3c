#include "platform/linux/X11Input.h"

#include "platform/KeyCodes.h"

#include <QSocketNotifier>
#include <QTimer>

#include <array>
#include <cctype>
#include <cstdlib>
#include <optional>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>
// xcb's XKB header names a field `explicit`, a keyword of C++.
#define explicit xkb_explicit
#include <xcb/xkb.h>
#undef explicit
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

namespace tarnvik::linux {

namespace {

// Virtual key codes and the Linux input event codes of the same key positions; X key codes are
// those plus 8.
constexpr std::array<std::pair<std::uint16_t, std::uint8_t>, 95> keyPositions {{
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

std::optional<std::uint8_t> xKeyCode(std::uint16_t keyCode)
{
    for (const auto &[mac, evdev] : keyPositions)
        if (mac == keyCode)
            return static_cast<std::uint8_t>(evdev + 8);
    return std::nullopt;
}

std::optional<std::uint16_t> virtualKeyCode(std::uint8_t xKey)
{
    for (const auto &[mac, evdev] : keyPositions)
        if (evdev + 8 == xKey)
            return mac;
    return std::nullopt;
}

// Super stands in for Command, Alt for Option.
constexpr std::uint16_t superMask = XCB_MOD_MASK_4;
constexpr std::uint16_t altMask = XCB_MOD_MASK_1;
constexpr std::uint16_t numLockMask = XCB_MOD_MASK_2;
constexpr std::array<std::uint16_t, 4> lockVariants {0, XCB_MOD_MASK_LOCK, numLockMask,
                                                     XCB_MOD_MASK_LOCK | numLockMask};

std::uint16_t xModifiers(std::uint64_t flags)
{
    std::uint16_t m = 0;
    if (flags & ModifierFlag::shift)
        m |= XCB_MOD_MASK_SHIFT;
    if (flags & ModifierFlag::control)
        m |= XCB_MOD_MASK_CONTROL;
    if (flags & ModifierFlag::option)
        m |= altMask;
    if (flags & ModifierFlag::command)
        m |= superMask;
    return m;
}

std::uint64_t modifierFlags(std::uint16_t state)
{
    std::uint64_t flags = 0;
    if (state & XCB_MOD_MASK_SHIFT)
        flags |= ModifierFlag::shift;
    if (state & XCB_MOD_MASK_LOCK)
        flags |= ModifierFlag::capsLock;
    if (state & XCB_MOD_MASK_CONTROL)
        flags |= ModifierFlag::control;
    if (state & altMask)
        flags |= ModifierFlag::option;
    if (state & superMask)
        flags |= ModifierFlag::command;
    return flags;
}

std::string utf8(xkb_keysym_t sym)
{
    char buffer[16] {};
    const int n = xkb_keysym_to_utf8(sym, buffer, sizeof buffer);
    return n > 1 ? std::string(buffer) : std::string();
}

} // namespace

class X11Input::Connection
{
public:
    xcb_connection_t *c = nullptr;
    xcb_window_t root = 0;
    std::int32_t keyboardDevice = -1;
    xkb_context *context = nullptr;
    xkb_keymap *keymap = nullptr;
    // Set from each key event's own modifiers and group, so reading a key's text costs no trip
    // to the server.
    xkb_state *state = nullptr;

    ~Connection()
    {
        if (state)
            xkb_state_unref(state);
        if (keymap)
            xkb_keymap_unref(keymap);
        if (context)
            xkb_context_unref(context);
        if (c)
            xcb_disconnect(c);
    }

    // The layout is read anew for each capture, so a layout switched meanwhile is seen.
    void loadKeymap()
    {
        auto *fresh =
            xkb_x11_keymap_new_from_device(context, c, keyboardDevice, XKB_KEYMAP_COMPILE_NO_FLAGS);
        auto *freshState = fresh ? xkb_state_new(fresh) : nullptr;
        if (!freshState) {
            if (fresh)
                xkb_keymap_unref(fresh);
            return;
        }
        if (state)
            xkb_state_unref(state);
        if (keymap)
            xkb_keymap_unref(keymap);
        keymap = fresh;
        state = freshState;
    }

    // The text of a key with the core modifiers of `mods` (X's real modifiers are XKB's first
    // eight) in the layout of the event's group.
    std::string text(std::uint8_t key, std::uint16_t mods, std::uint16_t eventState)
    {
        const xkb_layout_index_t group = (eventState >> 13) & 3;
        xkb_state_update_mask(state, mods & 0xff, 0, 0, 0, 0, group);
        char buffer[32] {};
        xkb_state_key_get_utf8(state, key, buffer, sizeof buffer);
        return buffer;
    }

    // The symbol of a key at a level of a layout, as the keymap lists it.
    xkb_keysym_t symbol(std::uint8_t key, xkb_layout_index_t layout, xkb_level_index_t level) const
    {
        const xkb_keysym_t *syms = nullptr;
        const int n = xkb_keymap_key_get_syms_by_level(keymap, key, layout, level, &syms);
        return n > 0 ? syms[0] : XKB_KEY_NoSymbol;
    }

    // The first layout whose A key types an ASCII letter: the one labels are typed on.
    xkb_layout_index_t asciiLayout() const
    {
        const auto layouts = xkb_keymap_num_layouts(keymap);
        for (xkb_layout_index_t l = 0; l < layouts; ++l) {
            const auto text = utf8(symbol(30 + 8, l, 0));
            if (text.size() == 1 && std::isalpha(static_cast<unsigned char>(text[0])))
                return l;
        }
        return 0;
    }

    void grab(std::uint8_t key, std::uint16_t modifiers, std::uint8_t keyboardMode)
    {
        xcb_grab_key(c, 1, root, modifiers, key, XCB_GRAB_MODE_ASYNC, keyboardMode);
    }

    // The window with the keyboard focus; nothing when the focus is on the root or none.
    xcb_window_t focusWindow()
    {
        auto *reply = xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr);
        xcb_window_t window = reply ? reply->focus : XCB_NONE;
        std::free(reply);
        return window == XCB_INPUT_FOCUS_POINTER_ROOT || window == root ? XCB_NONE : window;
    }
};

std::unique_ptr<X11Input> X11Input::connect(std::function<double()> doubleClickInterval)
{
    auto x = std::make_unique<Connection>();
    x->c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(x->c))
        return nullptr;
    x->root = xcb_setup_roots_iterator(xcb_get_setup(x->c)).data->root;
    std::free(xcb_xfixes_query_version_reply(x->c, xcb_xfixes_query_version(x->c, 4, 0), nullptr));
    auto *test = xcb_test_get_version_reply(x->c, xcb_test_get_version(x->c, 2, 2), nullptr);
    if (!test)
        return nullptr;
    std::free(test);
    if (!xkb_x11_setup_xkb_extension(
            x->c, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
            XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, nullptr, nullptr))
        return nullptr;
    x->keyboardDevice = xkb_x11_get_core_keyboard_device_id(x->c);
    x->context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    if (x->keyboardDevice < 0 || !x->context)
        return nullptr;
    x->loadKeymap();
    if (!x->keymap)
        return nullptr;
    // A held key then repeats as presses alone, with no release between them, so that a
    // repeat can be told from a new press and a held scroll key never looks released.
    std::free(xcb_xkb_per_client_flags_reply(
        x->c,
        xcb_xkb_per_client_flags(x->c, XCB_XKB_ID_USE_CORE_KBD,
                                 XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT,
                                 XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT, 0, 0, 0),
        nullptr));
    return std::unique_ptr<X11Input>(new X11Input(std::move(x), std::move(doubleClickInterval)));
}

X11Input::X11Input(std::unique_ptr<Connection> connection,
                   std::function<double()> doubleClickInterval)
    : _x(std::move(connection))
    , _doubleClickInterval(std::move(doubleClickInterval))
{
    _events =
        std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(_x->c), QSocketNotifier::Read);
    QObject::connect(_events.get(), &QSocketNotifier::activated, [this] { readEvents(); });
}

X11Input::~X11Input()
{
    stop();
    xcb_ungrab_key(_x->c, XCB_GRAB_ANY, _x->root, XCB_MOD_MASK_ANY);
    xcb_flush(_x->c);
}

bool X11Input::start(KeyboardCapture::Handler handler)
{
    const bool starting = !_capture;
    _capture = std::move(handler);
    if (!starting)
        return true;
    _x->loadKeymap();
    _focusWindow = _x->focusWindow();
    // Every key in every combination of the four modifiers and the two locks. A combination
    // that another client holds (the window manager's) fails as a whole; its error arrives as
    // an event, and the combination is then grabbed on the focused window, where the other
    // client's grabs on the root still come first for their own keys. Only the focus is asked
    // for; the grabs' answers are not awaited.
    _anyKeyGrabs.clear();
    for (std::uint16_t m = 0; m < 16; ++m) {
        const std::uint16_t modifiers = static_cast<std::uint16_t>(
            ((m & 1) ? XCB_MOD_MASK_SHIFT : 0) | ((m & 2) ? XCB_MOD_MASK_CONTROL : 0)
            | ((m & 4) ? altMask : 0) | ((m & 8) ? superMask : 0));
        for (auto lock : lockVariants)
            grabAnyKey(_x->root, static_cast<std::uint16_t>(modifiers | lock));
    }
    xcb_flush(_x->c);
    return true;
}

void X11Input::grabAnyKey(xcb_window_t window, std::uint16_t modifiers)
{
    const auto cookie = xcb_grab_key(_x->c, 1, window, modifiers, XCB_GRAB_ANY, XCB_GRAB_MODE_ASYNC,
                                     XCB_GRAB_MODE_SYNC);
    _anyKeyGrabs[cookie.sequence] = {window, modifiers};
}

void X11Input::grabAroundOthers(xcb_window_t refused, std::uint16_t modifiers)
{
    // Grabs are refused only where another client holds the same combination on the same
    // window. Grabbing key by key on the root instead costs the server tens of milliseconds
    // per session, time in which every application waiting on it waits too.
    if (refused == _x->root && _focusWindow) {
        grabAnyKey(_focusWindow, modifiers);
    } else {
        for (const auto &[mac, evdev] : keyPositions)
            if (mac < 54 || mac > 63) // modifier keys pass on their own
                _x->grab(static_cast<std::uint8_t>(evdev + 8), modifiers, XCB_GRAB_MODE_SYNC);
    }
    xcb_flush(_x->c);
}

void X11Input::stop()
{
    if (!_capture)
        return;
    _capture = nullptr;
    _anyKeyGrabs.clear();
    // Releases stop coming with the grabs: a key still down now would count as repeating when
    // it is next pressed.
    _keysDown.clear();
    // Ending the capture's grabs ends the hot keys' too: they are taken again.
    xcb_ungrab_key(_x->c, XCB_GRAB_ANY, _x->root, XCB_MOD_MASK_ANY);
    if (_focusWindow)
        xcb_ungrab_key(_x->c, XCB_GRAB_ANY, _focusWindow, XCB_MOD_MASK_ANY);
    _focusWindow = 0;
    xcb_allow_events(_x->c, XCB_ALLOW_ASYNC_KEYBOARD, XCB_CURRENT_TIME);
    // A kept press holds the keyboard until its key is released; the click that often follows
    // at once may open a menu, which needs the keyboard for itself.
    xcb_ungrab_keyboard(_x->c, XCB_CURRENT_TIME);
    for (const auto &[id, key] : _hotKeys)
        grabHotKey(key.first, key.second);
    xcb_flush(_x->c);
}

std::string X11Input::translate(std::uint16_t keyCode)
{
    const auto key = xKeyCode(keyCode);
    return key ? utf8(_x->symbol(*key, _x->asciiLayout(), 0)) : std::string();
}

void X11Input::setHandler(HotKeys::Handler handler)
{
    _hotKeyHandler = std::move(handler);
}

bool X11Input::grabHotKey(std::uint8_t keycode, std::uint16_t modifiers)
{
    std::vector<xcb_void_cookie_t> cookies;
    for (auto lock : lockVariants)
        cookies.push_back(xcb_grab_key_checked(_x->c, 1, _x->root,
                                               static_cast<std::uint16_t>(modifiers | lock),
                                               keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    bool ok = true;
    for (auto cookie : cookies)
        if (auto *error = xcb_request_check(_x->c, cookie)) {
            std::free(error);
            ok = false;
        }
    readQueuedEvents();
    return ok;
}

bool X11Input::registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifierFlags)
{
    const auto key = xKeyCode(keyCode);
    if (!key)
        return false;
    const auto modifiers = xModifiers(modifierFlags);
    // During a capture the key is matched there; the grab is taken when the capture ends.
    if (!_capture && !grabHotKey(*key, modifiers)) {
        ungrabHotKey(*key, modifiers);
        return false;
    }
    _hotKeys[id] = {*key, modifiers};
    return true;
}

bool X11Input::unregisterHotKey(HotKeyId id)
{
    auto it = _hotKeys.find(id);
    if (it == _hotKeys.end())
        return false;
    const auto [key, modifiers] = it->second;
    _hotKeys.erase(it);
    if (!_capture)
        ungrabHotKey(key, modifiers);
    return true;
}

void X11Input::ungrabHotKey(std::uint8_t keycode, std::uint16_t modifiers)
{
    for (auto lock : lockVariants)
        xcb_ungrab_key(_x->c, keycode, _x->root, static_cast<std::uint16_t>(modifiers | lock));
    xcb_flush(_x->c);
}

std::optional<HotKeys::HotKeyId> X11Input::hotKeyFor(std::uint8_t keycode,
                                                     std::uint16_t state) const
{
    const auto modifiers = static_cast<std::uint16_t>(
        state & (XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | altMask | superMask));
    for (const auto &[id, key] : _hotKeys)
        if (key.first == keycode && key.second == modifiers)
            return id;
    return std::nullopt;
}

void X11Input::readQueuedEvents()
{
    // Waiting for a reply may have moved events into the connection's queue, where the socket
    // no longer announces them; a frozen key among them would hold the keyboard.
    QTimer::singleShot(0, _events.get(), [this] { readEvents(); });
}

void X11Input::readEvents()
{
    while (auto *event = xcb_poll_for_event(_x->c)) {
        const auto type = event->response_type & 0x7f;
        if (type == 0) {
            const auto *error = reinterpret_cast<xcb_generic_error_t *>(event);
            auto grab = _anyKeyGrabs.find(error->full_sequence);
            if (grab != _anyKeyGrabs.end() && error->error_code == XCB_ACCESS) {
                const auto [window, modifiers] = grab->second;
                _anyKeyGrabs.erase(grab);
                grabAroundOthers(window, modifiers);
            }
        } else if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
            const auto *key = reinterpret_cast<xcb_key_press_event_t *>(event);
            keyEvent(type == XCB_KEY_PRESS, key->detail, key->state);
        }
        std::free(event);
    }
}

void X11Input::keyEvent(bool press, std::uint8_t keycode, std::uint16_t state)
{
    const int eventType = press ? EventType::keyDown : EventType::keyUp;
    if (auto hotKey = hotKeyFor(keycode, state)) {
        if (_capture)
            xcb_allow_events(_x->c, XCB_ALLOW_ASYNC_KEYBOARD, XCB_CURRENT_TIME);
        xcb_flush(_x->c);
        if (_hotKeyHandler)
            _hotKeyHandler(*hotKey, eventType);
        return;
    }
    if (!_capture) {
        xcb_allow_events(_x->c, XCB_ALLOW_ASYNC_KEYBOARD, XCB_CURRENT_TIME);
        xcb_flush(_x->c);
        return;
    }
    KeyEvent event;
    event.type = eventType;
    event.keyCode = virtualKeyCode(keycode).value_or(KeyCode::none);
    event.flags = modifierFlags(state) | keyPositionFlags(event.keyCode);
    event.isARepeat = press && !_keysDown.insert(keycode).second;
    if (!press)
        _keysDown.erase(keycode);
    // The text with the modifiers held, and with Shift alone, in the event's layout.
    event.characters = _x->text(keycode, state, state);
    event.charactersIgnoringModifiers = _x->text(keycode, state & XCB_MOD_MASK_SHIFT, state);
    // A copy: the handler may end the capture.
    const auto capture = _capture;
    const auto disposition = capture(event);
    // A press that the grab froze is replayed to the focused window or kept; a release of a
    // kept press can only be kept.
    xcb_allow_events(_x->c,
                     press && disposition == KeyDisposition::pass ? XCB_ALLOW_REPLAY_KEYBOARD
                                                                  : XCB_ALLOW_ASYNC_KEYBOARD,
                     XCB_CURRENT_TIME);
    xcb_flush(_x->c);
}

void X11Input::postMouseMoved(CGPoint position)
{
    xcb_test_fake_input(_x->c, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, _x->root,
                        static_cast<std::int16_t>(position.x),
                        static_cast<std::int16_t>(position.y), 0);
    xcb_flush(_x->c);
}

void X11Input::postMouseButton(int button, bool down, CGPoint position, std::uint64_t flags,
                               int clickState)
{
    // X has no click count: the application counts a second press within its own interval.
    (void)clickState;
    // A Command-click carries Control, what that click means on Linux.
    const std::optional<std::uint8_t> control =
        (flags & ModifierFlag::command) ? xKeyCode(59) : std::nullopt;
    if (control && down)
        xcb_test_fake_input(_x->c, XCB_KEY_PRESS, *control, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    const std::uint8_t xButton = button == 0 ? 1 : button == 1 ? 3 : 2;
    xcb_test_fake_input(_x->c, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, _x->root,
                        static_cast<std::int16_t>(position.x),
                        static_cast<std::int16_t>(position.y), 0);
    xcb_test_fake_input(_x->c, down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, xButton,
                        XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    if (control && !down)
        xcb_test_fake_input(_x->c, XCB_KEY_RELEASE, *control, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    xcb_flush(_x->c);
}

void X11Input::beep()
{
    xcb_bell(_x->c, 0);
    xcb_flush(_x->c);
}

void X11Input::hideCursor()
{
    xcb_xfixes_hide_cursor(_x->c, _x->root);
    xcb_flush(_x->c);
}

void X11Input::showCursor()
{
    xcb_xfixes_show_cursor(_x->c, _x->root);
    xcb_flush(_x->c);
}

void X11Input::observe(std::function<void()> observer)
{
    _motion = std::move(observer);
    if (!_motion) {
        _motionPoll.reset();
        return;
    }
    // Polled while a session runs: twenty queries a second cost nothing, and need no extension.
    _lastPointer = {-1, -1};
    _motionPoll = std::make_unique<QTimer>();
    _motionPoll->setInterval(50);
    QObject::connect(_motionPoll.get(), &QTimer::timeout, [this] { pollPointer(); });
    _motionPoll->start();
}

void X11Input::pollPointer()
{
    auto *reply = xcb_query_pointer_reply(_x->c, xcb_query_pointer(_x->c, _x->root), nullptr);
    if (!reply)
        return;
    const std::pair<int, int> at {reply->root_x, reply->root_y};
    std::free(reply);
    readQueuedEvents();
    const bool moved = _lastPointer.first >= 0 && at != _lastPointer;
    _lastPointer = at;
    if (moved && _motion)
        _motion();
}

} // namespace tarnvik::linux
