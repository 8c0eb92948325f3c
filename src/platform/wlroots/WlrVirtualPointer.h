#pragma once

#include "platform/linux/VirtualPointer.h"
#include "platform/wayland/WaylandConnection.h"

#include <cstdint>
#include <memory>
#include <mutex>

struct zwlr_virtual_pointer_manager_v1;
struct zwlr_virtual_pointer_v1;

namespace tarnvik::wlroots {

// A pointer device of this program's own on a wlroots compositor (the virtual pointer protocol),
// on a Wayland connection of its own: it moves the seat's pointer, presses its buttons and
// scrolls in pixels like a touchpad. Any thread may use it.
class WlrVirtualPointer final : public linux::PointerDevice
{
public:
    // Nothing when the compositor offers no virtual pointers.
    static std::unique_ptr<WlrVirtualPointer> connect();
    ~WlrVirtualPointer() override;
    WlrVirtualPointer(const WlrVirtualPointer &) = delete;
    WlrVirtualPointer &operator=(const WlrVirtualPointer &) = delete;

    void moveTo(CGPoint point, const CGRect &layout) override;
    void press(std::uint32_t button, bool down) override;
    void scroll(double vertical, double horizontal) override;
    void sync() override;

private:
    WlrVirtualPointer() = default;
    // Sends what was asked as one event, and waits for nothing.
    void frame();

    std::mutex _mutex;
    std::unique_ptr<wayland::WaylandConnection> _connection;
    zwlr_virtual_pointer_manager_v1 *_manager = nullptr;
    zwlr_virtual_pointer_v1 *_pointer = nullptr;
};

} // namespace tarnvik::wlroots
