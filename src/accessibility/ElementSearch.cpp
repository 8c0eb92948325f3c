#include "accessibility/Text.h"
#include "accessibility/UITree.h"
#include "accessibility/UITrees.h"
#include "preferences/Preferences.h"

namespace tarnvik {

namespace {

bool anySearchableStringContains(const UIElement &e, const std::string &query)
{
    std::string buffer;
    auto contains = [&](std::string_view text) {
        buffer.clear();
        appendNormalized(text, buffer);
        return buffer.find(query) != std::string::npos;
    };
    auto optionalContains = [&](const std::optional<std::string> &text) {
        return text && contains(*text);
    };
    std::string_view role = e.role;
    if (role.starts_with("AX"))
        role.remove_prefix(2);
    if (optionalContains(e.title) || contains(role) || optionalContains(e.subrole)
        || optionalContains(e.value) || optionalContains(e.description) || optionalContains(e.help)
        || optionalContains(e.roleDescription) || optionalContains(e.placeholderValue))
        return true;
    for (const auto &[key, value] : e.customAttributes) {
        if (contains(value))
            return true;
    }
    return false;
}

} // namespace

std::vector<UIElementPtr> UITree::matchingElements(const std::string &query, bool includeAll,
                                                   const Preferences &preferences) const
{
    auto candidates = targets(includeAll);
    const std::string normalized = normalize(query);
    if (normalized.empty()) {
        if (preferences.boolForKey(Preferences::Keys::hideLabelsWhenNothingIsSearched))
            return {};
        return candidates;
    }
    // The two keys that show every label when labels wait for a search.
    if (normalized == "*" || normalized == ";")
        return candidates;
    std::vector<UIElementPtr> result;
    for (auto &c : candidates) {
        if (anySearchableStringContains(*c, normalized))
            result.push_back(std::move(c));
    }
    return result;
}

std::vector<UITreePtr> UITrees::allTrees() const
{
    std::vector<UITreePtr> trees;
    if (menubarUiTree)
        trees.push_back(menubarUiTree);
    trees.insert(trees.end(), menubarExtraUiTrees.begin(), menubarExtraUiTrees.end());
    trees.insert(trees.end(), overlayUiTrees.begin(), overlayUiTrees.end());
    for (const auto &tree : {frontmostWindowUiTree, dockUiTree, missionControlUiTree}) {
        if (tree)
            trees.push_back(tree);
    }
    return trees;
}

std::optional<CGRect> UITrees::visibleFrame(const std::string &id) const
{
    for (const auto &tree : allTrees()) {
        if (tree->contains(id))
            return tree->visibleFrame(id);
    }
    return std::nullopt;
}

std::vector<UIElementPtr> UITrees::matchingElements(const std::string &query, bool includeAll,
                                                    const Preferences &preferences) const
{
    std::vector<UIElementPtr> result;
    for (const auto &tree : allTrees()) {
        auto matches = tree->matchingElements(query, includeAll, preferences);
        result.insert(result.end(), std::make_move_iterator(matches.begin()),
                      std::make_move_iterator(matches.end()));
    }
    return result;
}

} // namespace tarnvik
