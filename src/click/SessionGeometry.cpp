#include "click/SessionGeometry.h"

#include "platform/Diagnostics.h"

namespace tarnvik {

namespace {

double area(const CGRect &r)
{
    return r.size.width * r.size.height;
}

} // namespace

std::optional<Screen> chooseScreen(const CGRect &windowFrame, const std::vector<Screen> &screens)
{
    if (screens.empty())
        return std::nullopt;
    const CGRect frame = flippedRect(windowFrame, screens.front().frame.size.height);
    const Screen *best = &screens.front();
    for (std::size_t i = 1; i < screens.size(); ++i) {
        if (area(NSIntersectionRect(frame, screens[i].frame))
            > area(NSIntersectionRect(frame, best->frame)))
            best = &screens[i];
    }
    return *best;
}

std::optional<CGRect> dockFrameOnScreen(const UITree &dock, const Screen &screen,
                                        double firstScreenHeight)
{
    const CGRect frame = flippedRect(dock.element(dock.rootId())->frame(), firstScreenHeight);
    if (NSIntersectionRect(frame, screen.frame) == frame)
        return frame;
    return std::nullopt;
}

std::vector<UIElementPtr> elementsOnScreen(const std::vector<UIElementPtr> &elements,
                                           const Screen &screen, double firstScreenHeight)
{
    std::vector<UIElementPtr> kept;
    for (const auto &e : elements) {
        const auto tree = e->uiTree.lock();
        const auto visible = tree ? tree->visibleFrame(e->id) : std::nullopt;
        if (!visible)
            fatal("element without a tree or a visible frame");
        const CGRect shown =
            flippedRect(NSIntersectionRect(e->frame(), *visible), firstScreenHeight);
        if (CGRectIntersectsRect(shown, screen.frame))
            kept.push_back(e);
    }
    return kept;
}

} // namespace tarnvik
