#pragma once

#include <array>
#include <cstdint>

struct xcb_connection_t;

namespace tarnvik::linux {

// Whether a client shows a menu now, in a window of its own: an override-redirect top-level
// whose window type is a menu's. GTK and Qt menus hold the keyboard while they are open;
// Firefox's menus and `<select>` lists hold nothing and close as soon as their window loses the
// focus, which any grab of the core keyboard does. Neither can be asked of the menu, so the
// window is looked at.
class X11PopupMenus
{
public:
    X11PopupMenus(xcb_connection_t *c, std::uint32_t root);

    // Three round trips; tooltips and notifications don't count.
    bool shown() const;

private:
    xcb_connection_t *_c;
    std::uint32_t _root;
    std::uint32_t _windowType = 0;
    std::array<std::uint32_t, 4> _menuTypes {};
};

} // namespace tarnvik::linux
