#pragma once

#include "platform/AccessibilityEvents.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

struct DBusConnection;
struct DBusMessage;

namespace tarnvik::linux {

class AtspiBus;

// The changes one application reports on the accessibility bus. A connection and a thread of
// its own: the thread sleeps until a message or the end comes, and the bus daemon routes to it
// only the watched application's events of the kinds that can move a label.
class AtspiEvents final : public AccessibilityEvents
{
public:
    using ServiceOf = std::function<std::optional<std::string>(pid_t)>;

    // Nothing when no connection can be made.
    static std::unique_ptr<AtspiEvents> connect(AtspiBus &bus, ServiceOf serviceOf);
    ~AtspiEvents() override;
    AtspiEvents(const AtspiEvents &) = delete;
    AtspiEvents &operator=(const AtspiEvents &) = delete;

    void watch(pid_t pid, Handler handler) override;
    // What the connection's filter hands over: whether the message was one of the watched
    // application's events.
    bool deliver(DBusMessage *message);

private:
    AtspiEvents(DBusConnection *connection, int wake, ServiceOf serviceOf);
    void run();
    // The bus daemon's match rules for the service's events, added or removed.
    void match(const std::string &service, bool add);

    DBusConnection *_connection;
    // Written to end the thread's sleep.
    int _wake;
    ServiceOf _serviceOf;
    std::mutex _mutex;
    std::string _service;
    Handler _handler;
    std::thread _thread;
};

} // namespace tarnvik::linux
