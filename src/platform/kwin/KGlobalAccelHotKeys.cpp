#include "platform/kwin/KGlobalAccelHotKeys.h"

#include "platform/KeyCodes.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QKeySequence>

#include <array>

namespace tarnvik::kwin {

namespace {

constexpr auto service = "org.kde.kglobalaccel";
constexpr auto component = "tarnvik";
// kglobalaccel's flags: the key is pressed now (not only a default), and what was stored for
// the action is not loaded in its place.
constexpr uint setPresent = 2;
constexpr uint noAutoloading = 4;
constexpr int callTimeoutMs = 1000;

QDBusMessage call(const QString &path, const QString &interface, const QString &method,
                  const QList<QVariant> &arguments)
{
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return QDBusConnection::sessionBus().call(message, QDBus::Block, callTimeoutMs);
}

QDBusMessage callDaemon(const QString &method, const QList<QVariant> &arguments)
{
    return call("/kglobalaccel", "org.kde.KGlobalAccel", method, arguments);
}

} // namespace

std::optional<int> qtKeyOf(std::uint16_t keyCode, std::uint64_t modifierFlags,
                           KeyboardLayout &layout)
{
    static constexpr std::array<std::pair<std::uint16_t, int>, 15> named {{
        {KeyCode::returnKey, Qt::Key_Return},
        {KeyCode::tab, Qt::Key_Tab},
        {KeyCode::space, Qt::Key_Space},
        {KeyCode::deleteKey, Qt::Key_Backspace},
        {KeyCode::escape, Qt::Key_Escape},
        {KeyCode::help, Qt::Key_Insert},
        {KeyCode::home, Qt::Key_Home},
        {KeyCode::pageUp, Qt::Key_PageUp},
        {KeyCode::forwardDelete, Qt::Key_Delete},
        {KeyCode::end, Qt::Key_End},
        {KeyCode::pageDown, Qt::Key_PageDown},
        {KeyCode::left, Qt::Key_Left},
        {KeyCode::right, Qt::Key_Right},
        {KeyCode::down, Qt::Key_Down},
        {KeyCode::up, Qt::Key_Up},
    }};
    std::optional<int> key;
    for (const auto &[code, qt] : named) {
        if (code == keyCode)
            key = qt;
    }
    if (const auto f = functionKeyNumber(keyCode))
        key = Qt::Key_F1 + *f - 1;
    if (const auto text = layout.translate(keyCode);
        !key && text.size() == 1 && text[0] > ' ' && text[0] < 0x7f) {
        // Qt names a key that types ASCII by its upper-case character.
        key = QChar::fromLatin1(text[0]).toUpper().unicode();
    }
    if (!key)
        return std::nullopt;
    static constexpr std::array<std::pair<std::uint64_t, int>, 4> modifiers {{
        {ModifierFlag::shift, Qt::ShiftModifier},
        {ModifierFlag::control, Qt::ControlModifier},
        {ModifierFlag::option, Qt::AltModifier},
        {ModifierFlag::command, Qt::MetaModifier},
    }};
    for (const auto &[flag, qt] : modifiers) {
        if (modifierFlags & flag)
            *key |= qt;
    }
    return key;
}

KGlobalAccelHotKeys::KGlobalAccelHotKeys(KeyboardLayout &layout)
    : _layout(layout)
{
    qDBusRegisterMetaType<QList<int>>();
}

bool KGlobalAccelHotKeys::available()
{
    const auto bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface()->isServiceRegistered(service).value();
}

bool KGlobalAccelHotKeys::registerHotKey(HotKeyId id, std::uint16_t keyCode,
                                         std::uint64_t modifierFlags)
{
    const auto key = qtKeyOf(keyCode, modifierFlags, _layout);
    if (!key)
        return false;
    // The action's name is its keys': the same shortcut may serve several modes.
    const QString keys = QKeySequence(*key).toString(QKeySequence::PortableText);
    const QStringList action {component, QString("shortcut-%1").arg(id), "Tarnvik",
                              QString("Tarnvik's shortcut %1").arg(keys)};
    callDaemon("doRegister", {action});
    const QDBusReply<QList<int>> set =
        callDaemon("setShortcut",
                   {action, QVariant::fromValue(QList<int> {*key}), setPresent | noAutoloading});
    // Another program's action holds the keys: kglobalaccel leaves ours without them.
    if (!set.isValid() || !set.value().contains(*key)) {
        callDaemon("unRegister", {action});
        return false;
    }
    _actions[id] = action;
    listen();
    return true;
}

bool KGlobalAccelHotKeys::unregisterHotKey(HotKeyId id)
{
    const auto it = _actions.find(id);
    if (it == _actions.end())
        return false;
    callDaemon("unRegister", {it->second});
    _actions.erase(it);
    return true;
}

void KGlobalAccelHotKeys::listen()
{
    if (_listening)
        return;
    const QDBusReply<QDBusObjectPath> path = callDaemon("getComponent", {QString(component)});
    if (!path.isValid())
        return;
    auto bus = QDBusConnection::sessionBus();
    const auto interface = "org.kde.kglobalaccel.Component";
    _listening = bus.connect(service, path.value().path(), interface, "globalShortcutPressed", this,
                             SLOT(pressed(QString, QString, qlonglong)))
        && bus.connect(service, path.value().path(), interface, "globalShortcutReleased", this,
                       SLOT(released(QString, QString, qlonglong)));
}

std::optional<HotKeys::HotKeyId> KGlobalAccelHotKeys::idOf(const QString &componentName,
                                                           const QString &action) const
{
    for (const auto &[id, names] : _actions) {
        if (componentName == names[0] && action == names[1])
            return id;
    }
    return std::nullopt;
}

void KGlobalAccelHotKeys::pressed(const QString &componentName, const QString &action, qlonglong)
{
    if (const auto id = idOf(componentName, action); id && _handler)
        _handler(*id, EventType::keyDown);
}

void KGlobalAccelHotKeys::released(const QString &componentName, const QString &action, qlonglong)
{
    if (const auto id = idOf(componentName, action); id && _handler)
        _handler(*id, EventType::keyUp);
}

} // namespace tarnvik::kwin
