#include "platform/linux/AtspiAccessibility.h"

#include "platform/AXNames.h"
#include "platform/linux/AtspiBus.h"
#include "platform/linux/AtspiReader.h"
#include "platform/linux/AtspiRoles.h"
#include "platform/linux/CoordinateSpace.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <thread>
#include <unordered_map>
#include <unordered_set>

namespace tarnvik::linux {

namespace {

// An object, or a stand-in made of a panel's window: the extras' bar or the dock's list, whose
// children are what can be pressed in that window.
struct AtspiElement final : PlatformElement
{
    explicit AtspiElement(ObjectRef r, Panel p = Panel::None)
        : ref(std::move(r))
        , key(ref.key()
              + (p == Panel::TopBar     ? "#bar"
                     : p == Panel::Dock ? "#dock"
                                        : ""))
        , standsFor(p)
    { }
    bool equals(const PlatformElement &other) const override
    {
        const auto *o = dynamic_cast<const AtspiElement *>(&other);
        return o && o->key == key;
    }
    std::size_t hash() const override { return std::hash<std::string> {}(key); }
    ObjectRef ref;
    std::string key;
    Panel standsFor;
};

AXUIElement handleOf(const ObjectRef &r, Panel standsFor = Panel::None)
{
    return AXUIElement(std::make_shared<AtspiElement>(r, standsFor));
}

const ObjectRef *refOf(const AXUIElement &e)
{
    const auto *a = dynamic_cast<const AtspiElement *>(&e.platform());
    return a ? &a->ref : nullptr;
}

Panel standInOf(const AXUIElement &e)
{
    const auto *a = dynamic_cast<const AtspiElement *>(&e.platform());
    return a ? a->standsFor : Panel::None;
}

unsigned needsOf(const std::string &attribute)
{
    static const std::unordered_map<std::string, unsigned> table = {
        {NSAccessibilityRoleAttribute, NRole | NStates | NContext},
        {NSAccessibilitySubroleAttribute, NRole | NStates | NContext},
        {NSAccessibilityPositionAttribute, NExtents},
        {NSAccessibilitySizeAttribute, NExtents},
        {NSAccessibilityTitleAttribute, NName},
        {NSAccessibilityDescriptionAttribute, NDescription},
        {NSAccessibilityValueAttribute, NRole | NStates | NContext | NText},
        {NSAccessibilityPlaceholderValueAttribute, NRole | NStates | NContext | NAttributes},
        {NSAccessibilityIdentifierAttribute, NRole | NStates | NContext | NId},
        {NSAccessibilityEnabledAttribute, NStates},
        {NSAccessibilityChildrenAttribute, NChildren},
        {NSAccessibilityVisibleChildrenAttribute, NChildren | NChildStates},
        {NSAccessibilityVisibleRowsAttribute, NChildren | NChildStates},
        {NSAccessibilityParentAttribute, NParent},
    };
    auto it = table.find(attribute);
    return it == table.end() ? 0u : it->second;
}

} // namespace

AtspiAccessibility::AtspiAccessibility(AtspiBus &bus, ClientWindows windows)
    : _reader(std::make_unique<AtspiReader>(bus, std::move(windows)))
{
    bus.registerEvents({"object:children-changed"}, defaultTimeoutMs);
}

AtspiAccessibility::~AtspiAccessibility() = default;

AXUIElement AtspiAccessibility::elementOf(const ObjectRef &object)
{
    return handleOf(object);
}

void AtspiAccessibility::invalidateCache()
{
    _reader->invalidate();
    _readingAfresh = true;
}

AXUIElement AtspiAccessibility::createApplication(pid_t pid)
{
    // Toolkits join the bus within a second or so of accessibility being switched on (Firefox:
    // 170-320 ms measured, idle), and fill their windows' trees some 100 ms after joining. An
    // application a fresh read finds missing in the seconds after the switch is waited for,
    // rather than finding nothing or an empty window to label; the switch itself
    // (AXEnablerService) never waits. A busy toolkit joins later, and the user may come back to
    // it only then: each fresh read in that time waits from its own start.
    constexpr auto settling = std::chrono::seconds(10);
    constexpr auto joining = std::chrono::seconds(3);
    constexpr auto filling = std::chrono::milliseconds(300);
    constexpr auto pause = std::chrono::milliseconds(40);
    const auto now = std::chrono::steady_clock::now();
    const auto switchedOn = _reader->bus().switchedOnAt();
    const auto until = _readingAfresh.exchange(false) && switchedOn != decltype(switchedOn) {}
        ? std::min(switchedOn + settling, now + joining)
        : std::chrono::steady_clock::time_point {};
    auto service = serviceOf(pid);
    if (!service && now < until) {
        do {
            std::this_thread::sleep_for(pause);
            service = serviceOf(pid);
        } while (!service && std::chrono::steady_clock::now() < until);
        if (service)
            std::this_thread::sleep_for(filling);
    }
    // Without an accessible application, calls on this element fail.
    return handleOf(ObjectRef {service.value_or(std::string()), rootPath});
}

bool AtspiAccessibility::scrollsByPage(pid_t pid)
{
    const auto service = serviceOf(pid);
    return service && _reader->isGtk3(*service);
}

std::optional<std::string> AtspiAccessibility::serviceOf(pid_t pid)
{
    if (auto service = _reader->serviceOf(pid))
        return service;
    for (const auto &app : _reader->bus().applications(defaultTimeoutMs)) {
        if (_reader->bus().processOf(app.service, defaultTimeoutMs) == pid) {
            _reader->setServiceOf(pid, app.service);
            return app.service;
        }
    }
    return std::nullopt;
}

namespace {

Value refsValue(const std::vector<ObjectRef> &refs)
{
    ValueArray array;
    array.reserve(refs.size());
    for (const auto &r : refs)
        array.push_back(handleOf(r));
    return array;
}

std::optional<Value> text(const std::optional<std::string> &s)
{
    if (!s)
        return std::nullopt;
    return Value(*s);
}

} // namespace

AXResult<ValueArray>
AtspiAccessibility::copyMultipleAttributeValues(const AXUIElement &element,
                                                const std::vector<std::string> &names)
{
    const ObjectRef *ref = refOf(element);
    if (!ref)
        return AXError::IllegalArgument;
    unsigned needs = 0;
    for (const auto &name : names)
        needs |= needsOf(name);
    if (!isApplicationRoot(*ref))
        _reader->ensure({*ref}, needs);
    if (auto failure = _reader->failure(*ref))
        return *failure;
    ValueArray slots;
    slots.reserve(names.size());
    for (const auto &name : names) {
        auto v = copyAttributeValue(element, name);
        slots.push_back(v.ok() ? std::move(v).value() : Value(v.error()));
    }
    return slots;
}

AXResult<Value> AtspiAccessibility::copyAttributeValue(const AXUIElement &element,
                                                       const std::string &name)
{
    const ObjectRef *ref = refOf(element);
    if (!ref)
        return AXError::IllegalArgument;
    if (name == AXChildrenInNavigationOrderAttribute)
        return AXError::AttributeUnsupported;
    auto &s = *_reader;
    if (const Panel panel = standInOf(element); panel != Panel::None) {
        if (name == NSAccessibilityRoleAttribute)
            return Value(panel == Panel::TopBar ? "AXMenuBar" : "AXList");
        if (name == NSAccessibilityChildrenAttribute
            || name == NSAccessibilityVisibleChildrenAttribute) {
            const auto pressable = s.pressableBelow(*ref);
            return pressable ? refsValue(*pressable) : Value(AXError::CannotComplete);
        }
        if (name == NSAccessibilitySubroleAttribute || name == NSAccessibilityParentAttribute)
            return AXError::NoValue;
        // Where it stands and what it is called are its window's.
        return copyAttributeValue(handleOf(*ref), name);
    }
    if (isApplicationRoot(*ref)) {
        // Every window over a menu bar's strip is asked for its extras, and on X that is any
        // window behind the frontmost one: the X server says which have a bar before the
        // application is read at all.
        if (name == NSAccessibilityExtrasMenuBarAttribute && !hasPanel(*ref, Panel::TopBar))
            return AXError::NoValue;
        // The application element: its windows, the focused one and its menu bar.
        s.ensure({*ref}, NChildren | NName);
        if (auto failure = s.failure(*ref))
            return *failure;
        const Node app = s.node(*ref);
        std::vector<ObjectRef> windows;
        s.ensure(app.children.value_or(std::vector<ObjectRef> {}), NRole | NStates | NName);
        for (const auto &c : app.children.value_or(std::vector<ObjectRef> {})) {
            const Node w = s.node(c);
            if (w.role && isWindowRole(*w.role))
                windows.push_back(c);
        }
        if (name == NSAccessibilityRoleAttribute)
            return Value("AXApplication");
        if (name == NSAccessibilityTitleAttribute && app.name)
            return Value(*app.name);
        if (name == NSAccessibilityWindowsAttribute)
            return refsValue(windows);
        // A panel's application shows its dock as a list of what can be pressed in it, and its
        // bar along the top edge as the bar of its extras.
        if (name == NSAccessibilityChildrenAttribute) {
            ValueArray children;
            for (const auto &dock : panelFrames(*ref, windows, Panel::Dock))
                children.push_back(handleOf(dock, Panel::Dock));
            for (const auto &c : app.children.value_or(std::vector<ObjectRef> {}))
                children.push_back(handleOf(c));
            return Value(std::move(children));
        }
        if (name == NSAccessibilityExtrasMenuBarAttribute) {
            const auto bars = panelFrames(*ref, windows, Panel::TopBar);
            return bars.empty() ? Value(AXError::NoValue)
                                : Value(handleOf(bars.front(), Panel::TopBar));
        }
        if (name == NSAccessibilityFocusedWindowAttribute
            || name == NSAccessibilityMenuBarAttribute) {
            auto focused = focusedWindow(*ref, windows);
            if (!focused)
                return AXError::NoValue;
            if (name == NSAccessibilityFocusedWindowAttribute)
                return Value(handleOf(*focused));
            auto bar = menuBarUnder(*focused);
            return bar ? Value(handleOf(*bar)) : Value(AXError::NoValue);
        }
        return AXError::NoValue;
    }
    if (name == NSAccessibilityTitleUIElementAttribute) {
        // GNOME Shell names its window previews only through a hidden label.
        constexpr std::uint32_t labelledBy = 2;
        auto reply =
            s.bus().call(*ref, accessibleInterface, "GetRelationSet", {}, s.timeoutFor(*ref));
        const auto targets = readRelationTargets(reply.reply(), labelledBy);
        if (!targets)
            return AXError::CannotComplete;
        return targets->empty() ? Value(AXError::NoValue) : Value(handleOf(targets->front()));
    }
    const unsigned needs = needsOf(name);
    if (needs == 0)
        return AXError::NoValue;
    s.ensure({*ref}, needs);
    if (auto failure = s.failure(*ref))
        return *failure;
    const Node n = s.node(*ref);
    if (name == NSAccessibilityRoleAttribute || name == NSAccessibilitySubroleAttribute) {
        if (!n.role || !n.states)
            return AXError::CannotComplete;
        auto role = s.axRole(n);
        if (name == NSAccessibilityRoleAttribute)
            return Value(role.role);
        return role.subrole ? Value(*role.subrole) : Value(AXError::NoValue);
    }
    if (name == NSAccessibilityPositionAttribute || name == NSAccessibilitySizeAttribute) {
        const auto frame = s.rootFrameOf(*ref, n);
        if (!frame)
            return AXError::AttributeUnsupported;
        if (name == NSAccessibilitySizeAttribute)
            return Value(frame->size);
        return Value(frame->origin);
    }
    if (name == NSAccessibilityTitleAttribute) {
        if (!n.name || n.name->empty())
            return AXError::NoValue;
        return Value(s.isGtk4(ref->service) ? withoutMnemonic(*n.name) : *n.name);
    }
    if (name == NSAccessibilityDescriptionAttribute) {
        if (!n.description || n.description->empty())
            return AXError::NoValue;
        return *text(n.description);
    }
    if (name == NSAccessibilityValueAttribute)
        return text(n.text).value_or(Value(AXError::NoValue));
    if (name == NSAccessibilityPlaceholderValueAttribute) {
        // GTK names it "placeholder-text", Chromium "placeholder".
        for (const char *key : {"placeholder-text", "placeholder"}) {
            if (!n.attributes)
                break;
            if (auto found = n.attributes->find(key); found != n.attributes->end())
                return Value(found->second);
        }
        return AXError::NoValue;
    }
    if (name == NSAccessibilityIdentifierAttribute) {
        if (!n.id || n.id->empty())
            return AXError::NoValue;
        return *text(n.id);
    }
    if (name == NSAccessibilityEnabledAttribute) {
        if (!n.states)
            return AXError::CannotComplete;
        return Value(n.states->has(state::Enabled) || n.states->has(state::Sensitive));
    }
    if (name == NSAccessibilityParentAttribute) {
        if (!n.parent || n.parent->isNull())
            return AXError::NoValue;
        return Value(handleOf(*n.parent));
    }
    if (!n.children)
        return AXError::CannotComplete;
    // A menu that a GTK menu bar opens stands in no window of the application's (LibreOffice's
    // Insert menu is a pop-up the X server shows, its items below the bar's item on AT-SPI).
    // While it is open it covers the window and holds the keyboard: the window holds its items
    // alone, as a context menu's window does.
    if (n.role && isWindowRole(*n.role)) {
        if (auto items = openMenuItems(*ref))
            return refsValue(*items);
        if (auto list = openComboList(*ref))
            return refsValue({*list});
    }
    // What doesn't show is left out, as AppKit leaves out the views of hidden tabs: Firefox
    // keeps every tab's page and its closed menus in the window's tree (a closed menu's items
    // still say they show), GTK 4 the pages a stack hides, sized 0 by 0. An object with no place
    // of its own stays, for what it holds may show: GTK 3's notebook with its tabs hidden holds
    // its page in a page tab at -1, -1.
    const bool gtk4 = s.isGtk4(ref->service);
    s.ensure(*n.children, NRole | NStates | (gtk4 ? NExtents : 0u));
    std::vector<ObjectRef> hidden;
    std::copy_if(n.children->begin(), n.children->end(), std::back_inserter(hidden),
                 [&s, gtk4](const ObjectRef &c) { return !AtspiReader::mayShow(s.node(c), gtk4); });
    s.ensure(hidden, NExtents);
    const bool visibleOnly = name != NSAccessibilityChildrenAttribute;
    std::vector<ObjectRef> children;
    for (const auto &c : *n.children) {
        const Node child = s.node(c);
        // A menu bar is the application's, reached through its menu-bar attribute, not a part
        // of the window that holds it on Linux: read twice, it would be labelled twice.
        if (s.isMenuBar(c, child))
            continue;
        if (!AtspiReader::mayShow(child, gtk4)
            && (gtk4 || visibleOnly || AtspiReader::placed(child)))
            continue;
        children.push_back(c);
    }
    return refsValue(children);
}

std::optional<ObjectRef> AtspiAccessibility::focusedWindow(const ObjectRef &app,
                                                           const std::vector<ObjectRef> &windows)
{
    auto &s = *_reader;
    if (windows.empty())
        return std::nullopt;
    const auto isActive = [&s](const ObjectRef &w) {
        const Node n = s.node(w);
        return n.states && n.states->has(state::Active);
    };
    // The X server knows which window is active; some toolkits never say so themselves.
    if (auto pid = s.bus().processOf(app.service, defaultTimeoutMs)) {
        std::optional<ObjectRef> active;
        std::unordered_set<std::string> listed;
        for (const auto &client : s.windowsOf(*pid)) {
            auto frame = frameOf(client, windows);
            if (!frame)
                continue;
            listed.insert(frame->key());
            if (client.isActive && !active)
                active = frame;
        }
        // A menu the application draws in a window of its own that the window manager doesn't
        // list (Chromium's context menu) leaves X's active window as it was: there the
        // application says which of its windows is active.
        if (active && !isActive(*active)) {
            for (const auto &w : windows) {
                if (!listed.contains(w.key()) && isActive(w))
                    return w;
            }
        }
        if (active)
            return active;
    }
    for (const auto &w : windows) {
        if (isActive(w))
            return w;
    }
    for (const auto &w : windows) {
        const Node n = s.node(w);
        if (n.states && n.states->has(state::Showing))
            return w;
    }
    return windows.front();
}

std::optional<ObjectRef> AtspiAccessibility::frameOf(const ClientWindow &client,
                                                     const std::vector<ObjectRef> &windows)
{
    const auto shown = _reader->reportedWindows(windows);
    std::vector<ReportedWindow> reported;
    for (const auto &[frame, report] : shown)
        reported.push_back(report);
    const ReportedWindow *paired = frameOfWindow(client, reported);
    if (!paired)
        return std::nullopt;
    return shown[static_cast<std::size_t>(paired - reported.data())].first;
}

bool AtspiAccessibility::hasPanel(const ObjectRef &app, Panel panel)
{
    const auto pid = _reader->bus().processOf(app.service, defaultTimeoutMs);
    if (!pid)
        return false;
    const auto windows = _reader->windowsOf(*pid);
    return std::any_of(windows.begin(), windows.end(),
                       [panel](const ClientWindow &w) { return w.panel == panel; });
}

std::vector<ObjectRef> AtspiAccessibility::panelFrames(const ObjectRef &app,
                                                       const std::vector<ObjectRef> &windows,
                                                       Panel panel)
{
    std::vector<ObjectRef> frames;
    const auto pid = _reader->bus().processOf(app.service, defaultTimeoutMs);
    if (!pid)
        return frames;
    for (const auto &client : _reader->windowsOf(*pid)) {
        if (client.panel != panel)
            continue;
        if (auto frame = frameOf(client, windows))
            frames.push_back(*frame);
    }
    return frames;
}

std::optional<ObjectRef> AtspiAccessibility::firstBelow(const ObjectRef &root, int levels,
                                                        const Accepts &wanted,
                                                        const Accepts &lookInside)
{
    auto &s = *_reader;
    std::vector<ObjectRef> level {root};
    for (int depth = 0; depth < levels && !level.empty(); ++depth) {
        s.ensure(level, NChildren);
        std::vector<ObjectRef> next;
        for (const auto &o : level) {
            const auto children = s.node(o).children;
            if (children)
                next.insert(next.end(), children->begin(), children->end());
        }
        s.ensure(next, NRole | NStates);
        for (const auto &o : next)
            if (wanted(o, s.node(o)))
                return o;
        std::erase_if(next, [&](const ObjectRef &o) {
            const Node n = s.node(o);
            return !n.states || !n.states->has(state::Showing) || !lookInside(o, n);
        });
        level = std::move(next);
    }
    return std::nullopt;
}

std::optional<ObjectRef> AtspiAccessibility::menuBarUnder(const ObjectRef &window)
{
    auto &s = *_reader;
    // LibreOffice keeps a second menu bar, showing and 0 high, above the one it draws.
    const auto hasSize = [&s](const ObjectRef &o) {
        s.ensure({o}, NExtents);
        const auto e = s.node(o).extents;
        return e && e->width > 0 && e->height > 0;
    };
    return firstBelow(
        window, 6,
        [&](const ObjectRef &o, const Node &n) {
            return n.states && n.states->has(state::Showing) && s.isMenuBar(o, n) && hasSize(o);
        },
        // A menu bar is never part of a page: the pages, with their thousands of links, are
        // not looked through.
        [](const ObjectRef &, const Node &n) {
            return n.role != std::optional<std::uint32_t>(role::DocumentWeb);
        });
}

std::optional<std::vector<ObjectRef>> AtspiAccessibility::openMenuItems(const ObjectRef &window)
{
    auto &s = *_reader;
    const auto bar = menuBarUnder(window);
    if (!bar)
        return std::nullopt;
    const auto titles = s.node(*bar).children.value_or(std::vector<ObjectRef> {});
    s.ensure(titles, NRole | NStates | NChildren);
    for (const auto &title : titles) {
        const Node t = s.node(title);
        if (t.role != std::optional<std::uint32_t>(role::Menu) || !t.states
            || !t.states->has(state::Selected) || !t.children)
            continue;
        s.ensure(*t.children, NRole | NStates | NExtents);
        std::vector<ObjectRef> items;
        std::copy_if(t.children->begin(), t.children->end(), std::back_inserter(items),
                     [&s](const ObjectRef &item) {
                         const Node i = s.node(item);
                         return i.states && i.states->has(state::Showing) && i.extents
                             && i.extents->width > 1 && i.extents->height > 1;
                     });
        // A closed menu's items say they don't show, and have no place.
        if (!items.empty())
            return items;
    }
    return std::nullopt;
}

std::optional<ObjectRef> AtspiAccessibility::openComboList(const ObjectRef &window)
{
    auto &s = *_reader;
    if (!s.isQt(window.service))
        return std::nullopt;
    const auto shows = [&s](const ObjectRef &o) {
        const Node n = s.node(o);
        return n.states && n.states->has(state::Showing);
    };
    // Qt's open list covers the window from a pop-up of its own and holds the keyboard, but
    // the window stays the active one: while a list is open the window holds it alone.
    std::optional<ObjectRef> list;
    const auto openList = [&](const ObjectRef &o, const Node &n) {
        if (n.role != std::optional<std::uint32_t>(role::ComboBox) || !shows(o)
            || !n.states->has(state::Expanded))
            return false;
        s.ensure({o}, NChildren);
        const auto inside = s.node(o).children.value_or(std::vector<ObjectRef> {});
        s.ensure(inside, NRole | NStates);
        for (const auto &c : inside) {
            if (s.node(c).role == std::optional<std::uint32_t>(role::List) && shows(c)) {
                list = c;
                return true;
            }
        }
        return false;
    };
    // A combo box is a control of the window's own: the rows of lists and tables, thousands at
    // times, are not looked through.
    const auto container = [](const ObjectRef &, const Node &n) {
        static constexpr std::uint32_t rows[] = {role::List, role::Table, role::TreeTable,
                                                 role::Tree, role::ComboBox};
        return !n.role || !std::ranges::count(rows, *n.role);
    };
    firstBelow(window, 16, openList, container);
    return list;
}

AXResult<ValueArray> AtspiAccessibility::copyActionNames(const AXUIElement &element)
{
    const ObjectRef *ref = refOf(element);
    if (!ref)
        return AXError::IllegalArgument;
    if (isApplicationRoot(*ref))
        return ValueArray {};
    _reader->ensure({*ref}, NActions | NRole);
    if (auto failure = _reader->failure(*ref))
        return *failure;
    const Node n = _reader->node(*ref);
    const bool clickOnly = choosesWithoutClosing(*ref, n.role);
    ValueArray names;
    for (const auto &name : n.actionNames.value_or(ActionNames {})) {
        if (name && !(clickOnly && axActionName(*name) == AXPressAction))
            names.push_back(axActionName(*name));
    }
    return names;
}

bool AtspiAccessibility::choosesWithoutClosing(const ObjectRef &ref,
                                               std::optional<std::uint32_t> itsRole)
{
    // Qt's press of an item in an open menu triggers the item's action and leaves the menu
    // open, holding the pointer, so that the next click only closes it. Clicked, the item is
    // chosen and the menu closes, as for a person.
    static constexpr std::uint32_t menuItems[] = {role::MenuItem, role::CheckMenuItem,
                                                  role::RadioMenuItem};
    if (!itsRole || !std::ranges::count(menuItems, *itsRole) || !_reader->isQt(ref.service))
        return false;
    _reader->ensure({ref}, NParent);
    const auto parent = _reader->node(ref).parent;
    if (!parent || parent->isNull())
        return false;
    _reader->ensure({*parent}, NRole);
    const auto parentRole = _reader->node(*parent).role;
    return parentRole == std::optional<std::uint32_t>(role::Menu)
        || parentRole == std::optional<std::uint32_t>(role::PopupMenu);
}

AXResult<Value> AtspiAccessibility::copyParameterizedAttributeValue(const AXUIElement &element,
                                                                    const std::string &name,
                                                                    const Value &parameter)
{
    (void)parameter; // the query's shape is fixed: what is showing and matches a search key
    const ObjectRef *ref = refOf(element);
    if (!ref)
        return AXError::IllegalArgument;
    if (name != AXUIElementsForSearchPredicateAttribute)
        return AXError::ParameterizedAttributeUnsupported;
    if (auto failure = _reader->failure(*ref))
        return *failure;
    const auto matches = _reader->pressableBelow(*ref);
    if (!matches)
        return AXError::ParameterizedAttributeUnsupported;
    // What a page holds is in the page: no climb back up to it is needed.
    if (_reader->spaceOf(ref->service).mixed() && _reader->inPage(*ref))
        _reader->markInPage(*matches);
    return refsValue(*matches);
}

AXResult<AXUIElement> AtspiAccessibility::copyElementAtPosition(const AXUIElement &application,
                                                                float x, float y)
{
    const ObjectRef *app = refOf(application);
    if (!app)
        return AXError::IllegalArgument;
    auto windowsValue = copyAttributeValue(application, NSAccessibilityWindowsAttribute);
    if (!windowsValue.ok())
        return windowsValue.error();
    auto &s = *_reader;
    const CoordinateSpace space = s.spaceOf(app->service);
    const CGPoint asked = space.hitTestPoint({x, y});
    const auto px = static_cast<std::int32_t>(std::floor(asked.x));
    const auto py = static_cast<std::int32_t>(std::floor(asked.y));
    auto focused = copyAttributeValue(application, NSAccessibilityFocusedWindowAttribute);
    std::vector<ObjectRef> windows;
    if (focused.ok())
        windows.push_back(*refOf(*focused.value().get<AXUIElement>()));
    for (const auto &w : *windowsValue.value().get<ValueArray>())
        windows.push_back(*refOf(*w.get<AXUIElement>()));
    for (const auto &w : windows) {
        s.ensure({w}, NExtents);
        const auto e = s.node(w).extents;
        if (!e || !CGRectContainsPoint(space.toRoot(*e, false), {x, y}))
            continue;
        ObjectRef current = w;
        for (int depth = 0; depth < 64; ++depth) {
            auto reply =
                s.bus().call(current, componentInterface, "GetAccessibleAtPoint",
                             {px, py, s.coordinatesOf(current.service)}, s.timeoutFor(current));
            const auto hit = readObject(reply.reply());
            if (!hit || hit->isNull() || hit->key() == current.key())
                break;
            current = *hit;
        }
        return handleOf(current);
    }
    return AXError::NoValue;
}

AXError AtspiAccessibility::setAttributeValue(const AXUIElement &element, const std::string &name,
                                              const Value &value)
{
    (void)element;
    const auto *on = value.get<bool>();
    if ((name != AXManualAccessibilityAttribute && name != AXEnhancedUserInterfaceAttribute) || !on
        || !*on)
        return AXError::AttributeUnsupported;
    return _reader->bus().enableAccessibility(defaultTimeoutMs) ? AXError::Success
                                                                : AXError::Failure;
}

AXError AtspiAccessibility::setMessagingTimeout(const AXUIElement &element, float seconds)
{
    const ObjectRef *ref = refOf(element);
    if (!ref || seconds < 0)
        return AXError::IllegalArgument;
    _reader->setTimeout(
        *ref, seconds == 0 ? defaultTimeoutMs : std::max(1, static_cast<int>(seconds * 1000)));
    return AXError::Success;
}

AXError AtspiAccessibility::performAction(const AXUIElement &element, const std::string &action)
{
    const ObjectRef *ref = refOf(element);
    if (!ref)
        return AXError::IllegalArgument;
    _reader->ensure({*ref}, NActions);
    if (auto failure = _reader->failure(*ref))
        return *failure;
    const Node n = _reader->node(*ref);
    const auto names = n.actionNames.value_or(ActionNames {});
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!names[i] || axActionName(*names[i]) != action)
            continue;
        auto reply = _reader->bus().call(*ref, actionInterface, "DoAction",
                                         {static_cast<std::int32_t>(i)}, _reader->timeoutFor(*ref));
        return readBool(reply.reply()).value_or(false) ? AXError::Success : AXError::CannotComplete;
    }
    return AXError::ActionUnsupported;
}

