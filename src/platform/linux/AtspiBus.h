#pragma once

#include "platform/linux/DBusMessages.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <unordered_map>
#include <vector>

namespace tarnvik::linux {

inline constexpr const char *accessibleInterface = "org.a11y.atspi.Accessible";
inline constexpr const char *componentInterface = "org.a11y.atspi.Component";
inline constexpr const char *actionInterface = "org.a11y.atspi.Action";
inline constexpr const char *textInterface = "org.a11y.atspi.Text";
inline constexpr const char *collectionInterface = "org.a11y.atspi.Collection";
inline constexpr const char *applicationInterface = "org.a11y.atspi.Application";
inline constexpr const char *rootPath = "/org/a11y/atspi/accessible/root";

// A call on its way: sent at once, its answer awaited only when asked for, so that calls made
// one after the other travel together.
class PendingCall
{
public:
    PendingCall() = default;
    PendingCall(DBusConnection *connection, std::mutex *waiting, DBusPendingCall *pending);
    PendingCall(PendingCall &&other) noexcept;
    PendingCall &operator=(PendingCall &&other) noexcept;
    ~PendingCall();

    // The answer, or an error message: a time-out answers "org.freedesktop.DBus.Error.NoReply".
    // Nothing when the call could not be sent at all.
    DBusMessage *reply();
    bool isError();
    std::string errorName();

private:
    DBusConnection *_connection = nullptr;
    // One thread at a time waits on a connection: it reads the others' answers too, while
    // libdbus leaves a second waiter sleeping until its time-out.
    std::mutex *_waiting = nullptr;
    DBusPendingCall *_pending = nullptr;
    Message _reply;
};

// The session's accessibility bus, and the private sockets of the applications on it.
class AtspiBus
{
public:
    // Nothing when the session has no accessibility bus.
    static std::unique_ptr<AtspiBus> connect();
    ~AtspiBus();

    PendingCall call(const ObjectRef &object, const char *interface, const char *method,
                     const std::vector<Argument> &arguments, int timeoutMs) const;
    PendingCall property(const ObjectRef &object, const char *interface, const char *name,
                         int timeoutMs) const;

    // The applications registered on the bus.
    std::vector<ObjectRef> applications(int timeoutMs) const;
    std::optional<pid_t> processOf(const std::string &service, int timeoutMs);
    // Asks the toolkits to send these events ("object:children-changed"): they send only what
    // someone registered for. Registering children changes also makes the toolkits that keep
    // their cache interface to themselves until someone listens publish it.
    void registerEvents(const std::vector<std::string> &events, int timeoutMs) const;
    // A connection to the bus of its caller's own, for its events; nothing when it can't be
    // made. `closeConnection` closes it.
    DBusConnection *openConnection() const;
    static void closeConnection(DBusConnection *connection);
    // Whether the toolkits are asked to switch their accessibility on (org.a11y.Status
    // IsEnabled); nothing when the bus launcher doesn't answer.
    std::optional<bool> accessibilityEnabled(int timeoutMs) const;
    // Asks the toolkits that follow it to switch their accessibility on.
    bool enableAccessibility(int timeoutMs) const;
    // When accessibility was last seen to come on, by this program or between two of its reads:
    // the toolkits join the bus in the second after.
    std::chrono::steady_clock::time_point switchedOnAt() const { return _switchedOn; }

private:
    AtspiBus(DBusConnection *session, std::string address, DBusConnection *bus);

    // The application's own socket where its toolkit offers one: calls on it skip the bus
    // daemon. Asked once per application.
    DBusConnection *connectionFor(const std::string &service) const;
    PendingCall send(DBusConnection *connection, const Message &message, int timeoutMs) const;

    DBusConnection *_session;
    const std::string _address;
    DBusConnection *_bus;
    mutable std::mutex _mutex;
    std::unordered_map<std::string, pid_t> _processes;
    mutable std::unordered_map<std::string, DBusConnection *> _peers;
    mutable std::unordered_map<DBusConnection *, std::unique_ptr<std::mutex>> _waiting;
    mutable std::atomic<bool> _seenOff = false;
    mutable std::atomic<std::chrono::steady_clock::time_point> _switchedOn {};
};

} // namespace tarnvik::linux
