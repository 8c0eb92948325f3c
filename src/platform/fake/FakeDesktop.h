#pragma once

#include "platform/Accessibility.h"
#include "platform/AccessibilityEvents.h"
#include "platform/WindowList.h"
#include "platform/Workspace.h"
#include "platform/fake/FakeScheduler.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace tarnvik::fake {

class FakeDesktop;

// A handle for building and changing one element of a fake application. Setters return the
// handle, so that an element is described in one expression.
class FakeElement
{
public:
    FakeElement(FakeDesktop &desktop, pid_t pid, std::uint32_t node)
        : _desktop(&desktop)
        , _pid(pid)
        , _node(node)
    { }

    // A new child at the end of the element's children.
    FakeElement add(const std::string &role, CGRect frame = {}) const;
    // An existing element listed once more among the children: cycles, two parents.
    const FakeElement &appendChild(const FakeElement &existing) const;

    const FakeElement &set(const std::string &attribute, Value value) const;
    const FakeElement &frame(CGRect frame) const;
    const FakeElement &title(const std::string &text) const;
    const FakeElement &value(const std::string &text) const;
    const FakeElement &description(const std::string &text) const;
    const FakeElement &subrole(const std::string &text) const;
    const FakeElement &identifier(const std::string &text) const;
    const FakeElement &enabled(bool isEnabled) const;
    const FakeElement &actions(const std::vector<std::string> &names) const;
    const FakeElement &rawActions(ValueArray names) const;
    // An array attribute of children other than "AXChildren", such as "AXVisibleRows".
    const FakeElement &childList(const std::string &attribute,
                                 const std::vector<FakeElement> &children) const;
    // What the search-predicate query on this element answers.
    const FakeElement &predicateResults(const std::vector<FakeElement> &results) const;

    // Reading `attribute` fails with `error`, alone and in a batch slot; with `times`, only
    // the next so many reads fail.
    const FakeElement &fail(const std::string &attribute, AXError error,
                            std::optional<int> times = std::nullopt) const;
    // Every call on the element fails with `error`.
    const FakeElement &failCalls(AXError error) const;
    const FakeElement &failActions(AXError error) const;
    // The element goes away: every later call on it fails as on a dead element.
    void kill() const { failCalls(AXError::InvalidUIElement); }

    AXUIElement ref() const;
    pid_t pid() const { return _pid; }
    std::uint32_t node() const { return _node; }
    // Platform calls that addressed this element so far.
    int calls() const;

private:
    FakeDesktop *_desktop;
    pid_t _pid;
    std::uint32_t _node;
};

// An application of the fake desktop: its identity, its element tree and how it answers.
class FakeApplication
{
public:
    FakeApplication(FakeDesktop &desktop, RunningApplication info)
        : _desktop(desktop)
        , _info(std::move(info))
    { }

    const RunningApplication &info() const { return _info; }
    FakeElement element() const { return {_desktop, _info.processIdentifier, 0}; }
    // A window among the application's windows; the first one is the focused window.
    FakeElement addWindow(CGRect frame, const std::string &title = {}) const;
    FakeElement addMenuBar(CGRect frame) const;
    FakeElement addExtrasMenuBar() const;

    // Every call takes this long on the desktop's clock, and fails as timed out when that is
    // more than the element's messaging time-out.
    void setLatency(Seconds latency);
    // Every call waits out its time-out and fails.
    void hang() { setLatency(Seconds(1e9)); }
    // After this many more calls every element of the application is dead.
    void dieAfterCalls(int calls);
    // What a hit test anywhere answers, instead of the deepest element under the point.
    void setHitTestResult(std::optional<FakeElement> element);

private:
    friend class FakeDesktop;
    FakeDesktop &_desktop;
    RunningApplication _info;
    Seconds _latency {0};
    std::optional<int> _callsLeft;
    std::optional<std::uint32_t> _hitTestResult;
};

