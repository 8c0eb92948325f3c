#pragma once

#include "keyboard/CapsLockController.h"
#include "keyboard/SRGlobalShortcutMonitor.h"

#include <array>
#include <memory>
#include <optional>
#include <string>

namespace tarnvik {

class Mode;
class Preferences;
class RecordingSlot;
class ScrollMode;

// Turns the shortcut preferences into hot keys that start and end the modes, and holds the
// toggles by which the two modes meet. Shortcuts of modifiers alone, and the Hyperkey's, are no
// hot keys: a watch of every key serves them.
class ShortcutWiring
{
public:
    struct Services
    {
        const Preferences &preferences;
        SRGlobalShortcutMonitor &shortcuts;
        Mode &mode;
        ScrollMode &scrollMode;
        KeyEventMonitor &keyMonitor;
        CapsLockKey &capsLockKey;
        Scheduler &scheduler;
        RecordingSlot &recordingSlot;
    };

    explicit ShortcutWiring(Services services)
        : _services(services)
    { }

    // Runs at start and again after each change of a shortcut or of the Hyperkey: every action
    // and the watch are made anew.
    void wireShortcuts();
    // After the settings were read again: wires the shortcuts anew if one of them changed.
    void preferencesChanged();
    // Ends a running session or starts one; label mode when `isSearchDisabled`. A session of
    // the other mode ends first: the two never run together.
    void clickToggle(bool isSearchDisabled);
    void scrollToggle();

    // The Hyperkey, while `enable-hyper-key` is on.
    CapsLockController *capsLockController() const { return _capsLockController.get(); }

private:
    // The three shortcuts in the order the watch tries them, each with its toggle.
    struct Wired
    {
        std::optional<SRShortcut> nonSearch;
        std::optional<SRShortcut> search;
        std::optional<SRShortcut> scroll;
    };
    struct WiredSettings
    {
        std::array<std::optional<std::string>, 3> shortcuts;
        bool hyperKey = false;
        friend bool operator==(const WiredSettings &, const WiredSettings &) = default;
    };

    std::optional<SRShortcut> shortcut(const char *key) const;
    WiredSettings wiredSettings() const;
    void monitorHandler(const Wired &wired, int mask, const KeyEvent &event);
    // The toggle of the first of the three that `matches`; false when none does.
    bool toggleFirst(const Wired &wired, const std::function<bool(const SRShortcut &)> &matches);

    Services _services;
    std::unique_ptr<CapsLockController> _capsLockController;
    // The settings as the last wiring read them.
    WiredSettings _wiredWith;
};

} // namespace tarnvik
