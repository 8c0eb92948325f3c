#include "platform/qt/QtScheduler.h"

#include <QMetaObject>
#include <QThread>
#include <QTimer>

#include <chrono>

namespace tarnvik {

QtScheduler::QtScheduler()
    : _context(std::make_unique<QObject>())
{ }

QtScheduler::~QtScheduler() = default;

TimePoint QtScheduler::now() const
{
    return std::chrono::time_point_cast<Seconds>(std::chrono::steady_clock::now());
}

void QtScheduler::postToMain(std::function<void()> task)
{
    QMetaObject::invokeMethod(_context.get(), std::move(task), Qt::QueuedConnection);
}

Scheduler::TimerId QtScheduler::scheduleOnMain(Seconds delay, std::function<void()> task)
{
    std::lock_guard lock(_mutex);
    const TimerId id = _next++;
    _pending.insert(id);
    // The timer object is made on the main thread, which owns it.
    postToMain([this, id, delay, task = std::move(task)]() mutable {
        auto *timer = new QTimer(_context.get());
        {
            std::lock_guard started(_mutex);
            if (_pending.erase(id) == 0) {
                delete timer; // cancelled before it started
                return;
            }
            _timers.emplace(id, timer);
        }
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(timer, &QTimer::timeout, _context.get(), [this, id, timer, task] {
            {
                std::lock_guard fired(_mutex);
                _timers.erase(id);
            }
            timer->deleteLater();
            task();
        });
        timer->start(std::chrono::milliseconds(static_cast<long long>(delay.count() * 1000)));
    });
    return id;
}

void QtScheduler::cancel(TimerId timer)
{
    std::lock_guard lock(_mutex);
    if (_pending.erase(timer))
        return;
    if (auto it = _timers.find(timer); it != _timers.end()) {
        it->second->stop();
        it->second->deleteLater();
        _timers.erase(it);
    }
}

bool QtScheduler::isMainThread() const
{
    return QThread::currentThread() == _context->thread();
}

} // namespace tarnvik
