#pragma once

#include "accessibility/Tree.h"
#include "accessibility/UIElement.h"

#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

namespace tarnvik {

class Preferences;

// The part of one application's hierarchy that the program kept, with the clip rectangle of
// every element computed once when it is added, so that visibility is a look-up afterwards.
// Built by one task, read-only once handed over.
class UITree : public Tree<UIElementPtr>, public std::enable_shared_from_this<UITree>
{
    struct Private
    { };

public:
    UITree(Private, UIElementPtr root);
    static std::shared_ptr<UITree> make(UIElementPtr root);

    // The whole step of adding an element, with cycle protection: a platform element that shows
    // up a second time anywhere under the root is refused.
    bool add(UIElementPtr element, const ID &parentId);

    UIElementPtr parent(const ID &id) const;
    std::optional<std::vector<UIElementPtr>> children(const ID &id) const;

    CGRect computeBound(const ID &id) const;
    std::optional<CGRect> boundCache(const ID &id) const;
    std::optional<CGRect> visibleFrame(const ID &id) const;
    bool isVisible(const ID &id) const;
    bool isEdgeSliver(const UIElement &element) const;
    UIElementPtr enclosingWebArea(const UIElement &element) const;

    // The elements that may carry a label, in document order. With includeAll the pruning of
    // overlapping candidates and the clean-up are left out.
    std::vector<UIElementPtr> targets(bool includeAll) const;

    // The targets whose searchable text contains the query, in tree order.
    std::vector<UIElementPtr> matchingElements(const std::string &query, bool includeAll,
                                               const Preferences &preferences) const;

private:
    class TargetSelection;

    CGRect boundOf(Index i) const;
    CGRect visibleFrameAt(Index i) const { return NSIntersectionRect(frameAt(i), _bounds[i]); }
    CGRect frameAt(Index i) const { return node(i).element->frame(); }
    bool isVisibleAt(Index i) const;
    bool isEdgeSliverAt(Index i) const;
    // Appends the bound and the enclosing web area of the element added last.
    void recordAdded();

    std::vector<CGRect> _bounds;
    // Per element the index of the nearest strict ancestor of role "AXWebArea", or none.
    std::vector<Index> _webAreas;
    std::unordered_set<AXUIElement> _seenRefs;
};

using UITreePtr = std::shared_ptr<const UITree>;

} // namespace tarnvik
