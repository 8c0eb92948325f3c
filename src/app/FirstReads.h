#pragma once

#include "app/FrontmostReader.h"

#include <set>
#include <sys/types.h>

namespace tarnvik {

class WorkQueue;
struct RunningApplication;

// A process's first read of an application costs more than the ones after it: the
// application's own socket is opened, its toolkit makes objects it had not made yet, and at
// start-up this program's code and memory are touched for the first time. So each application
// is read once in the background, the first time it comes to the front (the frontmost one at
// start), on the sessions' own queue so that no session reads alongside it. Nothing of that
// read is kept beyond what the backend keeps anyway.
class FirstReads
{
public:
    struct Services
    {
        FrontmostReader::Services reading;
        WorkQueue &queue;
    };

    explicit FirstReads(Services services)
        : _services(services)
    { }

    // Reads the frontmost application now, and each application the first time it comes to
    // the front from now on. Ignored applications and this program are never read.
    void start();

private:
    void readIfNew(const RunningApplication &app);

    Services _services;
    std::set<pid_t> _read;
};

} // namespace tarnvik
