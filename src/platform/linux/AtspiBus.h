#pragma once

#include "platform/linux/AtspiWire.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QVariantList>

#include <memory>
#include <mutex>
#include <optional>
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

// The session's accessibility bus: calls with a time-out of their own, never blocking on a
// reply unless the caller waits for it.
class AtspiBus
{
public:
    // Nothing when the session has no accessibility bus.
    static std::unique_ptr<AtspiBus> connect();
    ~AtspiBus();

    QDBusPendingCall call(const ObjectRef &object, const char *interface, const char *method,
                          const QVariantList &arguments, int timeoutMs) const;
    QDBusPendingCall property(const ObjectRef &object, const char *interface, const char *name,
                              int timeoutMs) const;

    // The applications registered on the bus.
    std::vector<ObjectRef> applications(int timeoutMs) const;
    std::optional<pid_t> processOf(const QString &service, int timeoutMs);
    // Makes the toolkits that keep their cache interface to themselves until someone listens
    // publish it.
    void listenForChildrenChanges(int timeoutMs) const;
    // Asks the toolkits that follow it to switch their accessibility on.
    bool enableAccessibility(int timeoutMs) const;

private:
    AtspiBus(QDBusConnection session, QDBusConnection bus);

    QDBusConnection _session;
    QDBusConnection _bus;
    std::mutex _mutex;
    std::unordered_map<QString, pid_t> _processes;
};

} // namespace tarnvik::linux
