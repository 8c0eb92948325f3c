#include "platform/linux/AtspiBus.h"

#include <cstdlib>

namespace tarnvik::linux {

namespace {

constexpr const char *registryService = "org.a11y.atspi.Registry";

DBusConnection *openPrivate(const std::string &address, bool registerOnBus)
{
    DBusError error;
    dbus_error_init(&error);
    DBusConnection *c = dbus_connection_open_private(address.c_str(), &error);
    if (!c) {
        dbus_error_free(&error);
        return nullptr;
    }
    dbus_connection_set_exit_on_disconnect(c, false);
    if (registerOnBus && !dbus_bus_register(c, &error)) {
        dbus_error_free(&error);
        dbus_connection_close(c);
        dbus_connection_unref(c);
        return nullptr;
    }
    return c;
}

void closePrivate(DBusConnection *c)
{
    if (c) {
        dbus_connection_close(c);
        dbus_connection_unref(c);
    }
}

Message callAndWait(DBusConnection *c, const Message &m, int timeoutMs)
{
    DBusError error;
    dbus_error_init(&error);
    Message reply(dbus_connection_send_with_reply_and_block(c, m.get(), timeoutMs, &error));
    dbus_error_free(&error);
    return reply;
}

std::string busAddress(DBusConnection *session)
{
    if (const char *fromEnvironment = std::getenv("AT_SPI_BUS_ADDRESS"))
        return fromEnvironment;
    auto reply = callAndWait(
        session, methodCall("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", {}),
        2000);
    return readString(reply.get()).value_or("");
}

} // namespace

PendingCall::PendingCall(DBusConnection *connection, std::mutex *waiting, DBusPendingCall *pending)
    : _connection(connection)
    , _waiting(waiting)
    , _pending(pending)
{ }

PendingCall::PendingCall(PendingCall &&other) noexcept
    : _connection(other._connection)
    , _waiting(other._waiting)
    , _pending(other._pending)
    , _reply(std::move(other._reply))
{
    other._pending = nullptr;
}

PendingCall &PendingCall::operator=(PendingCall &&other) noexcept
{
    std::swap(_connection, other._connection);
    std::swap(_waiting, other._waiting);
    std::swap(_pending, other._pending);
    std::swap(_reply, other._reply);
    return *this;
}

PendingCall::~PendingCall()
{
    if (_pending) {
        dbus_pending_call_cancel(_pending);
        dbus_pending_call_unref(_pending);
    }
}

DBusMessage *PendingCall::reply()
{
    if (_pending) {
        {
            std::lock_guard lock(*_waiting);
            dbus_pending_call_block(_pending);
            // Signals nobody asked for (events sent on an application's socket) are dropped;
            // dispatching hands any reply among them to its own pending call.
            while (dbus_connection_dispatch(_connection) == DBUS_DISPATCH_DATA_REMAINS) { }
        }
        _reply.reset(dbus_pending_call_steal_reply(_pending));
        dbus_pending_call_unref(_pending);
        _pending = nullptr;
    }
    return _reply.get();
}

bool PendingCall::isError()
{
    DBusMessage *m = reply();
    return !m || dbus_message_get_type(m) == DBUS_MESSAGE_TYPE_ERROR;
}

std::string PendingCall::errorName()
{
    DBusMessage *m = reply();
    if (!m)
        return DBUS_ERROR_DISCONNECTED;
    const char *name = dbus_message_get_error_name(m);
    return name ? name : "";
}

std::unique_ptr<AtspiBus> AtspiBus::connect()
{
    dbus_threads_init_default();
    DBusError error;
    dbus_error_init(&error);
    DBusConnection *session = dbus_bus_get_private(DBUS_BUS_SESSION, &error);
    dbus_error_free(&error);
    if (!session)
        return nullptr;
    dbus_connection_set_exit_on_disconnect(session, false);
    const std::string address = busAddress(session);
    DBusConnection *bus = address.empty() ? nullptr : openPrivate(address, true);
    if (!bus) {
        closePrivate(session);
        return nullptr;
    }
    return std::unique_ptr<AtspiBus>(new AtspiBus(session, address, bus));
}

AtspiBus::AtspiBus(DBusConnection *session, std::string address, DBusConnection *bus)
    : _session(session)
    , _address(std::move(address))
    , _bus(bus)
{ }

DBusConnection *AtspiBus::openConnection() const
{
    return openPrivate(_address, true);
}

void AtspiBus::closeConnection(DBusConnection *connection)
{
    closePrivate(connection);
}

AtspiBus::~AtspiBus()
{
    for (const auto &[service, peer] : _peers)
        closePrivate(peer);
    closePrivate(_bus);
    closePrivate(_session);
}

DBusConnection *AtspiBus::connectionFor(const std::string &service) const
{
    if (service == registryService)
        return _bus;
    {
        std::lock_guard lock(_mutex);
        if (auto it = _peers.find(service); it != _peers.end())
            return it->second && dbus_connection_get_is_connected(it->second) ? it->second : _bus;
    }
    auto reply = send(
        _bus,
        methodCall(service.c_str(), rootPath, applicationInterface, "GetApplicationBusAddress", {}),
        200);
    const auto address = readString(reply.reply());
    DBusConnection *peer = address && !address->empty() ? openPrivate(*address, false) : nullptr;
    std::lock_guard lock(_mutex);
    auto [it, added] = _peers.try_emplace(service, peer);
    if (!added)
        closePrivate(peer); // another thread was quicker
    return it->second ? it->second : _bus;
}

PendingCall AtspiBus::call(const ObjectRef &object, const char *interface, const char *method,
                           const std::vector<Argument> &arguments, int timeoutMs) const
{
    if (object.service.empty())
        return {};
    DBusConnection *c = connectionFor(object.service);
    // On an application's own socket a message has no destination.
    return send(c,
                methodCall(c == _bus ? object.service.c_str() : nullptr, object.path, interface,
                           method, arguments),
                timeoutMs);
}

PendingCall AtspiBus::send(DBusConnection *c, const Message &m, int timeoutMs) const
{
    DBusPendingCall *pending = nullptr;
    if (!dbus_connection_send_with_reply(c, m.get(), &pending, timeoutMs) || !pending)
        return {};
    std::mutex *waiting = nullptr;
    {
        std::lock_guard lock(_mutex);
        auto &entry = _waiting[c];
        if (!entry)
            entry = std::make_unique<std::mutex>();
        waiting = entry.get();
    }
    return PendingCall(c, waiting, pending);
}

PendingCall AtspiBus::property(const ObjectRef &object, const char *interface, const char *name,
                               int timeoutMs) const
{
    return call(object, DBUS_INTERFACE_PROPERTIES, "Get",
                {std::string(interface), std::string(name)}, timeoutMs);
}

std::vector<ObjectRef> AtspiBus::applications(int timeoutMs) const
{
    auto reply = call(ObjectRef {registryService, rootPath}, accessibleInterface, "GetChildren", {},
                      timeoutMs);
    return readObjects(reply.reply()).value_or(std::vector<ObjectRef> {});
}

std::optional<pid_t> AtspiBus::processOf(const std::string &service, int timeoutMs)
{
    {
        std::lock_guard lock(_mutex);
        if (auto it = _processes.find(service); it != _processes.end())
            return it->second;
    }
    auto reply = send(_bus,
                      methodCall(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS,
                                 "GetConnectionUnixProcessID", {service}),
                      timeoutMs);
    const auto pid = readUint(reply.reply());
    if (!pid)
        return std::nullopt;
    std::lock_guard lock(_mutex);
    _processes[service] = static_cast<pid_t>(*pid);
    return static_cast<pid_t>(*pid);
}

void AtspiBus::registerEvents(const std::vector<std::string> &events, int timeoutMs) const
{
    std::vector<PendingCall> calls;
    for (const auto &event : events) {
        auto m = methodCall(registryService, "/org/a11y/atspi/registry", "org.a11y.atspi.Registry",
                            "RegisterEvent", {event});
        // The two arguments after the event: no properties wanted, and every application.
        DBusMessageIter i;
        dbus_message_iter_init_append(m.get(), &i);
        DBusMessageIter properties;
        dbus_message_iter_open_container(&i, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING_AS_STRING,
                                         &properties);
        dbus_message_iter_close_container(&i, &properties);
        const char *anyApplication = "";
        dbus_message_iter_append_basic(&i, DBUS_TYPE_STRING, &anyApplication);
        calls.push_back(send(_bus, m, timeoutMs));
    }
    for (auto &call : calls)
        call.reply();
}

std::optional<bool> AtspiBus::accessibilityEnabled(int timeoutMs) const
{
    auto reply =
        callAndWait(_session,
                    methodCall("org.a11y.Bus", "/org/a11y/bus", DBUS_INTERFACE_PROPERTIES, "Get",
                               {std::string("org.a11y.Status"), std::string("IsEnabled")}),
                    timeoutMs);
    const auto on = reply ? readBoolVariant(reply.get()) : std::nullopt;
    if (on == false)
        _seenOff = true;
    else if (on == true && _seenOff.exchange(false))
        _switchedOn = std::chrono::steady_clock::now();
    return on;
}

bool AtspiBus::enableAccessibility(int timeoutMs) const
{
    (void)accessibilityEnabled(timeoutMs);
    auto m = methodCall("org.a11y.Bus", "/org/a11y/bus", DBUS_INTERFACE_PROPERTIES, "Set",
                        {std::string("org.a11y.Status"), std::string("IsEnabled")});
    DBusMessageIter i;
    dbus_message_iter_init_append(m.get(), &i);
    DBusMessageIter value;
    dbus_message_iter_open_container(&i, DBUS_TYPE_VARIANT, DBUS_TYPE_BOOLEAN_AS_STRING, &value);
    const dbus_bool_t on = true;
    dbus_message_iter_append_basic(&value, DBUS_TYPE_BOOLEAN, &on);
    dbus_message_iter_close_container(&i, &value);
    auto reply = callAndWait(_session, m, timeoutMs);
    const bool done =
        reply && dbus_message_get_type(reply.get()) == DBUS_MESSAGE_TYPE_METHOD_RETURN;
    if (done && _seenOff.exchange(false))
        _switchedOn = std::chrono::steady_clock::now();
    return done;
}

} // namespace tarnvik::linux
