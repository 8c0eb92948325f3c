#include "scroll/ScrollMode.h"

#include "accessibility/AXEnablerService.h"
#include "click/SessionGeometry.h"
#include "platform/Diagnostics.h"
#include "platform/KeyEvents.h"
#include "platform/Pointer.h"
#include "platform/WorkQueue.h"

#include <string>

namespace tarnvik {

ScrollMode::ScrollMode(Services services)
    : _services(services)
{ }

ScrollMode::~ScrollMode()
{
    *_alive = false;
    deactivate();
}

bool ScrollMode::isTargetSelf() const
{
    const auto self = _services.platform.workspace.currentProcessIdentifier();
    return _frontmostApp && _frontmostApp->processIdentifier == self;
}

void ScrollMode::activate()
{
    if (_active)
        return;
    auto &workspace = _services.platform.workspace;
    const auto app = workspace.frontmostApplication();
    if (!app) {
        _services.events.beep();
        return;
    }
    if (AXEnablerService::isIgnored(*app, _services.preferences))
        return;
    // An open menu keeps the pointer, so the wheel would scroll the menu, not the window.
    if (_services.keyboard.heldElsewhere()) {
        _services.events.beep();
        return;
    }
    // A failure below leaves the source switched, as in click mode.
    _services.inputSources.switchOnActivation(_services.preferences, _priorTisInputSource);

    _frontmostApp = app;
    _services.platform.ax.invalidateCache();
    const auto window = UIElement::focusedWindow(_services.platform.ax, app->processIdentifier);
    if (!window)
        return fail();
    const auto screen = chooseScreen(window->frame(), _services.screens.screens());
    if (!screen)
        return fail();

    _active = true;
    ++_session;
    printLine("ScrollMode: frontmost bundle id=" + app->bundleIdentifier.value_or("<nil>"));

    _windowController = std::make_unique<ScrollWindowController>(
        ScrollWindowController::Services {_services.preferences, _services.scheduler,
                                          _services.events, _services.cursor, _services.scroller,
                                          [this] {
                                              deactivate();
                                          }},
        _services.views.createScrollWindow(*screen));
    // No key reaches the scrolled application while the mode runs.
    if (!_services.keyboard.start([this](const KeyEvent &event) {
            if (_windowController)
                _windowController->handle(event);
            return KeyDisposition::swallow;
        }))
        printLine("Failed to create event tap");
    // The window on the screen says that the keys held scroll: it waits for the keyboard
    // where the desktop gives it later.
    _services.keyboard.whenHeld([this, alive = _alive, session = _session](bool held) {
        if (!*alive || !_active || session != _session)
            return;
        if (held)
            return _windowController->showWindow();
        printLine("ScrollMode: the desktop did not give Tarnvik the keyboard. deactivating.");
        _services.events.beep();
        deactivate();
    });

    // Something at once: the window alone, until its areas are found.
    _windowController->setScrollableElements({window}, UITree::make(window));
    startTreeBuilding(*app, window);
}

void ScrollMode::fail()
{
    printLine("ScrollMode: unable to find a frontmost window. deactivating.");
    _services.events.beep();
    deactivate();
}

void ScrollMode::startTreeBuilding(const RunningApplication &app, const UIElementPtr &window)
{
    auto build = [platform = _services.platform, app, window] {
        return BuildUITree(platform, false, false).build(window, app);
    };
    // This program's own windows answer on the main thread, so they are read there.
    if (isTargetSelf())
        return treeBuilt(build(), _session);
    _services.treeQueue.async(
        [this, build, session = _session, alive = _alive, &scheduler = _services.scheduler] {
            if (!*alive)
                return;
            auto tree = build();
            scheduler.postToMain([this, alive, tree = std::move(tree), session]() mutable {
                if (*alive)
                    treeBuilt(std::move(tree), session);
            });
        });
}

void ScrollMode::treeBuilt(std::shared_ptr<UITree> tree, std::uint64_t session)
{
    if (!_active || session != _session)
        return;
    if (!tree) {
        printLine("ScrollMode: the window's tree could not be read");
        return;
    }
    auto areas = findScrollableElements(*tree);
    if (areas.empty()) {
        _services.events.beep();
        return deactivate();
    }
    trace("scroll areas found: " + std::to_string(areas.size()));
    if (_windowController)
        _windowController->setScrollableElements(std::move(areas), std::move(tree));
}

void ScrollMode::deactivate()
{
    if (!_active)
        return;
    _active = false;
    _frontmostApp.reset();
    _services.keyboard.stop();
    if (_windowController) {
        _windowController->close();
        _windowController.reset();
    }
    _services.inputSources.restoreOnStop(_priorTisInputSource);
}

std::vector<UIElementPtr> ScrollMode::findScrollableElements(const UITree &uiTree)
{
    const auto root = uiTree.element(uiTree.rootId());
    std::vector<UIElementPtr> result {root};
    std::vector<UIElementPtr> stack {root};
    const auto pushChildren = [&](const UIElementPtr &element) {
        if (auto children = uiTree.children(element->id))
            stack.insert(stack.end(), children->begin(), children->end());
    };
    while (!stack.empty()) {
        const auto element = stack.back();
        stack.pop_back();
        // The window is listed already, whatever its size.
        if (element == root) {
            pushChildren(element);
            continue;
        }
        const auto visible = NSIntersectionRect(element->frame(), *uiTree.boundCache(element->id));
        if (visible.size.width <= 1.0 || visible.size.height <= 1.0) {
            pushChildren(element);
            continue;
        }
        const auto &subrole = element->subrole;
        if (element->role == "AXScrollArea" || subrole == "AXLandmarkMain"
            || subrole == "AXLandmarkNavigation" || subrole == "AXLandmarkComplementary") {
            result.push_back(element);
            continue;
        }
        pushChildren(element);
    }
    return result;
}

} // namespace tarnvik
