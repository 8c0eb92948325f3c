#include "tutorial/TutorMode.h"

#include "platform/Diagnostics.h"

#include <algorithm>

namespace tarnvik {

std::vector<TutorRow> TutorMode::rows(const UIElement &e)
{
    std::vector<std::pair<std::string, std::optional<std::string>>> pairs = {
        {"Description", e.description},
        {"Help", e.help},
        {"Placeholder", e.placeholderValue},
        {"Role", e.role},
        {"Subrole", e.subrole},
        {"Title", e.title},
        {"Value", e.value}};
    for (const auto &[key, value] : e.customAttributes)
        pairs.emplace_back(key, value);
    std::ranges::stable_sort(pairs, {}, &decltype(pairs)::value_type::first);
    std::vector<TutorRow> rows;
    for (const auto &[key, value] : pairs) {
        if (value && !value->empty())
            rows.push_back({key, *value});
    }
    return rows;
}

void TutorMode::activate(const std::optional<UITrees> &uiTrees)
{
    if (_active)
        return;
    _active = true;
    _uiTrees = uiTrees;
    _targetElement.reset();
    _tutorWindowController = _services.views.createTutorWindow();
    _tutorWindowController->orderFront();
}

void TutorMode::setUiTrees(const UITrees &uiTrees)
{
    if (!_active)
        return;
    if (_uiTrees) {
        printLine("unsupported behaviour!");
        return;
    }
    _uiTrees = uiTrees;
    _targetElement.reset();
}

void TutorMode::setTarget(const UIElementPtr &element)
{
    const auto tree = element->uiTree.lock();
    if (!tree)
        fatal("TutorMode: the element's tree is gone");
    _targetElement = element;
    if (!_tutorWindowController)
        return;
    _tutorWindowController->clear();
    const CGRect frame = tree->visibleFrame(element->id).value_or(element->frame());
    _tutorWindowController->show(flippedRect(frame, _services.firstScreenHeight()),
                                 element == _services.focusedElement(), rows(*element));
}

void TutorMode::deactivate()
{
    if (!_active)
        return;
    _active = false;
    _uiTrees.reset();
    _targetElement.reset();
    if (_tutorWindowController) {
        _tutorWindowController->clear();
        _tutorWindowController->close();
    }
    _tutorWindowController.reset();
}

CGPoint TutorMode::popoverOrigin(const CGRect &element, const CGSize &popover,
                                 const std::vector<CGRect> &screens)
{
    if (screens.empty())
        return {element.origin.x, CGRectGetMaxY(element) + 4};
    const CGPoint centre = centreOf(element);
    const auto holding = std::find_if(screens.begin(), screens.end(), [&](const CGRect &screen) {
        return CGRectContainsPoint(screen, centre);
    });
    const CGRect &screen = holding != screens.end() ? *holding : screens.front();
    const double right = screen.origin.x + screen.size.width;
    const double bottom = CGRectGetMaxY(screen);
    const double x = std::clamp(centre.x - popover.width / 2, screen.origin.x,
                                std::max(screen.origin.x, right - popover.width));
    double y = CGRectGetMaxY(element) + 4;
    if (y + popover.height > bottom)
        y = std::max(screen.origin.y, element.origin.y - popover.height - 4);
    return {x, y};
}

} // namespace tarnvik
