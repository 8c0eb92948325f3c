#include "platform/linux/X11Desktop.h"

#include "platform/linux/DesktopIdentity.h"

#include <QSocketNotifier>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>

namespace tarnvik::linux {

namespace {

template<class T>
struct FreeDeleter
{
    void operator()(T *p) const { std::free(p); }
};
template<class T>
using Reply = std::unique_ptr<T, FreeDeleter<T>>;

} // namespace

// One connection to the X server, its atoms, and typed property reads. Calls are serialised:
// the workspace is asked from the tree-building tasks as well as the main thread.
class X11Desktop::Connection
{
public:
    explicit Connection(xcb_connection_t *c)
        : connection(c)
    {
        root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    }
    ~Connection() { xcb_disconnect(connection); }

    xcb_atom_t atom(const char *name)
    {
        if (auto it = atoms.find(name); it != atoms.end())
            return it->second;
        Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            connection,
            xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
            nullptr));
        const xcb_atom_t a = reply ? reply->atom : xcb_atom_t {XCB_ATOM_NONE};
        atoms[name] = a;
        return a;
    }

    Reply<xcb_get_property_reply_t> property(xcb_window_t w, const char *name, xcb_atom_t type,
                                             std::uint32_t length = 1024)
    {
        return Reply<xcb_get_property_reply_t>(xcb_get_property_reply(
            connection, xcb_get_property(connection, 0, w, atom(name), type, 0, length), nullptr));
    }

    std::vector<xcb_window_t> windows(const char *name)
    {
        auto reply = property(root, name, XCB_ATOM_WINDOW, 4096);
        if (!reply || reply->format != 32)
            return {};
        const auto *data = static_cast<const xcb_window_t *>(xcb_get_property_value(reply.get()));
        return {data, data + xcb_get_property_value_length(reply.get()) / 4};
    }

    std::optional<std::uint32_t> cardinal(xcb_window_t w, const char *name)
    {
        auto reply = property(w, name, XCB_ATOM_CARDINAL);
        if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
            return std::nullopt;
        return *static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
    }

    std::string text(xcb_window_t w, const char *name, xcb_atom_t type)
    {
        auto reply = property(w, name, type);
        if (!reply)
            return {};
        const auto *data = static_cast<const char *>(xcb_get_property_value(reply.get()));
        return std::string(data,
                           static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
    }

    std::string title(xcb_window_t w)
    {
        std::string name = text(w, "_NET_WM_NAME", atom("UTF8_STRING"));
        return name.empty() ? text(w, "WM_NAME", XCB_ATOM_STRING) : name;
    }

    WindowIdentity identity(xcb_window_t w)
    {
        WindowIdentity id;
        const std::string wmClass = text(w, "WM_CLASS", XCB_ATOM_STRING);
        const auto split = wmClass.find('\0');
        id.wmInstance = wmClass.substr(0, split);
        if (split != std::string::npos)
            id.wmClass = std::string(wmClass.c_str() + split + 1);
        const std::string gtk = text(w, "_GTK_APPLICATION_ID", atom("UTF8_STRING"));
        if (!gtk.empty())
            id.gtkApplicationId = gtk;
        return id;
    }

    // The window's frame on the root window, in the accessibility space.
    std::optional<CGRect> frame(xcb_window_t w)
    {
        Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(connection, xcb_get_geometry(connection, w), nullptr));
        if (!geometry)
            return std::nullopt;
        Reply<xcb_translate_coordinates_reply_t> position(xcb_translate_coordinates_reply(
            connection, xcb_translate_coordinates(connection, w, root, 0, 0), nullptr));
        if (!position)
            return std::nullopt;
        return makeRect(position->dst_x, position->dst_y, geometry->width, geometry->height);
    }

    bool isViewable(xcb_window_t w)
    {
        Reply<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
            connection, xcb_get_window_attributes(connection, w), nullptr));
        return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    }

    // The monitors in the accessibility space, the primary one first; the root window's
    // frame where RandR knows none.
    std::vector<CGRect> monitors()
    {
        std::vector<CGRect> result;
        Reply<xcb_randr_get_monitors_reply_t> reply(xcb_randr_get_monitors_reply(
            connection, xcb_randr_get_monitors(connection, root, 1), nullptr));
        if (reply) {
            for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem;
                 xcb_randr_monitor_info_next(&it)) {
                result.push_back(makeRect(it.data->x, it.data->y, it.data->width, it.data->height));
                if (it.data->primary)
                    std::swap(result.front(), result.back());
            }
        }
        if (result.empty()) {
            if (auto f = frame(root))
                result.push_back(*f);
        }
        return result;
    }

    // A panel of the desktop is a window of the dock type. One that spans the top edge of its
    // monitor is a bar like the menu bar's strip; any other is a dock.
    Panel panel(xcb_window_t w)
    {
        auto types = property(w, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, 32);
        if (!types || types->format != 32)
            return Panel::None;
        const auto *data = static_cast<const xcb_atom_t *>(xcb_get_property_value(types.get()));
        const auto count = xcb_get_property_value_length(types.get()) / 4;
        if (std::find(data, data + count, atom("_NET_WM_WINDOW_TYPE_DOCK")) == data + count)
            return Panel::None;
        const auto f = frame(w);
        if (!f)
            return Panel::None;
        const CGPoint centre = centreOf(*f);
        for (const auto &m : monitors()) {
            if (CGRectContainsPoint(m, centre))
                return f->origin.y == m.origin.y && f->size.width > f->size.height ? Panel::TopBar
                                                                                   : Panel::Dock;
        }
        return Panel::Dock;
    }

    std::optional<xcb_window_t> activeWindow()
    {
        auto active = windows("_NET_ACTIVE_WINDOW");
        if (active.empty() || active.front() == XCB_WINDOW_NONE)
            return std::nullopt;
        return active.front();
    }

    xcb_connection_t *connection;
    xcb_window_t root;
    std::map<std::string, xcb_atom_t> atoms;
    std::mutex mutex;
};

