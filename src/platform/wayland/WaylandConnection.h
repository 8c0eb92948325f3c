#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct wl_display;
struct wl_interface;
struct wl_registry;
struct wl_seat;

namespace tarnvik::wayland {

// A Wayland connection of this program's own, apart from Qt's, for the devices a compositor lets
// a client make: the globals the compositor announced at connection, to bind. Flushed and closed
// when it goes (the compositor then drops whatever was made on it).
class WaylandConnection
{
public:
    // Nothing when WAYLAND_DISPLAY names no compositor that answers.
    static std::unique_ptr<WaylandConnection> connect();
    ~WaylandConnection();
    WaylandConnection(const WaylandConnection &) = delete;
    WaylandConnection &operator=(const WaylandConnection &) = delete;

    // The first global of that interface at `version` or later, bound at `version`; nothing
    // when the compositor offers none (to this client).
    void *bind(const wl_interface &interface, std::uint32_t version);
    // Waits until the compositor has handled everything sent; false when the connection broke.
    bool roundtrip();
    // Sends what was asked, and waits for nothing.
    void flush();
    wl_display *display() const { return _display; }
    // The compositor's first seat, bound at the first ask and kept with the connection; nothing
    // where it has none.
    wl_seat *seat();
    // Milliseconds on the monotonic clock, as devices stamp their events.
    static std::uint32_t eventTime();

private:
    struct Global
    {
        std::uint32_t name;
        std::string interface;
        std::uint32_t version;
    };

    WaylandConnection() = default;

    wl_display *_display = nullptr;
    wl_registry *_registry = nullptr;
    wl_seat *_seat = nullptr;
    std::vector<Global> _globals;
};

} // namespace tarnvik::wayland
