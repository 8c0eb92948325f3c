#include "app/QuitOnSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace tarnvik {

namespace {

// The write end of the one instance's pipe, for the handler, which can reach nothing else.
volatile std::sig_atomic_t writeEnd = -1;

extern "C" void onSignal(int signal)
{
    const char byte = static_cast<char>(signal);
    [[maybe_unused]] const auto written = ::write(writeEnd, &byte, 1);
}

} // namespace

QuitOnSignals::QuitOnSignals(std::initializer_list<int> signals)
    : _signals(signals)
{
    if (::pipe2(_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    writeEnd = _pipe[1];
    _notifier = std::make_unique<QSocketNotifier>(_pipe[0], QSocketNotifier::Read);
    QObject::connect(_notifier.get(), &QSocketNotifier::activated, [this] {
        char byte = 0;
        while (::read(_pipe[0], &byte, 1) == 1) { }
        QCoreApplication::quit();
    });
    struct sigaction action
    { };
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int s : _signals)
        sigaction(s, &action, nullptr);
}

QuitOnSignals::~QuitOnSignals()
{
    for (int s : _signals)
        std::signal(s, SIG_DFL);
    writeEnd = -1;
    _notifier.reset();
    for (int fd : _pipe)
        if (fd >= 0)
            ::close(fd);
}

} // namespace tarnvik
