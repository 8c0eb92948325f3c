#include "accessibility/UITree.h"

#include "platform/Diagnostics.h"

#include <string_view>

namespace tarnvik {

namespace {

// Roles whose frame clips their descendants; every other element passes its parent's clip on.
bool clipsByRole(std::string_view role)
{
    return role == "AXWindow" || role == "AXScrollArea" || role == "AXTabGroup"
        || role == "AXWebArea" || role == "AXHeading" || role == "AXTextArea";
}

bool clipsBySubrole(std::string_view subrole)
{
    return subrole == "AXDocumentArticle" || subrole == "AXLandmarkMain";
}

} // namespace

UITree::UITree(Private, UIElementPtr root)
    : Tree(std::move(root))
{
    const auto &r = node(0).element;
    if (r->ref)
        _seenRefs.insert(*r->ref);
    recordAdded();
}

std::shared_ptr<UITree> UITree::make(UIElementPtr root)
{
    auto tree = std::make_shared<UITree>(Private {}, std::move(root));
    tree->node(0).element->uiTree = tree;
    return tree;
}

bool UITree::add(UIElementPtr element, const ID &parentId)
{
    if (element->ref && _seenRefs.contains(*element->ref)) {
        printLine("UITree#add: cycle detected");
        return false;
    }
    if (!addChild(element, parentId))
        return false;
    if (element->ref)
        _seenRefs.insert(*element->ref);
    recordAdded();
    element->uiTree = weak_from_this();
    return true;
}

void UITree::recordAdded()
{
    const Index i = lastIndex();
    _bounds.push_back(boundOf(i));
    const Index p = node(i).parent;
    if (p == none)
        _webAreas.push_back(none);
    else if (node(p).element->role == "AXWebArea")
        _webAreas.push_back(p);
    else
        _webAreas.push_back(node(p).parent == none ? none : _webAreas[p]);
}

UIElementPtr UITree::parent(const ID &id) const
{
    const Index i = indexOf(id);
    if (i == none || node(i).parent == none)
        return nullptr;
    return node(node(i).parent).element;
}

std::optional<std::vector<UIElementPtr>> UITree::children(const ID &id) const
{
    const Index i = indexOf(id);
    if (i == none || node(i).children.empty())
        return std::nullopt;
    std::vector<UIElementPtr> result;
    result.reserve(node(i).children.size());
    for (Index c : node(i).children)
        result.push_back(node(c).element);
    return result;
}

CGRect UITree::boundOf(Index i) const
{
    const UIElement &e = *node(i).element;
    const Index p = node(i).parent;
    if (p == none)
        return e.frame();
    const CGRect parentBound = _bounds[p];
    if (clipsByRole(e.role) || clipsBySubrole(e.subrole.value_or("")))
        return NSIntersectionRect(e.frame(), parentBound);
    if (e.role == "AXPopover")
        return e.frame();
    return parentBound;
}

CGRect UITree::computeBound(const ID &id) const
{
    const Index i = indexOf(id);
    if (i == none)
        fatal("element does not exist");
    return boundOf(i);
}

std::optional<CGRect> UITree::boundCache(const ID &id) const
{
    const Index i = indexOf(id);
    return i == none ? std::nullopt : std::optional(_bounds[i]);
}

std::optional<CGRect> UITree::visibleFrame(const ID &id) const
{
    const Index i = indexOf(id);
    return i == none ? std::nullopt : std::optional(visibleFrameAt(i));
}

bool UITree::isVisible(const ID &id) const
{
    const Index i = indexOf(id);
    return i != none && isVisibleAt(i);
}

bool UITree::isVisibleAt(Index i) const
{
    const UIElement &e = *node(i).element;
    if (e.role == "AXGroup" && e.size.width == 0 && e.size.height == 0)
        return true;
    const CGRect frame = visibleFrameAt(i);
    if (frame.size.width == 0 || frame.size.height == 0)
        return false;
    if (_webAreas[i] == none)
        return true;
    // A one-pixel rule across the whole top or bottom of its parent is a real separator line.
    const CGRect parentFrame = visibleFrameAt(node(i).parent);
    if (frame.size.height == 1 && frame.size.width == parentFrame.size.width
        && (frame.origin.y == parentFrame.origin.y
            || frame.origin.y == CGRectGetMaxY(parentFrame) - frame.size.height))
        return true;
    return !isEdgeSliverAt(i);
}

bool UITree::isEdgeSliver(const UIElement &element) const
{
    const Index i = indexOf(element.id);
    if (i == none)
        fatal("element does not exist");
    return isEdgeSliverAt(i);
}

bool UITree::isEdgeSliverAt(Index i) const
{
    const Index p = node(i).parent;
    if (p == none)
        return false;
    const CGRect f = visibleFrameAt(i);
    const CGRect pf = visibleFrameAt(p);
    if (f.size.height <= 2
        && (f.origin.y == pf.origin.y
            || f.origin.y + f.size.height == pf.origin.y + pf.size.height))
        return true;
    return f.size.width == 1
        && (f.origin.x == pf.origin.x || f.origin.x + f.size.width == pf.origin.x + pf.size.width);
}

UIElementPtr UITree::enclosingWebArea(const UIElement &element) const
{
    const Index i = indexOf(element.id);
    if (i == none || _webAreas[i] == none)
        return nullptr;
    return node(_webAreas[i]).element;
}

} // namespace tarnvik
