#pragma once

#include "platform/Workspace.h"

#include <cstdint>
#include <functional>
#include <set>

namespace tarnvik {

class Accessibility;
class Preferences;
class Scheduler;

// Keeps accessibility switched on in the applications that leave it off until asked: each
// application that comes to the front is asked, again every 25 seconds while it stays there,
// and retried for a while when it doesn't answer at once.
class AXEnablerService
{
public:
    struct Services
    {
        Accessibility &ax;
        Workspace &workspace;
        Scheduler &scheduler;
        const Preferences &preferences;
        // Ends any running mode: another application in front ends a session.
        std::function<void()> deactivateModes;
    };

    explicit AXEnablerService(Services services);
    ~AXEnablerService();

    void start();
    // Asks now, and up to nine times more, half a second apart, until it is done.
    void enable(const RunningApplication &app);
    // True when nothing more needs doing: enabled, or ignored by the user.
    bool tryEnable(const RunningApplication &app);

    // Whether the user put the application on the ignore list.
    static bool isIgnored(const RunningApplication &app, const Preferences &preferences);

private:
    void retry(const RunningApplication &app, int attempt, int limit);
    void schedule(double seconds, std::function<void()> task);
    void refreshFrontmost();

    Services _services;
    std::set<std::uint64_t> _timers;
};

} // namespace tarnvik
