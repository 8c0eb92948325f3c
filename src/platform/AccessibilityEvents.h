#pragma once

#include "platform/AXUIElement.h"

#include <functional>
#include <sys/types.h>

namespace tarnvik {

// What an application told of a change to its elements, by kind: the kinds that can add, move
// or remove a label.
enum class AccessibilityChange {
    // Children added or removed.
    children,
    // Something came into view or left it.
    visibility,
    // A name or description changed: what search finds.
    name,
    // Something moved or changed size.
    bounds,
    // A document loaded or reloaded.
    document,
    // Another of the application's windows became the active one.
    window,
    // A value changed: a scroll bar's says its content scrolled, which moves nothing else
    // that reports it.
    value,
};

// The changes one application reports of its elements, as they come, each with the element it
// is about.
class AccessibilityEvents
{
public:
    using Handler = std::function<void(AccessibilityChange, const AXUIElement &source)>;

    virtual ~AccessibilityEvents() = default;

    // From now on `handler` hears of each change the application of that process reports, on
    // a thread of the backend's own; it must be quick and safe to call from there. A watch
    // replaces the one before; an empty handler watches nothing. The old handler is not called
    // once this returns. False when the application can't be watched (not on the bus yet).
    virtual bool watch(pid_t pid, Handler handler) = 0;
    // Calls `done`, on the backend's thread, once every change the watched application
    // reported before this call has been handed to the handler: a report can still be on its
    // way when a read of what it changed has ended. From any thread; at once when nothing is
    // watched. An application that never answers never calls it.
    virtual void afterReports(std::function<void()> done) = 0;
};

} // namespace tarnvik
