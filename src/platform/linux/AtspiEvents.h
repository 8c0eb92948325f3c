#pragma once

#include "platform/AccessibilityEvents.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
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

    bool watch(pid_t pid, Handler handler) override;
    // A ping to the watched application over this connection: the bus keeps one sender's
    // messages in order, so its answer comes behind every event it sent before.
    void afterReports(std::function<void()> done) override;
    // What the connection's filter hands over: whether the message was one of the watched
    // application's events, or an answer to a ping.
    bool deliver(DBusMessage *message);

private:
    AtspiEvents(DBusConnection *connection, int wake, ServiceOf serviceOf);
    void run();
    // Whether a bounds change puts the object elsewhere than its last one did; under the lock.
    bool moved(DBusMessage *message, const char *path);
    // The bus daemon's match rules for the service's events, added or removed.
    void match(const std::string &service, bool add);

    // Ends the thread's sleep: a flush from another thread may have read messages that the
    // thread then has to dispatch.
    void wake();

    DBusConnection *_connection;
    // Written to end the thread's sleep; with `_stopping`, to end the thread.
    int _wake;
    std::atomic<bool> _stopping = false;
    ServiceOf _serviceOf;
    std::mutex _mutex;
    std::string _service;
    Handler _handler;
    // The bounds each object of the watched application last said it has.
    std::unordered_map<std::string, std::array<std::int32_t, 4>> _bounds;
    // What to call when each ping, by its serial, is answered.
    std::unordered_map<std::uint32_t, std::function<void()>> _pings;
    std::thread _thread;
};

} // namespace tarnvik::linux