std::unique_ptr<X11Desktop> X11Desktop::connect()
{
    xcb_connection_t *c = xcb_connect(nullptr, nullptr);
    if (!c || xcb_connection_has_error(c)) {
        if (c)
            xcb_disconnect(c);
        return nullptr;
    }
    return std::unique_ptr<X11Desktop>(new X11Desktop(std::make_unique<Connection>(c)));
}

X11Desktop::X11Desktop(std::unique_ptr<Connection> connection)
    : _x(std::move(connection))
{ }
X11Desktop::~X11Desktop() = default;

void X11Desktop::setMenubarFrame(std::function<std::optional<CGRect>()> frame)
{
    _menubarFrame = std::move(frame);
}

std::vector<ClientWindow> X11Desktop::clientWindows(pid_t pid)
{
    std::lock_guard lock(_x->mutex);
    const auto active = _x->activeWindow();
    std::vector<ClientWindow> result;
    for (xcb_window_t w : _x->windows("_NET_CLIENT_LIST_STACKING")) {
        if (_x->cardinal(w, "_NET_WM_PID") != std::optional(static_cast<std::uint32_t>(pid)))
            continue;
        if (auto frame = _x->frame(w))
            result.push_back(
                ClientWindow {_x->title(w), *frame, active == std::optional(w), _x->panel(w)});
    }
    return result;
}

std::optional<RunningApplication> X11Desktop::frontmostApplication()
{
    std::lock_guard lock(_x->mutex);
    const auto active = _x->activeWindow();
    if (!active)
        return std::nullopt;
    const auto pid = _x->cardinal(*active, "_NET_WM_PID");
    if (!pid)
        return std::nullopt;
    return identify(static_cast<pid_t>(*pid), _x->identity(*active));
}

std::optional<RunningApplication> X11Desktop::menuBarOwningApplication()
{
    return frontmostApplication();
}

std::vector<RunningApplication> X11Desktop::runningApplications()
{
    std::lock_guard lock(_x->mutex);
    std::vector<RunningApplication> apps;
    for (xcb_window_t w : _x->windows("_NET_CLIENT_LIST")) {
        const auto pid = _x->cardinal(w, "_NET_WM_PID");
        if (!pid)
            continue;
        const auto p = static_cast<pid_t>(*pid);
        auto app = std::find_if(apps.begin(), apps.end(),
                                [&](const auto &a) { return a.processIdentifier == p; });
        if (app == apps.end())
            app = apps.insert(apps.end(), identify(p, _x->identity(w)));
        // The process that draws the desktop's dock stands for the Dock, whatever it is called.
        if (_x->panel(w) == Panel::Dock)
            app->bundleIdentifier = std::string(dockBundleIdentifier);
    }
    return apps;
}

