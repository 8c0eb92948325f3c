#include "click/DoubleClickManager.h"

#include "click/ClickUtils.h"
#include "click/TargetsWindowController.h"
#include "platform/KeyEvents.h"

namespace tarnvik {

void DoubleClickManager::start(std::shared_ptr<ClickUtils> clickUtils,
                               std::shared_ptr<TargetsWindowController> window, double interval,
                               std::optional<std::uint16_t> keyCode)
{
    reset(true);
    _clickUtils = std::move(clickUtils);
    _window = std::move(window);
    _timer = _scheduler.scheduleOnMain(Seconds(interval), [this] {
        _timer.reset();
        reset(true);
    });
    if (keyCode) {
        _listener = SRShortcutAction::shortcutActionWithShortcut(
            SRShortcut::shortcutWithCode(*keyCode, 0, std::string(), std::string()),
            [this](SRShortcutAction &) { return secondClick(); });
        _shortcuts.addAction(_listener, EventType::keyDown);
    }
}

bool DoubleClickManager::secondClick()
{
    if (!_window || !_clickUtils)
        return true;
    _clickUtils->click(2);
    if (_window->targetsView()) {
        _window->playClickAnimation([this] {
            if (_window)
                _window->close();
        });
    } else {
        reset(false);
    }
    return true;
}

void DoubleClickManager::reset(bool closeWindow)
{
    if (_timer)
        _scheduler.cancel(*_timer);
    _timer.reset();
    if (_listener)
        _shortcuts.removeAction(_listener);
    _listener.reset();
    _clickUtils.reset();
    if (closeWindow && _window)
        _window->close();
    _window.reset();
}

} // namespace tarnvik
