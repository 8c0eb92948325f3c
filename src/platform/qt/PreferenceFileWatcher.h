#pragma once

#include <QFileSystemWatcher>
#include <QTimer>

#include <functional>

namespace tarnvik {

class QSettingsPreferenceStore;

// Reads the settings file again whenever it changes on disk, whoever wrote it: a person with an
// editor, or the settings window. Editors often save by writing a new file and renaming it over
// the old one, so the folder is watched too, and a burst of changes is read once.
class PreferenceFileWatcher
{
public:
    // `changed` runs on the main thread after each reading.
    PreferenceFileWatcher(QSettingsPreferenceStore &store, std::function<void()> changed);

private:
    void watch();
    void read();

    QSettingsPreferenceStore &_store;
    std::function<void()> _changed;
    QFileSystemWatcher _watcher;
    QTimer _settle;
};

} // namespace tarnvik
