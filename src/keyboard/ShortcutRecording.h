#pragma once

#include "keyboard/SRGlobalShortcutMonitor.h"

#include <optional>
#include <vector>

namespace tarnvik {

// What the settings' recorder takes as a new shortcut for one of the modes.
namespace ShortcutRecording {

// Whether `candidate` may replace `current`, the shortcut the recorder's own preference holds:
// one that another action of the monitor uses is refused, and one without modifiers is taken
// only when its key is F1 to F20, since a plain letter would fire whenever it is typed.
bool canRecordShortcut(const SRShortcut &candidate, const std::optional<SRShortcut> &current,
                       const std::vector<SRShortcutActionPtr> &monitorActions);

} // namespace ShortcutRecording

} // namespace tarnvik
