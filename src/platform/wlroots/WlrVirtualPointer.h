#pragma once

#include "platform/Geometry.h"

#include <cstdint>
#include <memory>
#include <mutex>

struct wl_display;
struct wl_registry;
struct wl_seat;
struct zwlr_virtual_pointer_manager_v1;
struct zwlr_virtual_pointer_v1;

namespace tarnvik::wlroots {

// A pointer device of this program's own on a wlroots compositor (the virtual pointer protocol),
// on a Wayland connection of its own: it moves the seat's pointer, presses its buttons and
// scrolls in pixels like a touchpad. Any thread may use it.
class WlrVirtualPointer
{
public:
    // Nothing when the compositor offers no virtual pointers.
    static std::unique_ptr<WlrVirtualPointer> connect();
    ~WlrVirtualPointer();
    WlrVirtualPointer(const WlrVirtualPointer &) = delete;
    WlrVirtualPointer &operator=(const WlrVirtualPointer &) = delete;

    // To a point of the layout of outputs `layout` spans, in the compositor's logical pixels.
    void moveTo(CGPoint point, const CGRect &layout);
    // `button` a Linux input event code (BTN_LEFT...).
    void press(std::uint32_t button, bool down);
    // Positive values scroll down and to the right, as a touchpad's fingers moving up and left.
    void scroll(double vertical, double horizontal);

private:
    WlrVirtualPointer() = default;
    // Sends what was asked as one event, and waits for nothing.
    void frame();

    std::mutex _mutex;
    wl_display *_display = nullptr;
    wl_registry *_registry = nullptr;
    wl_seat *_seat = nullptr;
    zwlr_virtual_pointer_manager_v1 *_manager = nullptr;
    zwlr_virtual_pointer_v1 *_pointer = nullptr;
};

} // namespace tarnvik::wlroots
