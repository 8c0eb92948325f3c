#include "platform/gnome/TarnvikGnomeExtension.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusVariant>

#include <cstdio>

namespace tarnvik::gnome {

// One image as the extension's ShowImages takes it: (sddddiiiay).
struct DBusImage
{
    QString key;
    CGRect frame;
    int width = 0;
    int height = 0;
    int stride = 0;
    QByteArray pixels;
};

QDBusArgument &operator<<(QDBusArgument &argument, const DBusImage &image)
{
    argument.beginStructure();
    argument << image.key << image.frame.origin.x << image.frame.origin.y << image.frame.size.width
             << image.frame.size.height << image.width << image.height << image.stride
             << image.pixels;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DBusImage &image)
{
    argument.beginStructure();
    argument >> image.key >> image.frame.origin.x >> image.frame.origin.y >> image.frame.size.width
        >> image.frame.size.height >> image.width >> image.height >> image.stride >> image.pixels;
    argument.endStructure();
    return argument;
}

// A menu entry as the extension's SetStatusMenu takes it: (isa(is)).
struct DBusMenuItem
{
    int id = -1;
    QString title;
};

struct DBusMenuEntry
{
    int id = -1;
    QString title;
    QList<DBusMenuItem> submenu;
};

QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuItem &item)
{
    argument.beginStructure();
    argument << item.id << item.title;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuItem &item)
{
    argument.beginStructure();
    argument >> item.id >> item.title;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuEntry &entry)
{
    argument.beginStructure();
    argument << entry.id << entry.title << entry.submenu;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuEntry &entry)
{
    argument.beginStructure();
    argument >> entry.id >> entry.title >> entry.submenu;
    argument.endStructure();
    return argument;
}

} // namespace tarnvik::gnome

Q_DECLARE_METATYPE(tarnvik::gnome::DBusImage)
Q_DECLARE_METATYPE(tarnvik::gnome::DBusMenuItem)
Q_DECLARE_METATYPE(tarnvik::gnome::DBusMenuEntry)

