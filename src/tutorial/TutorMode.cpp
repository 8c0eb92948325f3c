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

} // namespace tarnvik
