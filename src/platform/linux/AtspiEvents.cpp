#include "platform/linux/AtspiEvents.h"

#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/AtspiBus.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <dbus/dbus.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace tarnvik::linux {

namespace {

struct Kind
{
    const char *interface;
    const char *member;
    // The first argument, the detail, when only one is wanted.
    const char *detail;
    // What the toolkits are asked to send.
    const char *registered;
    AccessibilityChange change;
};

constexpr const char *objectEvents = "org.a11y.atspi.Event.Object";

// The state and property changes are asked for by their detail: a toolkit sends every other
// state change (focused, armed, checked) too, and none of them moves a label.
const Kind kinds[] = {
    {objectEvents, "ChildrenChanged", nullptr, "object:children-changed",
     AccessibilityChange::children},
    {objectEvents, "StateChanged", "showing", "object:state-changed:showing",
     AccessibilityChange::visibility},
    {objectEvents, "StateChanged", "visible", "object:state-changed:visible",
     AccessibilityChange::visibility},
    {objectEvents, "PropertyChange", "accessible-name", "object:property-change:accessible-name",
     AccessibilityChange::name},
    {objectEvents, "BoundsChanged", nullptr, "object:bounds-changed", AccessibilityChange::bounds},
    {objectEvents, "PropertyChange", "accessible-value", "object:property-change:accessible-value",
     AccessibilityChange::value},
    {"org.a11y.atspi.Event.Document", "LoadComplete", nullptr, "document:load-complete",
     AccessibilityChange::document},
    {"org.a11y.atspi.Event.Document", "Reload", nullptr, "document:reload",
     AccessibilityChange::document},
    {"org.a11y.atspi.Event.Window", "Activate", nullptr, "window:activate",
     AccessibilityChange::window},
};

std::string ruleOf(const Kind &kind, const std::string &service)
{
    std::string rule = "type='signal',sender='" + service + "',interface='"
        + kind.interface + "',member='" + kind.member + "'";
    if (kind.detail)
        rule += std::string(",arg0='") + kind.detail + "'";
    return rule;
}

DBusHandlerResult filter(DBusConnection *, DBusMessage *message, void *events)
{
    return static_cast<AtspiEvents *>(events)->deliver(message)
        ? DBUS_HANDLER_RESULT_HANDLED
        : DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
}

} // namespace

std::unique_ptr<AtspiEvents> AtspiEvents::connect(AtspiBus &bus, ServiceOf serviceOf)
{
    DBusConnection *connection = bus.openConnection();
    if (!connection)
        return nullptr;
    const int wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wake < 0) {
        AtspiBus::closeConnection(connection);
        return nullptr;
    }
    std::vector<std::string> registered;
    for (const auto &kind : kinds)
        registered.emplace_back(kind.registered);
    bus.registerEvents(registered, 500);
    return std::unique_ptr<AtspiEvents>(new AtspiEvents(connection, wake, std::move(serviceOf)));
}

AtspiEvents::AtspiEvents(DBusConnection *connection, int wake, ServiceOf serviceOf)
    : _connection(connection)
    , _wake(wake)
    , _serviceOf(std::move(serviceOf))
{
    dbus_connection_add_filter(_connection, filter, this, nullptr);
    _thread = std::thread([this] { run(); });
}

AtspiEvents::~AtspiEvents()
{
    _stopping = true;
    wake();
    _thread.join();
    dbus_connection_remove_filter(_connection, filter, this);
    AtspiBus::closeConnection(_connection);
    close(_wake);
}

bool AtspiEvents::watch(pid_t pid, Handler handler)
{
    std::string service;
    if (pid > 0 && handler)
        service = _serviceOf(pid).value_or("");
    std::string before;
    {
        std::lock_guard lock(_mutex);
        before = std::exchange(_service, service);
        _handler = service.empty() ? Handler {} : std::move(handler);
        _bounds.clear();
    }
    if (before != service) {
        if (!before.empty())
            match(before, false);
        if (!service.empty())
            match(service, true);
        dbus_connection_flush(_connection);
        wake();
    }
    return !service.empty();
}

void AtspiEvents::wake()
{
    const std::uint64_t one = 1;
    (void)!write(_wake, &one, sizeof one);
}

void AtspiEvents::match(const std::string &service, bool add)
{
    // Without an error to fill, the rules are sent without waiting for the daemon's answer.
    for (const auto &kind : kinds) {
        const auto rule = ruleOf(kind, service);
        if (add)
            dbus_bus_add_match(_connection, rule.c_str(), nullptr);
        else
            dbus_bus_remove_match(_connection, rule.c_str(), nullptr);
    }
}

