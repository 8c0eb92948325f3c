#include "platform/wlroots/WlrVirtualPointer.h"

#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <algorithm>
#include <cmath>
#include <wayland-client.h>

namespace tarnvik::wlroots {

std::unique_ptr<WlrVirtualPointer> WlrVirtualPointer::connect()
{
    std::unique_ptr<WlrVirtualPointer> p(new WlrVirtualPointer);
    p->_connection = wayland::WaylandConnection::connect();
    if (!p->_connection)
        return nullptr;
    p->_manager = static_cast<zwlr_virtual_pointer_manager_v1 *>(
        p->_connection->bind(zwlr_virtual_pointer_manager_v1_interface, 1));
    if (!p->_manager)
        return nullptr;
    p->_pointer =
        zwlr_virtual_pointer_manager_v1_create_virtual_pointer(p->_manager, p->_connection->seat());
    if (!p->_connection->roundtrip())
        return nullptr;
    return p;
}

WlrVirtualPointer::~WlrVirtualPointer()
{
    if (_pointer)
        zwlr_virtual_pointer_v1_destroy(_pointer);
    if (_manager)
        zwlr_virtual_pointer_manager_v1_destroy(_manager);
}

void WlrVirtualPointer::frame()
{
    zwlr_virtual_pointer_v1_frame(_pointer);
    _connection->flush();
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
        _pointer, wayland::WaylandConnection::eventTime(),
        along(point.x, layout.origin.x, width - 1), along(point.y, layout.origin.y, height - 1),
        static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height));
    frame();
}

void WlrVirtualPointer::press(std::uint32_t button, bool down)
{
    std::lock_guard lock(_mutex);
    zwlr_virtual_pointer_v1_button(_pointer, wayland::WaylandConnection::eventTime(), button,
                                   down ? WL_POINTER_BUTTON_STATE_PRESSED
                                        : WL_POINTER_BUTTON_STATE_RELEASED);
    frame();
}

void WlrVirtualPointer::scroll(double vertical, double horizontal)
{
    std::lock_guard lock(_mutex);
    const auto time = wayland::WaylandConnection::eventTime();
    zwlr_virtual_pointer_v1_axis_source(_pointer, WL_POINTER_AXIS_SOURCE_FINGER);
    if (vertical != 0)
        zwlr_virtual_pointer_v1_axis(_pointer, time, WL_POINTER_AXIS_VERTICAL_SCROLL,
                                     wl_fixed_from_double(vertical));
    if (horizontal != 0)
        zwlr_virtual_pointer_v1_axis(_pointer, time, WL_POINTER_AXIS_HORIZONTAL_SCROLL,
                                     wl_fixed_from_double(horizontal));
    frame();
}

void WlrVirtualPointer::sync()
{
    std::lock_guard lock(_mutex);
    _connection->roundtrip();
}

} // namespace tarnvik::wlroots
