#include "accessibility/Text.h"
#include "accessibility/UITree.h"

#include <algorithm>
#include <unordered_set>

namespace tarnvik {

// One call of UITree::targets: a descent that collects candidates, a role test, a pass that cuts
// each cluster of overlapping candidates down to the element a person means, and a clean-up.
class UITree::TargetSelection
{
public:
    explicit TargetSelection(const UITree &tree)
        : t(tree)
        , isTarget(tree.size(), 0)
    { }

    std::vector<UIElementPtr> run(bool includeAll)
    {
        descend();
        for (Index c : candidates)
            isTarget[c] = t.node(c).element->isActionable();
        if (!includeAll) {
            for (auto it = candidates.rbegin(); it != candidates.rend(); ++it)
                prune(*it);
        }
        return collect(includeAll);
    }

private:
    const UIElement &el(Index i) const { return *t.node(i).element; }
    const std::string &role(Index i) const { return el(i).role; }
    const std::vector<Index> &childrenOf(Index i) const { return t.node(i).children; }

    static bool isLinkish(const std::string &role)
    {
        return role == "AXLink" || role == "AXPopUpButton" || role == "AXButton";
    }

    void descend()
    {
        std::vector<Index> stack {0};
        std::vector<Index> kept;
        while (!stack.empty()) {
            const Index e = stack.back();
            stack.pop_back();
            const CGRect visible = t.visibleFrameAt(e);
            if (visible.size.width > 1 && visible.size.height > 1)
                candidates.push_back(e);

            const auto &children = childrenOf(e);
            kept.clear();
            for (std::size_t i = 0; i < children.size(); ++i) {
                if (keepChild(e, children, i))
                    kept.push_back(children[i]);
            }
            stack.insert(stack.end(), kept.rbegin(), kept.rend());
        }
    }

    bool keepChild(Index parent, const std::vector<Index> &children, std::size_t i) const
    {
        const Index child = children[i];
        if (!t.isVisibleAt(child))
            return false;
        if (i == 0)
            return true;
        const Index previous = children[i - 1];
        // Some editors report one text area twice, stacked on the same frame.
        if (role(child) == "AXTextArea" && role(previous) == "AXTextArea"
            && CGRectEqualToRect(el(child).frame(), el(previous).frame()))
            return false;
        // A page's image under a link repeats the link.
        if (role(parent) == "AXWebArea" && role(child) == "AXImage") {
            const CGRect image = el(child).frame();
            for (Index sibling : children) {
                if (isLinkish(role(sibling)) && CGRectContainsPoint(image, el(sibling).centre()))
                    return false;
            }
        }
        return true;
    }

    std::vector<Index> nearestTargets(Index of) const
    {
        std::vector<Index> result;
        std::vector<Index> stack(childrenOf(of).begin(), childrenOf(of).end());
        while (!stack.empty()) {
            const Index e = stack.back();
            stack.pop_back();
            if (isTarget[e])
                result.push_back(e);
            else
                stack.insert(stack.end(), childrenOf(e).begin(), childrenOf(e).end());
        }
        return result;
    }

    bool parentHasRole(Index e, std::string_view parentRole) const
    {
        const Index p = t.node(e).parent;
        return p != none && role(p) == parentRole;
    }

