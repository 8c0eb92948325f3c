#include "app/ShortcutWiring.h"

#include "click/Mode.h"
#include "platform/Diagnostics.h"
#include "platform/KeyEvents.h"
#include "preferences/Preferences.h"
#include "scroll/ScrollMode.h"

#include <functional>
#include <string>

namespace tarnvik {

namespace {

// The event masks of the watch, by event type.
constexpr int keyDownMask = 1 << EventType::keyDown;
constexpr int flagsChangedMask = 1 << EventType::flagsChanged;

// A shortcut that starts nothing leaves nothing else to see: the integration tests wait for
// this line before they look for what it did not do.
void traceToggle(const char *mode, bool running)
{
    trace(std::string("shortcut: ") + mode + " mode " + (running ? "on" : "off"));
}

} // namespace

std::optional<SRShortcut> ShortcutWiring::shortcut(const char *key) const
{
    const auto text = _services.preferences.stringForKey(key);
    return text ? SRShortcut::shortcutWithKeyEquivalent(*text) : std::nullopt;
}

ShortcutWiring::WiredSettings ShortcutWiring::wiredSettings() const
{
    const auto &p = _services.preferences;
    return {{p.stringForKey(Preferences::Keys::searchShortcut),
             p.stringForKey(Preferences::Keys::nonSearchShortcut),
             p.stringForKey(Preferences::Keys::scrollShortcut)},
            p.boolForKey(Preferences::Keys::enableHyperKey)};
}

void ShortcutWiring::preferencesChanged()
{
    if (wiredSettings() != _wiredWith)
        wireShortcuts();
}

void ShortcutWiring::wireShortcuts()
{
    _wiredWith = wiredSettings();
    _services.keyMonitor.setMonitorHandler({});
    _services.shortcuts.removeAllActions();
    const Wired wired {shortcut(Preferences::Keys::nonSearchShortcut),
                       shortcut(Preferences::Keys::searchShortcut),
                       shortcut(Preferences::Keys::scrollShortcut)};
    const auto modifierOnly = [](const std::optional<SRShortcut> &s) {
        return s && s->isModifierOnly();
    };
    const bool anyModifierOnly =
        modifierOnly(wired.nonSearch) || modifierOnly(wired.search) || modifierOnly(wired.scroll);

    // Kept while the Hyperkey stays on: each new controller takes the Caps Lock key's symbols
    // from the keymap again, and every application on the display reloads its keymap then.
    if (!_services.preferences.boolForKey(Preferences::Keys::enableHyperKey))
        _capsLockController.reset();
    else if (!_capsLockController)
        _capsLockController = std::make_unique<CapsLockController>(
            CapsLockController::Services {.key = _services.capsLockKey,
                                          .scheduler = _services.scheduler,
                                          .recordingSlot = _services.recordingSlot});
    int mask = anyModifierOnly ? flagsChangedMask : 0;
    if (_capsLockController) {
        _capsLockController->onHyperkeyOnly = [this, wired] {
            toggleFirst(wired, [](const SRShortcut &s) {
                return s.isModifierOnly() && s.modifierFlags() == CapsLockController::hyperFlags;
            });
        };
        mask |= keyDownMask;
    }
    if (mask)
        _services.keyMonitor.setMonitorHandler(
            [this, wired, mask](const KeyEvent &event) { monitorHandler(wired, mask, event); });

    const std::pair<const std::optional<SRShortcut> &, std::function<void()>> actions[] = {
        {wired.search,
         [this] {
             clickToggle(false);
         }},
        {wired.nonSearch,
         [this] {
             clickToggle(true);
         }},
        {wired.scroll, [this] {
             scrollToggle();
         }}};
    for (const auto &[s, toggle] : actions) {
        if (!s || s->isModifierOnly())
            continue;
        _services.shortcuts.addAction(
            SRShortcutAction::shortcutActionWithShortcut(*s,
                                                         [toggle](SRShortcutAction &) {
                                                             toggle();
                                                             return true;
                                                         }),
            EventType::keyDown);
    }
}

bool ShortcutWiring::toggleFirst(const Wired &wired,
                                 const std::function<bool(const SRShortcut &)> &matches)
{
    if (wired.nonSearch && matches(*wired.nonSearch)) {
        clickToggle(true);
        return true;
    }
    if (wired.search && matches(*wired.search)) {
        clickToggle(false);
        return true;
    }
    if (wired.scroll && matches(*wired.scroll)) {
        scrollToggle();
        return true;
    }
    return false;
}

void ShortcutWiring::monitorHandler(const Wired &wired, int mask, const KeyEvent &event)
{
    if (!(mask & (1 << event.type)))
        return;
    if (event.type == EventType::flagsChanged) {
        // Exact: a bit beyond the four modifiers, Caps Lock's among them, stops the match.
        const std::uint64_t flags = event.flags & 0xFFFF0000;
        const bool toggled = toggleFirst(wired, [flags](const SRShortcut &s) {
            return s.isModifierOnly() && s.modifierFlags() == flags;
        });
        if (!toggled)
            trace("modifiers: no shortcut");
        return;
    }
    // A key down: watched only with the Hyperkey on.
    if (!_capsLockController || !_capsLockController->isHyperKeyActive())
        return;
    toggleFirst(wired, [&event](const SRShortcut &s) {
        return !s.isModifierOnly() && s.keyCode() == event.keyCode
            && s.modifierFlags() == CapsLockController::hyperFlags;
    });
}

void ShortcutWiring::clickToggle(bool isSearchDisabled)
{
    if (_services.mode.active()) {
        _services.mode.deactivate(true);
        traceToggle("click", false);
        return;
    }
    _services.scrollMode.deactivate();
    _services.mode.activate(isSearchDisabled);
    traceToggle("click", _services.mode.active());
}

void ShortcutWiring::scrollToggle()
{
    if (_services.scrollMode.active()) {
        _services.scrollMode.deactivate();
        traceToggle("scroll", false);
        return;
    }
    _services.mode.deactivate(true);
    _services.scrollMode.activate();
    traceToggle("scroll", _services.scrollMode.active());
}

} // namespace tarnvik
