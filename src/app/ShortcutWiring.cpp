#include "app/ShortcutWiring.h"

#include "click/Mode.h"
#include "platform/KeyEvents.h"
#include "preferences/Preferences.h"
#include "scroll/ScrollMode.h"

#include <functional>

namespace tarnvik {

std::optional<SRShortcut> ShortcutWiring::shortcut(const char *key) const
{
    const auto text = _preferences.stringForKey(key);
    return text ? SRShortcut::shortcutWithKeyEquivalent(*text) : std::nullopt;
}

ShortcutWiring::WiredTexts ShortcutWiring::wiredTexts() const
{
    return {_preferences.stringForKey(Preferences::Keys::searchShortcut),
            _preferences.stringForKey(Preferences::Keys::nonSearchShortcut),
            _preferences.stringForKey(Preferences::Keys::scrollShortcut)};
}

void ShortcutWiring::preferencesChanged()
{
    if (wiredTexts() != _wiredWith)
        wireShortcuts();
}

void ShortcutWiring::wireShortcuts()
{
    _wiredWith = wiredTexts();
    _shortcuts.removeAllActions();
    const auto search = shortcut(Preferences::Keys::searchShortcut);
    const auto nonSearch = shortcut(Preferences::Keys::nonSearchShortcut);
    const auto scroll = shortcut(Preferences::Keys::scrollShortcut);
    const std::pair<std::optional<SRShortcut>, std::function<void()>> toggles[] = {
        {search,
         [this] {
             clickToggle(false);
         }},
        {nonSearch,
         [this] {
             clickToggle(true);
         }},
        {scroll, [this] {
             scrollToggle();
         }}};
    for (const auto &[s, toggle] : toggles) {
        // Modifier-only shortcuts need the Hyperkey's key watch, which this program lacks yet.
        if (!s || s->isModifierOnly())
            continue;
        _shortcuts.addAction(
            SRShortcutAction::shortcutActionWithShortcut(*s,
                                                         [toggle](SRShortcutAction &) {
                                                             toggle();
                                                             return true;
                                                         }),
            EventType::keyDown);
    }
}

void ShortcutWiring::clickToggle(bool isSearchDisabled)
{
    if (_mode.active()) {
        _mode.deactivate(true);
        return;
    }
    _scrollMode.deactivate();
    _mode.activate(isSearchDisabled);
}

void ShortcutWiring::scrollToggle()
{
    if (_scrollMode.active()) {
        _scrollMode.deactivate();
        return;
    }
    _mode.deactivate(true);
    _scrollMode.activate();
}

} // namespace tarnvik