AXResult<pid_t> AtspiAccessibility::getPid(const AXUIElement &element)
{
    const ObjectRef *ref = refOf(element);
    if (!ref || ref->service.empty())
        return AXError::InvalidUIElement;
    auto pid = _reader->bus().processOf(ref->service, defaultTimeoutMs);
    if (!pid)
        return AXError::CannotComplete;
    return *pid;
}

// Nothing is granted per process here: what stands in for the permission is the desktop's
// accessibility switch, which GNOME's bus launcher keeps in step with its own setting.
bool AtspiAccessibility::isProcessTrusted()
{
    return _reader->bus().accessibilityEnabled(defaultTimeoutMs).value_or(false);
}

void AtspiAccessibility::prefetch(const std::vector<AXUIElement> &elements, const ReadAhead &reads)
{
    unsigned needs = reads.actionNamesOf ? NActions : 0u;
    for (const auto &a : reads.attributes)
        needs |= needsOf(a);
    std::vector<ObjectRef> refs;
    refs.reserve(elements.size());
    for (const auto &e : elements) {
        if (const ObjectRef *r = refOf(e))
            refs.push_back(*r);
    }
    if (refs.empty())
        return;
    if (!reads.showingDescendants) {
        _reader->ensure(refs, needs, reads.actionNamesOf);
        return;
    }
    // What is showing below these elements will be read next: fetch it in the same go.
    constexpr std::size_t lookahead = 4000;
    _reader->ensureShowingSubtrees(refs, needs, reads.actionNamesOf, lookahead);
}

} // namespace tarnvik::linux
