#include "platform/WorkQueue.h"

namespace tarnvik {

SerialWorkQueue::SerialWorkQueue()
    : _thread([this](const std::stop_token &stop) { run(stop); })
{ }

SerialWorkQueue::~SerialWorkQueue()
{
    _thread.request_stop();
    _thread.join();
}

void SerialWorkQueue::async(std::function<void()> work)
{
    {
        std::lock_guard lock(_mutex);
        _work.push_back(std::move(work));
    }
    _ready.notify_one();
}

void SerialWorkQueue::run(const std::stop_token &stop)
{
    for (;;) {
        std::function<void()> work;
        {
            std::unique_lock lock(_mutex);
            if (!_ready.wait(lock, stop, [this] { return !_work.empty(); }))
                return;
            work = std::move(_work.front());
            _work.pop_front();
        }
        work();
    }
}

} // namespace tarnvik
