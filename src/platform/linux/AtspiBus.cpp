#include "platform/linux/AtspiBus.h"

#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>

#include <atomic>

namespace tarnvik::linux {

namespace {

const QString registryService = QStringLiteral("org.a11y.atspi.Registry");

QDBusMessage methodCall(const ObjectRef &object, const char *interface, const char *method,
                        const QVariantList &arguments)
{
    auto message = QDBusMessage::createMethodCall(object.service, object.path.path(),
                                                  QLatin1String(interface),
                                                  QLatin1String(method));
    message.setArguments(arguments);
    return message;
}

QString busAddress(QDBusConnection &session)
{
    const QByteArray fromEnvironment = qgetenv("AT_SPI_BUS_ADDRESS");
    if (!fromEnvironment.isEmpty())
        return QString::fromLocal8Bit(fromEnvironment);
    auto message = QDBusMessage::createMethodCall(
        QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
        QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress"));
    const QDBusReply<QString> reply = session.call(message, QDBus::Block, 2000);
    return reply.isValid() ? reply.value() : QString();
}

} // namespace

std::unique_ptr<AtspiBus> AtspiBus::connect()
{
    registerWireTypes();
    auto session = QDBusConnection::sessionBus();
    if (!session.isConnected())
        return nullptr;
    const QString address = busAddress(session);
    if (address.isEmpty())
        return nullptr;
    static std::atomic<int> connections{0};
    auto bus = QDBusConnection::connectToBus(
        address, QStringLiteral("tarnvik-a11y-%1").arg(connections.fetch_add(1)));
    if (!bus.isConnected())
        return nullptr;
    return std::unique_ptr<AtspiBus>(new AtspiBus(session, bus));
}

AtspiBus::AtspiBus(QDBusConnection session, QDBusConnection bus)
    : _session(std::move(session)), _bus(std::move(bus))
{
}

AtspiBus::~AtspiBus()
{
    QDBusConnection::disconnectFromBus(_bus.name());
}

QDBusPendingCall AtspiBus::call(const ObjectRef &object, const char *interface,
                                const char *method, const QVariantList &arguments,
                                int timeoutMs) const
{
    return _bus.asyncCall(methodCall(object, interface, method, arguments), timeoutMs);
}

QDBusPendingCall AtspiBus::property(const ObjectRef &object, const char *interface,
                                    const char *name, int timeoutMs) const
{
    return call(object, "org.freedesktop.DBus.Properties", "Get",
                {QString::fromLatin1(interface), QString::fromLatin1(name)}, timeoutMs);
}

std::vector<ObjectRef> AtspiBus::applications(int timeoutMs) const
{
    const ObjectRef registry{registryService, QDBusObjectPath(QLatin1String(rootPath))};
    QDBusPendingReply<ObjectRefList> reply =
        call(registry, accessibleInterface, "GetChildren", {}, timeoutMs);
    reply.waitForFinished();
    if (reply.isError())
        return {};
    const auto list = reply.value();
    return {list.begin(), list.end()};
}

std::optional<pid_t> AtspiBus::processOf(const QString &service, int timeoutMs)
{
    {
        std::lock_guard lock(_mutex);
        if (auto it = _processes.find(service); it != _processes.end())
            return it->second;
    }
    auto message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetConnectionUnixProcessID"));
    message << service;
    const QDBusReply<uint> reply = _bus.call(message, QDBus::Block, timeoutMs);
    if (!reply.isValid())
        return std::nullopt;
    const auto pid = static_cast<pid_t>(reply.value());
    std::lock_guard lock(_mutex);
    _processes[service] = pid;
    return pid;
}

void AtspiBus::listenForChildrenChanges(int timeoutMs) const
{
    auto message = QDBusMessage::createMethodCall(
        registryService, QStringLiteral("/org/a11y/atspi/registry"),
        QStringLiteral("org.a11y.atspi.Registry"), QStringLiteral("RegisterEvent"));
    message << QStringLiteral("object:children-changed") << QStringList() << QString();
    _bus.call(message, QDBus::Block, timeoutMs);
}

bool AtspiBus::enableAccessibility(int timeoutMs) const
{
    auto message = QDBusMessage::createMethodCall(
        QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Set"));
    message << QStringLiteral("org.a11y.Status") << QStringLiteral("IsEnabled")
            << QVariant::fromValue(QDBusVariant(true));
    return _session.call(message, QDBus::Block, timeoutMs).type() == QDBusMessage::ReplyMessage;
}

} // namespace tarnvik::linux
