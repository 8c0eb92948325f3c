#pragma once

#include <initializer_list>
#include <memory>
#include <vector>

class QSocketNotifier;

namespace tarnvik {

// Ends the event loop on the termination signals (SIGTERM, SIGINT, SIGHUP: a `kill`, Ctrl+C,
// the session ending), so that the program ends its modes and gives the keyboard and the
// pointer back before it exits with 0, as it does on Quit. A handler may only write to a pipe;
// the loop reads it. One instance per process, since a signal has one handler.
class QuitOnSignals
{
public:
    explicit QuitOnSignals(std::initializer_list<int> signals);
    ~QuitOnSignals();

    QuitOnSignals(const QuitOnSignals &) = delete;
    QuitOnSignals &operator=(const QuitOnSignals &) = delete;

private:
    std::vector<int> _signals;
    int _pipe[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> _notifier;
};

} // namespace tarnvik
