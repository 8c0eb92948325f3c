#pragma once

#include "app/ShellViews.h"
#include "platform/Workspace.h"

#include <functional>

namespace tarnvik {

class Preferences;

// The status item's menu: made anew each time it opens, so that its application entry names
// the application in front at that moment.
class MenuBarExtra
{
public:
    struct Actions
    {
        std::function<void()> openSettings;
        std::function<void()> checkForUpdates;
        std::function<void()> openGithubIssues;
        std::function<void()> openSupportMail;
        std::function<void()> openUserGuide;
        std::function<void()> openChangelog;
        std::function<void()> quit;
    };
    struct Services
    {
        Workspace &workspace;
        Preferences &preferences;
        // Switches accessibility on in an application taken off the ignore list.
        std::function<void(const RunningApplication &)> enable;
        Actions actions;
    };

    static constexpr const char *programName = "Tarnvik";

    MenuBarExtra(Services services, ShellViews &views);

    std::vector<MenuEntry> menuWillOpen();
    // Shows or hides the item as the preference says.
    void preferencesChanged();

private:
    std::vector<MenuEntry> applicationEntry();

    Services _services;
    StatusItemView &_statusItem;
};

} // namespace tarnvik
