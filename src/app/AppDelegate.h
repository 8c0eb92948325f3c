#pragma once

#include "accessibility/AXEnablerService.h"
#include "app/Analytics.h"
#include "app/MenuBarExtra.h"
#include "app/ShellViews.h"
#include "platform/LoginItem.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tarnvik {

class Accessibility;
class InputSources;
class Preferences;
class Scheduler;
class Workspace;

// The root of the resident program: runs the launch sequence and owns the parts that live as
// long as the program, in this order.
class AppDelegate
{
public:
    struct Services
    {
        Preferences &preferences;
        Accessibility &ax;
        Workspace &workspace;
        Scheduler &scheduler;
        ShellViews &views;
        LoginItem &loginItem;
        // Listed once, at set-up.
        InputSources &inputSources;
        // Starts reading each application ahead of its first shortcut, at set-up.
        std::function<void()> readAhead;
        // Turns the shortcut preferences into hot keys, at set-up.
        std::function<void()> wireShortcuts;
        // Starts watching the desktop's window overview, at set-up.
        std::function<void()> startMissionControlObserver;
        // Ends whichever mode runs.
        std::function<void()> deactivateModes;
        // The status item's commands; its "Settings…", "Check for Updates…" and "Changelog"
        // open the settings here.
        MenuBarExtra::Actions menuActions;
        AnalyticsSink *analyticsSink = nullptr;
    };

    static constexpr double permissionPollSeconds = 0.3;

    explicit AppDelegate(Services services);
    ~AppDelegate();

    // Writes the login item out, and sets the program up once accessibility is on: at once, or
    // after the permission prompt. A start at login stays silent; a start by hand opens the
    // settings.
    void applicationDidFinishLaunching(bool startedAtLogin);
    // The program started again while it runs.
    void applicationShouldHandleReopen() { openSettings(); }
    void openSettings();
    // The settings' About page, with the release history: on Linux the package manager
    // updates, so this is what "Check for Updates…" shows.
    void openChangelog();
    void openLabelDesigner();

    // After the settings were read again.
    void preferencesChanged();

    bool isSetUp() const { return _axEnablerService.has_value(); }

private:
    void pollPermission();
    void setUp();

    Services _services;
    std::optional<MenuBarExtra> _menuBarExtra;
    std::optional<AXEnablerService> _axEnablerService;
    std::optional<Analytics> _analytics;
    std::optional<std::uint64_t> _pollTimer;
};

} // namespace tarnvik
