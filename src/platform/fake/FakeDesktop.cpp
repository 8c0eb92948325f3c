#include "platform/fake/FakeDesktop.h"

#include "platform/AXNames.h"

#include <algorithm>
#include <deque>
#include <set>
#include <stdexcept>

namespace tarnvik::fake {

namespace {

struct FakeHandle final : PlatformElement
{
    FakeHandle(pid_t p, std::uint32_t n)
        : pid(p)
        , node(n)
    { }
    bool equals(const PlatformElement &other) const override
    {
        const auto *o = dynamic_cast<const FakeHandle *>(&other);
        return o && o->pid == pid && o->node == node;
    }
    std::size_t hash() const override
    {
        return std::hash<std::uint64_t> {}(static_cast<std::uint64_t>(pid) << 32 | node);
    }
    pid_t pid;
    std::uint32_t node;
};

// Array attributes that an application may not implement at all; other attributes exist on
// every element and answer "no value" when empty.
bool isOptionalArrayAttribute(const std::string &name)
{
    return name == AXChildrenInNavigationOrderAttribute
        || name == NSAccessibilityVisibleRowsAttribute
        || name == NSAccessibilityVisibleChildrenAttribute;
}

std::string describeValue(const Value &v)
{
    if (const auto *b = v.get<bool>())
        return *b ? "true" : "false";
    if (const auto *s = v.get<std::string>())
        return *s;
    if (const auto *i = v.get<std::int64_t>())
        return std::to_string(*i);
    return "<value>";
}

} // namespace

struct FakeDesktop::Node
{
    std::map<std::string, Value> attributes;
    std::map<std::string, AXError> failures;
    std::map<std::string, int> failuresLeft;
    std::optional<AXError> callFailure;
    std::optional<ValueArray> actions;
    std::optional<AXError> actionsFailure;
    std::vector<std::uint32_t> children;
    std::map<std::string, std::vector<std::uint32_t>> childLists;
    std::optional<std::uint32_t> parent;
    std::optional<std::vector<std::uint32_t>> predicateResults;
    std::optional<float> messagingTimeout;
    int calls = 0;
};

struct FakeDesktop::App
{
    std::unique_ptr<FakeApplication> facade;
    std::deque<Node> nodes;
};

// The admission of one platform call: counts it, spends its time on the clock and decides
// whether it fails before it is answered.
class FakeDesktop::Call
{
public:
    Call(FakeDesktop &desktop, const AXUIElement &element)
        : _lock(desktop._mutex)
    {
        const auto *h = dynamic_cast<const FakeHandle *>(&element.platform());
        auto it = h ? desktop._apps.find(h->pid) : desktop._apps.end();
        if (it == desktop._apps.end() || h->node >= it->second->nodes.size()) {
            _error = AXError::InvalidUIElement;
            return;
        }
        app = it->second.get();
        node = &app->nodes[h->node];
        ++desktop._totalCalls;
        desktop._callingThreads.insert(std::this_thread::get_id());
        ++node->calls;
        FakeApplication &facade = *app->facade;
        if (facade._callsLeft) {
            if (*facade._callsLeft == 0) {
                _error = AXError::InvalidUIElement;
                return;
            }
            --*facade._callsLeft;
        }
        const double timeout = node->messagingTimeout.value_or(defaultMessagingTimeout);
        const double latency = facade._latency.count();
        desktop._clock.advance(Seconds(std::min(latency, timeout)));
        if (latency > timeout)
            _error = AXError::CannotComplete;
        else if (node->callFailure)
            _error = *node->callFailure;
    }

