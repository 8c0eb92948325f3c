#pragma once

#include "platform/Geometry.h"
#include "platform/Scheduler.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>

namespace tarnvik {

// Synthesised button events in the order asked, each press held back until the user has let go
// of every modifier the click must not carry (the Shift or Super that chose it). A display
// server gives a posted click the modifiers the keyboard holds as it arrives, and a click with
// others could do something else entirely: extend a selection, move the window. A press still
// held back after `modifierWait` is dropped with its release, and the user hears a beep. No
// button is left down: not by a second press before the first one's release, nor when the
// queue goes.
class ClickQueue
{
public:
    struct Press
    {
        int button;
        bool down;
        CGPoint position;
        std::uint64_t flags;
    };
    struct Hands
    {
        // The modifier flags the user's keyboard holds now.
        std::function<std::uint64_t()> heldModifiers;
        std::function<void(const Press &)> post;
        std::function<void()> beep;
    };

    static constexpr Seconds modifierWait {1.5};
    static constexpr Seconds recheck {0.01};

    ClickQueue(Scheduler &scheduler, Hands hands);
    ~ClickQueue();
    ClickQueue(const ClickQueue &) = delete;
    ClickQueue &operator=(const ClickQueue &) = delete;

    void ask(const Press &press);

private:
    struct Asked
    {
        Press press;
        TimePoint at;
    };

    void postQueued();
    void deliver(const Press &press);
    void dropFront();
    void wake(Seconds in);

    Scheduler &_scheduler;
    Hands _hands;
    std::deque<Asked> _queue;
    // The presses posted and not yet released, by button.
    std::map<int, Press> _down;
    Scheduler::TimerId _timer = 0;
};

// The modifiers a posted click carries for its flags: a Command-click is what a Control-click
// means on Linux.
std::uint64_t clickModifierFlags(std::uint64_t flags);

} // namespace tarnvik
