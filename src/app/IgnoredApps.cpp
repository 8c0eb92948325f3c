#include "app/IgnoredApps.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <map>

namespace tarnvik::IgnoredApps {

const std::vector<std::string> &builtinApps()
{
    static const std::vector<std::string> ids = {
        "org.gnome.Terminal.desktop",
        "org.gnome.Console.desktop",
        "org.kde.konsole.desktop",
        "xfce4-terminal.desktop",
        "debian-xterm.desktop",
        "org.gnome.TextEditor.desktop",
        "org.gnome.gedit.desktop",
        "org.kde.kate.desktop",
        "mousepad.desktop",
        "org.gnome.Calculator.desktop",
        "org.kde.kcalc.desktop",
        "galculator.desktop",
        "org.gnome.Nautilus.desktop",
        "org.kde.dolphin.desktop",
        "thunar.desktop",
        "pcmanfm.desktop",
    };
    return ids;
}

std::vector<ListedApplication> listing(std::vector<ListedApplication> installed,
                                       const std::vector<std::string> &ids)
{
    std::vector<ListedApplication> result;
    std::vector<std::optional<ListedApplication>> core(builtinApps().size());
    for (std::size_t i = 0; i < installed.size(); ++i) {
        const auto it = std::ranges::find(builtinApps(), ids[i]);
        if (it == builtinApps().end())
            result.push_back(std::move(installed[i]));
        else
            core[static_cast<std::size_t>(it - builtinApps().begin())] = std::move(installed[i]);
    }
    for (auto &app : core) {
        if (app)
            result.push_back(std::move(*app));
    }
    // Two entries of one name (GTK 3's and GTK 4's "Widget Factory") are told apart by their
    // files.
    std::map<std::string, int> uses;
    for (const auto &app : result)
        ++uses[app.name];
    for (auto &app : result) {
        if (uses[app.name] > 1)
            app.name += " ("
                + QFileInfo(QString::fromStdString(app.path)).completeBaseName().toStdString()
                + ")";
    }
    return result;
}

std::string storedPath(const std::string &path)
{
    static const QRegularExpression trailingSlash("/$");
    return QUrl::fromLocalFile(QString::fromStdString(path))
        .path(QUrl::FullyEncoded)
        .remove(trailingSlash)
        .toStdString();
}

std::set<std::size_t> selection(const std::vector<ListedApplication> &listed,
                                const std::vector<std::string> &stored)
{
    std::set<std::size_t> selected;
    for (std::size_t i = 0; i < listed.size(); ++i) {
        if (std::ranges::find(stored, storedPath(listed[i].path)) != stored.end())
            selected.insert(i);
    }
    return selected;
}

std::vector<std::string> paths(const std::vector<ListedApplication> &listed,
                               const std::set<std::size_t> &selected)
{
    std::vector<std::string> result;
    for (const auto i : selected) {
        if (i < listed.size())
            result.push_back(storedPath(listed[i].path));
    }
    return result;
}

} // namespace tarnvik::IgnoredApps
