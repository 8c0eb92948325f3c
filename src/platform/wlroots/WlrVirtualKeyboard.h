#pragma once

#include "platform/linux/VirtualPointer.h"
#include "platform/wayland/WaylandConnection.h"

#include <cstdint>
#include <memory>
#include <mutex>

struct xkb_keymap;
struct xkb_state;
struct zwp_virtual_keyboard_manager_v1;
struct zwp_virtual_keyboard_v1;

namespace tarnvik::wlroots {

// A keyboard of this program's own on a wlroots compositor (the virtual keyboard protocol), on
// a Wayland connection of its own, its codes read in the keymap it is made with. It tells the
// compositor its modifiers itself, as a real keyboard's driver would. Any thread may use it.
class WlrVirtualKeyboard final : public linux::KeyDevice
{
public:
    // Nothing when the compositor offers no virtual keyboards.
    static std::unique_ptr<WlrVirtualKeyboard> connect(xkb_keymap *keymap);
    ~WlrVirtualKeyboard() override;
    WlrVirtualKeyboard(const WlrVirtualKeyboard &) = delete;
    WlrVirtualKeyboard &operator=(const WlrVirtualKeyboard &) = delete;

    // Sends the key and the modifiers it leaves.
    void key(std::uint32_t code, bool down) override;

private:
    WlrVirtualKeyboard() = default;

    std::mutex _mutex;
    std::unique_ptr<wayland::WaylandConnection> _connection;
    zwp_virtual_keyboard_manager_v1 *_manager = nullptr;
    zwp_virtual_keyboard_v1 *_keyboard = nullptr;
    xkb_state *_state = nullptr;
};

} // namespace tarnvik::wlroots
