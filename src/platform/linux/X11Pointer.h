#pragma once

#include "platform/Pointer.h"

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>

class QSocketNotifier;
class QTimer;

namespace tarnvik::linux {

// Synthesised clicks, the pointer's visibility, its movement and the user's clicks on X11, over
// a connection of its own.
//
// X gives a posted button event the modifiers that the keyboard holds at that moment, and XTest
// can release only keys that XTest itself pressed. So a press waits until the user has let go
// of every modifier the click must not carry (the Shift or Super that chose the click); a
// Command-click holds a synthetic Control, what that click means on Linux, from its press to
// its release and never longer.
class X11Pointer final : public EventPosting, public PointerVisibility, public PointerMotion
{
public:
    // Nothing when the display or its XTEST extension is missing.
    static std::unique_ptr<X11Pointer> connect(std::function<double()> doubleClickInterval);
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
    // How long a press waits, from when it was asked for, for modifiers to be let go before it
    // is dropped with a beep.
    static constexpr std::chrono::milliseconds modifierWait {1500};

    class Connection;
    struct Press
    {
        int button;
        bool down;
        CGPoint position;
        std::uint64_t flags;
        std::chrono::steady_clock::time_point asked;
    };
    X11Pointer(std::unique_ptr<Connection> connection, std::function<double()> doubleClickInterval);

    void postQueued();
    void post(const Press &press);
    void pollPointer();
    void readEvents();
    void readQueuedEvents();

    std::unique_ptr<Connection> _x;
    std::function<double()> _doubleClickInterval;
    // Button events in the order asked, kept while a press waits for modifiers.
    std::deque<Press> _queue;
    // The presses posted and not yet released, by button.
    std::map<int, Press> _buttonsDown;
    std::unique_ptr<QTimer> _queueTimer;
    std::unique_ptr<QSocketNotifier> _events;
    std::function<void()> _presses;
    std::function<void()> _motion;
    std::unique_ptr<QTimer> _motionPoll;
    std::pair<int, int> _lastPointer {-1, -1};
};

} // namespace tarnvik::linux