namespace tarnvik::gnome {

namespace {

const char *const shellService = "org.gnome.Shell";
const char *const objectPath = "/com/ostrelline/Tarnvik/Overview";
const char *const interfaceName = "com.ostrelline.Tarnvik.Overview";
// The shell draws the desktop: when it doesn't answer in this time, nothing shows anyway, and
// the program goes on without it.
constexpr int timeoutMs = 500;

QVariantMap labelMap(const OverviewLabel &label)
{
    QVariantMap map {
        {"text", QString::fromStdString(label.text)},
        {"x", label.frame.origin.x},
        {"y", label.frame.origin.y},
        {"width", label.frame.size.width},
        {"height", label.frame.size.height},
        {"typed", label.typed},
        {"color", QString::fromStdString(label.textColor)},
        {"background", QString::fromStdString(label.backgroundColor)},
        {"border", QString::fromStdString(label.borderColor)},
        {"fontSize", label.fontSize},
        {"borderWidth", label.borderWidth},
        {"cornerRadius", label.cornerRadius},
    };
    if (label.icon) {
        map.insert("icon", QString::fromStdString(*label.icon));
        map.insert("iconX", label.iconFrame.origin.x);
        map.insert("iconY", label.iconFrame.origin.y);
        map.insert("iconSize", label.iconFrame.size.width);
    }
    return map;
}

} // namespace

TarnvikGnomeExtension::TarnvikGnomeExtension()
{
    qDBusRegisterMetaType<QList<QVariantMap>>();
    qDBusRegisterMetaType<QList<uint>>();
    qDBusRegisterMetaType<DBusImage>();
    qDBusRegisterMetaType<QList<DBusImage>>();
    qDBusRegisterMetaType<DBusMenuItem>();
    qDBusRegisterMetaType<QList<DBusMenuItem>>();
    qDBusRegisterMetaType<DBusMenuEntry>();
    qDBusRegisterMetaType<QList<DBusMenuEntry>>();
    auto bus = QDBusConnection::sessionBus();
    bus.connect(shellService, "/org/gnome/Shell", "org.freedesktop.DBus.Properties",
                "PropertiesChanged", this, SLOT(propertiesChanged(QDBusMessage)));
    bus.connect(shellService, objectPath, interfaceName, "Shown", this, SLOT(shown()));
    bus.connect(shellService, objectPath, interfaceName, "FocusChanged", this,
                SLOT(focusChanged()));
    bus.connect(shellService, objectPath, interfaceName, "PointerMoved", this,
                SLOT(pointerMoved()));
    bus.connect(shellService, objectPath, interfaceName, "PointerPressed", this,
                SLOT(pointerPressed()));
    bus.connect(shellService, objectPath, interfaceName, "LabelsDrawn", this,
                SLOT(labelsDrawn(uint, double, double, double)));
    bus.connect(shellService, objectPath, interfaceName, "ShortcutPressed", this,
                SLOT(shortcutPressed(uint)));
    bus.connect(shellService, objectPath, interfaceName, "ModifiersChanged", this,
                SLOT(modifiersChanged(uint)));
    bus.connect(shellService, objectPath, interfaceName, "StatusMenuOpened", this,
                SLOT(statusMenuOpened()));
    bus.connect(shellService, objectPath, interfaceName, "StatusMenuActivated", this,
                SLOT(statusMenuActivated(int)));
    bus.connect(shellService, objectPath, interfaceName, "Key", this,
                SLOT(key(uint, uint, bool, bool, QString)));
    bus.connect("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                "NameOwnerChanged", this, SLOT(shellOwnerChanged(QString, QString, QString)));
    readOverviewActive();
}

TarnvikGnomeExtension::~TarnvikGnomeExtension()
{
    if (_registered) {
        holdKeys(false);
        clearLabels();
    }
}

QDBusMessage TarnvikGnomeExtension::call(const char *method, const QList<QVariant> &arguments,
                                         bool wait) const
{
    auto message = QDBusMessage::createMethodCall(shellService, objectPath, interfaceName, method);
    message.setArguments(arguments);
    return QDBusConnection::sessionBus().call(message, wait ? QDBus::Block : QDBus::NoBlock,
                                              timeoutMs);
}

void TarnvikGnomeExtension::readOverviewActive()
{
    auto get = QDBusMessage::createMethodCall(shellService, "/org/gnome/Shell",
                                              "org.freedesktop.DBus.Properties", "Get");
    get << QString(shellService) << QString("OverviewActive");
    const auto reply = QDBusConnection::sessionBus().call(get, QDBus::Block, timeoutMs);
    _overviewActive = reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()
        && reply.arguments().front().value<QDBusVariant>().variant().toBool();
}

std::optional<std::string> TarnvikGnomeExtension::ensureRegistered()
{
    if (_registered)
        return std::nullopt;
    const auto reply = call("Register");
    if (reply.type() == QDBusMessage::ErrorMessage)
        return reply.errorMessage().toStdString();
    _registered = true;
    watchShortcuts(std::move(_shortcuts));
    watchModifiers(_watchingModifiers);
    return std::nullopt;
}

void TarnvikGnomeExtension::keepRegistered()
{
    _keepRegistered = true;
    if (auto failure = ensureRegistered())
        std::fprintf(stderr, "Tarnvik: GNOME Shell's extension refused this program: %s\n",
                     failure->c_str());
}

void TarnvikGnomeExtension::watchShortcuts(
    std::vector<std::pair<std::uint32_t, std::uint32_t>> shortcuts)
{
    _shortcuts = std::move(shortcuts);
    if (!_registered)
        return;
    QList<uint> keycodes;
    QList<uint> modifiers;
    for (const auto &[keycode, mask] : _shortcuts) {
        keycodes.push_back(keycode);
        modifiers.push_back(mask);
    }
    const auto reply =
        call("WatchShortcuts", {QVariant::fromValue(keycodes), QVariant::fromValue(modifiers)});
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return;
    for (const uint index : qdbus_cast<QList<uint>>(reply.arguments().front()))
        if (index < _shortcuts.size())
            std::fprintf(stderr,
                         "Tarnvik: GNOME Shell keeps the keys of a shortcut for itself (X key code "
                         "%u, modifiers %u): record another one\n",
                         _shortcuts[index].first, _shortcuts[index].second);
}

void TarnvikGnomeExtension::shortcutPressed(uint index)
{
    if (_shortcut)
        _shortcut(index);
}

void TarnvikGnomeExtension::watchModifiers(bool watch)
{
    _watchingModifiers = watch;
    if (_registered)
        call("WatchModifiers", {watch}, false);
}

void TarnvikGnomeExtension::modifiersChanged(uint mask)
{
    if (_modifiers)
        _modifiers(mask);
}

void TarnvikGnomeExtension::propertiesChanged(const QDBusMessage &message)
{
    const auto arguments = message.arguments();
    if (arguments.size() < 2 || arguments[0].toString() != shellService)
        return;
    const auto changed = qdbus_cast<QVariantMap>(arguments[1]);
    const auto active = changed.find("OverviewActive");
    if (active == changed.end())
        return;
    _overviewActive = active->toBool();
    if (!_overviewActive)
        return;
    // Registered from the first opening on, so that the shortcuts work over the overview even
    // while nothing labels it by itself.
    ensureRegistered();
    if (_report)
        _report();
}

void TarnvikGnomeExtension::shown()
{
    if (_overviewActive && _report)
        _report();
}

void TarnvikGnomeExtension::focusChanged()
{
    if (_focusChanged)
        _focusChanged();
}

void TarnvikGnomeExtension::pointerMoved()
{
    if (_pointerMoved)
        _pointerMoved();
}

void TarnvikGnomeExtension::pointerPressed()
{
    if (_pointerPressed)
        _pointerPressed();
}

void TarnvikGnomeExtension::labelsDrawn(uint count, double sinceShortcut, double sinceAsked,
                                        double building)
{
    if (_labelsDrawn)
        _labelsDrawn(count, sinceShortcut, sinceAsked, building);
}

void TarnvikGnomeExtension::movePointer(CGPoint point)
{
    call("PointerMove", {point.x, point.y}, false);
}

void TarnvikGnomeExtension::pressButton(std::uint32_t button, bool pressed, CGPoint point,
                                        std::uint32_t modifiers)
{
    call("PointerButton", {button, pressed, point.x, point.y, modifiers}, false);
}

void TarnvikGnomeExtension::scroll(double dx, double dy)
{
    call("Scroll", {dx, dy}, false);
}

void TarnvikGnomeExtension::setCursorVisible(bool visible)
{
    call("SetCursorVisible", {visible}, false);
}

void TarnvikGnomeExtension::beep()
{
    call("Beep", {}, false);
}

void TarnvikGnomeExtension::key(uint keycode, uint state, bool pressed, bool repeat,
                                const QString &text)
{
    if (_key)
        _key({.keycode = keycode,
              .state = state,
              .pressed = pressed,
              .repeat = repeat,
              .text = text.toStdString()});
}

void TarnvikGnomeExtension::shellOwnerChanged(const QString &name, const QString &,
                                              const QString &newOwner)
{
    if (name != shellService)
        return;
    // A new shell knows nobody and keeps no image; an ended one has no overview.
    _registered = false;
    _imagesSent.clear();
    readOverviewActive();
    if (_keepRegistered && !newOwner.isEmpty())
        keepRegistered();
    if (_statusItemShown && !newOwner.isEmpty() && showStatusItem(true))
        setStatusMenu(std::move(_statusMenu));
}

void TarnvikGnomeExtension::showLabels(const std::vector<OverviewLabel> &labels)
{
    QList<QVariantMap> maps;
    for (const auto &label : labels)
        maps.push_back(labelMap(label));
    call("ShowLabels", {QVariant::fromValue(maps)}, false);
}

namespace {

DBusImage dbusImage(const OverviewImage &image)
{
    return {QString::fromStdString(image.key),
            image.frame,
            image.width,
            image.height,
            image.stride,
            QByteArray(reinterpret_cast<const char *>(image.pixels.data()),
                       static_cast<qsizetype>(image.pixels.size()))};
}

} // namespace

void TarnvikGnomeExtension::showImages(const std::vector<OverviewImage> &images)
{
    QList<DBusImage> sent;
    for (const auto &image : images) {
        sent.push_back(dbusImage(image));
        if (!image.pixels.empty())
            _imagesSent.insert(image.key);
    }
    call("ShowImages", {QVariant::fromValue(sent)}, false);
}

void TarnvikGnomeExtension::setLabelsVisible(bool visible)
{
    call("SetLabelsVisible", {visible}, false);
}

void TarnvikGnomeExtension::clearLabels()
{
    call("ClearLabels", {}, false);
}

bool TarnvikGnomeExtension::showStatusItem(bool visible)
{
    if (ensureRegistered())
        return false;
    const auto reply = call("ShowStatusItem", {visible});
    if (reply.type() == QDBusMessage::ErrorMessage)
        return false;
    _statusItemShown = visible;
    return true;
}

void TarnvikGnomeExtension::setStatusMenu(std::vector<ShellMenuEntry> menu)
{
    QList<DBusMenuEntry> sent;
    for (const auto &entry : menu) {
        DBusMenuEntry dbus {entry.id, QString::fromStdString(entry.title), {}};
        for (const auto &[id, title] : entry.submenu)
            dbus.submenu.push_back({id, QString::fromStdString(title)});
        sent.push_back(std::move(dbus));
    }
    _statusMenu = std::move(menu);
    call("SetStatusMenu", {QVariant::fromValue(sent)}, false);
}

void TarnvikGnomeExtension::statusMenuOpened()
{
    if (_statusMenuOpened)
        _statusMenuOpened();
}

void TarnvikGnomeExtension::statusMenuActivated(int id)
{
    if (_statusMenuActivated)
        _statusMenuActivated(id);
}

void TarnvikGnomeExtension::showPanel(const OverviewImage &panel)
{
    call("ShowPanel", {QVariant::fromValue(dbusImage(panel))}, false);
}

void TarnvikGnomeExtension::hidePanel(const std::string &key)
{
    call("HidePanel", {QString::fromStdString(key)}, false);
}

namespace {

CGRect readRect(const QDBusArgument &argument)
{
    double x = 0, y = 0, width = 0, height = 0;
    argument.beginStructure();
    argument >> x >> y >> width >> height;
    argument.endStructure();
    return makeRect(x, y, width, height);
}

// The reply's one array, each element read by `read`; nothing for an error.
template<typename T, typename Read>
std::vector<T> readArray(const QDBusMessage &reply, Read read)
{
    std::vector<T> found;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return found;
    const auto array = reply.arguments().front().value<QDBusArgument>();
    array.beginArray();
    while (!array.atEnd()) {
        array.beginStructure();
        found.push_back(read(array));
        array.endStructure();
    }
    array.endArray();
    return found;
}

} // namespace

std::map<std::string, CGRect> TarnvikGnomeExtension::previews()
{
    const auto found =
        readArray<std::pair<std::string, CGRect>>(call("Previews"), [](const QDBusArgument &a) {
            QString key;
            double x = 0, y = 0, width = 0, height = 0;
            a >> key >> x >> y >> width >> height;
            return std::pair(key.toStdString(), makeRect(x, y, width, height));
        });
    return {found.begin(), found.end()};
}

std::vector<OverviewWindow> TarnvikGnomeExtension::windows()
{
    const auto text = [](const QString &s) {
        return s.isEmpty() ? std::nullopt : std::optional(s.toStdString());
    };
    return readArray<OverviewWindow>(call("Windows"), [&](const QDBusArgument &a) {
        qulonglong number = 0;
        int pid = 0;
        QString title, application, icon;
        a >> number >> pid >> title >> application >> icon;
        return OverviewWindow {.number = number,
                               .pid = pid,
                               .title = title.toStdString(),
                               .applicationName = text(application),
                               .icon = text(icon)};
    });
}

std::vector<linux::CompositorWindow> TarnvikGnomeExtension::frames() const
{
    return readArray<linux::CompositorWindow>(call("Frames"), [](const QDBusArgument &a) {
        linux::CompositorWindow w;
        qulonglong id = 0;
        QString title, wmClass, wmInstance, gtkApplicationId;
        a >> id >> w.pid >> title >> w.focused >> wmClass >> wmInstance >> gtkApplicationId;
        w.id = id;
        w.title = title.toStdString();
        w.wmClass = wmClass.toStdString();
        w.wmInstance = wmInstance.toStdString();
        w.gtkApplicationId = gtkApplicationId.toStdString();
        w.frame = readRect(a);
        w.buffer = readRect(a);
        return w;
    });
}

std::vector<linux::CompositorMonitor> TarnvikGnomeExtension::monitors() const
{
    return readArray<linux::CompositorMonitor>(call("Monitors"), [](const QDBusArgument &a) {
        double x = 0, y = 0, width = 0, height = 0, scale = 1;
        a >> x >> y >> width >> height >> scale;
        return linux::CompositorMonitor {makeRect(x, y, width, height), scale};
    });
}

bool TarnvikGnomeExtension::pickAt(CGPoint point)
{
    const auto reply = call("PickAt", {point.x, point.y});
    return reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()
        && reply.arguments().front().toBool();
}

std::uint32_t TarnvikGnomeExtension::heldModifiers()
{
    const auto reply = call("HeldModifiers");
    return reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()
        ? reply.arguments().front().toUInt()
        : 0;
}

bool TarnvikGnomeExtension::holdKeys(bool hold)
{
    const auto reply = call("HoldKeys", {hold}, hold);
    return hold && reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()
        && reply.arguments().front().toBool();
}

void TarnvikGnomeExtension::renewKeys()
{
    call("RenewKeys", {}, false);
}

std::optional<std::uint32_t> TarnvikGnomeExtension::shellProcess() const
{
    const auto *interface = QDBusConnection::sessionBus().interface();
    if (!interface)
        return std::nullopt;
    const auto pid = interface->servicePid(shellService);
    return pid.isValid() ? std::optional(pid.value()) : std::nullopt;
}

} // namespace tarnvik::gnome
