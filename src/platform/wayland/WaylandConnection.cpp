#include "platform/wayland/WaylandConnection.h"

#include <chrono>
#include <wayland-client.h>

namespace tarnvik::wayland {

std::unique_ptr<WaylandConnection> WaylandConnection::connect()
{
    std::unique_ptr<WaylandConnection> c(new WaylandConnection);
    c->_display = wl_display_connect(nullptr);
    if (!c->_display)
        return nullptr;
    static const wl_registry_listener listener {
        .global =
            [](void *data, wl_registry *, std::uint32_t name, const char *interface,
               std::uint32_t version) {
                static_cast<WaylandConnection *>(data)->_globals.push_back(
                    {name, interface, version});
            },
        .global_remove = [](void *, wl_registry *, std::uint32_t) {},
    };
    c->_registry = wl_display_get_registry(c->_display);
    wl_registry_add_listener(c->_registry, &listener, c.get());
    if (!c->roundtrip())
        return nullptr;
    return c;
}

WaylandConnection::~WaylandConnection()
{
    if (_seat)
        wl_seat_destroy(_seat);
    if (_registry)
        wl_registry_destroy(_registry);
    if (_display) {
        wl_display_flush(_display);
        wl_display_disconnect(_display);
    }
}

void *WaylandConnection::bind(const wl_interface &interface, std::uint32_t version)
{
    for (const auto &g : _globals) {
        if (g.interface == interface.name && g.version >= version)
            return wl_registry_bind(_registry, g.name, &interface, version);
    }
    return nullptr;
}

bool WaylandConnection::roundtrip()
{
    return wl_display_roundtrip(_display) >= 0;
}

void WaylandConnection::flush()
{
    wl_display_flush(_display);
}

wl_seat *WaylandConnection::seat()
{
    if (!_seat)
        _seat = static_cast<wl_seat *>(bind(wl_seat_interface, 1));
    return _seat;
}

std::uint32_t WaylandConnection::eventTime()
{
    using namespace std::chrono;
    return static_cast<std::uint32_t>(
        duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

} // namespace tarnvik::wayland
