#include "platform/linux/DesktopEntries.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QStandardPaths>
#include <QTextStream>

#include <set>

namespace tarnvik::linux {

namespace {

QString unescaped(const QString &value)
{
    QString out;
    out.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            out += value[i];
            continue;
        }
        switch (value[++i].unicode()) {
        case 's':
            out += ' ';
            break;
        case 'n':
            out += '\n';
            break;
        case 't':
            out += '\t';
            break;
        case 'r':
            out += '\r';
            break;
        default:
            out += value[i];
        }
    }
    return out;
}

} // namespace

std::optional<DesktopEntry> readDesktopEntry(const std::string &path, const std::string &id)
{
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return std::nullopt;
    QTextStream in(&file);
    bool inGroup = false;
    bool seenGroup = false;
    DesktopEntry entry {path, id, {}, {}, {}, false};
    while (!in.atEnd()) {
        const QString line = in.readLine().trimmed();
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        if (line.startsWith('[')) {
            inGroup = line == "[Desktop Entry]";
            seenGroup = seenGroup || inGroup;
            continue;
        }
        const auto equals = line.indexOf('=');
        if (!inGroup || equals < 0)
            continue;
        const QString key = line.left(equals).trimmed();
        const QString value = unescaped(line.mid(equals + 1).trimmed());
        if (key == "Type")
            entry.type = value.toStdString();
        else if (key == "Name")
            entry.name = value.toStdString();
        else if (key == "Icon" && !value.isEmpty())
            entry.icon = value.toStdString();
        else if ((key == "Hidden" || key == "NoDisplay") && value == "true")
            entry.hidden = true;
    }
    if (!seenGroup)
        return std::nullopt;
    return entry;
}

std::vector<std::string> applicationFolders()
{
    // XDG_DATA_HOME's first, then those of XDG_DATA_DIRS (~/.local/share and /usr/local/share,
    // /usr/share when unset), as every desktop looks for them.
    std::vector<std::string> folders;
    for (const auto &folder :
         QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation))
        folders.push_back(folder.toStdString());
    return folders;
}

std::vector<DesktopEntry> installedApplications(const std::vector<std::string> &folders)
{
    std::vector<DesktopEntry> found;
    std::set<std::string> seen;
    for (const auto &folder : folders) {
        const QDir root(QString::fromStdString(folder));
        QDirIterator files(root.path(), {"*.desktop"}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            const std::string id = root.relativeFilePath(path).replace('/', '-').toStdString();
            // The first folder that has an ID decides, even where it hides the application.
            if (!seen.insert(id).second)
                continue;
            auto entry = readDesktopEntry(path.toStdString(), id);
            if (entry && entry->type == "Application" && !entry->hidden && entry->name)
                found.push_back(std::move(*entry));
        }
    }
    return found;
}

} // namespace tarnvik::linux
