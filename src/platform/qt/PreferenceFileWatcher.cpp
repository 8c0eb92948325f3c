#include "platform/qt/PreferenceFileWatcher.h"

#include "platform/qt/QSettingsPreferenceStore.h"

#include <QDir>
#include <QFileInfo>

namespace tarnvik {

PreferenceFileWatcher::PreferenceFileWatcher(QSettingsPreferenceStore &store,
                                             std::function<void()> changed)
    : _store(store)
    , _changed(std::move(changed))
{
    _settle.setSingleShot(true);
    _settle.setInterval(100);
    QObject::connect(&_settle, &QTimer::timeout, [this] { read(); });
    QObject::connect(&_watcher, &QFileSystemWatcher::fileChanged, [this] { _settle.start(); });
    QObject::connect(&_watcher, &QFileSystemWatcher::directoryChanged, [this] { _settle.start(); });
    watch();
}

void PreferenceFileWatcher::watch()
{
    const QFileInfo file(QString::fromStdString(_store.path()));
    QDir().mkpath(file.absolutePath());
    if (!_watcher.directories().contains(file.absolutePath()))
        _watcher.addPath(file.absolutePath());
    // A file replaced by a rename is a new file, which the watcher no longer follows.
    if (file.exists() && !_watcher.files().contains(file.absoluteFilePath()))
        _watcher.addPath(file.absoluteFilePath());
}

void PreferenceFileWatcher::read()
{
    watch();
    _store.reload();
    _changed();
}

} // namespace tarnvik
