#include "click/TargetsView.h"

#include "platform/Diagnostics.h"

#include <cmath>

namespace tarnvik {

TargetsView::TargetsView(std::vector<UIElementPtr> elements, UITrees uiTrees,
                         std::vector<std::string> labels, bool focusFirst)
    : _elements(std::move(elements))
    , _uiTrees(std::move(uiTrees))
    , _labels(std::move(labels))
    , _matched(_labels.size(), 0)
{
    if (_labels.size() != _elements.size())
        fatal("TargetsView: one label per element");
    if (focusFirst)
        focus(0);
}

UIElementPtr TargetsView::focusedElement() const
{
    return _focused ? _elements[*_focused] : nullptr;
}

void TargetsView::focus(std::size_t index)
{
    if (index < _elements.size())
        _focused = index;
}

void TargetsView::focusNext()
{
    if (_focused)
        focus((*_focused + 1) % _elements.size());
}

void TargetsView::focusPrevious()
{
    if (_focused)
        focus((*_focused + _elements.size() - 1) % _elements.size());
}

void TargetsView::setLabelQuery(const std::string &query)
{
    for (std::size_t i = 0; i < _labels.size(); ++i)
        _matched[i] = _labels[i].starts_with(query) ? static_cast<int>(query.size()) : 0;
}

CGRect TargetsView::windowFrame(std::size_t index, const CGRect &screenFrame) const
{
    const auto &e = _elements[index];
    const auto tree = e->uiTree.lock();
    const auto frame = tree ? tree->visibleFrame(e->id) : std::nullopt;
    if (!frame)
        fatal("TargetsView: a target without its tree or visible frame");
    return {{frame->origin.x - screenFrame.origin.x, frame->origin.y - screenFrame.origin.y},
            frame->size};
}

CGPoint labelOrigin(const CGRect &element, const CGSize &size, const CGSize &window)
{
    double x = element.origin.x + element.size.width * 0.5 - size.width * 0.5;
    double y = element.origin.y + element.size.height - size.height * 0.5;
    if (x + size.width > window.width)
        x = window.width - size.width;
    if (x < 0)
        x = 0;
    if (y + size.height > window.height)
        y = window.height - size.height;
    if (y < 0)
        y = 0;
    return {std::floor(x), std::floor(y)};
}

void TargetsView::layoutLabels(const std::vector<CGSize> &labelSizes, const CGRect &screenFrame)
{
    _frames.clear();
    for (std::size_t i = 0; i < _elements.size(); ++i)
        _frames.push_back(
            {labelOrigin(windowFrame(i, screenFrame), labelSizes[i], screenFrame.size),
             labelSizes[i]});
    // Greedy first fit: a label joins the cluster of the first earlier label it touches.
    _clusters.clear();
    for (std::size_t i = 0; i < _frames.size(); ++i) {
        std::vector<std::size_t> *home = nullptr;
        for (auto &cluster : _clusters) {
            for (auto member : cluster)
                if (CGRectIntersectsRect(_frames[member], _frames[i])) {
                    home = &cluster;
                    break;
                }
            if (home)
                break;
        }
        if (home)
            home->push_back(i);
        else
            _clusters.push_back({i});
    }
}

std::vector<std::size_t> TargetsView::drawingOrder() const
{
    std::vector<std::size_t> order;
    for (const auto &cluster : _clusters)
        for (auto it = cluster.rbegin(); it != cluster.rend(); ++it)
            order.push_back(*it);
    return order;
}

void TargetsView::rotateClusters()
{
    for (auto &cluster : _clusters)
        if (cluster.size() > 1) {
            const auto first = cluster.front();
            cluster.erase(cluster.begin());
            cluster.push_back(first);
        }
}

std::optional<CGRect> TargetsView::focusFrame(const CGRect &screenFrame) const
{
    if (!_focused)
        return std::nullopt;
    return windowFrame(*_focused, screenFrame);
}

} // namespace tarnvik
