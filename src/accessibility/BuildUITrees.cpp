#include "accessibility/BuildUITrees.h"

#include "accessibility/AttributeReaders.h"
#include "accessibility/BundleGroups.h"
#include "accessibility/CGWindow.h"
#include "platform/AXNames.h"
#include "platform/Scheduler.h"
#include "preferences/Preferences.h"

#include <future>

namespace tarnvik {

BuildUITrees::BuildUITrees(Services services, RunningApplication app, UIElementPtr window,
                           std::optional<RunningApplication> menubarOwner, UITreePtr dock,
                           bool withSearchAttributes)
    : frontmostApp(std::move(app))
    , frontmostWindow(std::move(window))
    , menubarApp(std::move(menubarOwner))
    , dockUiTree(std::move(dock))
    , isTargetSelf(frontmostApp.processIdentifier
                   == services.platform.workspace.currentProcessIdentifier())
    , fetchSearchAttributes(withSearchAttributes)
    , _services(services)
{ }

BuildUITree BuildUITrees::makeBuilder(bool useSearchPredicate) const
{
    return BuildUITree(_services.platform, fetchSearchAttributes, useSearchPredicate);
}

std::optional<UITrees> BuildUITrees::build(std::stop_token cancellation)
{
    // Each read runs on a task of its own, or, for this program's own windows, on the main
    // thread, where its accessibility lives.
    auto start = [&](auto work) {
        using Result = decltype(work());
        if (!isTargetSelf)
            return std::async(std::launch::async, std::move(work));
        std::promise<Result> promise;
        _services.scheduler.runOnMainAndWait([&] { promise.set_value(work()); });
        return promise.get_future();
    };
    auto window = start([&] { return buildFrontmostWindow(cancellation); });
    auto menubar = start([&] { return buildMenubarWithExtras(cancellation); });
    auto overlays = start([&] { return buildOverlays(); });

    // All three are awaited, also when one of them was cancelled.
    auto windowTree = window.get();
    auto menubarTrees = menubar.get();
    auto overlayTrees = overlays.get();
    if (!windowTree || !menubarTrees)
        return std::nullopt;
    UITrees trees;
    trees.frontmostWindowUiTree = std::move(*windowTree);
    trees.menubarUiTree = std::move(menubarTrees->menubar);
    trees.menubarExtraUiTrees = std::move(menubarTrees->extras);
    trees.dockUiTree = dockUiTree;
    trees.overlayUiTrees = std::move(overlayTrees);
    return trees;
}

std::optional<UITreePtr> BuildUITrees::buildFrontmostWindow(const std::stop_token &cancellation)
{
    if (cancellation.stop_requested())
        return std::nullopt;
    return makeBuilder(shouldUseSearchPredicate(frontmostApp)).build(frontmostWindow, frontmostApp);
}

std::optional<BuildUITrees::MenubarTrees>
BuildUITrees::buildMenubarWithExtras(const std::stop_token &cancellation)
{
    auto builder = makeBuilder(false);
    MenubarTrees result;
    std::vector<CGRect> strips;
    if (menubarApp && isMenubarOnScreen()) {
        if (cancellation.stop_requested())
            return std::nullopt;
        result.menubar = builder.buildMenubar(
            _services.platform.ax.createApplication(menubarApp->processIdentifier));
        if (result.menubar)
            strips.push_back(result.menubar->element(result.menubar->rootId())->frame());
    }
    if (cancellation.stop_requested())
        return std::nullopt;
    // A desktop's panels hold extras whether or not the frontmost application has a menu bar.
    for (const auto &window : CGWindow::onScreenWindows(_services.platform.windowList)) {
        if (window.isPanel())
            strips.push_back(window.frame);
    }
    if (!strips.empty()) {
        for (auto &extra : builder.buildMenubarExtras(strips))
            result.extras.push_back(std::move(extra));
    }
    return result;
}

bool BuildUITrees::shouldUseSearchPredicate(const RunningApplication &app) const
{
    if (!_services.preferences.boolForKey(Preferences::Keys::useSearchPredicate))
        return false;
    return bundles::isIn(app, bundles::safari) || bundles::isIn(app, bundles::chromiumBrowsers)
        || bundles::isIn(app, bundles::firefoxBrowsers);
}

bool BuildUITrees::isMenubarOnScreen()
{
    auto &ax = _services.platform.ax;
    auto owner = _services.platform.workspace.menuBarOwningApplication();
    if (!owner)
        return false;
    auto ref = elementAttribute(ax, NSAccessibilityMenuBarAttribute,
                                ax.createApplication(owner->processIdentifier));
    if (!ref.ok() || !ref.value())
        return false;
    auto menubar = UIElement::fullElement(ax, *ref.value());
    if (!menubar)
        return false;
    for (const auto &window : CGWindow::onScreenWindows(_services.platform.windowList)) {
        if (window.isMenubar() && CGRectEqualToRect(window.frame, menubar->frame()))
            return true;
    }
    return false;
}

std::vector<UITreePtr> BuildUITrees::buildOverlays()
{
    auto trees = buildControlCentreWindows();
    auto menus = buildOpenMenus();
    trees.insert(trees.end(), menus.begin(), menus.end());
    return trees;
}

std::vector<UITreePtr> BuildUITrees::buildControlCentreWindows()
{
    auto &ax = _services.platform.ax;
    auto apps = _services.platform.workspace.runningApplicationsWithBundleIdentifier(
        std::string(bundles::controlCentre));
    if (apps.empty())
        return {};
    const auto &controlCentre = apps.front();
    auto windows = elementsAttribute(ax, NSAccessibilityWindowsAttribute,
                                     ax.createApplication(controlCentre.processIdentifier));
    if (!windows.ok() || !windows.value())
        return {};
    std::vector<UITreePtr> trees;
    for (const auto &ref : *windows.value()) {
        auto window = UIElement::fullElement(ax, ref);
        if (!window || !(window->size.width > 0) || !(window->size.height > 0))
            continue;
        auto root = UIElement::fullElement(ax, ref);
        if (!root)
            continue;
        trees.push_back(makeBuilder(false).build(root, controlCentre));
    }
    return trees;
}

std::vector<UITreePtr> BuildUITrees::buildOpenMenus()
{
    auto &ax = _services.platform.ax;
    auto menubar = elementAttribute(ax, NSAccessibilityMenuBarAttribute,
                                    ax.createApplication(frontmostApp.processIdentifier));
    if (!menubar.ok() || !menubar.value())
        return {};
    auto items = elementsAttribute(ax, NSAccessibilityChildrenAttribute, *menubar.value());
    if (!items.ok() || !items.value())
        return {};
    std::vector<UITreePtr> trees;
    for (const auto &item : *items.value()) {
        auto children = elementsAttribute(ax, NSAccessibilityChildrenAttribute, item);
        if (!children.ok() || !children.value())
            continue;
        for (const auto &child : *children.value()) {
            auto role = stringAttribute(ax, NSAccessibilityRoleAttribute, child);
            if (!role.ok() || role.value() != "AXMenu")
                continue;
            if (auto root = UIElement::fullElement(ax, child))
                trees.push_back(makeBuilder(false).build(root, frontmostApp));
        }
    }
    return trees;
}

} // namespace tarnvik
