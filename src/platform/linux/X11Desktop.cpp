#include "platform/linux/X11Desktop.h"

#include "platform/linux/DesktopIdentity.h"
#include "platform/linux/X11Keys.h"

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

std::optional<std::uint32_t> cardinalOf(const Reply<xcb_get_property_reply_t> &reply)
{
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
        return std::nullopt;
    return *static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
}

// The window less the shadow a client draws around itself under a compositor, which
// _GTK_FRAME_EXTENTS gives (left, right, top, bottom): what the user sees as the window.
std::optional<CGRect> insetByFrameExtents(const CGRect &window,
                                          const Reply<xcb_get_property_reply_t> &extents)
{
    if (!extents || extents->format != 32 || xcb_get_property_value_length(extents.get()) < 16)
        return std::nullopt;
    const auto *e = static_cast<const std::uint32_t *>(xcb_get_property_value(extents.get()));
    const double width = window.size.width - e[0] - e[1];
    const double height = window.size.height - e[2] - e[3];
    if (width <= 0 || height <= 0)
        return std::nullopt;
    return makeRect(window.origin.x + e[0], window.origin.y + e[2], width, height);
}

std::string textOf(const Reply<xcb_get_property_reply_t> &reply)
{
    if (!reply)
        return {};
    const auto *data = static_cast<const char *>(xcb_get_property_value(reply.get()));
    return std::string(data, static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
}

bool hasAtom(const Reply<xcb_get_property_reply_t> &reply, xcb_atom_t wanted)
{
    if (!reply || reply->format != 32)
        return false;
    const auto *data = static_cast<const xcb_atom_t *>(xcb_get_property_value(reply.get()));
    const auto *end = data + xcb_get_property_value_length(reply.get()) / 4;
    return std::find(data, end, wanted) != end;
}

// A panel of the desktop is a window of the dock type. One that spans the top edge of its
// monitor is a bar like the menu bar's strip; any other is a dock.
Panel panelAt(const CGRect &frame, const std::vector<CGRect> &monitors)
{
    const CGPoint centre = centreOf(frame);
    for (const auto &m : monitors) {
        if (CGRectContainsPoint(m, centre))
            return frame.origin.y == m.origin.y && frame.size.width > frame.size.height
                ? Panel::TopBar
                : Panel::Dock;
    }
    return Panel::Dock;
}

// One window of the window manager's list, as one batch of requests reads it.
struct Client
{
    xcb_window_t window = XCB_WINDOW_NONE;
    std::optional<std::uint32_t> pid;
    WindowIdentity identity;
    std::string title;
    // The X window.
    std::optional<CGRect> frame;
    // Inside it, what the user sees as the window, where the client draws a shadow around it.
    std::optional<CGRect> shown;
    bool viewable = false;
    Panel panel = Panel::None;
};

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

    xcb_get_property_cookie_t ask(xcb_window_t w, const char *name, xcb_atom_t type,
                                  std::uint32_t length = 1024)
    {
        return xcb_get_property(connection, 0, w, atom(name), type, 0, length);
    }

    Reply<xcb_get_property_reply_t> answer(xcb_get_property_cookie_t cookie)
    {
        return Reply<xcb_get_property_reply_t>(xcb_get_property_reply(connection, cookie, nullptr));
    }

    Reply<xcb_get_property_reply_t> property(xcb_window_t w, const char *name, xcb_atom_t type,
                                             std::uint32_t length = 1024)
    {
        return answer(ask(w, name, type, length));
    }

    std::vector<xcb_window_t> windows(const char *name)
    {
        auto reply = property(root, name, XCB_ATOM_WINDOW, 4096);
        if (!reply || reply->format != 32)
            return {};
        const auto *data = static_cast<const xcb_window_t *>(xcb_get_property_value(reply.get()));
        return {data, data + xcb_get_property_value_length(reply.get()) / 4};
    }

    // What the window manager and the client say of each of these windows, all asked for at
    // once and then answered: one round trip for a whole window list.
    std::vector<Client> clients(const std::vector<xcb_window_t> &ids)
    {
        const xcb_atom_t utf8 = atom("UTF8_STRING");
        struct Asked
        {
            xcb_get_property_cookie_t pid, wmClass, gtkId, netName, wmName, type, frameExtents;
            xcb_get_geometry_cookie_t geometry;
            xcb_translate_coordinates_cookie_t position;
            xcb_get_window_attributes_cookie_t attributes;
        };
        std::vector<Asked> asked;
        asked.reserve(ids.size());
        for (xcb_window_t w : ids)
            asked.push_back(
                {ask(w, "_NET_WM_PID", XCB_ATOM_CARDINAL), ask(w, "WM_CLASS", XCB_ATOM_STRING),
                 ask(w, "_GTK_APPLICATION_ID", utf8), ask(w, "_NET_WM_NAME", utf8),
                 ask(w, "WM_NAME", XCB_ATOM_STRING), ask(w, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM),
                 ask(w, "_GTK_FRAME_EXTENTS", XCB_ATOM_CARDINAL, 4),
                 xcb_get_geometry(connection, w),
                 xcb_translate_coordinates(connection, w, root, 0, 0),
                 xcb_get_window_attributes(connection, w)});
        std::vector<Client> result;
        result.reserve(ids.size());
        std::optional<std::vector<CGRect>> screens;
        for (std::size_t i = 0; i < ids.size(); ++i) {
            const Asked &a = asked[i];
            Client c;
            c.window = ids[i];
            c.pid = cardinalOf(answer(a.pid));
            const std::string wmClass = textOf(answer(a.wmClass));
            const auto split = wmClass.find('\0');
            c.identity.wmInstance = wmClass.substr(0, split);
            if (split != std::string::npos)
                c.identity.wmClass = std::string(wmClass.c_str() + split + 1);
            if (std::string gtk = textOf(answer(a.gtkId)); !gtk.empty())
                c.identity.gtkApplicationId = std::move(gtk);
            c.title = textOf(answer(a.netName));
            if (std::string name = textOf(answer(a.wmName)); c.title.empty())
                c.title = std::move(name);
            const bool dock = hasAtom(answer(a.type), atom("_NET_WM_WINDOW_TYPE_DOCK"));
            Reply<xcb_get_geometry_reply_t> geometry(
                xcb_get_geometry_reply(connection, a.geometry, nullptr));
            Reply<xcb_translate_coordinates_reply_t> position(
                xcb_translate_coordinates_reply(connection, a.position, nullptr));
            auto frameExtents = answer(a.frameExtents);
            if (geometry && position) {
                c.frame =
                    makeRect(position->dst_x, position->dst_y, geometry->width, geometry->height);
                c.shown = insetByFrameExtents(*c.frame, frameExtents);
            }
            Reply<xcb_get_window_attributes_reply_t> attributes(
                xcb_get_window_attributes_reply(connection, a.attributes, nullptr));
            c.viewable = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
            if (dock && c.frame) {
                if (!screens)
                    screens = monitors();
                c.panel = panelAt(*c.frame, *screens);
            }
            result.push_back(std::move(c));
        }
        return result;
    }

    std::vector<Client> clients(const char *list) { return clients(windows(list)); }

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
            Reply<xcb_get_geometry_reply_t> geometry(
                xcb_get_geometry_reply(connection, xcb_get_geometry(connection, root), nullptr));
            if (geometry)
                result.push_back(makeRect(0, 0, geometry->width, geometry->height));
        }
        return result;
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

