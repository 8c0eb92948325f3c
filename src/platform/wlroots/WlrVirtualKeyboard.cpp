#include "platform/wlroots/WlrVirtualKeyboard.h"

#include "virtual-keyboard-unstable-v1-client-protocol.h"

#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

namespace tarnvik::wlroots {

namespace {

// The keymap's text in a file the compositor can map, as the protocol hands keymaps over.
bool sendKeymap(zwp_virtual_keyboard_v1 *keyboard, xkb_keymap *keymap)
{
    std::unique_ptr<char, decltype(&std::free)> text(
        xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1), &std::free);
    if (!text)
        return false;
    const std::size_t size = std::strlen(text.get()) + 1;
    const int fd = memfd_create("tarnvik-keymap", MFD_CLOEXEC);
    if (fd < 0)
        return false;
    const bool written = write(fd, text.get(), size) == static_cast<ssize_t>(size);
    if (written)
        zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd,
                                       static_cast<std::uint32_t>(size));
    close(fd);
    return written;
}

} // namespace

std::unique_ptr<WlrVirtualKeyboard> WlrVirtualKeyboard::connect(xkb_keymap *keymap)
{
    std::unique_ptr<WlrVirtualKeyboard> k(new WlrVirtualKeyboard);
    k->_connection = wayland::WaylandConnection::connect();
    if (!keymap || !k->_connection)
        return nullptr;
    k->_manager = static_cast<zwp_virtual_keyboard_manager_v1 *>(
        k->_connection->bind(zwp_virtual_keyboard_manager_v1_interface, 1));
    if (!k->_manager || !k->_connection->seat())
        return nullptr;
    k->_keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(k->_manager,
                                                                           k->_connection->seat());
    k->_state = xkb_state_new(keymap);
    if (!k->_state || !sendKeymap(k->_keyboard, keymap) || !k->_connection->roundtrip())
        return nullptr;
    return k;
}

WlrVirtualKeyboard::~WlrVirtualKeyboard()
{
    if (_keyboard)
        zwp_virtual_keyboard_v1_destroy(_keyboard);
    if (_manager)
        zwp_virtual_keyboard_manager_v1_destroy(_manager);
    if (_state)
        xkb_state_unref(_state);
}

void WlrVirtualKeyboard::key(std::uint32_t code, bool down)
{
    std::lock_guard lock(_mutex);
    zwp_virtual_keyboard_v1_key(_keyboard, wayland::WaylandConnection::eventTime(), code,
                                down ? WL_KEYBOARD_KEY_STATE_PRESSED
                                     : WL_KEYBOARD_KEY_STATE_RELEASED);
    // Evdev codes are XKB's less eight.
    xkb_state_update_key(_state, code + 8, down ? XKB_KEY_DOWN : XKB_KEY_UP);
    zwp_virtual_keyboard_v1_modifiers(
        _keyboard, xkb_state_serialize_mods(_state, XKB_STATE_MODS_DEPRESSED),
        xkb_state_serialize_mods(_state, XKB_STATE_MODS_LATCHED),
        xkb_state_serialize_mods(_state, XKB_STATE_MODS_LOCKED),
        xkb_state_serialize_layout(_state, XKB_STATE_LAYOUT_EFFECTIVE));
    _connection->roundtrip();
}

} // namespace tarnvik::wlroots
