#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace tarnvik {

// Work handed off the main thread; results come back by posting to the main queue.
class WorkQueue
{
public:
    virtual ~WorkQueue() = default;
    virtual void async(std::function<void()> work) = 0;
};

// One worker thread taking the work in order. The destructor waits for the work in hand and
// drops what hasn't started.
class SerialWorkQueue final : public WorkQueue
{
public:
    SerialWorkQueue();
    ~SerialWorkQueue() override;
    void async(std::function<void()> work) override;

private:
    void run(const std::stop_token &stop);

    std::mutex _mutex;
    std::condition_variable_any _ready;
    std::deque<std::function<void()>> _work;
    std::jthread _thread;
};

} // namespace tarnvik
