#pragma once

#include "accessibility/BuildUITree.h"
#include "accessibility/UITrees.h"

#include <optional>
#include <stop_token>

namespace tarnvik {

class Preferences;
class Scheduler;

// Produces the trees of one activation: the frontmost window, the menu bar with its extras, and
// the open overlays, read in parallel.
class BuildUITrees
{
public:
    struct Services
    {
        AccessibilityPlatform platform;
        const Preferences &preferences;
        Scheduler &scheduler;
    };

    BuildUITrees(Services services, RunningApplication frontmostApp, UIElementPtr frontmostWindow,
                 std::optional<RunningApplication> menubarApp, UITreePtr dockUiTree,
                 bool fetchSearchAttributes);

    const RunningApplication frontmostApp;
    const UIElementPtr frontmostWindow;
    const std::optional<RunningApplication> menubarApp;
    const UITreePtr dockUiTree;
    // Reading this program's own windows happens on the main thread.
    const bool isTargetSelf;
    const bool fetchSearchAttributes;

    // Nothing when cancelled. Cancellation is seen between reads, not inside a walk; every
    // task has finished when this returns.
    std::optional<UITrees> build(std::stop_token cancellation);

    bool shouldUseSearchPredicate(const RunningApplication &app) const;
    bool isMenubarOnScreen();
    std::vector<UITreePtr> buildOverlays();

private:
    struct MenubarTrees
    {
        UITreePtr menubar;
        std::vector<UITreePtr> extras;
    };

    // Each read answers nothing when it found the build cancelled.
    std::optional<UITreePtr> buildFrontmostWindow(const std::stop_token &cancellation);
    std::optional<MenubarTrees> buildMenubarWithExtras(const std::stop_token &cancellation);
    std::vector<UITreePtr> buildControlCentreWindows();
    std::vector<UITreePtr> buildOpenMenus();
    BuildUITree makeBuilder(bool useSearchPredicate) const;

    Services _services;
};

} // namespace tarnvik
