#pragma once

#include "platform/Workspace.h"

#include <string>
#include <vector>

namespace tarnvik::linux {

class AtspiBus;

// The desktop's accessibility switch, as the permission prompt needs it.
class AtspiSwitch
{
public:
    AtspiSwitch(AtspiBus &bus, Workspace &workspace)
        : _bus(bus)
        , _workspace(workspace)
    { }

    // Asks every toolkit to switch its accessibility on; on GNOME this is the desktop's own
    // setting, which the bus launcher keeps in step.
    bool switchOn();
    // The names of the running applications whose toolkit looks for accessibility only at its
    // start (Qt, Chromium and Electron) and that are not on the bus: they need a restart.
    std::vector<std::string> applicationsToRestart();

    // Whether the process's toolkit decides about accessibility only at its start.
    static bool decidesAtStart(pid_t pid);

private:
    AtspiBus &_bus;
    Workspace &_workspace;
};

} // namespace tarnvik::linux
