#pragma once

#include "accessibility/UITree.h"
#include "platform/Screens.h"

#include <optional>
#include <vector>

namespace tarnvik {

// The screen of a session: the one that holds the largest part of the window (given in the
// accessibility space), the earlier one on a tie, the first when the window touches none.
std::optional<Screen> chooseScreen(const CGRect &windowFrame, const std::vector<Screen> &screens);

// The Dock rectangle in the screen space, if the Dock lies wholly on the session's screen.
std::optional<CGRect> dockFrameOnScreen(const UITree &dock, const Screen &screen,
                                        double firstScreenHeight);

// The elements whose visible part lies on the screen, in order. Each must belong to a tree.
std::vector<UIElementPtr> elementsOnScreen(const std::vector<UIElementPtr> &elements,
                                           const Screen &screen, double firstScreenHeight);

} // namespace tarnvik
