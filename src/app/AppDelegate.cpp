#include "app/AppDelegate.h"

#include "keyboard/InputSources.h"
#include "platform/Accessibility.h"
#include "platform/Diagnostics.h"
#include "platform/Scheduler.h"
#include "preferences/Preferences.h"

namespace tarnvik {

AppDelegate::AppDelegate(Services services)
    : _services(std::move(services))
{
    _services.menuActions.openSettings = [this] {
        openSettings();
    };
    _services.menuActions.checkForUpdates = [this] {
        openChangelog();
    };
    _services.menuActions.openChangelog = [this] {
        openChangelog();
    };
}

AppDelegate::~AppDelegate()
{
    if (_pollTimer)
        _services.scheduler.cancel(*_pollTimer);
}

void AppDelegate::applicationDidFinishLaunching(bool startedAtLogin)
{
    auto &preferences = _services.preferences;
    _services.loginItem.setEnabled(preferences.boolForKey(Preferences::Keys::launchAtLogin));
    _analytics.emplace(preferences, _services.analyticsSink);
    _analytics->applyIdentity(std::nullopt);
    if (_services.ax.isProcessTrusted()) {
        setUp();
        if (!startedAtLogin)
            openSettings();
        return;
    }
    printLine("AppDelegate: accessibility is off; asking for it");
    _services.views.showPermissionPrompt();
    pollPermission();
}

void AppDelegate::pollPermission()
{
    _pollTimer = _services.scheduler.scheduleOnMain(Seconds(permissionPollSeconds), [this] {
        _pollTimer.reset();
        if (!_services.ax.isProcessTrusted()) {
            pollPermission();
            return;
        }
        _services.views.closePermissionPrompt();
        setUp();
        openSettings();
    });
}

void AppDelegate::setUp()
{
    _menuBarExtra.emplace(MenuBarExtra::Services {.workspace = _services.workspace,
                                                  .preferences = _services.preferences,
                                                  .enable =
                                                      [this](const RunningApplication &app) {
                                                          if (_axEnablerService)
                                                              _axEnablerService->enable(app);
                                                      },
                                                  .actions = _services.menuActions},
                          _services.views);
    _services.inputSources.load();
    _services.wireShortcuts();
    _axEnablerService.emplace(
        AXEnablerService::Services {.ax = _services.ax,
                                    .workspace = _services.workspace,
                                    .scheduler = _services.scheduler,
                                    .preferences = _services.preferences,
                                    .deactivateModes = _services.deactivateModes});
    _axEnablerService->start();
    if (_services.startMissionControlObserver)
        _services.startMissionControlObserver();
    _services.readAhead();
}

// Never from inside the caller: a menu's action or a D-Bus call finishes first.
void AppDelegate::openSettings()
{
    _services.scheduler.postToMain([this] { _services.views.openSettings({}); });
}

void AppDelegate::openChangelog()
{
    _services.scheduler.postToMain([this] { _services.views.openSettings("about"); });
}

void AppDelegate::openLabelDesigner()
{
    _services.scheduler.postToMain([this] { _services.views.openLabelDesigner(); });
}

void AppDelegate::preferencesChanged()
{
    if (_menuBarExtra)
        _menuBarExtra->preferencesChanged();
    _services.views.preferencesChanged();
}

} // namespace tarnvik
