#pragma once

#include "keyboard/SRGlobalShortcutMonitor.h"

#include <array>
#include <optional>
#include <string>

namespace tarnvik {

class Mode;
class Preferences;
class ScrollMode;

// Turns the shortcut preferences into hot keys that start and end the modes, and holds the
// toggles by which the two modes meet.
class ShortcutWiring
{
public:
    ShortcutWiring(const Preferences &preferences, SRGlobalShortcutMonitor &shortcuts, Mode &mode,
                   ScrollMode &scrollMode)
        : _preferences(preferences)
        , _shortcuts(shortcuts)
        , _mode(mode)
        , _scrollMode(scrollMode)
    { }

    // Runs at start and again after each change of a shortcut: every action is made anew.
    void wireShortcuts();
    // After the settings were read again: wires the shortcuts anew if one of them changed.
    void preferencesChanged();
    // Ends a running session or starts one; label mode when `isSearchDisabled`. A session of
    // the other mode ends first: the two never run together.
    void clickToggle(bool isSearchDisabled);
    void scrollToggle();

private:
    using WiredTexts = std::array<std::optional<std::string>, 3>;

    std::optional<SRShortcut> shortcut(const char *key) const;
    WiredTexts wiredTexts() const;

    const Preferences &_preferences;
    SRGlobalShortcutMonitor &_shortcuts;
    Mode &_mode;
    ScrollMode &_scrollMode;
    // The shortcuts' texts as the last wiring read them.
    WiredTexts _wiredWith;
};

} // namespace tarnvik
