#include "platform/wlroots/WlrVirtualPointer.h"

#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <wayland-client.h>

namespace tarnvik::wlroots {

namespace {

std::uint32_t now()
{
    using namespace std::chrono;
    return static_cast<std::uint32_t>(
        duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

} // namespace

std::unique_ptr<WlrVirtualPointer> WlrVirtualPointer::connect()
{
    std::unique_ptr<WlrVirtualPointer> p(new WlrVirtualPointer);
    p->_display = wl_display_connect(nullptr);
    if (!p->_display)
        return nullptr;
    static const wl_registry_listener listener {
        .global =
            [](void *data, wl_registry *registry, std::uint32_t name, const char *interface,
               std::uint32_t) {
                auto *self = static_cast<WlrVirtualPointer *>(data);
                if (std::strcmp(interface, wl_seat_interface.name) == 0 && !self->_seat) {
                    self->_seat = static_cast<wl_seat *>(
                        wl_registry_bind(registry, name, &wl_seat_interface, 1));
                } else if (std::strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name)
                           == 0) {
                    self->_manager =
                        static_cast<zwlr_virtual_pointer_manager_v1 *>(wl_registry_bind(
                            registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1));
                }
            },
        .global_remove = [](void *, wl_registry *, std::uint32_t) {},
    };
    p->_registry = wl_display_get_registry(p->_display);
    wl_registry_add_listener(p->_registry, &listener, p.get());
    if (wl_display_roundtrip(p->_display) < 0 || !p->_manager)
        return nullptr;
    p->_pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(p->_manager, p->_seat);
    if (wl_display_roundtrip(p->_display) < 0)
        return nullptr;
    return p;
}

WlrVirtualPointer::~WlrVirtualPointer()
{
    if (_pointer)
        zwlr_virtual_pointer_v1_destroy(_pointer);
    if (_manager)
        zwlr_virtual_pointer_manager_v1_destroy(_manager);
    if (_seat)
        wl_seat_destroy(_seat);
    if (_registry)
        wl_registry_destroy(_registry);
    if (_display) {
        wl_display_flush(_display);
        wl_display_disconnect(_display);
    }
}

void WlrVirtualPointer::frame()
{
    zwlr_virtual_pointer_v1_frame(_pointer);
    wl_display_flush(_display);
}

void WlrVirtualPointer::moveTo(CGPoint point, const CGRect &layout)
{
    std::lock_guard lock(_mutex);
    const auto along = [](double at, double from, double extent) {
        return static_cast<std::uint32_t>(std::clamp(std::round(at - from), 0.0, extent));
    };
    const double width = std::max(1.0, layout.size.width);
    const double height = std::max(1.0, layout.size.height);
    zwlr_virtual_pointer_v1_motion_absolute(
        _pointer, now(), along(point.x, layout.origin.x, width - 1),
        along(point.y, layout.origin.y, height - 1), static_cast<std::uint32_t>(width),
        static_cast<std::uint32_t>(height));
    frame();
}

void WlrVirtualPointer::press(std::uint32_t button, bool down)
{
    std::lock_guard lock(_mutex);
    zwlr_virtual_pointer_v1_button(_pointer, now(), button,
                                   down ? WL_POINTER_BUTTON_STATE_PRESSED
                                        : WL_POINTER_BUTTON_STATE_RELEASED);
    frame();
}

void WlrVirtualPointer::scroll(double vertical, double horizontal)
{
    std::lock_guard lock(_mutex);
    const auto time = now();
    zwlr_virtual_pointer_v1_axis_source(_pointer, WL_POINTER_AXIS_SOURCE_FINGER);
    if (vertical != 0)
        zwlr_virtual_pointer_v1_axis(_pointer, time, WL_POINTER_AXIS_VERTICAL_SCROLL,
                                     wl_fixed_from_double(vertical));
    if (horizontal != 0)
        zwlr_virtual_pointer_v1_axis(_pointer, time, WL_POINTER_AXIS_HORIZONTAL_SCROLL,
                                     wl_fixed_from_double(horizontal));
    frame();
}

} // namespace tarnvik::wlroots
