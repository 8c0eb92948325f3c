#pragma once

#include "accessibility/UITree.h"
#include "platform/Screens.h"

#include <memory>
#include <optional>
#include <vector>

namespace tarnvik {

// What the scroll overlay shows: the areas in cycling order (number N on screen is element
// N - 1; the first is always the window), the tree that gives their visible frames, and the
// chosen one.
struct ScrollState
{
    std::optional<std::vector<UIElementPtr>> scrollableElements;
    UITreePtr uiTree;
    std::optional<std::size_t> index;
};

// The overlay of scroll mode over one screen: the chosen area's border and the other areas'
// numbers. It never takes the keyboard or the mouse; the mode takes the keys.
class ScrollWindow
{
public:
    virtual ~ScrollWindow() = default;
    virtual void orderFront() = 0;
    virtual void close() = 0;
    // Draws `state` from now on.
    virtual void show(const ScrollState &state) = 0;
};

class ScrollViews
{
public:
    virtual ~ScrollViews() = default;
    virtual std::unique_ptr<ScrollWindow> createScrollWindow(const Screen &screen) = 0;
};

} // namespace tarnvik