void AtspiEvents::afterReports(std::function<void()> done)
{
    std::unique_lock lock(_mutex);
    DBusMessage *ping = _service.empty()
        ? nullptr
        : dbus_message_new_method_call(_service.c_str(), "/", "org.freedesktop.DBus.Peer", "Ping");
    std::uint32_t serial = 0;
    // Sent under the lock, so that the answer, which the thread hands over under it too, finds
    // what to call. An application that quits is answered for by the bus daemon.
    if (!ping || !dbus_connection_send(_connection, ping, &serial)) {
        lock.unlock();
        if (ping)
            dbus_message_unref(ping);
        return done();
    }
    dbus_message_unref(ping);
    _pings.emplace(serial, std::move(done));
    lock.unlock();
    dbus_connection_flush(_connection);
    wake();
}

bool AtspiEvents::deliver(DBusMessage *message)
{
    const int type = dbus_message_get_type(message);
    if (type == DBUS_MESSAGE_TYPE_METHOD_RETURN || type == DBUS_MESSAGE_TYPE_ERROR) {
        std::function<void()> done;
        {
            std::lock_guard lock(_mutex);
            const auto ping = _pings.find(dbus_message_get_reply_serial(message));
            if (ping == _pings.end())
                return false;
            done = std::move(ping->second);
            _pings.erase(ping);
        }
        done();
        return true;
    }
    if (type != DBUS_MESSAGE_TYPE_SIGNAL)
        return false;
    const char *sender = dbus_message_get_sender(message);
    const char *interface = dbus_message_get_interface(message);
    const char *member = dbus_message_get_member(message);
    if (!sender || !interface || !member)
        return false;
    std::lock_guard lock(_mutex);
    if (!_handler || _service != sender)
        return false;
    const char *path = dbus_message_get_path(message);
    if (!path)
        return false;
    const char *detail = nullptr;
    DBusMessageIter i;
    if (dbus_message_iter_init(message, &i)
        && dbus_message_iter_get_arg_type(&i) == DBUS_TYPE_STRING)
        dbus_message_iter_get_basic(&i, &detail);
    // GTK 3 says every object of a window moved at each keystroke, where nothing did.
    if (std::strcmp(member, "BoundsChanged") == 0 && !moved(message, path))
        return true;
    for (const auto &kind : kinds) {
        if (std::strcmp(kind.interface, interface) == 0 && std::strcmp(kind.member, member) == 0
            && (!kind.detail || (detail && std::strcmp(kind.detail, detail) == 0))) {
            // Called under the lock, so that a watch that replaced the handler returns only
            // once it can no longer be called.
            _handler(kind.change, AtspiAccessibility::elementOf(ObjectRef {sender, path}));
            return true;
        }
    }
    return false;
}

bool AtspiEvents::moved(DBusMessage *message, const char *path)
{
    // (siiva{sv}): the bounds are the variant's four integers.
    DBusMessageIter i;
    dbus_message_iter_init(message, &i);
    for (int skip = 0; skip < 3; ++skip)
        dbus_message_iter_next(&i);
    if (dbus_message_iter_get_arg_type(&i) != DBUS_TYPE_VARIANT)
        return true;
    DBusMessageIter variant;
    dbus_message_iter_recurse(&i, &variant);
    if (dbus_message_iter_get_arg_type(&variant) != DBUS_TYPE_STRUCT)
        return true;
    DBusMessageIter field;
    dbus_message_iter_recurse(&variant, &field);
    std::array<std::int32_t, 4> bounds {};
    for (auto &value : bounds) {
        if (dbus_message_iter_get_arg_type(&field) != DBUS_TYPE_INT32)
            return true;
        dbus_message_iter_get_basic(&field, &value);
        dbus_message_iter_next(&field);
    }
    auto [known, added] = _bounds.try_emplace(path, bounds);
    if (added)
        return true;
    return std::exchange(known->second, bounds) != bounds;
}

void AtspiEvents::run()
{
    int fd = -1;
    if (!dbus_connection_get_unix_fd(_connection, &fd))
        return;
    pollfd fds[2] = {{.fd = fd, .events = POLLIN, .revents = 0},
                     {.fd = _wake, .events = POLLIN, .revents = 0}};
    while (dbus_connection_get_is_connected(_connection)) {
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        if (fds[1].revents) {
            std::uint64_t count = 0;
            (void)!read(_wake, &count, sizeof count);
            if (_stopping)
                return;
        }
        if (fds[0].revents & (POLLHUP | POLLERR))
            return;
        dbus_connection_read_write(_connection, 0);
        while (dbus_connection_dispatch(_connection) == DBUS_DISPATCH_DATA_REMAINS) { }
    }
}

} // namespace tarnvik::linux
