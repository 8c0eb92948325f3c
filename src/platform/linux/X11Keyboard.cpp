#include "platform/linux/X11Keyboard.h"

#include "platform/KeyCodes.h"
#include "platform/linux/X11Keys.h"
#include "platform/linux/X11PopupMenus.h"
#include "platform/linux/XkbKeyText.h"

#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <optional>
#include <tuple>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xinput.h>
// xcb's XKB header names a field `explicit`, a keyword of C++.
#define explicit xkb_explicit
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

namespace tarnvik::linux {

namespace {

constexpr std::array<std::uint16_t, 4> lockVariants {0, XMod::lock, XMod::numLock,
                                                     XMod::lock | XMod::numLock};

} // namespace

class X11Keyboard::Connection : public XConnection
{
public:
    std::int32_t keyboardDevice = -1;
    // The XInput extension's major opcode.
    std::uint8_t xinput = 0;
    std::optional<X11PopupMenus> popupMenus;
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

    void grab(std::uint8_t key, std::uint16_t modifiers, std::uint8_t keyboardMode)
    {
        xcb_grab_key(c, 1, root, modifiers, key, XCB_GRAB_MODE_ASYNC, keyboardMode);
    }

    std::vector<std::uint16_t> slaveKeyboards()
    {
        std::vector<std::uint16_t> keyboards;
        auto *devices = xcb_input_xi_query_device_reply(
            c, xcb_input_xi_query_device(c, XCB_INPUT_DEVICE_ALL), nullptr);
        // No reply once the server is gone, as at the end of a session.
        if (!devices)
            return keyboards;
        for (auto it = xcb_input_xi_query_device_infos_iterator(devices); it.rem;
             xcb_input_xi_device_info_next(&it))
            if (it.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD)
                keyboards.push_back(it.data->deviceid);
        std::free(devices);
        return keyboards;
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

std::unique_ptr<X11Keyboard> X11Keyboard::connect()
{
    auto x = std::make_unique<Connection>();
    if (!x->connectWithXkb())
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
    x->xinput = xinput22(x->c);
    if (!x->xinput)
        return nullptr;
    // A keyboard plugged in later needs the hot keys' grabs too.
    selectXInputEvents(x->c, x->root, XCB_INPUT_DEVICE_ALL, XCB_INPUT_XI_EVENT_MASK_HIERARCHY);
    x->popupMenus.emplace(x->c, x->root);
    return std::unique_ptr<X11Keyboard>(new X11Keyboard(std::move(x)));
}

X11Keyboard::X11Keyboard(std::unique_ptr<Connection> connection)
    : _x(std::move(connection))
{
    _events = watchEvents(_x->c, [this] { readEvents(); });
}

X11Keyboard::~X11Keyboard()
{
    // The hot keys' grabs end with the connection.
    stop();
}

bool X11Keyboard::heldElsewhere()
{
    // Taking the core keyboard would close a menu that holds nothing.
    if (_x->popupMenus->shown())
        return true;
    // X has no question for who holds the keyboard; taking it answers.
    auto *reply =
        xcb_grab_keyboard_reply(_x->c,
                                xcb_grab_keyboard(_x->c, 0, _x->root, XCB_CURRENT_TIME,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                nullptr);
    const bool held = reply && reply->status != XCB_GRAB_STATUS_SUCCESS;
    if (reply && !held)
        xcb_ungrab_keyboard(_x->c, XCB_CURRENT_TIME);
    std::free(reply);
    xcb_flush(_x->c);
    readQueuedEvents();
    return held;
}

bool X11Keyboard::start(KeyboardCapture::Handler handler)
{
    const bool starting = !_capture;
    _capture = std::move(handler);
    if (!starting)
        return true;
    _x->loadKeymap();
    if (heldElsewhere())
        startExclusive();
    else
        startPassive();
    return true;
}

void X11Keyboard::startPassive()
{
    _focusWindow = _x->focusWindow();
    // Every key in every combination of the four modifiers and the two locks. A combination
    // that another client holds (the window manager's) fails as a whole; its error arrives as
    // an event, and the combination is then grabbed on the focused window, where the other
    // client's grabs on the root still come first for their own keys. Only the focus is asked
    // for; the grabs' answers are not awaited.
    _anyKeyGrabs.clear();
    for (std::uint16_t m = 0; m < 16; ++m) {
        const std::uint16_t modifiers =
            static_cast<std::uint16_t>(((m & 1) ? XMod::shift : 0) | ((m & 2) ? XMod::control : 0)
                                       | ((m & 4) ? XMod::alt : 0) | ((m & 8) ? XMod::super : 0));
        for (auto lock : lockVariants)
            grabAnyKey(_x->root, static_cast<std::uint16_t>(modifiers | lock));
    }
    xcb_flush(_x->c);
}

void X11Keyboard::whenHeld(std::function<void(bool held)> then)
{
    if (!_exclusive || !_grabbedKeyboards.empty())
        return then(true);
    // Nothing awaited and nothing taken: the keyboards were refused.
    if (_awaitingRelease.empty())
        return then(false);
    _grant.wait(std::move(then));
}

void X11Keyboard::startExclusive()
{
    _exclusive = true;
    // Asked for before the held keys are, so that no release falls between.
    watchReleases();
    // The menu saw the presses of the keys held now. Taking the keyboards before their releases
    // would keep those from it, and it would see them held until pressed again.
    auto *keymap = xcb_query_keymap_reply(_x->c, xcb_query_keymap(_x->c), nullptr);
    _awaitingRelease.clear();
    for (int key = 8; keymap && key < 256; ++key)
        if (keymap->keys[key / 8] & (1 << (key % 8)))
            _awaitingRelease.insert(static_cast<std::uint8_t>(key));
    std::free(keymap);
    readQueuedEvents();
    if (_awaitingRelease.empty())
        grabKeyboards();
}

void X11Keyboard::grabKeyboards()
{
    std::vector<std::pair<std::uint16_t, xcb_input_xi_grab_device_cookie_t>> grabs;
    std::uint32_t mask = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_KEY_RELEASE;
    // A slave keyboard we hold leaves its master, and so the menu's grab, until we let go.
    for (auto device : _x->slaveKeyboards())
        grabs.emplace_back(device,
                           xcb_input_xi_grab_device(_x->c, _x->root, XCB_CURRENT_TIME, XCB_NONE,
                                                    device, XCB_INPUT_GRAB_MODE_22_ASYNC,
                                                    XCB_INPUT_GRAB_MODE_22_ASYNC, 0, 1, &mask));
    for (const auto &[device, cookie] : grabs) {
        auto *reply = xcb_input_xi_grab_device_reply(_x->c, cookie, nullptr);
        if (reply && reply->status == XCB_GRAB_STATUS_SUCCESS)
            _grabbedKeyboards.push_back(device);
        std::free(reply);
    }
    watchReleases();
    readQueuedEvents();
    _grant.answer(!_grabbedKeyboards.empty());
}

void X11Keyboard::grabAnyKey(xcb_window_t window, std::uint16_t modifiers)
{
    const auto cookie = xcb_grab_key(_x->c, 1, window, modifiers, XCB_GRAB_ANY, XCB_GRAB_MODE_ASYNC,
                                     XCB_GRAB_MODE_SYNC);
    _anyKeyGrabs[cookie.sequence] = {window, modifiers};
}

void X11Keyboard::grabAroundOthers(xcb_window_t refused, std::uint16_t modifiers)
{
    // Grabs are refused only where another client holds the same combination on the same
    // window. Grabbing key by key on the root instead costs the server tens of milliseconds
    // per session, time in which every application waiting on it waits too.
    if (refused == _x->root && _focusWindow) {
        grabAnyKey(_focusWindow, modifiers);
    } else {
        for (const auto &p : keyPositions())
            if (!p.isModifier()) // modifier keys pass on their own
                _x->grab(p.xKey(), modifiers, XCB_GRAB_MODE_SYNC);
    }
    xcb_flush(_x->c);
}

void X11Keyboard::stop()
{
    if (!_capture)
        return;
    _capture = nullptr;
    _grant.cancel();
    // Releases stop coming with the grabs: a key still down now would count as repeating when
    // it is next pressed.
    _keysDown.clear();
    if (_exclusive) {
        _exclusive = false;
        _awaitingRelease.clear();
        for (auto device : _grabbedKeyboards)
            xcb_input_xi_ungrab_device(_x->c, XCB_CURRENT_TIME, device);
        _grabbedKeyboards.clear();
        watchReleases();
        xcb_flush(_x->c);
        return;
    }
    _anyKeyGrabs.clear();
    xcb_ungrab_key(_x->c, XCB_GRAB_ANY, _x->root, XCB_MOD_MASK_ANY);
    if (_focusWindow)
        xcb_ungrab_key(_x->c, XCB_GRAB_ANY, _focusWindow, XCB_MOD_MASK_ANY);
    _focusWindow = 0;
    xcb_allow_events(_x->c, XCB_ALLOW_ASYNC_KEYBOARD, XCB_CURRENT_TIME);
    // A kept press holds the keyboard until its key is released; the click that often follows
    // at once may open a menu, which needs the keyboard for itself.
    xcb_ungrab_keyboard(_x->c, XCB_CURRENT_TIME);
    xcb_flush(_x->c);
}

std::string X11Keyboard::translate(std::uint16_t keyCode)
{
    const auto key = xKeyCode(keyCode);
    return key ? asciiKeyText(_x->keymap, *key) : std::string();
}

void X11Keyboard::setHandler(HotKeys::Handler handler)
{
    _hotKeyHandler = std::move(handler);
}

bool X11Keyboard::heldByOthers(std::uint8_t keycode, std::uint16_t modifiers)
{
    // Another client's grab of the combination on the core keyboard (the window manager's)
    // would lose to ours on the slave keyboards; taking it for a moment tells whether it is
    // held.
    std::vector<xcb_void_cookie_t> cookies;
    for (auto lock : lockVariants)
        cookies.push_back(xcb_grab_key_checked(_x->c, 1, _x->root,
                                               static_cast<std::uint16_t>(modifiers | lock),
                                               keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    bool held = false;
    for (auto cookie : cookies)
        if (auto *error = xcb_request_check(_x->c, cookie)) {
            std::free(error);
            held = true;
        }
    for (auto lock : lockVariants)
        xcb_ungrab_key(_x->c, keycode, _x->root, static_cast<std::uint16_t>(modifiers | lock));
    readQueuedEvents();
    return held;
}

void X11Keyboard::grabHotKey(std::uint8_t keycode, std::uint16_t modifiers, bool grab)
{
    std::array<std::uint32_t, lockVariants.size()> variants {};
    std::transform(lockVariants.begin(), lockVariants.end(), variants.begin(),
                   [modifiers](std::uint16_t lock) { return modifiers | lock; });
    const std::uint32_t mask =
        XCB_INPUT_XI_EVENT_MASK_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_KEY_RELEASE;
    for (auto device : _x->slaveKeyboards()) {
        if (!grab) {
            xcb_input_xi_passive_ungrab_device(_x->c, _x->root, keycode, device, variants.size(),
                                               XCB_INPUT_GRAB_TYPE_KEYCODE, variants.data());
            continue;
        }
        // The keyboard freezes at the press until the grab is let go, so that no event of it
        // can come to us instead of its master meanwhile.
        const auto cookie = xcb_input_xi_passive_grab_device(
            _x->c, XCB_CURRENT_TIME, _x->root, XCB_NONE, keycode, device, variants.size(), 1,
            XCB_INPUT_GRAB_TYPE_KEYCODE, XCB_INPUT_GRAB_MODE_22_SYNC, XCB_INPUT_GRAB_MODE_22_ASYNC,
            0, &mask, variants.data());
        xcb_discard_reply(_x->c, cookie.sequence);
    }
    xcb_flush(_x->c);
}

void X11Keyboard::grabHotKeys()
{
    for (const auto &[id, key] : _hotKeys)
        grabHotKey(key.first, key.second, true);
}

bool X11Keyboard::registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifierFlags)
{
    const auto key = xKeyCode(keyCode);
    if (!key)
        return false;
    const auto modifiers = xModifiers(modifierFlags);
    // A capture's own grabs of every key would answer for the window manager's.
    if (!(_capture && !_exclusive) && heldByOthers(*key, modifiers))
        return false;
    _hotKeys[id] = {*key, modifiers};
    grabHotKey(*key, modifiers, true);
    return true;
}

bool X11Keyboard::unregisterHotKey(HotKeyId id)
{
    auto it = _hotKeys.find(id);
    if (it == _hotKeys.end())
        return false;
    const auto [key, modifiers] = it->second;
    _hotKeys.erase(it);
    grabHotKey(key, modifiers, false);
    return true;
}

std::optional<HotKeys::HotKeyId> X11Keyboard::hotKeyFor(std::uint8_t keycode,
                                                        std::uint16_t state) const
{
    const auto modifiers = static_cast<std::uint16_t>(state & XMod::fourModifiers);
    for (const auto &[id, key] : _hotKeys)
        if (key.first == keycode && key.second == modifiers)
            return id;
    return std::nullopt;
}

void X11Keyboard::readQueuedEvents()
{
    // Waiting for a reply may have moved events into the connection's queue, where the socket
    // no longer announces them; a frozen key among them would hold the keyboard.
    QTimer::singleShot(0, _events.get(), [this] { readEvents(); });
}

void X11Keyboard::readEvents()
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
        } else if (type == XCB_GE_GENERIC) {
            genericEvent(event);
        }
        std::free(event);
    }
}

void X11Keyboard::genericEvent(const void *event)
{
    const auto *ge = static_cast<const xcb_ge_generic_event_t *>(event);
    if (ge->extension != _x->xinput)
        return;
    switch (ge->event_type) {
    case XCB_INPUT_KEY_PRESS:
    case XCB_INPUT_KEY_RELEASE: {
        const auto *key = static_cast<const xcb_input_key_press_event_t *>(event);
        const auto keycode = static_cast<std::uint8_t>(key->detail);
        const auto state = static_cast<std::uint16_t>((key->mods.effective & 0xff)
                                                      | ((key->group.effective & 3) << 13));
        const bool press = ge->event_type == XCB_INPUT_KEY_PRESS;
        // From the keyboards this capture holds, or else from a hot key's grab.
        if (std::find(_grabbedKeyboards.begin(), _grabbedKeyboards.end(), key->deviceid)
            != _grabbedKeyboards.end())
            keyEvent(press, keycode, state);
        else if (press)
            hotKeyPressed(key->deviceid, keycode, state);
        break;
    }
    case XCB_INPUT_RAW_KEY_RELEASE: {
        const auto *raw = static_cast<const xcb_input_raw_key_release_event_t *>(event);
        const auto keycode = static_cast<std::uint8_t>(raw->detail);
        if (_exclusive && _grabbedKeyboards.empty() && _awaitingRelease.erase(keycode)
            && _awaitingRelease.empty())
            grabKeyboards();
        if (_heldHotKey && _heldHotKey->second == keycode) {
            const auto id = _heldHotKey->first;
            _heldHotKey.reset();
            if (_hotKeyHandler)
                _hotKeyHandler(id, EventType::keyUp);
        }
        watchReleases();
        break;
    }
    case XCB_INPUT_HIERARCHY: {
        const auto *change = static_cast<const xcb_input_hierarchy_event_t *>(event);
        if (change->flags
            & (XCB_INPUT_HIERARCHY_MASK_SLAVE_ADDED | XCB_INPUT_HIERARCHY_MASK_DEVICE_ENABLED))
            grabHotKeys(); // a keyboard plugged in
        break;
    }
    default:
        break;
    }
}

void X11Keyboard::hotKeyPressed(std::uint16_t device, std::uint8_t keycode, std::uint16_t state)
{
    const auto hotKey = hotKeyFor(keycode, state);
    if (hotKey)
        _heldHotKey = {*hotKey, keycode};
    // Asked for before the keyboard thaws, so that the key's release can't come first.
    watchReleases();
    // Letting go of the grab thaws the keyboard and gives it back to its master, which then
    // sees the shortcut's modifiers and key released as usual.
    xcb_input_xi_ungrab_device(_x->c, XCB_CURRENT_TIME, device);
    xcb_flush(_x->c);
    if (!hotKey)
        return;
    if (_hotKeyHandler)
        _hotKeyHandler(*hotKey, EventType::keyDown);
}

void X11Keyboard::watchReleases()
{
    // Asked for only while awaited: otherwise every key released on the desktop would wake us.
    const bool wanted = _heldHotKey || (_exclusive && _grabbedKeyboards.empty());
    if (wanted == _watchingReleases)
        return;
    _watchingReleases = wanted;
    selectXInputEvents(_x->c, _x->root, XCB_INPUT_DEVICE_ALL_MASTER,
                       wanted ? XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE : 0);
    xcb_flush(_x->c);
}

void X11Keyboard::keyEvent(bool press, std::uint8_t keycode, std::uint16_t state)
{
    const int eventType = press ? EventType::keyDown : EventType::keyUp;
    // While a capture holds the keyboards themselves, the hot keys' own grabs can't fire.
    if (auto hotKey = hotKeyFor(keycode, state)) {
        if (_capture && !_exclusive)
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
    // A modifier's own key is no key to the handler: its state comes with the keys that follow,
    // and the application keeps it, as where the per-key grabs leave modifiers out.
    if (isModifierKey(event.keyCode)) {
        if (!_exclusive) {
            xcb_allow_events(_x->c, press ? XCB_ALLOW_REPLAY_KEYBOARD : XCB_ALLOW_ASYNC_KEYBOARD,
                             XCB_CURRENT_TIME);
            xcb_flush(_x->c);
        }
        return;
    }
    event.flags = modifierFlags(state) | keyPositionFlags(event.keyCode);
    // The text with the modifiers held, and with Shift alone, in the event's layout. A release
    // gives the text of its press: Shift let go a moment before the key ("?" typed fast) makes
    // the key's release no "/".
    const auto held = _keysDown.find(keycode);
    if (!press && held != _keysDown.end()) {
        std::tie(event.characters, event.charactersIgnoringModifiers) = held->second;
        _keysDown.erase(held);
    } else {
        event.characters = _x->text(keycode, state, state);
        event.charactersIgnoringModifiers = _x->text(keycode, state & XMod::shift, state);
        event.isARepeat = press && held != _keysDown.end();
        if (press)
            _keysDown[keycode] = {event.characters, event.charactersIgnoringModifiers};
    }
    // A copy: the handler may end the capture.
    const auto capture = _capture;
    const bool exclusive = _exclusive;
    const auto disposition = capture(event);
    if (exclusive)
        return;
    // A press that the grab froze is replayed to the focused window or kept; a release of a
    // kept press can only be kept.
    xcb_allow_events(_x->c,
                     press && disposition == KeyDisposition::pass ? XCB_ALLOW_REPLAY_KEYBOARD
                                                                  : XCB_ALLOW_ASYNC_KEYBOARD,
                     XCB_CURRENT_TIME);
    xcb_flush(_x->c);
}

} // namespace tarnvik::linux
