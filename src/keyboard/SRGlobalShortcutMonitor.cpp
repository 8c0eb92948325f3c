#include "keyboard/SRGlobalShortcutMonitor.h"

#include "platform/Diagnostics.h"
#include "platform/KeyCodes.h"

#include <algorithm>

namespace tarnvik {

SRShortcutActionPtr SRShortcutAction::shortcutActionWithShortcut(SRShortcut shortcut,
                                                                 Handler handler)
{
    auto action = std::make_shared<SRShortcutAction>();
    action->shortcut = shortcut;
    action->actionHandler = std::move(handler);
    return action;
}

SRGlobalShortcutMonitor::SRGlobalShortcutMonitor(HotKeys &hotKeys)
    : _hotKeys(hotKeys)
{
    _hotKeys.setHandler([this](HotKeys::HotKeyId id, int keyEvent) { handleEvent(id, keyEvent); });
}

SRGlobalShortcutMonitor::~SRGlobalShortcutMonitor()
{
    removeAllActions();
    _hotKeys.setHandler({});
}

void SRGlobalShortcutMonitor::addAction(const SRShortcutActionPtr &action, int keyEvent)
{
    std::lock_guard lock(_mutex);
    const auto uses = std::count_if(_bindings.begin(), _bindings.end(),
                                    [&](const Binding &b) { return b.action == action; });
    auto same = std::find_if(_bindings.begin(), _bindings.end(), [&](const Binding &b) {
        return b.action == action && b.keyEvent == keyEvent;
    });
    if (same != _bindings.end()) {
        // Added again for the same event: it becomes the one tried first.
        const Binding binding = *same;
        _bindings.erase(same);
        _bindings.push_back(binding);
        return;
    }
    if (uses >= 2)
        fatal("Action is added too many times");
    _bindings.push_back({action, keyEvent});
    if (action->enabled && action->shortcut)
        addShortcut(*action->shortcut);
}

void SRGlobalShortcutMonitor::removeAction(const SRShortcutActionPtr &action, int keyEvent)
{
    std::lock_guard lock(_mutex);
    auto it = std::find_if(_bindings.begin(), _bindings.end(), [&](const Binding &b) {
        return b.action == action && b.keyEvent == keyEvent;
    });
    if (it == _bindings.end())
        return;
    _bindings.erase(it);
    if (action->enabled && action->shortcut)
        removeShortcut(*action->shortcut);
}

void SRGlobalShortcutMonitor::removeAction(const SRShortcutActionPtr &action)
{
    std::lock_guard lock(_mutex);
    removeAction(action, 10);
    removeAction(action, 11);
}

void SRGlobalShortcutMonitor::removeAllActions()
{
    std::lock_guard lock(_mutex);
    std::vector<SRShortcut> shortcuts;
    for (const auto &[shortcut, registration] : _hotKeyIds)
        shortcuts.push_back(shortcut);
    for (const auto &shortcut : shortcuts)
        unregisterHotKey(shortcut);
    _bindings.clear();
}

std::vector<SRShortcutActionPtr> SRGlobalShortcutMonitor::actions() const
{
    std::lock_guard lock(_mutex);
    std::vector<SRShortcutActionPtr> result;
    for (const auto &b : _bindings)
        if (std::find(result.begin(), result.end(), b.action) == result.end())
            result.push_back(b.action);
    return result;
}

int SRGlobalShortcutMonitor::useCount(const SRShortcut &shortcut) const
{
    return static_cast<int>(
        std::count_if(_bindings.begin(), _bindings.end(), [&](const Binding &b) {
            return b.action->enabled && b.action->shortcut == shortcut;
        }));
}

void SRGlobalShortcutMonitor::addShortcut(const SRShortcut &shortcut)
{
    if (useCount(shortcut) == 1)
        registerHotKey(shortcut);
}

void SRGlobalShortcutMonitor::removeShortcut(const SRShortcut &shortcut)
{
    if (useCount(shortcut) == 0)
        unregisterHotKey(shortcut);
}

void SRGlobalShortcutMonitor::registerHotKey(const SRShortcut &shortcut)
{
    if (_disableCounter > 0)
        return;
    for (const auto &[s, registration] : _hotKeyIds)
        if (s == shortcut)
            return;
    if (shortcut.keyCode() == KeyCode::none) {
        printLine("#Error Shortcut without a key code cannot be registered as Carbon hot key");
        return;
    }
    // Ids only grow, so an event of a hot key that was replaced can't reach the new one.
    const auto id = _nextId++;
    printLine("Registering Carbon hot key");
    if (!_hotKeys.registerHotKey(id, shortcut.keyCode(), shortcut.modifierFlags())) {
        printLine("#Critical Failed to register Carbon hot key: -9878");
        return;
    }
    printLine("Registered Carbon hot key " + std::to_string(id));
    _hotKeyIds.push_back({shortcut, {id, true}});
}

void SRGlobalShortcutMonitor::unregisterHotKey(const SRShortcut &shortcut)
{
    auto it = std::find_if(_hotKeyIds.begin(), _hotKeyIds.end(),
                           [&](const auto &entry) { return entry.first == shortcut; });
    if (it == _hotKeyIds.end())
        return;
    const auto id = it->second.id;
    printLine("Removing Carbon hot key " + std::to_string(id));
    if (_hotKeys.unregisterHotKey(id))
        printLine("Unregistered Carbon hot key " + std::to_string(id));
    else
        printLine("#Critical Failed to unregister Carbon hot key " + std::to_string(id)
                  + ": -9878");
    _hotKeyIds.erase(it);
}

void SRGlobalShortcutMonitor::pause()
{
    std::lock_guard lock(_mutex);
    if (++_disableCounter != 1)
        return;
    std::vector<SRShortcut> shortcuts;
    for (const auto &[shortcut, registration] : _hotKeyIds)
        shortcuts.push_back(shortcut);
    for (const auto &shortcut : shortcuts)
        unregisterHotKey(shortcut);
}

void SRGlobalShortcutMonitor::resume()
{
    std::lock_guard lock(_mutex);
    if (_disableCounter == 0 || --_disableCounter != 0)
        return;
    for (const auto &b : _bindings)
        if (b.action->enabled && b.action->shortcut)
            registerHotKey(*b.action->shortcut);
}

bool SRGlobalShortcutMonitor::handleEvent(HotKeys::HotKeyId id, int keyEvent)
{
    std::vector<SRShortcutActionPtr> candidates;
    {
        std::lock_guard lock(_mutex);
        if (_disableCounter > 0) {
            printLine("Monitoring is currently disabled");
            return false;
        }
        auto it = std::find_if(_hotKeyIds.begin(), _hotKeyIds.end(),
                               [&](const auto &entry) { return entry.second.id == id; });
        if (it == _hotKeyIds.end())
            return false;
        for (auto b = _bindings.rbegin(); b != _bindings.rend(); ++b)
            if (b->keyEvent == keyEvent && b->action->enabled && b->action->shortcut == it->first)
                candidates.push_back(b->action);
    }
    // Handlers run unlocked: they may add and remove actions, as the double click does.
    for (const auto &action : candidates)
        if (action->actionHandler && action->actionHandler(*action))
            return true;
    return false;
}

} // namespace tarnvik
