#pragma once

#include "accessibility/UITree.h"
#include "platform/Workspace.h"

#include <optional>
#include <string>
#include <vector>

namespace tarnvik {

class Accessibility;
class WindowList;

// The platform services one walk reads through.
struct AccessibilityPlatform
{
    Accessibility &ax;
    Workspace &workspace;
    WindowList &windowList;
};

// Turns a platform hierarchy into a UITree: one builder for one walk, its settings fixed at
// creation. The walk decides only what is in the tree; which elements get labels is decided
// afterwards by UITree::targets.
class BuildUITree
{
public:
    BuildUITree(AccessibilityPlatform platform, bool fetchSearchAttributes,
                bool useSearchPredicate);

    const bool fetchSearchAttributes;
    const bool useSearchPredicate;

    // The page address seen in Safari's address field during this walk.
    struct Url
    {
        std::string text;
        std::optional<std::string> host;
    };
    const std::optional<Url> &url() const { return _url; }

    // Depth-first from `root` in document order, leaving out the subtree of every element that
    // can't be seen; web areas are read by predicate where the builder allows it.
    std::shared_ptr<UITree> build(const UIElementPtr &root, const RunningApplication &app);
    std::shared_ptr<UITree> buildMenubar(const AXUIElement &app);
    std::shared_ptr<UITree> buildDock();
    std::vector<UIElementPtr> fetchChildren(const UIElement &element,
                                            const RunningApplication &app);

    // One tree per menu-bar extra that is really on screen, left to right, in any of the strips
    // that hold extras: the menu bar's, and the desktop's panels along the top of a screen.
    std::vector<std::shared_ptr<UITree>> buildMenubarExtras(const std::vector<CGRect> &strips);

    // The matching visible descendants of a web area, in one round trip.
    std::vector<UIElementPtr> searchPredicateElements(const UIElement &webArea);
    // For applications whose window is one page: the window buttons and the page at its centre.
    std::shared_ptr<UITree> buildFromWindowCentre(const UIElementPtr &root,
                                                  const RunningApplication &app);

private:
    UIElementPtr makeElement(const AXUIElement &ref) const;
    // A root and its items one level below it, as the menu bar and the Dock are read.
    std::shared_ptr<UITree> flatTree(const UIElementPtr &root, const char *childrenAttribute);
    void noteAddressField(UIElement &element, const RunningApplication &app);
    bool shouldReadByPredicate(const UIElement &element, const RunningApplication &app) const;
    void addAll(UITree &tree, const std::vector<UIElementPtr> &elements,
                const std::string &parentId);

    AccessibilityPlatform _platform;
    std::optional<Url> _url;
};

} // namespace tarnvik
