#include "platform/qt/SingleInstance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include <cstdio>

namespace tarnvik {

namespace {

const char *const applicationInterface = "org.freedesktop.Application";

} // namespace

SingleInstance::Claim SingleInstance::claim()
{
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()) {
        std::fputs("tarnvik: no session bus; a second start is not noticed\n", stderr);
        return Claim::NoBus;
    }
    const auto owned =
        bus.interface()->registerService(serviceName, QDBusConnectionInterface::DontQueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    if (owned.isValid() && owned.value() == QDBusConnectionInterface::ServiceRegistered) {
        bus.registerVirtualObject(objectPath, this);
        return Claim::Owned;
    }
    auto activate =
        QDBusMessage::createMethodCall(serviceName, objectPath, applicationInterface, "Activate");
    activate << QVariantMap();
    const auto reply = bus.call(activate, QDBus::Block, 5000);
    if (reply.type() == QDBusMessage::ErrorMessage)
        std::fprintf(stderr, "tarnvik: another instance runs but did not answer: %s\n",
                     qPrintable(reply.errorMessage()));
    return Claim::Reopened;
}

QString SingleInstance::introspect(const QString &) const
{
    return QString("<interface name=\"%1\">"
                   "<method name=\"Activate\"><arg type=\"a{sv}\" direction=\"in\"/></method>"
                   "</interface>")
        .arg(applicationInterface);
}

bool SingleInstance::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    if (message.interface() != applicationInterface || message.member() != "Activate")
        return false;
    connection.send(message.createReply());
    _reopen();
    return true;
}

} // namespace tarnvik
