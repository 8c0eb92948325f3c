#include "overview/MissionControlObserver.h"

#include "platform/Diagnostics.h"
#include "preferences/Preferences.h"

namespace tarnvik {

MissionControlObserver::MissionControlObserver(Services services)
    : _services(std::move(services))
{ }

MissionControlObserver::~MissionControlObserver()
{
    *_alive = false;
    _services.overview.observe({});
}

void MissionControlObserver::start()
{
    _services.overview.observe([this] { handle(MissionControlState::showAllWindows); });
    printLine("MissionControlObserver: Started with the overview's reports");
}

void MissionControlObserver::resetSession()
{
    _onFullyOpen = nullptr;
    _currentState.reset();
    _hasActivatedForCurrentSession = false;
    printLine("MissionControlObserver: Session reset");
}

void MissionControlObserver::handle(MissionControlState state)
{
    _currentState = state;
    if (!_hasActivatedForCurrentSession) {
        tryActivate();
        return;
    }
    _services.scheduler.postToMain([this, alive = _alive] {
        if (*alive && _onFullyOpen)
            _onFullyOpen();
    });
}

void MissionControlObserver::tryActivate()
{
    if (!_services.preferences.boolForKey(Preferences::Keys::autoActivateMissionControl)) {
        printLine("MissionControlObserver: Auto-activation disabled");
        return;
    }
    if (_services.isInMode()) {
        printLine("MissionControlObserver: Already in a mode");
        return;
    }
    if (!_services.overview.isOpen()) {
        printLine("MissionControlObserver: Mission Control UI tree not found");
        return;
    }
    _hasActivatedForCurrentSession = true;
    printLine("MissionControlObserver: Activating clicking mode");
    _services.scheduler.postToMain([this, alive = _alive] {
        if (!*alive)
            return;
        if (_services.overview.isOpen() && !_services.isInMode())
            _services.activateClickMode();
        else
            printLine("MissionControlObserver: State changed, aborting activation");
        // An activation that started no session (the shell's extension not enabled yet, its
        // stage not found) has no session's end to clear the mark: cleared here, the next
        // opening of the overview labels it.
        if (!_services.isInMode())
            resetSession();
    });
}

} // namespace tarnvik
