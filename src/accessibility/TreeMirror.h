#pragma once

#include "accessibility/BuildUITree.h"
#include "accessibility/UITrees.h"
#include "platform/AccessibilityEvents.h"
#include "platform/Scheduler.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tarnvik {

class Preferences;
class WorkQueue;

// A copy of what a session reads of the frontmost application's focused window, kept while it
// stays in front, so that a session can draw its labels before it has read anything. It is read
// when the application comes to the front (the frontmost one at start), and again once the
// changes its toolkit reports have settled; a session's own read replaces it when nothing
// changed meanwhile. It holds nothing while a read or a change is pending, while the toolkit
// reports changes in a flood (an animation), or for an application that lost the front.
// A change counts where it can move a label: a change of something that neither is labelled
// nor holds a label (a spinner turning) is let go by. Nothing is polled: with no change that
// counts, nothing runs. Everything here runs on the main
// thread, the reads on the sessions' tree queue, so that none reads beside a session.
class TreeMirror
{
public:
    struct Services
    {
        AccessibilityPlatform platform;
        AccessibilityEvents &events;
        const Preferences &preferences;
        Scheduler &scheduler;
        WorkQueue &queue;
    };

    // How changes are read: once none came for `settle`, and no sooner than `gap` after the
    // last read ended. Changes that keep coming for `flood` (an animation) are a flood.
    struct Pacing
    {
        Seconds settle {0.1};
        Seconds gap {1.0};
        Seconds flood {1.0};
    };

    enum class State { none, reading, current, changed, flooded };

    // A labelled element and where the read found it.
    using Probe = std::pair<AXUIElement, CGRect>;

    struct Mirrored
    {
        UIElementPtr window;
        // Read with the search attributes, so that they serve either kind of session.
        UITrees trees;
        // The first labelled element of each scrolling area, and the first and last of all:
        // no toolkit says that it scrolled, so a session asks these where they stand.
        std::vector<Probe> probes;
    };

    // With `serves` false the mirror reads as it would but gives nothing to sessions: the
    // sessions then read after the key, as a baseline to measure against.
    TreeMirror(Services services, Pacing pacing, bool serves);
    ~TreeMirror();
    TreeMirror(const TreeMirror &) = delete;
    TreeMirror &operator=(const TreeMirror &) = delete;

    // Mirrors the frontmost application, and from now on each that comes to the front.
    // Ignored applications and this program are never read.
    void start();

    State state() const { return _state; }
    pid_t pid() const { return _pid; }
    // The focused window and its trees, when they are of this process and no change was
    // reported since they were read.
    std::optional<Mirrored> current(pid_t pid) const;
    // Whether the probes stand where they stood, asked in one burst; from any thread.
    static bool standStill(Accessibility &ax, const std::vector<Probe> &probes);
    // A session found the probes moved: what is kept is read again.
    void movedUnreported();
    // Runs `callback` once, when the read on its way is kept; a later call replaces it, and
    // the mirror's next application drops it.
    void onceCurrent(std::function<void()> callback) { _onceCurrent = std::move(callback); }
    // Counts the changes reported so far.
    std::uint64_t changes() const { return _changes; }
    // A session read the application: one not on the bus yet when it came to the front (as
    // each just started) is on it now, heard from then on and read.
    void sessionRead(pid_t pid);
    // A session's read, begun when `changes()` was `changesBefore`: kept when it is of the
    // mirrored application and no change was reported since.
    void adopt(pid_t pid, std::uint64_t changesBefore, Mirrored mirrored);

private:
    struct Inbox;
    struct Relevance;
    static std::vector<Probe> probesOf(const UITrees &trees, const Preferences &preferences);

    void follow(const RunningApplication &app);
    // Whether the application's changes are heard: nothing is kept of one that isn't.
    bool watch();
    void forget();
    // Changes reported since the last call, on the main thread.
    void changed(int count);
    // The next read, when the changes have settled and the gap since the last one has passed.
    void scheduleRead();
    void read();
    // Hands `then` to the main thread behind every change reported so far: a read is kept
    // only when nothing changed while it ran.
    static void afterReports(const Services &services, std::function<void()> then);
    void adopted(pid_t pid, std::uint64_t changesBefore, Mirrored mirrored);
    void readFinished(pid_t pid, std::uint64_t changesBefore, std::optional<Mirrored> mirrored,
                      std::shared_ptr<const Relevance> relevance);
    void keep(Mirrored mirrored, std::shared_ptr<const Relevance> relevance);
    void cancelTimer();

    Services _services;
    const Pacing _pacing;
    const bool _serves;
    std::shared_ptr<Inbox> _inbox;
    pid_t _pid = 0;
    State _state = State::none;
    std::optional<Mirrored> _mirrored;
    std::function<void()> _onceCurrent;
    std::uint64_t _changes = 0;
    bool _watching = false;
    bool _readInFlight = false;
    bool _readAgain = false;
    std::optional<Scheduler::TimerId> _timer;
    // When changes began to come without a pause of `settle`, the last one, and the end of the
    // last read.
    std::optional<TimePoint> _busySince;
    TimePoint _lastChange {};
    std::optional<TimePoint> _lastReadEnd;
};

} // namespace tarnvik
