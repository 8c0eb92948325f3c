#include "click/TargetsWindowController.h"

#include "click/LabelMaker.h"

namespace tarnvik {

TargetsWindowController::TargetsWindowController(std::unique_ptr<TargetsWindow> window,
                                                 const Preferences &preferences,
                                                 bool isLabelModeWithAutoClick)
    : _window(std::move(window))
    , _preferences(preferences)
    // With auto-click a typed label clicks at once, so nothing waits focused for Return.
    , _focusFirst(!isLabelModeWithAutoClick)
{ }

TargetsWindowController::~TargetsWindowController()
{
    close();
}

void TargetsWindowController::setTargets(std::vector<UIElementPtr> elements, UITrees uiTrees)
{
    auto labels = LabelMaker::makeLabels(LabelMaker::labelCharacters(_preferences),
                                         static_cast<long>(elements.size()));
    auto view = std::make_unique<TargetsView>(std::move(elements), std::move(uiTrees),
                                              std::move(labels), _focusFirst);
    if (!_closed)
        _window->show(*view);
    _targetsView = std::move(view);
}

void TargetsWindowController::playClickAnimation(std::function<void()> completion)
{
    if (_targetsView)
        _targetsView->hideAllLabels();
    _window->playClickAnimation(std::move(completion));
}

void TargetsWindowController::close()
{
    if (_closed)
        return;
    _closed = true;
    _window->close();
}

} // namespace tarnvik
