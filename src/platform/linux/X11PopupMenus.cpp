#include "platform/linux/X11PopupMenus.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <vector>
#include <xcb/xcb.h>

namespace tarnvik::linux {

namespace {

constexpr std::array<std::string_view, 4> menuTypeNames {
    "_NET_WM_WINDOW_TYPE_POPUP_MENU", "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU",
    "_NET_WM_WINDOW_TYPE_COMBO", "_NET_WM_WINDOW_TYPE_MENU"};

xcb_intern_atom_cookie_t intern(xcb_connection_t *c, std::string_view name)
{
    return xcb_intern_atom(c, 0, static_cast<std::uint16_t>(name.size()), name.data());
}

xcb_atom_t atom(xcb_connection_t *c, xcb_intern_atom_cookie_t cookie)
{
    auto *reply = xcb_intern_atom_reply(c, cookie, nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t {XCB_ATOM_NONE};
    std::free(reply);
    return atom;
}

} // namespace

X11PopupMenus::X11PopupMenus(xcb_connection_t *c, std::uint32_t root)
    : _c(c)
    , _root(root)
{
    const auto windowType = intern(c, "_NET_WM_WINDOW_TYPE");
    std::array<xcb_intern_atom_cookie_t, menuTypeNames.size()> menuTypes {};
    std::transform(menuTypeNames.begin(), menuTypeNames.end(), menuTypes.begin(),
                   [c](std::string_view name) { return intern(c, name); });
    _windowType = atom(c, windowType);
    std::transform(menuTypes.begin(), menuTypes.end(), _menuTypes.begin(),
                   [c](xcb_intern_atom_cookie_t cookie) { return atom(c, cookie); });
}

bool X11PopupMenus::shown() const
{
    auto *tree = xcb_query_tree_reply(_c, xcb_query_tree(_c, _root), nullptr);
    if (!tree)
        return false;
    const auto *children = xcb_query_tree_children(tree);
    std::vector<std::pair<xcb_window_t, xcb_get_window_attributes_cookie_t>> asked;
    for (int i = 0; i < xcb_query_tree_children_length(tree); ++i)
        asked.emplace_back(children[i], xcb_get_window_attributes(_c, children[i]));
    std::free(tree);
    std::vector<xcb_get_property_cookie_t> types;
    for (const auto &[window, cookie] : asked) {
        auto *attributes = xcb_get_window_attributes_reply(_c, cookie, nullptr);
        if (attributes && attributes->override_redirect
            && attributes->map_state == XCB_MAP_STATE_VIEWABLE)
            types.push_back(xcb_get_property(_c, 0, window, _windowType, XCB_ATOM_ATOM, 0, 8));
        std::free(attributes);
    }
    bool menu = false;
    for (const auto cookie : types) {
        auto *type = xcb_get_property_reply(_c, cookie, nullptr);
        const int n = type ? xcb_get_property_value_length(type) / 4 : 0;
        const auto *atoms =
            type ? static_cast<const xcb_atom_t *>(xcb_get_property_value(type)) : nullptr;
        menu = menu || std::any_of(atoms, atoms + n, [this](xcb_atom_t a) {
                   return std::find(_menuTypes.begin(), _menuTypes.end(), a) != _menuTypes.end();
               });
        // Every reply is read, even once the answer is known.
        std::free(type);
    }
    return menu;
}

} // namespace tarnvik::linux