    AXError error() const { return _error; }
    App *app = nullptr;
    Node *node = nullptr;

private:
    std::lock_guard<std::recursive_mutex> _lock;
    AXError _error = AXError::Success;
};

// ---- FakeElement

FakeElement FakeElement::add(const std::string &role, CGRect frame) const
{
    return {*_desktop, _pid, _desktop->newNode(_pid, role, frame, _node)};
}

const FakeElement &FakeElement::appendChild(const FakeElement &existing) const
{
    std::lock_guard lock(_desktop->_mutex);
    _desktop->node(_pid, _node).children.push_back(existing._node);
    return *this;
}

const FakeElement &FakeElement::set(const std::string &attribute, Value value) const
{
    std::lock_guard lock(_desktop->_mutex);
    _desktop->node(_pid, _node).attributes[attribute] = std::move(value);
    return *this;
}

const FakeElement &FakeElement::frame(CGRect frame) const
{
    set(NSAccessibilityPositionAttribute, frame.origin);
    return set(NSAccessibilitySizeAttribute, frame.size);
}

const FakeElement &FakeElement::title(const std::string &text) const
{
    return set(NSAccessibilityTitleAttribute, text);
}

const FakeElement &FakeElement::value(const std::string &text) const
{
    return set(NSAccessibilityValueAttribute, text);
}

const FakeElement &FakeElement::description(const std::string &text) const
{
    return set(NSAccessibilityDescriptionAttribute, text);
}

const FakeElement &FakeElement::subrole(const std::string &text) const
{
    return set(NSAccessibilitySubroleAttribute, text);
}

const FakeElement &FakeElement::identifier(const std::string &text) const
{
    return set(NSAccessibilityIdentifierAttribute, text);
}

const FakeElement &FakeElement::enabled(bool isEnabled) const
{
    return set(NSAccessibilityEnabledAttribute, isEnabled);
}

const FakeElement &FakeElement::actions(const std::vector<std::string> &names) const
{
    return rawActions(ValueArray(names.begin(), names.end()));
}

const FakeElement &FakeElement::rawActions(ValueArray names) const
{
    std::lock_guard lock(_desktop->_mutex);
    _desktop->node(_pid, _node).actions = std::move(names);
    return *this;
}

const FakeElement &FakeElement::childList(const std::string &attribute,
                                          const std::vector<FakeElement> &children) const
{
    std::lock_guard lock(_desktop->_mutex);
    auto &list = _desktop->node(_pid, _node).childLists[attribute];
    list.clear();
    for (const auto &child : children)
        list.push_back(child._node);
    return *this;
}

const FakeElement &FakeElement::predicateResults(const std::vector<FakeElement> &results) const
{
    std::lock_guard lock(_desktop->_mutex);
    auto &list = _desktop->node(_pid, _node).predicateResults.emplace();
    for (const auto &r : results)
        list.push_back(r._node);
    return *this;
}

const FakeElement &FakeElement::fail(const std::string &attribute, AXError error,
                                     std::optional<int> times) const
{
    std::lock_guard lock(_desktop->_mutex);
    auto &n = _desktop->node(_pid, _node);
    n.failures[attribute] = error;
    if (times)
        n.failuresLeft[attribute] = *times;
    return *this;
}

const FakeElement &FakeElement::failCalls(AXError error) const
{
    std::lock_guard lock(_desktop->_mutex);
    _desktop->node(_pid, _node).callFailure = error;
    return *this;
}

const FakeElement &FakeElement::failActions(AXError error) const
{
    std::lock_guard lock(_desktop->_mutex);
    _desktop->node(_pid, _node).actionsFailure = error;
    return *this;
}

AXUIElement FakeElement::ref() const
{
    return _desktop->handle(_pid, _node);
}

int FakeElement::calls() const
{
    std::lock_guard lock(_desktop->_mutex);
    return _desktop->node(_pid, _node).calls;
}

// ---- FakeApplication

FakeElement FakeApplication::addWindow(CGRect frame, const std::string &title) const
{
    FakeElement window = element().add("AXWindow", frame);
    if (!title.empty())
        window.title(title);
    std::lock_guard lock(_desktop._mutex);
    auto &attributes = _desktop.node(_info.processIdentifier, 0).attributes;
    auto &windows = attributes[NSAccessibilityWindowsAttribute];
    if (!windows.get<ValueArray>())
        windows = ValueArray {};
    std::get<ValueArray>(windows.storage).push_back(window.ref());
    attributes.try_emplace(NSAccessibilityFocusedWindowAttribute, window.ref());
    return window;
}

FakeElement FakeApplication::addMenuBar(CGRect frame) const
{
    FakeElement bar = element().add("AXMenuBar", frame);
    element().set(NSAccessibilityMenuBarAttribute, bar.ref());
    return bar;
}

FakeElement FakeApplication::addExtrasMenuBar() const
{
    FakeElement bar = element().add("AXMenuBar");
    element().set(NSAccessibilityExtrasMenuBarAttribute, bar.ref());
    return bar;
}

void FakeApplication::setLatency(Seconds latency)
{
    std::lock_guard lock(_desktop._mutex);
    _latency = latency;
}

void FakeApplication::dieAfterCalls(int calls)
{
    std::lock_guard lock(_desktop._mutex);
    _callsLeft = calls;
}

void FakeApplication::setHitTestResult(std::optional<FakeElement> element)
{
    std::lock_guard lock(_desktop._mutex);
    _hitTestResult = element ? std::optional(element->node()) : std::nullopt;
}

// ---- FakeDesktop

FakeDesktop::FakeDesktop() = default;
FakeDesktop::~FakeDesktop() = default;

FakeApplication &FakeDesktop::addApplication(RunningApplication info)
{
    std::lock_guard lock(_mutex);
    const pid_t pid = info.processIdentifier;
    if (_apps.contains(pid))
        throw std::logic_error("two fake applications with one process identifier");
    auto app = std::make_unique<App>();
    app->facade = std::make_unique<FakeApplication>(*this, std::move(info));
    _apps.emplace(pid, std::move(app));
    _appOrder.push_back(pid);
    newNode(pid, "AXApplication", {}, std::nullopt);
    return *_apps.at(pid)->facade;
}

FakeApplication &FakeDesktop::application(pid_t pid)
{
    return *app(pid).facade;
}

FakeDesktop::App &FakeDesktop::app(pid_t pid)
{
    std::lock_guard lock(_mutex);
    return *_apps.at(pid);
}

FakeDesktop::Node &FakeDesktop::node(pid_t pid, std::uint32_t index)
{
    return app(pid).nodes.at(index);
}

std::uint32_t FakeDesktop::newNode(pid_t pid, const std::string &role, CGRect frame,
                                   std::optional<std::uint32_t> parent)
{
    std::lock_guard lock(_mutex);
    auto &nodes = app(pid).nodes;
    const auto index = static_cast<std::uint32_t>(nodes.size());
    Node &n = nodes.emplace_back();
    n.attributes[NSAccessibilityRoleAttribute] = role;
    n.attributes[NSAccessibilityPositionAttribute] = frame.origin;
    n.attributes[NSAccessibilitySizeAttribute] = frame.size;
    n.parent = parent;
    if (parent)
        nodes.at(*parent).children.push_back(index);
    return index;
}

AXUIElement FakeDesktop::handle(pid_t pid, std::uint32_t index) const
{
    return AXUIElement(std::make_shared<FakeHandle>(pid, index));
}

void FakeDesktop::addWindowInfo(CGRect frame, pid_t pid, const std::string &ownerName,
                                std::optional<std::string> windowName, std::int64_t layer)
{
    addRawWindowInfo(windowInfo(frame, pid, ownerName, windowName, layer));
}

void FakeDesktop::showMenubar(CGRect frame)
{
    addWindowInfo(frame, 0, kMenubarOwnerName, std::string(kMenubarWindowName), 24);
}

int FakeDesktop::totalCalls() const
{
    std::lock_guard lock(_mutex);
    return _totalCalls;
}

std::set<std::thread::id> FakeDesktop::callingThreads() const
{
    std::lock_guard lock(_mutex);
    return _callingThreads;
}

std::vector<std::string> FakeDesktop::performed() const
{
    std::lock_guard lock(_mutex);
    return _performed;
}

AXResult<Value> FakeDesktop::attribute(const App &app, Node &n, const std::string &name) const
{
    if (auto failure = n.failures.find(name); failure != n.failures.end()) {
        auto left = n.failuresLeft.find(name);
        if (left == n.failuresLeft.end())
            return failure->second;
        const AXError error = failure->second;
        if (--left->second <= 0) {
            n.failures.erase(failure);
            n.failuresLeft.erase(left);
        }
        return error;
    }
    const pid_t pid = app.facade->info().processIdentifier;
    auto handles = [&](const std::vector<std::uint32_t> &indices) {
        ValueArray array;
        for (auto i : indices)
            array.push_back(handle(pid, i));
        return Value(std::move(array));
    };
    if (name == NSAccessibilityChildrenAttribute)
        return handles(n.children);
    if (auto list = n.childLists.find(name); list != n.childLists.end())
        return handles(list->second);
    if (name == NSAccessibilityParentAttribute) {
        if (!n.parent)
            return AXError::NoValue;
        return Value(handle(pid, *n.parent));
    }
    if (auto it = n.attributes.find(name); it != n.attributes.end())
        return it->second;
    return isOptionalArrayAttribute(name) ? AXError::AttributeUnsupported : AXError::NoValue;
}

AXUIElement FakeDesktop::createApplication(pid_t pid)
{
    return handle(pid, 0);
}

AXResult<Value> FakeDesktop::copyAttributeValue(const AXUIElement &element, const std::string &name)
{
    Call call(*this, element);
    if (call.error() != AXError::Success)
        return call.error();
    return attribute(*call.app, *call.node, name);
}

AXResult<ValueArray> FakeDesktop::copyMultipleAttributeValues(const AXUIElement &element,
                                                              const std::vector<std::string> &names)
{
    Call call(*this, element);
    if (call.error() != AXError::Success)
        return call.error();
    ValueArray slots;
    slots.reserve(names.size());
    for (const auto &name : names) {
        auto v = attribute(*call.app, *call.node, name);
        slots.push_back(v.ok() ? std::move(v).value() : Value(v.error()));
    }
    return slots;
}

AXResult<ValueArray> FakeDesktop::copyAttributeValues(const AXUIElement &element,
                                                      const std::string &name, long index,
                                                      long maxValues)
{
    Call call(*this, element);
    if (call.error() != AXError::Success)
        return call.error();
    auto v = attribute(*call.app, *call.node, name);
    if (!v.ok())
        return v.error();
    return slice(v.value(), index, maxValues);
}

AXResult<ValueArray> FakeDesktop::copyActionNames(const AXUIElement &element)
{
    Call call(*this, element);
    if (call.error() != AXError::Success)
        return call.error();
    if (call.node->actionsFailure)
        return *call.node->actionsFailure;
    return call.node->actions.value_or(ValueArray {});
}

AXResult<Value> FakeDesktop::copyParameterizedAttributeValue(const AXUIElement &element,
                                                             const std::string &name,
                                                             const Value &parameter)
{
    Call call(*this, element);
    if (call.error() != AXError::Success)
        return call.error();
    (void)parameter;
    if (auto failure = call.node->failures.find(name); failure != call.node->failures.end())
        return failure->second;
    if (name != AXUIElementsForSearchPredicateAttribute || !call.node->predicateResults)
        return AXError::ParameterizedAttributeUnsupported;
    ValueArray results;
    for (auto i : *call.node->predicateResults)
        results.push_back(handle(call.app->facade->info().processIdentifier, i));
    return Value(std::move(results));
}

std::optional<std::uint32_t> FakeDesktop::hitTest(const App &app, CGPoint point) const
{
    std::optional<std::uint32_t> deepest;
    std::uint32_t current = 0;
    // Bounded, since a hostile tree may list an ancestor among the children.
    std::size_t steps = 0;
    for (bool descended = true; descended && steps++ < app.nodes.size();) {
        descended = false;
        const auto &children = app.nodes[current].children;
        for (auto it = children.rbegin(); it != children.rend(); ++it) {
            const Node &child = app.nodes[*it];
            const auto *position =
                child.attributes.at(NSAccessibilityPositionAttribute).get<CGPoint>();
            const auto *size = child.attributes.at(NSAccessibilitySizeAttribute).get<CGSize>();
            if (child.callFailure || !position || !size
                || !CGRectContainsPoint(CGRect {*position, *size}, point))
                continue;
            deepest = current = *it;
            descended = true;
            break;
        }
    }
    return deepest;
}

AXResult<AXUIElement> FakeDesktop::copyElementAtPosition(const AXUIElement &application, float x,
                                                         float y)
{
    Call call(*this, application);
    if (call.error() != AXError::Success)
        return call.error();
    const pid_t pid = call.app->facade->info().processIdentifier;
    if (auto forced = call.app->facade->_hitTestResult)
        return handle(pid, *forced);
    if (auto hit = hitTest(*call.app, CGPoint {x, y}))
        return handle(pid, *hit);
    return AXError::NoValue;
}

AXError FakeDesktop::setAttributeValue(const AXUIElement &element, const std::string &name,
                                       const Value &value)
{
    Call call(*this, element);
    if (call.error() != AXError::Success)
        return call.error();
    if (auto failure = call.node->failures.find(name); failure != call.node->failures.end())
        return failure->second;
    call.node->attributes[name] = value;
    _performed.push_back(name + "=" + describeValue(value));
    return AXError::Success;
}

AXError FakeDesktop::setMessagingTimeout(const AXUIElement &element, float seconds)
{
    std::lock_guard lock(_mutex);
    const auto *h = dynamic_cast<const FakeHandle *>(&element.platform());
    if (!h || !_apps.contains(h->pid))
        return AXError::InvalidUIElement;
    _apps.at(h->pid)->nodes.at(h->node).messagingTimeout = seconds;
    return AXError::Success;
}

AXError FakeDesktop::performAction(const AXUIElement &element, const std::string &action)
{
    Call call(*this, element);
    if (call.error() != AXError::Success)
        return call.error();
    const auto &actions = call.node->actions;
    const bool offered = actions && std::any_of(actions->begin(), actions->end(), [&](auto &v) {
                             const auto *name = v.template get<std::string>();
                             return name && *name == action;
                         });
    if (!offered)
        return AXError::ActionUnsupported;
    _performed.push_back(action);
    return AXError::Success;
}

AXResult<pid_t> FakeDesktop::getPid(const AXUIElement &element)
{
    const auto *h = dynamic_cast<const FakeHandle *>(&element.platform());
    if (!h)
        return AXError::InvalidUIElement;
    return h->pid;
}

std::optional<RunningApplication> FakeDesktop::frontmostApplication()
{
    std::lock_guard lock(_mutex);
    if (!_frontmost || !_apps.contains(*_frontmost))
        return std::nullopt;
    return _apps.at(*_frontmost)->facade->info();
}

std::optional<RunningApplication> FakeDesktop::menuBarOwningApplication()
{
    std::lock_guard lock(_mutex);
    const auto owner = _menuBarOwner ? _menuBarOwner : _frontmost;
    if (!owner || !_apps.contains(*owner))
        return std::nullopt;
    return _apps.at(*owner)->facade->info();
}

void FakeDesktop::activate(pid_t pid)
{
    _frontmost = pid;
    for (const auto &observer : _activationObservers)
        observer(application(pid).info());
}

std::vector<RunningApplication> FakeDesktop::runningApplications()
{
    std::lock_guard lock(_mutex);
    std::vector<RunningApplication> apps;
    for (pid_t pid : _appOrder)
        apps.push_back(_apps.at(pid)->facade->info());
    return apps;
}

bool FakeDesktop::watch(pid_t pid, Handler handler)
{
    std::lock_guard lock(_mutex);
    if (_refuseWatches)
        handler = nullptr;
    _watched = handler ? pid : 0;
    _changes = std::move(handler);
    return _watched != 0;
}

void FakeDesktop::afterReports(std::function<void()> done)
{
    {
        std::lock_guard lock(_mutex);
        if (_holdReports)
            return _afterReports.push_back(std::move(done));
    }
    done();
}

void FakeDesktop::holdReports(bool hold)
{
    std::vector<std::function<void()>> held;
    {
        std::lock_guard lock(_mutex);
        _holdReports = hold;
        if (!hold)
            held.swap(_afterReports);
    }
    for (auto &done : held)
        done();
}

void FakeDesktop::reportChange(const FakeElement &source, AccessibilityChange change)
{
    Handler handler;
    {
        std::lock_guard lock(_mutex);
        if (source.pid() != _watched)
            return;
        handler = _changes;
    }
    handler(change, source.ref());
}

} // namespace tarnvik::fake
