#pragma once

#include "accessibility/BuildUITree.h"
#include "keyboard/InputSources.h"
#include "platform/Screens.h"
#include "scroll/ScrollWindowController.h"

#include <atomic>
#include <memory>
#include <optional>

namespace tarnvik {

class KeyboardCapture;
class WorkQueue;

// Scroll mode: over the frontmost window's screen, finds the window's scrollable areas, aims the
// pointer at the chosen one, and turns keys into smooth scrolling until the user leaves. Keys
// are kept from the frontmost application while the mode runs. Main thread only; the tree is
// built on a work queue.
class ScrollMode
{
public:
    struct Services
    {
        AccessibilityPlatform platform;
        Screens &screens;
        const Preferences &preferences;
        Scheduler &scheduler;
        KeyboardCapture &keyboard;
        EventPosting &events;
        CursorManager &cursor;
        BufferAndRateScroller &scroller;
        ScrollViews &views;
        WorkQueue &treeQueue;
        InputSources &inputSources;
    };

    explicit ScrollMode(Services services);
    ~ScrollMode();

    void activate();
    void deactivate();
    bool active() const { return _active; }
    bool isTargetSelf() const;
    // Present while the overlay is.
    ScrollWindowController *windowController() const { return _windowController.get(); }

    // The window first, then every scroll area and main, navigation or complementary landmark
    // that shows, outermost only, depth-first from the last child.
    static std::vector<UIElementPtr> findScrollableElements(const UITree &uiTree);

private:
    void fail();
    void startTreeBuilding(const RunningApplication &app, const UIElementPtr &window);
    void treeBuilt(std::shared_ptr<UITree> tree, std::uint64_t session);

    Services _services;
    bool _active = false;
    std::optional<InputSource> _priorTisInputSource;
    std::optional<RunningApplication> _frontmostApp;
    std::unique_ptr<ScrollWindowController> _windowController;
    // Each activation's number: a tree of an earlier one is dropped.
    std::uint64_t _session = 0;
    std::shared_ptr<std::atomic<bool>> _alive = std::make_shared<std::atomic<bool>>(true);
};

} // namespace tarnvik
