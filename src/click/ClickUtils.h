#pragma once

#include "accessibility/UITrees.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace tarnvik {

class Accessibility;
class EventPosting;
class Scheduler;

// Turns a chosen element into input: its press action where that is what a person's click
// would do, otherwise a synthesised mouse press at a point that hits the element.
class ClickUtils : public std::enable_shared_from_this<ClickUtils>
{
public:
    struct Services
    {
        Accessibility &ax;
        EventPosting &events;
        Scheduler &scheduler;
    };

    ClickUtils(Services services, UIElementPtr element, UITrees uiTrees);

    // Press action or left click; a second press within the interval passes 2.
    void click(int clickCount);
    // `button` 0 left, 1 right, 2 other; the release follows 0.1 s later.
    void sendClick(int button, std::uint64_t flags, int clickCount);
    // Worked out once, so that the press and its release land on the same point.
    CGPoint clickPosition();

private:
    bool hitTest(const CGPoint &point);

    Services _services;
    UIElementPtr _element;
    UITrees _uiTrees;
    std::optional<CGPoint> _clickPosition;
};

} // namespace tarnvik
