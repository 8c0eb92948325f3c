#include "platform/linux/X11KeyWatch.h"

#include "platform/KeyCodes.h"
#include "platform/linux/X11Keys.h"

#include <QSocketNotifier>

#include <algorithm>
#include <cstdlib>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xinput.h>
// xcb's XKB header names a field `explicit`, a keyword of C++.
#define explicit xkb_explicit
#include <xcb/xkb.h>
#undef explicit

namespace tarnvik::linux {

namespace {

constexpr std::uint8_t xkbStateNotify = XCB_XKB_STATE_NOTIFY;

// Lock counts while it is locked, as Caps Lock's bit does, not while its key is held.
std::uint64_t flagsOf(std::uint16_t effectiveMods, std::uint16_t lockedMods)
{
    return modifierFlags(static_cast<std::uint16_t>(effectiveMods & ~XMod::lock))
        | ((lockedMods & XMod::lock) ? ModifierFlag::capsLock : 0);
}

} // namespace

class X11KeyWatch::Connection : public XConnection
{
public:
    std::uint8_t xinput = 0;
    // The first event code of XKB's events.
    std::uint8_t xkbEvents = 0;
    std::uint8_t capsKey = 0;
    // The Caps Lock key's symbols while the program has the key, to be given back.
    std::vector<xcb_keysym_t> capsSymbols;

    // The symbols of one key, as many as the keymap has for each key.
    std::vector<xcb_keysym_t> symbolsOf(std::uint8_t key)
    {
        auto *reply =
            xcb_get_keyboard_mapping_reply(c, xcb_get_keyboard_mapping(c, key, 1), nullptr);
        std::vector<xcb_keysym_t> symbols;
        if (reply) {
            const auto *keysyms = xcb_get_keyboard_mapping_keysyms(reply);
            symbols.assign(keysyms, keysyms + reply->keysyms_per_keycode);
            std::free(reply);
        }
        return symbols;
    }

    void setSymbols(std::uint8_t key, const std::vector<xcb_keysym_t> &symbols)
    {
        xcb_change_keyboard_mapping(c, 1, key, static_cast<std::uint8_t>(symbols.size()),
                                    symbols.data());
        xcb_flush(c);
    }

