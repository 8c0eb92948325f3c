#pragma once

#include "app/IgnoredApps.h"

#include <QMainWindow>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class QListWidget;
class QStackedWidget;

namespace tarnvik {

class LoginItem;
class PreferenceBindings;
class RecordingSlot;
class Preferences;
class SRGlobalShortcutMonitor;

// What the settings reach outside themselves.
struct SettingsServices
{
    Preferences &preferences;
    SRGlobalShortcutMonitor &shortcuts;
    LoginItem &loginItem;
    // The key position of a key event's native scan code (on X, its key code).
    std::function<std::optional<std::uint16_t>(std::uint32_t)> keyCodeOfScanCode;
    // Wires the shortcuts anew: after a recording, and when Hyperkey is switched.
    std::function<void()> rewireShortcuts;
    // Where the Hyperkey finds the recorder that records, and whether it is held.
    RecordingSlot &recordingSlot;
    std::function<bool()> hyperKeyDown;
    // Shows or hides the status item as `show-menubar-icon` now says.
    std::function<void()> statusItemChanged;
    std::function<void()> playClick;
    // The applications the Ignored Apps page offers, in the order it lists them. Called off the
    // main thread.
    std::function<std::vector<ListedApplication>()> applications;
    // The keyboard input sources a mode can switch to: (id, name).
    std::function<std::vector<std::pair<std::string, std::string>>()> inputSources;
    // Opens one of the program's own documents ("README.md").
    std::function<void(const std::string &)> openPage;
    std::function<void()> openLabelDesigner;
    // Whether the desktop shows a tray, where the status item and its menu would be.
    std::function<bool()> hasTray;
    // Ends Tarnvik, as the tray menu's "Quit" does.
    std::function<void()> quit;
    std::string version;
    // The release history, an update feed.
    std::string appcastPath;
};

// One entry of the sidebar.
struct SettingsViewTab
{
    const char *id;
    const char *name;
    // A name of the desktop's icon theme; the tile's colour stands in where the theme has none.
    const char *icon;
    const char *color;
};

// The settings window: a sidebar of five tabs, each with its page. Made once and kept; closing
// it hides it, and the program runs on.
class SettingsWindow : public QMainWindow
{
public:
    static const std::vector<SettingsViewTab> &tabs();

    explicit SettingsWindow(SettingsServices services);
    ~SettingsWindow() override;

    // Shows the tab with this id ("about"); an unknown one leaves the tab as it was.
    void selectTab(const std::string &id);
    std::string selectedTabID() const;
    // After the settings file changed on disk: the controls show the stored values again.
    void preferencesChanged();

private:
    SettingsServices _services;
    std::unique_ptr<PreferenceBindings> _bindings;
    QListWidget *_sidebar;
    QStackedWidget *_pages;
};

} // namespace tarnvik