bool X11Desktop::hasCompositor()
{
    std::lock_guard lock(_x->mutex);
    Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        _x->connection, xcb_get_selection_owner(_x->connection, _x->atom("_NET_WM_CM_S0")),
        nullptr));
    return owner && owner->owner != XCB_NONE;
}

DesktopAppearance X11Desktop::appearance()
{
    std::lock_guard lock(_x->mutex);
    Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        _x->connection, xcb_get_selection_owner(_x->connection, _x->atom("_XSETTINGS_S0")),
        nullptr));
    if (!owner || owner->owner == XCB_NONE)
        return {};
    // A quarter of a megabyte: settings are a few kilobytes.
    const auto reply =
        _x->property(owner->owner, "_XSETTINGS_SETTINGS", XCB_GET_PROPERTY_TYPE_ANY, 65536);
    if (!reply)
        return {};
    const auto *data = static_cast<const std::uint8_t *>(xcb_get_property_value(reply.get()));
    const auto length = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
    return appearanceOf(parseXSettings({data, data + length}));
}

pid_t X11Desktop::currentProcessIdentifier()
{
    return getpid();
}

void X11Desktop::observeActivations(std::function<void(const RunningApplication &)> observer)
{
    _activationObserver = std::move(observer);
    if (_events)
        return;
    if (auto app = frontmostApplication())
        _frontmostProcess = app->processIdentifier;
    {
        std::lock_guard lock(_x->mutex);
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(_x->connection, _x->root, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(_x->connection);
    }
    _events = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(_x->connection),
                                                QSocketNotifier::Read);
    QObject::connect(_events.get(), &QSocketNotifier::activated, _events.get(),
                     [this] { readEvents(); });
}

void X11Desktop::readEvents()
{
    bool activeChanged = false;
    {
        std::lock_guard lock(_x->mutex);
        const xcb_atom_t active = _x->atom("_NET_ACTIVE_WINDOW");
        while (xcb_generic_event_t *event = xcb_poll_for_event(_x->connection)) {
            if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY)
                activeChanged = activeChanged
                    || reinterpret_cast<xcb_property_notify_event_t *>(event)->atom == active;
            std::free(event);
        }
    }
    if (!activeChanged)
        return;
    // Only another application coming to the front counts, not another of its windows.
    auto app = frontmostApplication();
    if (!app || app->processIdentifier == _frontmostProcess)
        return;
    _frontmostProcess = app->processIdentifier;
    if (_activationObserver)
        _activationObserver(*app);
}

ValueArray X11Desktop::onScreenWindowInfo()
{
    ValueArray list;
    if (_menubarFrame) {
        if (auto frame = _menubarFrame())
            list.push_back(windowInfo(*frame, 0, kMenubarOwnerName, kMenubarWindowName, 24));
    }
    std::lock_guard lock(_x->mutex);
    const auto stacking = _x->windows("_NET_CLIENT_LIST_STACKING");
    for (auto it = stacking.rbegin(); it != stacking.rend(); ++it) {
        if (!_x->isViewable(*it))
            continue;
        const auto frame = _x->frame(*it);
        const auto pid = _x->cardinal(*it, "_NET_WM_PID");
        if (!frame || !pid)
            continue;
        const auto id = _x->identity(*it);
        list.push_back(windowInfo(*frame, *pid, id.wmClass.empty() ? id.wmInstance : id.wmClass,
                                  _x->title(*it)));
        if (_x->panel(*it) == Panel::TopBar)
            list.push_back(windowInfo(*frame, 0, kMenubarOwnerName, kPanelWindowName, 24));
    }
    return list;
}

std::vector<Screen> X11Desktop::screens()
{
    std::lock_guard lock(_x->mutex);
    const auto monitors = _x->monitors();
    std::vector<Screen> result;
    const double height = monitors.empty() ? 0 : monitors.front().size.height;
    for (const auto &m : monitors) {
        const CGRect frame = flippedRect(m, height);
        result.push_back(Screen {frame, frame, 1.0, 1.0 / 60});
    }
    return result;
}

} // namespace tarnvik::linux
