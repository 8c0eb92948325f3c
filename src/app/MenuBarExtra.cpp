#include "app/MenuBarExtra.h"

#include "preferences/Preferences.h"

#include <algorithm>

namespace tarnvik {

MenuBarExtra::MenuBarExtra(Services services, ShellViews &views)
    : _services(std::move(services))
    , _statusItem(views.makeStatusItem([this] { return menuWillOpen(); }))
{
    preferencesChanged();
}

void MenuBarExtra::preferencesChanged()
{
    _statusItem.setVisible(_services.preferences.boolForKey(Preferences::Keys::showMenubarIcon));
}

std::vector<MenuEntry> MenuBarExtra::menuWillOpen()
{
    const auto &a = _services.actions;
    std::vector<MenuEntry> menu {{"Settings…", ",", a.openSettings, {}},
                                 {"Check for Updates…", "", a.checkForUpdates, {}}};
    for (auto &entry : applicationEntry())
        menu.push_back(std::move(entry));
    menu.push_back({});
    menu.push_back({"Send Feedback",
                    "",
                    {},
                    {{"via GitHub Issues", "", a.openGithubIssues, {}},
                     {"via email", "", a.openSupportMail, {}}}});
    menu.push_back({"Read the User Guide", "", a.openUserGuide, {}});
    menu.push_back({"Changelog", "", a.openChangelog, {}});
    menu.push_back({});
    menu.push_back({"Quit", "q", a.quit, {}});
    return menu;
}

std::vector<MenuEntry> MenuBarExtra::applicationEntry()
{
    const auto app = _services.workspace.frontmostApplication();
    if (!app || !app->localizedName || !app->bundlePath)
        return {};
    auto &preferences = _services.preferences;
    const std::string path = *app->bundlePath;
    const auto disabled = preferences.disabledBundlePaths();
    const bool isDisabled = std::ranges::find(disabled, path) != disabled.end();
    const std::string title = std::string(isDisabled ? "Enable" : "Disable") + " " + programName
        + " in " + *app->localizedName;
    if (!isDisabled)
        return {{title, "", [&preferences, path] {
                     auto paths = preferences.disabledBundlePaths();
                     paths.push_back(path);
                     preferences.setDisabledBundlePaths(paths);
                 }}};
    return {{title, "", [this, path] {
                 auto paths = _services.preferences.disabledBundlePaths();
                 std::erase(paths, path);
                 _services.preferences.setDisabledBundlePaths(paths);
                 if (auto front = _services.workspace.frontmostApplication())
                     _services.enable(*front);
             }}};
}

} // namespace tarnvik