    void prune(Index e)
    {
        const std::string &r = role(e);
        if (r == "AXLink" && parentHasRole(e, "AXWebArea")
            && t.visibleFrameAt(e).size.height == t.visibleFrameAt(t.node(e).parent).size.height) {
            isTarget[e] = 0; // a link as tall as the page is the page itself
            return;
        }
        if ((r == "AXButton" || r == "AXPopUpButton" || r == "AXRadioButton" || r == "AXCheckBox"
             || r == "AXLink")
            && isTarget[e]) {
            pruneControl(e);
            return;
        }
        if (r == "AXRow" && isTarget[e]) {
            if (isRowAroundOneLink(e)) {
                isTarget[e] = 0;
                return;
            }
            if (pruneRow(e))
                return;
        }
        if ((r == "AXComboBox" || r == "AXMenuItem") && isTarget[e]) {
            for (Index inner : nearestTargets(e))
                isTarget[inner] = 0;
            return;
        }
        if (r == "AXCell" && !isTarget[e]) {
            if (nearestTargets(e).empty()) {
                isTarget[e] = 1; // nothing pressable inside: the cell itself is
                return;
            }
        }
        if (r == "AXGroup" && !isTarget[e] && isTextGroup(e)) {
            for (Index child : childrenOf(e))
                isTarget[child] = 0;
            isTarget[e] = 1;
            return;
        }
        if (r == "AXTextArea" && isTarget[e]) {
            removeInner(e, {"AXStaticText"});
            return;
        }
        if (r == "AXImage" && el(e).description == "grain" && parentHasRole(e, "AXGroup")
            && el(t.node(e).parent).subrole == "AXHostingView" && isTarget[e])
            isTarget[e] = 0;
    }

    void pruneControl(Index e)
    {
        const auto inner = nearestTargets(e);
        if (inner.size() == 1 && CGRectContainsPoint(el(inner[0]).frame(), el(e).centre()))
            isTarget[inner[0]] = 0;
        else if (!inner.empty())
            removeInner(inner, {"AXStaticText", "AXImage"});
    }

    bool isRowAroundOneLink(Index row) const
    {
        const auto &children = childrenOf(row);
        return children.size() == 1 && role(children[0]) == "AXLink"
            && CGRectEqualToRect(el(row).frame(), el(children[0]).frame()) && isTarget[children[0]];
    }

    // False when the row has nothing pressable inside and the remaining rules are to be tried.
    bool pruneRow(Index row)
    {
        const auto inner = nearestTargets(row);
        if (inner.empty())
            return false;
        if (inner.size() == 1 && isTextRepeatingRow(row, inner[0]))
            isTarget[inner[0]] = 0;
        else
            isTarget[row] = 0;
        return true;
    }

    bool isTextRepeatingRow(Index row, Index text) const
    {
        const auto &value = el(text).value;
        if (role(text) != "AXStaticText" || !value || characterCount(*value) <= 1)
            return false;
        auto holds = [&](const std::optional<std::string> &s) {
            return s && !s->empty() && s->find(*value) != std::string::npos;
        };
        return holds(el(row).title) || holds(el(row).description);
    }

    // A sentence that the platform reports as pieces of text, described whole by its group.
    bool isTextGroup(Index group) const
    {
        const auto &children = childrenOf(group);
        const auto &description = el(group).description;
        if (children.size() < 2 || !description)
            return false;
        std::string joined;
        for (Index child : children) {
            if (role(child) != "AXStaticText")
                return false;
            joined += el(child).value.value_or("");
        }
        const std::string text = normalize(joined);
        const std::string described = normalize(*description);
        return !text.empty() && !described.empty() && described.starts_with(text);
    }

    void removeInner(Index e, std::initializer_list<std::string_view> roles)
    {
        removeInner(nearestTargets(e), roles);
    }

    void removeInner(const std::vector<Index> &inner, std::initializer_list<std::string_view> roles)
    {
        for (Index i : inner) {
            if (std::find(roles.begin(), roles.end(), role(i)) != roles.end())
                isTarget[i] = 0;
        }
    }

    std::vector<UIElementPtr> collect(bool includeAll) const
    {
        std::vector<UIElementPtr> result;
        std::unordered_set<CGRect> seenTextFrames;
        for (Index c : candidates) {
            if (!isTarget[c])
                continue;
            const UIElement &e = el(c);
            // The same text reported twice, in two branches of the tree, gets one label.
            if (!includeAll && e.role == "AXStaticText" && !seenTextFrames.insert(e.frame()).second)
                continue;
            result.push_back(t.node(c).element);
        }
        return result;
    }

    const UITree &t;
    std::vector<Index> candidates;
    std::vector<char> isTarget;
};

std::vector<UIElementPtr> UITree::targets(bool includeAll) const
{
    return TargetSelection(*this).run(includeAll);
}

} // namespace tarnvik
