#include "keyboard/ShortcutRecording.h"

#include "platform/KeyCodes.h"

#include <algorithm>

namespace tarnvik::ShortcutRecording {

namespace {

bool isTaken(const SRShortcut &candidate, const std::optional<SRShortcut> &current,
             const std::vector<SRShortcutActionPtr> &actions)
{
    if (current == candidate)
        return false;
    return std::ranges::any_of(
        actions, [&](const SRShortcutActionPtr &action) { return action->shortcut == candidate; });
}

} // namespace

bool canRecordShortcut(const SRShortcut &candidate, const std::optional<SRShortcut> &current,
                       const std::vector<SRShortcutActionPtr> &monitorActions)
{
    // What can't be written down can't clash with anything written down.
    const auto written = SRShortcut::shortcutWithKeyEquivalent(candidate.description());
    if (!written)
        return true;
    if (isTaken(*written, current, monitorActions))
        return false;
    if (written->modifierFlags() == 0)
        return functionKeyNumber(written->keyCode()).has_value();
    return true;
}

} // namespace tarnvik::ShortcutRecording
