#include "accessibility/TreeMirror.h"

#include "accessibility/AXEnablerService.h"
#include "accessibility/AttributeReaders.h"
#include "accessibility/BuildUITrees.h"
#include "platform/AXNames.h"
#include "platform/Diagnostics.h"
#include "platform/WorkQueue.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <string>
#include <unordered_set>
#include <utility>

namespace tarnvik {

// Of the mirrored trees, what tells whether a change reported on an element can move a label.
struct TreeMirror::Relevance
{
    // Every element of the trees; those that may carry a label and those that hold one (what
    // is out of view now may move into it); the scroll bars.
    std::unordered_set<AXUIElement> known;
    std::unordered_set<AXUIElement> mayHoldLabels;
    std::unordered_set<AXUIElement> scrollBars;
    // The mirrored window: its toolkit says it is active again each time it gets the keyboard
    // back, as after every session in label mode.
    std::optional<AXUIElement> window;

    static std::shared_ptr<const Relevance> of(const Mirrored &mirrored)
    {
        const auto &trees = mirrored.trees;
        auto relevance = std::make_shared<Relevance>();
        relevance->window = mirrored.window->ref;
        for (const auto &tree : trees.allTrees()) {
            for (const auto &element : tree->elementsInOrder()) {
                if (!element->ref)
                    continue;
                relevance->known.insert(*element->ref);
                if (element->role == "AXScrollBar")
                    relevance->scrollBars.insert(*element->ref);
                if (!element->isActionable())
                    continue;
                for (auto id = std::optional(element->id); id; id = tree->parentId(*id)) {
                    const auto &ref = tree->element(*id)->ref;
                    if (!ref || !relevance->mayHoldLabels.insert(*ref).second)
                        break;
                }
            }
        }
        return relevance;
    }

    // Before the first read nothing is known: what is added or shown counts, what moves or is
    // renamed does not.
    static bool matters(const Relevance *relevance, AccessibilityChange change,
                        const AXUIElement &source)
    {
        switch (change) {
        case AccessibilityChange::visibility:
        case AccessibilityChange::document:
            return true;
        case AccessibilityChange::window:
            return !relevance || !relevance->window || !(*relevance->window == source);
        case AccessibilityChange::children:
            return !relevance || relevance->known.contains(source);
        case AccessibilityChange::name:
        case AccessibilityChange::bounds:
            return relevance && relevance->mayHoldLabels.contains(source);
        case AccessibilityChange::value:
            return relevance && relevance->scrollBars.contains(source);
        }
        return true;
    }
};

// Where the backend's thread leaves the changes: weighed and counted there, and handed to the
// main thread in one post however many came meanwhile. One per watched application, so that
// what was on its way for the one before is dropped.
struct TreeMirror::Inbox
{
    Scheduler &scheduler;
    // Reset on the main thread when the mirror stops listening here.
    TreeMirror *owner;
    std::atomic<int> count = 0;
    std::atomic<bool> posted = false;
    // Each kind's changes since the last read, counted and let go by, for the trace.
    static constexpr std::size_t kinds = 7;
    std::array<std::atomic<int>, kinds> counted {};
    std::array<std::atomic<int>, kinds> letGo {};
    // Replaced on the main thread with each read kept, weighed on the backend's.
    std::mutex mutex;
    std::shared_ptr<const Relevance> relevance;

    void weigh(std::shared_ptr<const Relevance> newer)
    {
        std::lock_guard lock(mutex);
        relevance = std::move(newer);
    }

    static void arrived(const std::shared_ptr<Inbox> &inbox, AccessibilityChange change,
                        const AXUIElement &source)
    {
        const auto kind = static_cast<std::size_t>(change);
        {
            std::lock_guard lock(inbox->mutex);
            if (!Relevance::matters(inbox->relevance.get(), change, source)) {
                inbox->letGo[kind].fetch_add(1, std::memory_order_relaxed);
                return;
            }
        }
        inbox->counted[kind].fetch_add(1, std::memory_order_relaxed);
        inbox->count.fetch_add(1, std::memory_order_relaxed);
        if (inbox->posted.exchange(true))
            return;
        inbox->scheduler.postToMain([inbox] {
            inbox->posted = false;
            const int count = inbox->count.exchange(0);
            if (inbox->owner && count > 0)
                inbox->owner->changed(count);
        });
    }

