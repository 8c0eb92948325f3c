#include "platform/fake/FakeScheduler.h"

namespace tarnvik::fake {

TimePoint FakeClock::now() const
{
    std::lock_guard lock(_mutex);
    return _now;
}

void FakeClock::advance(Seconds by)
{
    std::lock_guard lock(_mutex);
    _now += by;
}

void FakeClock::set(TimePoint to)
{
    std::lock_guard lock(_mutex);
    _now = to;
}

FakeScheduler::FakeScheduler(FakeClock &clock)
    : _clock(clock)
    , _mainThread(std::this_thread::get_id())
{ }

void FakeScheduler::postToMain(std::function<void()> task)
{
    std::lock_guard lock(_mutex);
    _posted.push_back(std::move(task));
}

Scheduler::TimerId FakeScheduler::scheduleOnMain(Seconds delay, std::function<void()> task)
{
    std::lock_guard lock(_mutex);
    const TimerId id = _nextTimer++;
    _timers.emplace(std::pair(_clock.now() + delay, id), std::move(task));
    return id;
}

void FakeScheduler::cancel(TimerId timer)
{
    std::lock_guard lock(_mutex);
    std::erase_if(_timers, [&](const auto &entry) { return entry.first.second == timer; });
}

void FakeScheduler::runPending()
{
    for (;;) {
        std::vector<std::function<void()>> tasks;
        {
            std::lock_guard lock(_mutex);
            tasks.swap(_posted);
        }
        if (tasks.empty())
            return;
        for (auto &task : tasks)
            task();
    }
}

void FakeScheduler::advance(Seconds by)
{
    const TimePoint end = _clock.now() + by;
    runPending();
    for (;;) {
        std::function<void()> task;
        {
            std::lock_guard lock(_mutex);
            if (_timers.empty() || _timers.begin()->first.first > end)
                break;
            auto first = _timers.begin();
            _clock.set(first->first.first);
            task = std::move(first->second);
            _timers.erase(first);
        }
        task();
        runPending();
    }
    _clock.set(end);
}

} // namespace tarnvik::fake
