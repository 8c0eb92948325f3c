#include "platform/qt/XdgAutostart.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStandardPaths>

#include <cstdio>

namespace tarnvik {

namespace {

// Quoted as freedesktop's Desktop Entry format asks of Exec arguments with reserved characters.
QString quoted(QString argument)
{
    if (!argument.contains(QRegularExpression(R"([\s"'\\`$<>~|&;*?#()])")))
        return argument;
    for (const char *c : {"\\", "\"", "`", "$"})
        argument.replace(c, QString("\\") + c);
    return '"' + argument + '"';
}

void complain(const QString &what, const QString &path, const QString &why)
{
    std::fprintf(stderr, "tarnvik: could not %s the login item %s: %s\n", qPrintable(what),
                 qPrintable(path), qPrintable(why));
}

} // namespace

QString XdgAutostart::entryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
        + "/autostart/tarnvik.desktop";
}

void XdgAutostart::setEnabled(bool enabled)
{
    const QString path = entryPath();
    if (!enabled) {
        QFile entry(path);
        if (entry.exists() && !entry.remove())
            complain("remove", path, entry.errorString());
        return;
    }
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile entry(path);
    if (!entry.open(QIODevice::WriteOnly)) {
        complain("write", path, entry.errorString());
        return;
    }
    const QString text = "[Desktop Entry]\n"
                         "Type=Application\n"
                         "Name=Tarnvik\n"
                         "Comment=Operate the desktop from the keyboard\n"
                         "Icon=tarnvik\n"
                         // An entry left behind by a removed Tarnvik then starts nothing.
                         "TryExec="
        + _program + "\nExec=" + quoted(_program) + " " + _argument
        + "\n"
          "X-GNOME-Autostart-enabled=true\n";
    entry.write(text.toUtf8());
    if (!entry.commit())
        complain("write", path, entry.errorString());
}

} // namespace tarnvik
