#pragma once

#include "platform/KeyEvents.h"
#include "platform/Scheduler.h"
#include "scroll/ScrollDirection.h"
#include "scroll/ScrollViews.h"

#include <functional>
#include <memory>
#include <optional>

namespace tarnvik {

class BufferAndRateScroller;
class CursorManager;
class EventPosting;
class Preferences;

// One scroll session's overlay and keys: holds the areas and the chosen one, aims the pointer
// at it, turns keys into scrolls and area changes, and ends the session when the user has been
// idle for the configured time.
class ScrollWindowController
{
public:
    struct Services
    {
        const Preferences &preferences;
        Scheduler &scheduler;
        EventPosting &events;
        CursorManager &cursor;
        BufferAndRateScroller &scroller;
        // Ends the session: Escape and the inactivity timer.
        std::function<void()> deactivate;
    };

    ScrollWindowController(Services services, std::unique_ptr<ScrollWindow> window);
    ~ScrollWindowController();

    const ScrollState &state() const { return _state; }
    // Publishes a new list of areas with their tree: the window is chosen, and the pointer
    // goes to it.
    void setScrollableElements(std::vector<UIElementPtr> elements, UITreePtr tree);

    // Puts the overlay on screen and hides the pointer.
    void showWindow();
    // Takes the overlay off: a scroll in flight ends, the pointer comes back.
    void close();

    // Every key-down, key-up and repeat of the session.
    void handle(const KeyEvent &event);

    void selectNext();
    void selectPrevious();
    // A missing list or an index outside it is ignored.
    void select(long index);

private:
    void aim();
    void restartDeactivationTimer();
    void invalidateDeactivationTimer();
    void scrollHalfPage(ScrollDirection direction);

    Services _services;
    std::unique_ptr<ScrollWindow> _window;
    ScrollState _state;
    std::optional<Scheduler::TimerId> _deactivationTimer;
    // The previous key event, for the second G of "gg".
    std::optional<KeyEvent> _lastEvent;
    bool _shown = false;
};

} // namespace tarnvik
