#include "platform/kwin/KWinScript.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace tarnvik::kwin {

namespace {

constexpr auto kwinService = "org.kde.KWin";
constexpr auto objectPath = "/com/ostrelline/Tarnvik/KWin";
// KWin answers its own bus at once unless it hangs; a hung KWin must not hang this program.
constexpr int callTimeoutMs = 1000;

CGRect rectOf(const QJsonValue &r)
{
    const auto o = r.toObject();
    return makeRect(o["x"].toDouble(), o["y"].toDouble(), o["width"].toDouble(),
                    o["height"].toDouble());
}

QDBusMessage callScripting(const QString &path, const QString &interface, const QString &method,
                           const QList<QVariant> &arguments = {})
{
    auto message = QDBusMessage::createMethodCall(kwinService, path, interface, method);
    message.setArguments(arguments);
    return QDBusConnection::sessionBus().call(message, QDBus::Block, callTimeoutMs);
}

} // namespace

std::pair<std::vector<linux::CompositorWindow>, std::vector<linux::CompositorMonitor>>
kwinReport(const QByteArray &json)
{
    const auto report = QJsonDocument::fromJson(json).object();
    std::vector<linux::CompositorWindow> windows;
    for (const auto &value : report["windows"].toArray()) {
        const auto w = value.toObject();
        const auto id = w["id"].toString();
        windows.push_back({
            .id = qHash(id),
            .pid = w["pid"].toInt(),
            .title = w["title"].toString().toStdString(),
            .focused = w["focused"].toBool(),
            .wmClass = w["resourceClass"].toString().toStdString(),
            .wmInstance = w["resourceName"].toString().toStdString(),
            .gtkApplicationId = w["desktopFile"].toString().toStdString(),
            .frame = rectOf(w["frame"]),
            .buffer = rectOf(w["buffer"]),
        });
    }
    std::stable_partition(windows.begin(), windows.end(), [](const auto &w) { return w.focused; });
    std::vector<std::pair<bool, linux::CompositorMonitor>> found;
    for (const auto &value : report["screens"].toArray()) {
        const auto s = value.toObject();
        found.push_back(
            {s["active"].toBool(), {.frame = rectOf(s["frame"]), .scale = s["scale"].toDouble(1)}});
    }
    return {std::move(windows), linux::activeFirst(std::move(found))};
}

std::unique_ptr<KWinScript> KWinScript::load()
{
    std::unique_ptr<KWinScript> script(new KWinScript);
    if (!script->start())
        return nullptr;
    return script;
}

bool KWinScript::start()
{
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !_folder.isValid())
        return false;
    _kwin = bus.interface()->serviceOwner(kwinService).value();
    if (_kwin.isEmpty())
        return false;
    if (!bus.registerObject(objectPath, this, QDBusConnection::ExportScriptableSlots))
        return false;
    QFile source(":/kwin/windows.js");
    const QString path = _folder.filePath("windows.js");
    QFile script(path);
    if (!source.open(QIODevice::ReadOnly) || !script.open(QIODevice::WriteOnly))
        return false;
    script.write(source.readAll().replace("@SERVICE@", bus.baseService().toUtf8()));
    script.close();
    // A name of this process's own: two programs of ours (the resident one and `tarnvik
    // targets`) may load it at once.
    _pluginName = QString("tarnvik-%1").arg(QCoreApplication::applicationPid());
    const QDBusReply<int> id =
        callScripting("/Scripting", "org.kde.kwin.Scripting", "loadScript", {path, _pluginName});
    if (!id.isValid() || id.value() < 0)
        return false;
    callScripting(QString("/Scripting/Script%1").arg(id.value()), "org.kde.kwin.Script", "run");
    // The script reports at once; the first answer to a question must hold its windows.
    QElapsedTimer waited;
    waited.start();
    while (!_reported && waited.elapsed() < callTimeoutMs)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    return _reported;
}

KWinScript::~KWinScript()
{
    if (!_pluginName.isEmpty()) {
        callScripting("/Scripting", "org.kde.kwin.Scripting", "unloadScript", {_pluginName});
    }
    QDBusConnection::sessionBus().unregisterObject(objectPath);
}

bool KWinScript::Windows(const QString &report)
{
    if (!calledFromDBus() || message().service() != _kwin)
        return false;
    auto [windows, screens] = kwinReport(report.toUtf8());
    const std::uint64_t focused =
        windows.empty() || !windows.front().focused ? 0 : windows.front().id;
    {
        std::lock_guard lock(_mutex);
        _windows = std::move(windows);
        _screens = std::move(screens);
        _reported = true;
    }
    if (focused != _focused) {
        _focused = focused;
        if (_focusChanged)
            _focusChanged();
    }
    return true;
}

std::vector<linux::CompositorWindow> KWinScript::frames() const
{
    std::lock_guard lock(_mutex);
    return _windows;
}

std::vector<linux::CompositorMonitor> KWinScript::monitors() const
{
    std::lock_guard lock(_mutex);
    return _screens;
}

} // namespace tarnvik::kwin
