#pragma once

#include "click/ModeViews.h"

#include <memory>

namespace tarnvik {

class Preferences;

// Owns the overlay window of a session and the labels it shows, replacing them with every
// search result.
class TargetsWindowController
{
public:
    TargetsWindowController(std::unique_ptr<TargetsWindow> window, const Preferences &preferences,
                            bool isLabelModeWithAutoClick);
    ~TargetsWindowController();

    TargetsWindow &window() { return *_window; }
    // Nothing before the first result.
    TargetsView *targetsView() { return _targetsView.get(); }

    void setTargets(std::vector<UIElementPtr> elements, UITrees uiTrees);
    // The flash of a click: every label goes; `completion` runs when the flash ends, if
    // something was focused.
    void playClickAnimation(std::function<void()> completion);
    void close();

private:
    std::unique_ptr<TargetsWindow> _window;
    const Preferences &_preferences;
    const bool _focusFirst;
    std::unique_ptr<TargetsView> _targetsView;
    bool _closed = false;
};

} // namespace tarnvik
