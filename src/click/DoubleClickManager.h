#pragma once

#include "keyboard/SRGlobalShortcutMonitor.h"
#include "platform/Scheduler.h"

#include <memory>
#include <optional>

namespace tarnvik {

class ClickUtils;
class TargetsWindowController;

// Keeps the last plain click alive for one double-click interval: the overlay stays on screen,
// and pressing the same key again clicks the same point with a click count of 2.
class DoubleClickManager
{
public:
    DoubleClickManager(Scheduler &scheduler, SRGlobalShortcutMonitor &shortcuts)
        : _scheduler(scheduler)
        , _shortcuts(shortcuts)
    { }
    ~DoubleClickManager() { reset(true); }

    // Takes over the click and the window, and listens for `keyCode` if one is given (not when
    // this program itself was clicked: the key reaches it anyway).
    void start(std::shared_ptr<ClickUtils> clickUtils,
               std::shared_ptr<TargetsWindowController> window, double interval,
               std::optional<std::uint16_t> keyCode);
    void reset(bool closeWindow);

private:
    bool secondClick();

    Scheduler &_scheduler;
    SRGlobalShortcutMonitor &_shortcuts;
    std::shared_ptr<ClickUtils> _clickUtils;
    std::shared_ptr<TargetsWindowController> _window;
    std::optional<Scheduler::TimerId> _timer;
    SRShortcutActionPtr _listener;
};

} // namespace tarnvik
