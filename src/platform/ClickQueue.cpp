#include "platform/ClickQueue.h"

#include "platform/KeyEvents.h"

namespace tarnvik {

std::uint64_t clickModifierFlags(std::uint64_t flags)
{
    const std::uint64_t carried = flags & ModifierFlag::deviceIndependent;
    return (flags & ModifierFlag::command)
        ? (carried & ~ModifierFlag::command) | ModifierFlag::control
        : carried;
}

ClickQueue::ClickQueue(Scheduler &scheduler, Hands hands)
    : _scheduler(scheduler)
    , _hands(std::move(hands))
{ }

ClickQueue::~ClickQueue()
{
    _scheduler.cancel(_timer);
    // A click cut short must leave neither its button nor its modifiers held.
    while (!_down.empty()) {
        Press release = _down.begin()->second;
        release.down = false;
        deliver(release);
    }
}

void ClickQueue::ask(const Press &press)
{
    _queue.push_back({press, _scheduler.now()});
    if (_queue.size() == 1)
        postQueued();
}

void ClickQueue::postQueued()
{
    _timer = 0;
    while (!_queue.empty()) {
        const TimePoint now = _scheduler.now();
        const Asked front = _queue.front();
        if (front.press.down) {
            const std::uint64_t held = _hands.heldModifiers() & ModifierFlag::deviceIndependent;
            if (held & ~clickModifierFlags(front.press.flags)) {
                if (now - front.at < modifierWait) {
                    wake(recheck);
                    return;
                }
                // Held past any typing: no click is made.
                dropFront();
                _hands.beep();
                continue;
            }
        }
        const Seconds lateness = now - front.at;
        deliver(front.press);
        _queue.pop_front();
        // What follows keeps the distance in time it was asked with, so a press that waited
        // is not cut short.
        if (!_queue.empty()) {
            const TimePoint due = _queue.front().at + lateness;
            if (due > _scheduler.now()) {
                wake(due - _scheduler.now());
                return;
            }
        }
    }
}

void ClickQueue::deliver(const Press &press)
{
    // A second click asked for before the first one's release (a label typed again within a
    // tenth of a second): a press of a button already down would be dropped, so the first is
    // released now, and a release with nothing down has nothing left to do.
    if (press.down && _down.contains(press.button))
        deliver({press.button, false, press.position, _down[press.button].flags});
    if (!press.down && !_down.contains(press.button))
        return;
    _hands.post(press);
    if (press.down)
        _down[press.button] = press;
    else
        _down.erase(press.button);
}

void ClickQueue::dropFront()
{
    const int button = _queue.front().press.button;
    _queue.pop_front();
    while (!_queue.empty() && !_queue.front().press.down) {
        const bool same = _queue.front().press.button == button;
        _queue.pop_front();
        if (same)
            break;
    }
}

void ClickQueue::wake(Seconds in)
{
    _timer = _scheduler.scheduleOnMain(in, [this] { postQueued(); });
}

} // namespace tarnvik