// An in-memory desktop: applications with element trees and the window list,
// answering the platform operations the way a real system does, with failures, time-outs and
// late answers on demand. It counts every call.
class FakeDesktop : public Accessibility,
                    public AccessibilityEvents,
                    public Workspace,
                    public WindowList
{
public:
    static constexpr double defaultMessagingTimeout = 6.0;

    FakeDesktop();
    ~FakeDesktop() override;

    FakeClock &clock() { return _clock; }
    FakeScheduler &scheduler() { return _scheduler; }

    FakeApplication &addApplication(RunningApplication info);
    FakeApplication &application(pid_t pid);
    void setFrontmost(std::optional<pid_t> pid) { _frontmost = pid; }
    void setMenuBarOwner(std::optional<pid_t> pid) { _menuBarOwner = pid; }
    void setCurrentProcess(pid_t pid) { _currentProcess = pid; }

    // An entry of the window list, built from its fields, or as given for malformed entries.
    void addWindowInfo(CGRect frame, pid_t pid, const std::string &ownerName,
                       std::optional<std::string> windowName = {}, std::int64_t layer = 0);
    void addRawWindowInfo(Value entry) { _windowInfo.push_back(std::move(entry)); }
    // The menu bar as the window list shows it while it is on screen.
    void showMenubar(CGRect frame);

    int totalCalls() const;
    // The threads that made platform calls so far.
    std::set<std::thread::id> callingThreads() const;

    // Accessibility
    AXUIElement createApplication(pid_t pid) override;
    AXResult<Value> copyAttributeValue(const AXUIElement &element,
                                       const std::string &name) override;
    AXResult<ValueArray>
    copyMultipleAttributeValues(const AXUIElement &element,
                                const std::vector<std::string> &names) override;
    AXResult<ValueArray> copyAttributeValues(const AXUIElement &element, const std::string &name,
                                             long index, long maxValues) override;
    AXResult<ValueArray> copyActionNames(const AXUIElement &element) override;
    AXResult<Value> copyParameterizedAttributeValue(const AXUIElement &element,
                                                    const std::string &name,
                                                    const Value &parameter) override;
    AXResult<AXUIElement> copyElementAtPosition(const AXUIElement &application, float x,
                                                float y) override;
    AXError setAttributeValue(const AXUIElement &element, const std::string &name,
                              const Value &value) override;
    AXError setMessagingTimeout(const AXUIElement &element, float seconds) override;
    AXError performAction(const AXUIElement &element, const std::string &action) override;
    AXResult<pid_t> getPid(const AXUIElement &element) override;
    bool isProcessTrusted() override { return _trusted; }
    void setTrusted(bool trusted) { _trusted = trusted; }

    // Workspace
    std::optional<RunningApplication> frontmostApplication() override;
    std::optional<RunningApplication> menuBarOwningApplication() override;
    std::vector<RunningApplication> runningApplications() override;
    pid_t currentProcessIdentifier() override { return _currentProcess; }
    void observeActivations(std::function<void(const RunningApplication &)> observer) override
    {
        _activationObservers.push_back(std::move(observer));
    }
    // Brings an application to the front, telling the observer as the platform would.
    void activate(pid_t pid);

    // AccessibilityEvents: a test reports the changes it makes, on its own thread.
    bool watch(pid_t pid, Handler handler) override;
    void reportChange(const FakeElement &source, AccessibilityChange change);
    pid_t watched() const { return _watched; }
    // Watches fail, as for an application not on the bus yet.
    void refuseWatches(bool refuse) { _refuseWatches = refuse; }
    // Calls `done` at once, or, while reports are held, when they are let through: the changes
    // reported meanwhile were on their way.
    void afterReports(std::function<void()> done) override;
    void holdReports(bool hold);

    // WindowList
    ValueArray onScreenWindowInfo() override { return _windowInfo; }

    // Values set and actions performed, in order, as "attribute=value" and action names.
    std::vector<std::string> performed() const;

private:
    friend class FakeElement;
    friend class FakeApplication;
    struct Node;
    struct App;
    class Call;

    App &app(pid_t pid);
    Node &node(pid_t pid, std::uint32_t index);
    std::uint32_t newNode(pid_t pid, const std::string &role, CGRect frame,
                          std::optional<std::uint32_t> parent);
    AXUIElement handle(pid_t pid, std::uint32_t index) const;
    std::optional<std::uint32_t> hitTest(const App &app, CGPoint point) const;
    AXResult<Value> attribute(const App &app, Node &node, const std::string &name) const;

    FakeClock _clock;
    FakeScheduler _scheduler {_clock};
    mutable std::recursive_mutex _mutex;
    std::map<pid_t, std::unique_ptr<App>> _apps;
    std::vector<pid_t> _appOrder;
    std::optional<pid_t> _frontmost;
    bool _trusted = true;
    std::optional<pid_t> _menuBarOwner;
    // This program, unless a test makes it one of the fake applications.
    pid_t _currentProcess = 424242;
    ValueArray _windowInfo;
    int _totalCalls = 0;
    std::set<std::thread::id> _callingThreads;
    std::vector<std::string> _performed;
    std::vector<std::function<void(const RunningApplication &)>> _activationObservers;
    pid_t _watched = 0;
    bool _refuseWatches = false;
    Handler _changes;
    bool _holdReports = false;
    std::vector<std::function<void()>> _afterReports;
};

} // namespace tarnvik::fake