std::vector<ClientWindow> X11Desktop::clientWindows(pid_t pid)
{
    std::lock_guard lock(_x->mutex);
    const auto active = _x->activeWindow();
    std::vector<ClientWindow> result;
    for (const auto &c : _x->clients("_NET_CLIENT_LIST_STACKING")) {
        // What the user sees, without the shadow a client draws around it; which of the two
        // the toolkit counts from, its reported size tells (CoordinateSpace).
        if (c.pid == std::optional(static_cast<std::uint32_t>(pid)) && c.frame)
            result.push_back({.title = c.title,
                              .frame = c.shown.value_or(*c.frame),
                              .isActive = active == std::optional(c.window),
                              .panel = c.panel,
                              .surface = *c.frame});
    }
    return result;
}

std::optional<RunningApplication> X11Desktop::frontmostApplication()
{
    std::lock_guard lock(_x->mutex);
    const auto active = _x->activeWindow();
    if (!active)
        return std::nullopt;
    const auto client = _x->clients(std::vector {*active}).front();
    if (!client.pid)
        return std::nullopt;
    return identify(static_cast<pid_t>(*client.pid), client.identity);
}

std::optional<RunningApplication> X11Desktop::menuBarOwningApplication()
{
    return frontmostApplication();
}

std::vector<RunningApplication> X11Desktop::runningApplications()
{
    std::lock_guard lock(_x->mutex);
    std::vector<RunningApplication> apps;
    for (const auto &c : _x->clients("_NET_CLIENT_LIST")) {
        if (!c.pid)
            continue;
        const auto p = static_cast<pid_t>(*c.pid);
        auto app = std::find_if(apps.begin(), apps.end(),
                                [&](const auto &a) { return a.processIdentifier == p; });
        if (app == apps.end())
            app = apps.insert(apps.end(), identify(p, c.identity));
        // The process that draws the desktop's dock stands for the Dock, whatever it is called.
        if (c.panel == Panel::Dock)
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

void X11Desktop::watchFocus()
{
    {
        std::lock_guard lock(_x->mutex);
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(_x->connection, _x->root, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(_x->connection);
    }
    _events = watchEvents(_x->connection, [this] { readEvents(); });
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
    if (activeChanged)
        focusMoved();
}

ValueArray X11Desktop::onScreenWindowInfo()
{
    ValueArray list = menubarEntries();
    std::lock_guard lock(_x->mutex);
    const auto stacking = _x->clients("_NET_CLIENT_LIST_STACKING");
    for (auto c = stacking.rbegin(); c != stacking.rend(); ++c) {
        if (!c->viewable || !c->frame || !c->pid)
            continue;
        const auto &id = c->identity;
        list.push_back(windowInfo(*c->frame, *c->pid,
                                  id.wmClass.empty() ? id.wmInstance : id.wmClass, c->title));
        if (c->panel == Panel::TopBar)
            list.push_back(windowInfo(*c->frame, 0, kMenubarOwnerName, kPanelWindowName, 24));
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
