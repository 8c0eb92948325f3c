#pragma once

#include "platform/KeyCodes.h"
#include "platform/KeyEvents.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

class QSocketNotifier;
struct xcb_connection_t;

namespace tarnvik::linux {

// The core's virtual key codes are key positions; X key codes are the Linux input event codes
// of the same positions plus 8.
struct KeyPosition
{
    std::uint16_t keyCode;
    std::uint8_t evdev;

    std::uint8_t xKey() const { return static_cast<std::uint8_t>(evdev + 8); }
    bool isModifier() const { return isModifierKey(keyCode); }
};

std::span<const KeyPosition> keyPositions();
std::optional<std::uint8_t> xKeyCode(std::uint16_t keyCode);
// Nothing for a code that names no key position, or that no X key code could be.
std::optional<std::uint16_t> virtualKeyCode(std::uint32_t xKey);

// X's core modifier masks. Super stands in for Command, Alt for Option.
namespace XMod {
constexpr std::uint16_t shift = 1 << 0;
constexpr std::uint16_t lock = 1 << 1;
constexpr std::uint16_t control = 1 << 2;
constexpr std::uint16_t alt = 1 << 3; // Mod1
constexpr std::uint16_t numLock = 1 << 4; // Mod2
constexpr std::uint16_t super = 1 << 6; // Mod4
constexpr std::uint16_t fourModifiers = shift | control | alt | super;
} // namespace XMod

std::uint16_t xModifiers(std::uint64_t flags);
// `clickModifierFlags` as an X modifier mask.
std::uint16_t clickModifiers(std::uint64_t flags);
std::uint64_t modifierFlags(std::uint16_t state);

// A key typed while the keyboard is held outside X: by GNOME Shell, or by a Wayland surface of
// this program's.
struct TypedKey
{
    std::uint32_t keycode = 0;
    // X's modifier mask.
    std::uint32_t state = 0;
    bool pressed = false;
    bool repeat = false;
    // What it types in the layout and with the modifiers in use; empty for no character.
    std::string text;
};
// The key as the core knows it; nothing for a modifier's own key, or a key of no position.
std::optional<KeyEvent> keyEventOf(const TypedKey &typed, KeyboardLayout &layout);

// A connection of the program's own to the display, closed with it, and the first screen's
// root. Each part of the X backend has one, so that none waits on another's replies.
struct XConnection
{
    XConnection() = default;
    XConnection(const XConnection &) = delete;
    XConnection &operator=(const XConnection &) = delete;
    ~XConnection();

    // False when the display can't be reached.
    bool connect();
    // False as well without the XKB extension; `xkbEvents`, where given, gets XKB's first event
    // code.
    bool connectWithXkb(std::uint8_t *xkbEvents = nullptr);

    xcb_connection_t *c = nullptr;
    std::uint32_t root = 0;
};

// Calls `readEvents` from the event loop whenever the connection has something to read.
std::unique_ptr<QSocketNotifier> watchEvents(xcb_connection_t *c, std::function<void()> readEvents);

// The XInput extension's major opcode where the server speaks XInput 2.2, whose raw events reach
// the root whatever holds the keyboard or the pointer; 0 where it doesn't.
std::uint8_t xinput22(xcb_connection_t *c);
// Asks for the XInput events of `mask` (its event mask bits) of `devices` (a device id, or all
// devices, or all masters) on the root; 0 stops them.
void selectXInputEvents(xcb_connection_t *c, std::uint32_t root, std::uint16_t devices,
                        std::uint32_t mask);

} // namespace tarnvik::linux
