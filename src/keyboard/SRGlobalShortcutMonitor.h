#pragma once

#include "keyboard/SRShortcut.h"
#include "platform/HotKeys.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tarnvik {

// The binding of a shortcut to behaviour.
struct SRShortcutAction
{
    using Handler = std::function<bool(SRShortcutAction &)>;

    static std::shared_ptr<SRShortcutAction> shortcutActionWithShortcut(SRShortcut shortcut,
                                                                        Handler handler);

    std::optional<SRShortcut> shortcut;
    // True when it handled the key; a false answer lets an earlier action try.
    Handler actionHandler;
    bool enabled = true;
    std::string identifier;
};
using SRShortcutActionPtr = std::shared_ptr<SRShortcutAction>;

// Turns shortcut actions into system-wide hot keys. The action added last to a shortcut is tried
// first. One instance serves the process; it is made by the composition root and handed to
// whoever wires shortcuts.
class SRGlobalShortcutMonitor
{
public:
    explicit SRGlobalShortcutMonitor(HotKeys &hotKeys);
    ~SRGlobalShortcutMonitor();

    // `keyEvent` 10 (key down) or 11 (key up); an action may serve both.
    void addAction(const SRShortcutActionPtr &action, int keyEvent);
    void removeAction(const SRShortcutActionPtr &action, int keyEvent);
    void removeAction(const SRShortcutActionPtr &action);
    void removeAllActions();
    std::vector<SRShortcutActionPtr> actions() const;

    void pause();
    void resume();

    // A hot key of ours was pressed or released; true when an action handled it.
    bool handleEvent(HotKeys::HotKeyId id, int keyEvent);

private:
    struct Binding
    {
        SRShortcutActionPtr action;
        int keyEvent;
    };
    struct Registration
    {
        HotKeys::HotKeyId id;
        bool registered;
    };

    void addShortcut(const SRShortcut &shortcut);
    void removeShortcut(const SRShortcut &shortcut);
    void registerHotKey(const SRShortcut &shortcut);
    void unregisterHotKey(const SRShortcut &shortcut);
    int useCount(const SRShortcut &shortcut) const;

    HotKeys &_hotKeys;
    mutable std::recursive_mutex _mutex;
    // In the order added; the search for a handler goes backwards.
    std::vector<Binding> _bindings;
    std::vector<std::pair<SRShortcut, Registration>> _hotKeyIds;
    HotKeys::HotKeyId _nextId = 1;
    int _disableCounter = 0;
};

} // namespace tarnvik
