#pragma once

#include "platform/Overview.h"
#include "platform/Scheduler.h"

#include <functional>
#include <memory>
#include <optional>

namespace tarnvik {

class Preferences;

// The ways the overview shows windows. The desktop's overview shows all windows.
enum class MissionControlState { showAllWindows, showFrontWindows, showDesktop };

// Starts click mode over the overview when it opens, without a shortcut: the first report of a
// session activates, every later one means the overview has finished opening. One for the
// process, started once.
class MissionControlObserver
{
public:
    struct Services
    {
        Overview &overview;
        const Preferences &preferences;
        Scheduler &scheduler;
        // Whether click or scroll mode runs.
        std::function<bool()> isInMode;
        // Starts click mode in label mode, which finds the overview open.
        std::function<void()> activateClickMode;
    };

    explicit MissionControlObserver(Services services);
    ~MissionControlObserver();

    void start();
    // Click mode's session over the overview has ended.
    void resetSession();
    // Called on the main queue for a report after the first, while set.
    void setOnFullyOpen(std::function<void()> callback) { _onFullyOpen = std::move(callback); }

    std::optional<MissionControlState> currentState() const { return _currentState; }
    bool hasActivatedForCurrentSession() const { return _hasActivatedForCurrentSession; }

private:
    void handle(MissionControlState state);
    void tryActivate();

    Services _services;
    std::optional<MissionControlState> _currentState;
    bool _hasActivatedForCurrentSession = false;
    std::function<void()> _onFullyOpen;
    std::shared_ptr<bool> _alive = std::make_shared<bool>(true);
};

} // namespace tarnvik
