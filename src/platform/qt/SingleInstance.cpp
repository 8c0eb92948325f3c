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

std::optional<std::string> SingleInstance::activateAction(const std::string &name)
{
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return "no session bus";
    auto call = QDBusMessage::createMethodCall(serviceName, objectPath, applicationInterface,
                                               "ActivateAction");
    call << QString::fromStdString(name) << QVariantList() << QVariantMap();
    const auto reply = bus.call(call, QDBus::Block, 5000);
    if (reply.type() != QDBusMessage::ErrorMessage)
        return std::nullopt;
    if (reply.errorName() == "org.freedesktop.DBus.Error.ServiceUnknown")
        return "Tarnvik is not running";
    return reply.errorMessage().toStdString();
}

QString SingleInstance::introspect(const QString &) const
{
    return QString("<interface name=\"%1\">"
                   "<method name=\"Activate\"><arg type=\"a{sv}\" direction=\"in\"/></method>"
                   "<method name=\"ActivateAction\"><arg type=\"s\" direction=\"in\"/>"
                   "<arg type=\"av\" direction=\"in\"/><arg type=\"a{sv}\" direction=\"in\"/>"
                   "</method>"
                   "</interface>")
        .arg(applicationInterface);
}

bool SingleInstance::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    if (message.interface() != applicationInterface)
        return false;
    if (message.member() == "Activate") {
        connection.send(message.createReply());
        _handlers.reopen();
        return true;
    }
    if (message.member() != "ActivateAction")
        return false;
    const auto name = message.arguments().isEmpty()
        ? std::string()
        : message.arguments().front().toString().toStdString();
    if (_handlers.activate(name))
        connection.send(message.createReply());
    else
        connection.send(
            message.createErrorReply("org.freedesktop.DBus.Error.InvalidArgs",
                                     QString("no action \"%1\": click, search or scroll")
                                         .arg(QString::fromStdString(name))));
    return true;
}

} // namespace tarnvik
