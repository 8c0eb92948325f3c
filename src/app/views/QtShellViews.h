#pragma once

#include "app/ShellViews.h"
#include "app/settings/SettingsWindow.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QSystemTrayIcon;
class QMenu;

namespace tarnvik {

// The status item through the desktop's tray: a StatusNotifierItem where a panel watches for
// one, the older XEmbed tray otherwise.
class QtStatusItem final : public StatusItemView
{
public:
    explicit QtStatusItem(ShellViews::MenuBuilder builder);
    ~QtStatusItem() override;
    void setVisible(bool visible) override;

private:
    void rebuild();

    ShellViews::MenuBuilder _builder;
    std::unique_ptr<QMenu> _menu;
    std::unique_ptr<QSystemTrayIcon> _icon;
};

// The program's own windows: the accessibility prompt and the settings.
class QtShellViews final : public ShellViews
{
public:
    struct PromptActions
    {
        std::function<void()> switchOn;
        // The names of running applications that need a restart to be read.
        std::function<std::vector<std::string>()> applicationsToRestart;
        std::function<void()> quit;
    };

    // The desktop's own status item where it has one; nothing for the tray's.
    using DesktopStatusItem = std::function<std::unique_ptr<StatusItemView>(MenuBuilder)>;

    QtShellViews(PromptActions prompt, SettingsServices settings,
                 DesktopStatusItem desktopStatusItem)
        : _promptActions(std::move(prompt))
        , _settingsServices(std::move(settings))
        , _desktopStatusItem(std::move(desktopStatusItem))
    { }
    ~QtShellViews() override;

    void showPermissionPrompt() override;
    void closePermissionPrompt() override;
    void openSettings(const std::string &tabId) override;
    void openLabelDesigner() override;
    void preferencesChanged() override;
    StatusItemView &makeStatusItem(MenuBuilder menu) override;
    // Whether the status item can be seen: in the desktop's own place for it, or in a tray.
    bool showsStatusItem() const;

private:
    PromptActions _promptActions;
    SettingsServices _settingsServices;
    QPointer<QWidget> _prompt;
    std::unique_ptr<SettingsWindow> _settings;
    std::unique_ptr<QWidget> _labelDesigner;
    DesktopStatusItem _desktopStatusItem;
    std::unique_ptr<StatusItemView> _statusItem;
    bool _statusItemInDesktop = false;
};

} // namespace tarnvik
