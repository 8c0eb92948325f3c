#pragma once

#include "accessibility/UITree.h"

#include <optional>
#include <string>
#include <vector>

namespace tarnvik {

class Preferences;

// The trees of one activation. An absent tree is a null pointer.
struct UITrees
{
    UITreePtr frontmostWindowUiTree;
    UITreePtr menubarUiTree;
    std::vector<UITreePtr> menubarExtraUiTrees;
    UITreePtr dockUiTree;
    UITreePtr missionControlUiTree;
    std::vector<UITreePtr> overlayUiTrees;

    // In the fixed order that search results, and so the short labels, follow.
    std::vector<UITreePtr> allTrees() const;
    std::optional<CGRect> visibleFrame(const std::string &id) const;
    std::vector<UIElementPtr> matchingElements(const std::string &query, bool includeAll,
                                               const Preferences &preferences) const;
};

} // namespace tarnvik
