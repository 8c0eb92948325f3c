#pragma once

#include "accessibility/UITrees.h"
#include "tutorial/TutorViews.h"

#include <functional>
#include <memory>
#include <optional>

namespace tarnvik {

// Answers "why is this found?" in search mode: "?" shows the focused element's searchable
// properties beside it. Driven by `Mode`; it takes no key and never has the keyboard, which
// stays with the search field.
class TutorMode
{
public:
    static constexpr const char *title = "🤓 Tutor";
    static constexpr const char *footer = "Press ? or search to dismiss.";

    struct Services
    {
        TutorViews &views;
        // The element that `Mode` has focused, whose own frame marks it already.
        std::function<UIElementPtr()> focusedElement;
        // The first screen's height, for the screen space.
        std::function<double()> firstScreenHeight;
    };

    explicit TutorMode(Services services)
        : _services(std::move(services))
    { }

    // The trees may still be on their way.
    void activate(const std::optional<UITrees> &uiTrees);
    void deactivate();
    // The trees of the session when they arrive; a second delivery is refused.
    void setUiTrees(const UITrees &uiTrees);
    void setTarget(const UIElementPtr &element);

    bool active() const { return _active; }
    const UIElementPtr &targetElement() const { return _targetElement; }

    // The rows of an element, sorted by key, those without text left out.
    static std::vector<TutorRow> rows(const UIElement &element);
    // Where the popover of that size stands, in the accessibility space: below the element and
    // centred on it, above it where its screen ends first, and always on the screen that holds
    // the element's centre (the first one when none does).
    static CGPoint popoverOrigin(const CGRect &element, const CGSize &popover,
                                 const std::vector<CGRect> &screens);

private:
    Services _services;
    bool _active = false;
    std::optional<UITrees> _uiTrees;
    UIElementPtr _targetElement;
    std::unique_ptr<TutorWindow> _tutorWindowController;
};

} // namespace tarnvik
