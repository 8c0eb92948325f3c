#include "app/AppDelegate.h"

#include "click/Mode.h"
#include "platform/KeyEvents.h"
#include "preferences/Preferences.h"

namespace tarnvik {

std::optional<SRShortcut> AppDelegate::shortcut(const char *key) const
{
    const auto text = _preferences.stringForKey(key);
    return text ? SRShortcut::shortcutWithKeyEquivalent(*text) : std::nullopt;
}

void AppDelegate::wireShortcuts()
{
    _shortcuts.removeAllActions();
    const auto search = shortcut(Preferences::Keys::searchShortcut);
    const auto nonSearch = shortcut(Preferences::Keys::nonSearchShortcut);
    const std::pair<std::optional<SRShortcut>, bool> toggles[] = {{search, false},
                                                                  {nonSearch, true}};
    for (const auto &[s, isSearchDisabled] : toggles) {
        // Modifier-only shortcuts need the Hyperkey's key watch, which this program lacks yet.
        if (!s || s->isModifierOnly())
            continue;
        _shortcuts.addAction(SRShortcutAction::shortcutActionWithShortcut(
                                 *s,
                                 [this, disabled = isSearchDisabled](SRShortcutAction &) {
                                     clickToggle(disabled);
                                     return true;
                                 }),
                             EventType::keyDown);
    }
}

void AppDelegate::clickToggle(bool isSearchDisabled)
{
    if (_mode.active()) {
        _mode.deactivate(true);
        return;
    }
    _mode.activate(isSearchDisabled);
}

} // namespace tarnvik