    // "children 2, bounds 1; let go by: bounds 412" since the last call: kinds and counts only.
    std::string tally()
    {
        static constexpr const char *names[kinds] = {"children", "visibility", "name", "bounds",
                                                     "document", "window",     "value"};
        std::string line;
        for (auto *counts : {&counted, &letGo}) {
            if (counts == &letGo)
                line += "; let go by:";
            for (std::size_t i = 0; i < kinds; ++i) {
                if (const int n = (*counts)[i].exchange(0))
                    line += std::string(" ") + names[i] + " " + std::to_string(n);
            }
        }
        return line;
    }
};

TreeMirror::TreeMirror(Services services, Pacing pacing, bool serves)
    : _services(services)
    , _pacing(pacing)
    , _serves(serves)
{ }

TreeMirror::~TreeMirror()
{
    forget();
}

void TreeMirror::start()
{
    auto &workspace = _services.platform.workspace;
    if (auto app = workspace.frontmostApplication())
        follow(*app);
    workspace.observeActivations([this](const RunningApplication &app) { follow(app); });
}

std::optional<TreeMirror::Mirrored> TreeMirror::current(pid_t pid) const
{
    if (!_serves || _state != State::current || pid != _pid)
        return std::nullopt;
    return _mirrored;
}

void TreeMirror::movedUnreported()
{
    if (_state != State::current)
        return;
    trace("mirror: labelled elements moved unreported; the session reads after the key");
    _mirrored.reset();
    _state = State::changed;
    _lastChange = _services.scheduler.now();
    if (!_timer)
        scheduleRead();
}

std::vector<TreeMirror::Probe> TreeMirror::probesOf(const UITrees &trees,
                                                    const Preferences &preferences)
{
    // The first labelled element in each scrolling area, and the first and last of all.
    static constexpr std::size_t most = 8;
    const auto targets = trees.matchingElements("*", false, preferences);
    std::vector<Probe> probes;
    std::unordered_set<std::string> areas;
    auto add = [&](const UIElementPtr &element) {
        if (!element->ref || probes.size() == most)
            return;
        for (const auto &[ref, frame] : probes)
            if (ref == *element->ref)
                return;
        probes.emplace_back(*element->ref, element->frame());
    };
    if (!targets.empty()) {
        add(targets.front());
        add(targets.back());
    }
    for (const auto &target : targets) {
        const auto tree = target->uiTree.lock();
        for (auto id = tree ? tree->parentId(target->id) : std::nullopt; id;
             id = tree->parentId(*id)) {
            const auto &role = tree->element(*id)->role;
            if (role == "AXScrollArea" || role == "AXWebArea") {
                if (areas.insert(*id).second)
                    add(target);
                break;
            }
        }
    }
    return probes;
}

bool TreeMirror::standStill(Accessibility &ax, const std::vector<Probe> &probes)
{
    static const std::vector<std::string> place = {NSAccessibilityPositionAttribute,
                                                   NSAccessibilitySizeAttribute};
    std::vector<AXUIElement> refs;
    for (const auto &[ref, frame] : probes)
        refs.push_back(ref);
    ax.prefetch(refs, {place});
    for (const auto &[ref, frame] : probes) {
        const auto values = batchAttributes(ax, place, ref);
        if (!values.ok() || values.value().size() != 2)
            return false;
        const auto *position = values.value()[0].get<CGPoint>();
        const auto *size = values.value()[1].get<CGSize>();
        if (!position || !size || !CGRectEqualToRect(CGRect {*position, *size}, frame))
            return false;
    }
    return true;
}

void TreeMirror::sessionRead(pid_t pid)
{
    if (pid != _pid || _watching || !watch())
        return;
    // What it changed before it could be heard is unknown: a change, so that no read begun
    // before is kept, and the mirror reads it once settled.
    changed(1);
}

void TreeMirror::adopt(pid_t pid, std::uint64_t changesBefore, Mirrored mirrored)
{
    if (pid != _pid || changesBefore != _changes)
        return;
    // The application is asked once more; its answer comes behind what it reported.
    afterReports(_services,
                 [inbox = _inbox, pid, changesBefore, mirrored = std::move(mirrored)]() mutable {
                     if (inbox->owner)
                         inbox->owner->adopted(pid, changesBefore, std::move(mirrored));
                 });
}

void TreeMirror::adopted(pid_t pid, std::uint64_t changesBefore, Mirrored mirrored)
{
    if (pid != _pid || changesBefore != _changes || _state == State::flooded || !_watching)
        return;
    auto relevance = Relevance::of(mirrored);
    mirrored.probes = probesOf(mirrored.trees, _services.preferences);
    keep(std::move(mirrored), std::move(relevance));
    _lastReadEnd = _services.scheduler.now();
}

void TreeMirror::keep(Mirrored mirrored, std::shared_ptr<const Relevance> relevance)
{
    _mirrored = std::move(mirrored);
    _state = State::current;
    _inbox->weigh(std::move(relevance));
    trace("mirror: current");
    if (auto callback = std::exchange(_onceCurrent, nullptr); callback && _serves)
        callback();
}

void TreeMirror::forget()
{
    _services.events.watch(0, {});
    if (_inbox)
        _inbox->owner = nullptr;
    _inbox.reset();
    cancelTimer();
    _pid = 0;
    _state = State::none;
    _mirrored.reset();
    _onceCurrent = nullptr;
    _readInFlight = false;
    _readAgain = false;
    _watching = false;
    _busySince.reset();
    _lastReadEnd.reset();
}

void TreeMirror::follow(const RunningApplication &app)
{
    if (app.processIdentifier == _pid)
        return;
    forget();
    if (app.processIdentifier == _services.platform.workspace.currentProcessIdentifier()
        || AXEnablerService::isIgnored(app, _services.preferences))
        return;
    _pid = app.processIdentifier;
    _inbox = std::make_shared<Inbox>(_services.scheduler, this);
    watch();
    read();
}

bool TreeMirror::watch()
{
    _watching = _services.events.watch(
        _pid, [inbox = _inbox](AccessibilityChange change, const AXUIElement &source) {
            Inbox::arrived(inbox, change, source);
        });
    return _watching;
}

void TreeMirror::changed(int count)
{
    const auto now = _services.scheduler.now();
    _changes += static_cast<std::uint64_t>(count);
    if (!_busySince || now - _lastChange > _pacing.settle)
        _busySince = now;
    _lastChange = now;
    _mirrored.reset();
    if (now - *_busySince >= _pacing.flood) {
        if (_state != State::flooded)
            trace("mirror: changes keep coming; sessions read after the key until they stop");
        _state = State::flooded;
    } else if (_state != State::flooded) {
        _state = State::changed;
    }
    if (!_timer)
        scheduleRead();
}

void TreeMirror::scheduleRead()
{
    auto due = _lastChange + _pacing.settle;
    if (_lastReadEnd)
        due = std::max(due, *_lastReadEnd + _pacing.gap);
    const Seconds wait = std::max(Seconds(0), due - _services.scheduler.now());
    _timer = _services.scheduler.scheduleOnMain(wait, [this] {
        _timer.reset();
        // Changes that came while it waited push the read back.
        auto settled = _lastChange + _pacing.settle;
        if (_services.scheduler.now() < settled)
            return scheduleRead();
        read();
    });
}

void TreeMirror::read()
{
    if (_readInFlight) {
        _readAgain = true;
        return;
    }
    _readInFlight = true;
    _state = State::reading;
    if (tracing())
        trace("mirror: reading; changes since the last read:" + _inbox->tally());
    // The application may have left the front by the time the read runs: then it reads
    // nothing, and the next application is followed anyway.
    _services.queue.async([services = _services, inbox = _inbox, pid = _pid,
                           changesBefore = _changes] {
        std::optional<Mirrored> mirrored;
        std::shared_ptr<const Relevance> relevance;
        auto &workspace = services.platform.workspace;
        const auto app = workspace.frontmostApplication();
        if (app && app->processIdentifier == pid) {
            services.platform.ax.invalidateCache();
            if (auto window = UIElement::focusedWindow(services.platform.ax, pid)) {
                BuildUITrees builder({services.platform, services.preferences, services.scheduler},
                                     *app, window, workspace.menuBarOwningApplication(), nullptr,
                                     true);
                if (auto trees = builder.build({})) {
                    auto probes = probesOf(*trees, services.preferences);
                    mirrored = Mirrored {window, std::move(*trees), std::move(probes)};
                    relevance = Relevance::of(*mirrored);
                }
            }
        }
        afterReports(services,
                     [inbox, pid, changesBefore, mirrored = std::move(mirrored),
                      relevance = std::move(relevance)]() mutable {
                         if (inbox->owner)
                             inbox->owner->readFinished(pid, changesBefore, std::move(mirrored),
                                                        std::move(relevance));
                     });
    });
}

void TreeMirror::afterReports(const Services &services, std::function<void()> then)
{
    services.events.afterReports(
        [&scheduler = services.scheduler, then = std::move(then)]() mutable {
            scheduler.postToMain(std::move(then));
        });
}

void TreeMirror::readFinished(pid_t pid, std::uint64_t changesBefore,
                              std::optional<Mirrored> mirrored,
                              std::shared_ptr<const Relevance> relevance)
{
    _readInFlight = false;
    _lastReadEnd = _services.scheduler.now();
    if (pid != _pid)
        return;
    if (std::exchange(_readAgain, false) || changesBefore != _changes) {
        // What changed meanwhile is read when it settles.
        if (_state == State::reading)
            _state = State::changed;
        if (!_timer)
            scheduleRead();
        return;
    }
    // An application that wasn't on the bus when it came to the front is on it once read.
    if (!mirrored || (!_watching && !watch())) {
        _state = State::none;
        return;
    }
    keep(std::move(*mirrored), std::move(relevance));
}

void TreeMirror::cancelTimer()
{
    if (_timer)
        _services.scheduler.cancel(*_timer);
    _timer.reset();
}

} // namespace tarnvik
