#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tarnvik {

// One entry of the status item's menu: a command, a separator (no title) or a submenu.
struct MenuEntry
{
    std::string title;
    // The key that chooses it while the menu is open, if any ("," or "q").
    std::string keyEquivalent;
    std::function<void()> action;
    std::vector<MenuEntry> submenu;

    bool isSeparator() const { return title.empty(); }
};

// The status item in the desktop's panel: an icon whose menu is made anew each time it opens.
class StatusItemView
{
public:
    virtual ~StatusItemView() = default;
    virtual void setVisible(bool visible) = 0;
};

// The program's own windows and its status item, as the platform draws them.
class ShellViews
{
public:
    using MenuBuilder = std::function<std::vector<MenuEntry>()>;

    virtual ~ShellViews() = default;

    // The window that asks for accessibility to be switched on; it stays until closed here.
    virtual void showPermissionPrompt() = 0;
    virtual void closePermissionPrompt() = 0;
    // Made on first use and kept; brought to the front each time, on the tab with `tabId`
    // ("about"), or on the tab it showed last when that is empty.
    virtual void openSettings(const std::string &tabId) = 0;
    virtual void openLabelDesigner() = 0;
    // The settings file changed: the open windows show the stored values again.
    virtual void preferencesChanged() = 0;
    // `menu` runs each time the menu opens.
    virtual StatusItemView &makeStatusItem(MenuBuilder menu) = 0;
};

} // namespace tarnvik
