#include "platform/linux/DesktopIdentity.h"

#include "platform/linux/DesktopEntries.h"

#include <QFileInfo>
#include <QStandardPaths>

#include <array>
#include <utility>

namespace tarnvik::linux {

namespace {

std::optional<DesktopEntry> findDesktopEntry(const std::string &id)
{
    if (id.empty())
        return std::nullopt;
    const QString file = QStandardPaths::locate(QStandardPaths::ApplicationsLocation,
                                                QString::fromStdString(id) + ".desktop");
    if (file.isEmpty())
        return std::nullopt;
    return readDesktopEntry(file.toStdString(), id);
}

std::string lower(std::string s)
{
    for (auto &c : s)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

} // namespace

std::optional<std::string> documentedIdentifier(const std::string &linuxName)
{
    static const std::array<std::pair<const char *, const char *>, 14> table = {{
        {"firefox", "org.mozilla.firefox"},
        {"firefox-esr", "org.mozilla.firefox"},
        {"navigator", "org.mozilla.firefox"},
        {"firefox-nightly", "org.mozilla.nightly"},
        {"firefox-developer-edition", "org.mozilla.firefoxdeveloperedition"},
        {"chromium", "com.google.Chrome"},
        {"chromium-browser", "com.google.Chrome"},
        {"google-chrome", "com.google.Chrome"},
        {"brave-browser", "com.brave.Browser"},
        {"microsoft-edge", "com.microsoft.edgemac"},
        {"notion", "notion.id"},
        {"teams", "com.microsoft.teams"},
        {"teams-for-linux", "com.microsoft.teams"},
        {"spotify", "com.spotify.client"},
    }};
    const std::string key = lower(linuxName);
    for (const auto &[name, id] : table) {
        if (key == name)
            return id;
    }
    return std::nullopt;
}

RunningApplication identify(pid_t pid, const WindowIdentity &window)
{
    RunningApplication app;
    app.processIdentifier = pid;
    const std::string exe =
        QFileInfo(QStringLiteral("/proc/%1/exe").arg(pid)).canonicalFilePath().toStdString();
    const std::string exeName = QFileInfo(QString::fromStdString(exe)).fileName().toStdString();

    for (const auto &candidate : {window.wmClass, window.wmInstance, exeName}) {
        if (auto id = documentedIdentifier(candidate)) {
            app.bundleIdentifier = id;
            break;
        }
    }
    std::optional<DesktopEntry> entry;
    for (const auto &candidate : {window.gtkApplicationId.value_or(""), window.wmInstance,
                                  lower(window.wmClass), exeName}) {
        if ((entry = findDesktopEntry(candidate))) {
            if (!app.bundleIdentifier)
                app.bundleIdentifier = candidate;
            break;
        }
    }
    if (!app.bundleIdentifier && window.gtkApplicationId)
        app.bundleIdentifier = window.gtkApplicationId;
    if (!app.bundleIdentifier && !window.wmClass.empty())
        app.bundleIdentifier = window.wmClass;

    app.bundlePath = entry ? entry->path : exe;
    app.localizedName = entry && entry->name ? entry->name
        : !window.wmClass.empty()            ? std::optional(window.wmClass)
                                             : std::optional(exeName);
    if (entry)
        app.iconPath = entry->icon;
    return app;
}

} // namespace tarnvik::linux
