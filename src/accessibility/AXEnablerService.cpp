#include "accessibility/AXEnablerService.h"

#include "accessibility/AttributeReaders.h"
#include "accessibility/BundleGroups.h"
#include "platform/AXNames.h"
#include "platform/Accessibility.h"
#include "platform/Diagnostics.h"
#include "platform/Scheduler.h"
#include "preferences/Preferences.h"

#include <algorithm>
#include <array>

namespace tarnvik {

namespace {

// These follow "AXEnhancedUserInterface"; every other application "AXManualAccessibility".
constexpr std::array enhancedUserInterfaceApps = {
    std::string_view("org.mozilla.firefox"), std::string_view("org.mozilla.nightly"),
    std::string_view("org.mozilla.firefoxdeveloperedition"),
    std::string_view("com.spotify.client")};

constexpr double retryDelay = 0.5;
constexpr int retryLimit = 10;
constexpr double refreshInterval = 25;

void report(bool enabled, const RunningApplication &app)
{
    printLine(std::string(enabled ? "AXEnablerService: enabled AX on "
                                  : "AXEnablerService: failed to enable AX on ")
              + app.localizedName.value_or("<nil>"));
}

} // namespace

AXEnablerService::AXEnablerService(Services services)
    : _services(std::move(services))
{ }

AXEnablerService::~AXEnablerService()
{
    for (auto timer : _timers)
        _services.scheduler.cancel(timer);
}

void AXEnablerService::start()
{
    if (auto app = _services.workspace.frontmostApplication())
        enable(*app);
    _services.workspace.observeActivations([this](const RunningApplication &app) {
        _services.deactivateModes();
        enable(app);
    });
    schedule(refreshInterval, [this] { refreshFrontmost(); });
}

void AXEnablerService::refreshFrontmost()
{
    if (auto app = _services.workspace.frontmostApplication())
        enable(*app);
    schedule(refreshInterval, [this] { refreshFrontmost(); });
}

bool AXEnablerService::isIgnored(const RunningApplication &app, const Preferences &preferences)
{
    if (!app.bundlePath)
        return false;
    const auto ignored = preferences.disabledBundlePaths();
    return std::find(ignored.begin(), ignored.end(), *app.bundlePath) != ignored.end();
}

bool AXEnablerService::tryEnable(const RunningApplication &app)
{
    // An ignored application is left alone, and that counts as done; so is this program, whose
    // own windows are never read.
    if (isIgnored(app, _services.preferences)
        || app.processIdentifier == _services.workspace.currentProcessIdentifier())
        return true;
    auto &ax = _services.ax;
    const AXUIElement element = ax.createApplication(app.processIdentifier);
    if (bundles::isIn(app, enhancedUserInterfaceApps)) {
        const bool enabled = ax.setAttributeValue(element, AXEnhancedUserInterfaceAttribute, true)
            == AXError::Success;
        report(enabled, app);
        return enabled;
    }
    ax.setAttributeValue(element, AXManualAccessibilityAttribute, true);
    // An application that answers its role is accessible.
    auto role = stringAttribute(ax, NSAccessibilityRoleAttribute, element);
    const bool enabled = role.ok() && role.value().has_value();
    report(enabled, app);
    return enabled;
}

void AXEnablerService::enable(const RunningApplication &app)
{
    if (tryEnable(app))
        return;
    schedule(retryDelay, [this, app] { retry(app, 0, retryLimit); });
}

void AXEnablerService::retry(const RunningApplication &app, int attempt, int limit)
{
    if (tryEnable(app) || attempt + 2 >= limit)
        return;
    schedule(retryDelay, [this, app, attempt, limit] { retry(app, attempt + 1, limit); });
}

void AXEnablerService::schedule(double seconds, std::function<void()> task)
{
    auto id = std::make_shared<Scheduler::TimerId>();
    *id = _services.scheduler.scheduleOnMain(Seconds(seconds), [this, id, task = std::move(task)] {
        _timers.erase(*id);
        task();
    });
    _timers.insert(*id);
}

} // namespace tarnvik
