#pragma once

#include "platform/ClickQueue.h"
#include "platform/Pointer.h"

#include <functional>
#include <memory>

class QSocketNotifier;
class QTimer;

namespace tarnvik::linux {

// Synthesised clicks, the pointer's visibility, its movement and the user's clicks on X11, over
// a connection of its own.
//
// XTest can release only keys that XTest itself pressed, so a press waits in a `ClickQueue` for
// the user to let go of the modifiers it must not carry; a Command-click holds a synthetic
// Control, what that click means on Linux, from its press to its release and never longer.
class X11Pointer final : public EventPosting, public PointerVisibility, public PointerMotion
{
public:
    // Nothing when the display or its XTEST extension is missing.
    static std::unique_ptr<X11Pointer> connect(Scheduler &scheduler,
                                               std::function<double()> doubleClickInterval);
    ~X11Pointer() override;

    void postMouseMoved(CGPoint position) override;
    void postMouseButton(int button, bool down, CGPoint position, std::uint64_t flags,
                         int clickState) override;
    double doubleClickInterval() override { return _doubleClickInterval(); }
    void beep() override;

    void hideCursor() override;
    void showCursor() override;
    void observe(std::function<void()> observer) override;
    void observePresses(std::function<void()> observer) override;

private:
    class Connection;
    using Press = ClickQueue::Press;
    X11Pointer(std::unique_ptr<Connection> connection, Scheduler &scheduler,
               std::function<double()> doubleClickInterval);

    std::uint64_t heldModifiers();
    void post(const Press &press);
    void pollPointer();
    void readEvents();
    void readQueuedEvents();

    std::unique_ptr<Connection> _x;
    std::function<double()> _doubleClickInterval;
    ClickQueue _clicks;
    std::unique_ptr<QSocketNotifier> _events;
    std::function<void()> _presses;
    std::function<void()> _motion;
    std::unique_ptr<QTimer> _motionPoll;
    std::pair<int, int> _lastPointer {-1, -1};
};

} // namespace tarnvik::linux