    // Keeps the Caps Lock key's symbols and leaves the key without any.
    void takeCapsKey(std::vector<xcb_keysym_t> symbols)
    {
        capsSymbols = std::move(symbols);
        if (!capsSymbols.empty())
            setSymbols(capsKey, std::vector<xcb_keysym_t>(capsSymbols.size(), XCB_NO_SYMBOL));
    }
};

std::unique_ptr<X11KeyWatch> X11KeyWatch::connect()
{
    auto x = std::make_unique<Connection>();
    if (!x->connectWithXkb(&x->xkbEvents))
        return nullptr;
    x->xinput = xinput22(x->c);
    const auto caps = xKeyCode(KeyCode::capsLock);
    if (!x->xinput || !caps)
        return nullptr;
    x->capsKey = *caps;
    return std::unique_ptr<X11KeyWatch>(new X11KeyWatch(std::move(x)));
}

X11KeyWatch::X11KeyWatch(std::unique_ptr<Connection> connection)
    : _x(std::move(connection))
{
    _events = watchEvents(_x->c, [this] { readEvents(); });
}

X11KeyWatch::~X11KeyWatch()
{
    claimCapsLockKey(false);
}

void X11KeyWatch::setMonitorHandler(KeyEventMonitor::Handler handler)
{
    _monitor = std::move(handler);
    selectEvents();
}

void X11KeyWatch::setCapsLockHandler(CapsLockKey::Handler handler)
{
    _capsLock = std::move(handler);
    claimCapsLockKey(static_cast<bool>(_capsLock));
    selectEvents();
}

void X11KeyWatch::claimCapsLockKey(bool claim)
{
    if (claim == !_x->capsSymbols.empty())
        return;
    if (claim) {
        _x->takeCapsKey(_x->symbolsOf(_x->capsKey));
        return;
    }
    _x->setSymbols(_x->capsKey, _x->capsSymbols);
    _x->capsSymbols.clear();
}

// Raw presses, asked for only while someone watches: otherwise every key of the desktop would
// wake the program.
void X11KeyWatch::selectEvents()
{
    // The modifiers' changes too, only while watched: otherwise every Shift typed anywhere
    // would wake the program. The watch starts from the state as it stands.
    const std::uint16_t modifierParts = XCB_XKB_STATE_PART_MODIFIER_STATE
        | XCB_XKB_STATE_PART_MODIFIER_BASE | XCB_XKB_STATE_PART_MODIFIER_LATCH
        | XCB_XKB_STATE_PART_MODIFIER_LOCK;
    xcb_xkb_select_events_details_t details {};
    details.affectState = modifierParts;
    details.stateDetails = _monitor ? modifierParts : 0;
    const std::uint16_t stateNotify = XCB_XKB_EVENT_TYPE_STATE_NOTIFY;
    xcb_xkb_select_events_aux(_x->c, XCB_XKB_ID_USE_CORE_KBD, stateNotify,
                              _monitor ? 0 : stateNotify, _monitor ? stateNotify : 0, 0, 0,
                              &details);
    if (_monitor) {
        auto *state = xcb_xkb_get_state_reply(
            _x->c, xcb_xkb_get_state(_x->c, XCB_XKB_ID_USE_CORE_KBD), nullptr);
        _flags = state ? flagsOf(state->mods, state->lockedMods) : 0;
        std::free(state);
    }

    std::uint32_t mask = 0;
    if (_monitor || _capsLock)
        mask |= XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS;
    if (_capsLock)
        mask |= XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;
    selectXInputEvents(_x->c, _x->root, XCB_INPUT_DEVICE_ALL_MASTER, mask);
    xcb_flush(_x->c);
}

bool X11KeyWatch::isCapsLockOn()
{
    auto *state =
        xcb_xkb_get_state_reply(_x->c, xcb_xkb_get_state(_x->c, XCB_XKB_ID_USE_CORE_KBD), nullptr);
    const bool on = state && (state->lockedMods & XMod::lock);
    std::free(state);
    return on;
}

void X11KeyWatch::setCapsLock(bool on)
{
    xcb_xkb_latch_lock_state(_x->c, XCB_XKB_ID_USE_CORE_KBD, XMod::lock, on ? XMod::lock : 0, 0, 0,
                             0, 0, 0);
    xcb_flush(_x->c);
}

void X11KeyWatch::readEvents()
{
    while (auto *event = xcb_poll_for_event(_x->c)) {
        const auto type = event->response_type & 0x7f;
        if (type == XCB_GE_GENERIC) {
            const auto *ge = reinterpret_cast<const xcb_ge_generic_event_t *>(event);
            if (ge->extension == _x->xinput
                && (ge->event_type == XCB_INPUT_RAW_KEY_PRESS
                    || ge->event_type == XCB_INPUT_RAW_KEY_RELEASE)) {
                const auto *raw = reinterpret_cast<const xcb_input_raw_key_press_event_t *>(event);
                rawKey(ge->event_type == XCB_INPUT_RAW_KEY_PRESS,
                       static_cast<std::uint8_t>(raw->detail));
            }
        } else if (type == _x->xkbEvents) {
            const auto *xkb = reinterpret_cast<const xcb_xkb_state_notify_event_t *>(event);
            if (xkb->xkbType == xkbStateNotify)
                stateChanged(xkb->mods, xkb->lockedMods);
        }
        std::free(event);
    }
}

void X11KeyWatch::rawKey(bool press, std::uint8_t keycode)
{
    if (keycode == _x->capsKey) {
        // A keymap loaded since (setxkbmap, the desktop's layout settings) gave the key its
        // symbol back: it is taken again, so that only this press locked.
        if (press && _capsLock) {
            auto symbols = _x->symbolsOf(_x->capsKey);
            if (std::ranges::any_of(symbols, [](xcb_keysym_t k) { return k != XCB_NO_SYMBOL; }))
                _x->takeCapsKey(std::move(symbols));
        }
        if (_capsLock) {
            // A copy: the handler may be replaced while it runs.
            const auto handler = _capsLock;
            handler(press);
        }
        return;
    }
    const auto keyCode = virtualKeyCode(keycode);
    if (!press || !_monitor || !keyCode)
        return;
    // Modifier keys speak through the state's changes.
    if (isModifierKey(*keyCode))
        return;
    KeyEvent event;
    event.type = EventType::keyDown;
    event.keyCode = *keyCode;
    event.flags = _flags | keyPositionFlags(*keyCode);
    const auto handler = _monitor;
    handler(event);
}

void X11KeyWatch::stateChanged(std::uint16_t effectiveMods, std::uint16_t lockedMods)
{
    const std::uint64_t flags = flagsOf(effectiveMods, lockedMods);
    if (flags == _flags)
        return;
    _flags = flags;
    if (!_monitor)
        return;
    KeyEvent event;
    event.type = EventType::flagsChanged;
    event.flags = flags;
    const auto handler = _monitor;
    handler(event);
}

} // namespace tarnvik::linux
