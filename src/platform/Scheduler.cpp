#include "platform/Scheduler.h"

#include <future>

namespace tarnvik {

void Scheduler::runOnMainAndWait(const std::function<void()> &task)
{
    if (isMainThread()) {
        task();
        return;
    }
    std::promise<void> done;
    postToMain([&] {
        task();
        done.set_value();
    });
    done.get_future().wait();
}

} // namespace tarnvik
