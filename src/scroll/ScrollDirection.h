#pragma once

#include "platform/KeyEvents.h"

#include <optional>

namespace tarnvik {

class Preferences;

enum class ScrollDirection { up, down, left, right };

// Which way a key scrolls, if it does: a custom `scroll-keys` by the character typed, otherwise
// H, J, K, L by position, then D and U and the arrows where enabled. Modifiers play no part; a
// repeat has no direction, so holding a key never restarts a scroll.
std::optional<ScrollDirection> scrollDirection(const KeyEvent &event,
                                               const Preferences &preferences);

// The speed a key-down starts: the preference, faster with Shift.
double scrollRate(const KeyEvent &event, const Preferences &preferences);

} // namespace tarnvik
