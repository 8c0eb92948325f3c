#include "click/ClickUtils.h"

#include "accessibility/AttributeReaders.h"
#include "platform/AXNames.h"
#include "platform/Diagnostics.h"
#include "platform/Pointer.h"
#include "platform/Scheduler.h"

#include <algorithm>

namespace tarnvik {

ClickUtils::ClickUtils(Services services, UIElementPtr element, UITrees uiTrees)
    : _services(services)
    , _element(std::move(element))
    , _uiTrees(std::move(uiTrees))
{ }

void ClickUtils::click(int clickCount)
{
    const auto tree = _element->uiTree.lock();
    const bool inOverlay =
        std::any_of(_uiTrees.overlayUiTrees.begin(), _uiTrees.overlayUiTrees.end(),
                    [&](const UITreePtr &t) { return t == tree; });
    const auto &role = _element->role;
    // Menus close when the pointer leaves them, and overlay buttons may sit under no pointer at
    // all: their action is the reliable press.
    const bool pressable = role == "AXMenuBarItem" || role == "AXMenuItem"
        || (inOverlay && (role == "AXButton" || role == "AXCheckBox"));
    // Their action names decide nothing in a tree's building, so they are read only now.
    const auto actions = pressable && _element->ref
        ? UIElement::readActions(_services.ax, *_element->ref)
        : std::nullopt;
    if (actions && std::find(actions->begin(), actions->end(), AXPressAction) != actions->end()) {
        _services.ax.performAction(*_element->ref, AXPressAction);
        return;
    }
    sendClick(0, 0, clickCount);
}

void ClickUtils::sendClick(int button, std::uint64_t flags, int clickCount)
{
    const CGPoint position = clickPosition();
    _services.events.postMouseMoved(position);
    if (button > 2)
        fatal("ClickUtils: unexpected mouse button");
    _services.events.postMouseButton(button, true, position, flags, clickCount);
    _services.scheduler.scheduleOnMain(
        Seconds(0.1), [self = shared_from_this(), button, position, flags, clickCount] {
            self->_services.events.postMouseButton(button, false, position, flags, clickCount);
        });
}

CGPoint ClickUtils::clickPosition()
{
    if (_clickPosition)
        return *_clickPosition;
    const auto visible = _uiTrees.visibleFrame(_element->id);
    if (!visible)
        fatal("ClickUtils: the element has no visible frame");
    const CGRect &r = *visible;
    const CGPoint centre = centreOf(r);
    CGPoint position = centre;
    if (_element->role == "AXLink") {
        // A wrapped link's centre may fall between its lines: try near its first line's end.
        if (!hitTest(centre)) {
            const CGPoint inset {r.origin.x + r.size.width - std::min(r.size.width * 0.5, 8.0),
                                 r.origin.y + std::min(r.size.height * 0.5, 8.0)};
            if (hitTest(inset))
                position = inset;
        }
    } else if ((_element->role == "AXCheckBox" || _element->role == "AXRadioButton")
               && _element->activationPoint
               && CGRectContainsPoint(_element->frame(), *_element->activationPoint)) {
        position = *_element->activationPoint;
    }
    _clickPosition = position;
    return position;
}

bool ClickUtils::hitTest(const CGPoint &point)
{
    if (!_element->ref)
        return false;
    auto &ax = _services.ax;
    const auto pid = ax.getPid(*_element->ref);
    if (!pid.ok())
        return false;
    const auto hit =
        ax.copyElementAtPosition(ax.createApplication(pid.value()), static_cast<float>(point.x),
                                 static_cast<float>(point.y));
    if (!hit.ok())
        return false;
    AXUIElement current = hit.value();
    if (current == *_element->ref)
        return true;
    for (int i = 0; i < 3; ++i) {
        const auto parent = elementAttribute(ax, NSAccessibilityParentAttribute, current);
        if (!parent.ok() || !parent.value())
            return false;
        current = *parent.value();
        if (current == *_element->ref)
            return true;
    }
    return false;
}

} // namespace tarnvik
