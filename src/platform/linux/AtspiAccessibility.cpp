#include "platform/linux/AtspiAccessibility.h"

#include "platform/AXNames.h"
#include "platform/linux/AtspiBus.h"
#include "platform/linux/AtspiRoles.h"
#include "platform/linux/CoordinateSpace.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
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

bool isApplicationRoot(const ObjectRef &r)
{
    return r.path == rootPath;
}

bool isTimeout(const std::string &error)
{
    return error == DBUS_ERROR_NO_REPLY || error == DBUS_ERROR_TIMEOUT
        || error == DBUS_ERROR_TIMED_OUT;
}

bool isApplicationGone(const std::string &error)
{
    return error == DBUS_ERROR_SERVICE_UNKNOWN || error == DBUS_ERROR_DISCONNECTED
        || error == DBUS_ERROR_NAME_HAS_NO_OWNER;
}

// What may be read of an object, one bit each.
enum Need : unsigned {
    NRole = 1u << 0,
    NStates = 1u << 1,
    NName = 1u << 2,
    NDescription = 1u << 3,
    NParent = 1u << 4,
    NChildren = 1u << 5,
    NExtents = 1u << 6,
    NActions = 1u << 7,
    NText = 1u << 8,
    NAttributes = 1u << 9,
    NId = 1u << 10,
    // Derived: the states of the children (visible children), the roles of parent and children
    // (for roles that depend on them).
    NChildStates = 1u << 11,
    NContext = 1u << 12,
    // How many children an object has, read before the children of a container that may hold
    // thousands; and, for one that does, the children that stand in the window.
    NChildCount = 1u << 13,
    NVisibleSlice = 1u << 14,
};

// Longer lists are read where they show: a page of 10,000 links answers GetChildren in over
// a second (Chromium 1.3 s, Firefox 1.8 s), and Collection.GetMatches walks them all.
constexpr std::int32_t bigList = 1000;

// Roles whose objects may hold thousands of children.
bool mayHoldMany(std::uint32_t r)
{
    switch (r) {
    case role::Section:
    case role::List:
    case role::ListBox:
    case role::Table:
    case role::Tree:
    case role::TreeTable:
    case role::DocumentWeb:
    case role::DocumentFrame:
    case role::Panel:
    case role::Filler:
    case role::Grouping:
    case role::Form:
    case role::Landmark:
    case role::Article:
    case role::ScrollPane:
        return true;
    default:
        return false;
    }
}

using ActionNames = std::vector<std::optional<std::string>>;
using RoleFilter = bool (*)(const std::string &axRole);

struct Node
{
    unsigned fetched = 0;
    bool gone = false;
    std::optional<std::uint32_t> role;
    std::optional<StateSet> states;
    std::optional<std::string> name;
    std::optional<std::string> description;
    std::optional<ObjectRef> parent;
    std::optional<std::vector<ObjectRef>> children;
    std::optional<std::int32_t> childCount;
    std::optional<Extents> extents;
    // The names of the object's actions in their order, each known or still to be read; empty
    // without the action interface.
    std::optional<ActionNames> actionNames;
    std::optional<std::string> text;
    std::optional<std::map<std::string, std::string>> attributes;
    std::optional<std::string> id;
    std::optional<std::vector<std::string>> interfaces;
    // What a look-ahead has already read of everything showing below this object.
    unsigned subtreeFetched = 0;
    // Whether it lies in a web page, once known: see CoordinateSpace::mixed.
    std::optional<bool> inPage;

    bool implements(const char *interface) const
    {
        return !interfaces
            || std::find(interfaces->begin(), interfaces->end(), interface) != interfaces->end();
    }
};

struct Application
{
    bool snapshotTaken = false;
    bool unresponsive = false;
};

struct Toolkit
{
    bool known = false;
    ToolkitGeometry geometry;
};

StateSet statesOf(const std::vector<std::uint32_t> &words)
{
    StateSet s;
    if (!words.empty())
        s.low = words[0];
    if (words.size() > 1)
        s.high = words[1];
    return s;
}

bool isTextRole(const std::string &axRole)
{
    return axRole == "AXTextField" || axRole == "AXTextArea" || axRole == "AXStaticText"
        || axRole == "AXComboBox";
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

// GTK 3 gives an object it has not placed extents of -1 by -1.
bool hasPlace(const Extents &e)
{
    return e.width >= 0 && e.height >= 0;
}

std::optional<Extents> unionOf(const std::vector<Extents> &rects)
{
    if (rects.empty())
        return std::nullopt;
    Extents united = rects.front();
    for (const auto &e : rects) {
        const auto right = std::max(united.x + united.width, e.x + e.width);
        const auto bottom = std::max(united.y + united.height, e.y + e.height);
        united.x = std::min(united.x, e.x);
        united.y = std::min(united.y, e.y);
        united.width = right - united.x;
        united.height = bottom - united.y;
    }
    return united;
}

// The roles the search keys ask for, as a bit set of role numbers.
std::vector<std::int32_t> searchKeyRoles()
{
    const std::uint32_t roles[] = {role::PushButton,   62 /* toggle button */, role::CheckBox,
                                   role::RadioButton,  role::PageTab,          role::Link,
                                   role::Entry,        role::PasswordText,     role::ComboBox,
                                   role::ListBox,      role::Slider,           role::SpinButton,
                                   role::Image,        role::MenuItem,         role::CheckMenuItem,
                                   role::RadioMenuItem};
    std::vector<std::int32_t> words(4, 0);
    for (auto r : roles)
        words[r / 32] |= static_cast<std::int32_t>(1u << (r % 32));
    return words;
}

bool isSearchKeyRole(std::uint32_t r)
{
    static const auto roles = searchKeyRoles();
    return r < 32 * roles.size() && (roles[r / 32] & static_cast<std::int32_t>(1u << (r % 32)));
}

} // namespace

class AtspiAccessibility::State
{
public:
    State(AtspiBus &b, ClientWindowsOf w)
        : bus(b)
        , windowsOf(std::move(w))
    { }

    AtspiBus &bus;
    ClientWindowsOf windowsOf;

    // Reads what `needs` asks of each object, fetching what isn't known yet in bursts of calls
    // issued together, a few rounds deep for what depends on an earlier answer. With
    // `actionNamesOf`, action names only of the objects whose role it accepts.
    void ensure(const std::vector<ObjectRef> &objects, unsigned needs,
                RoleFilter actionNamesOf = nullptr)
    {
        // The objects of one burst nearly always belong to one application.
        const std::string *service = nullptr;
        for (const auto &o : objects) {
            if (!service || o.service != *service)
                takeSnapshot(o.service);
            service = &o.service;
        }
        for (int round = 0; round < 4; ++round) {
            std::vector<std::pair<ObjectRef, unsigned>> work;
            {
                std::lock_guard lock(mutex);
                for (const auto &o : objects)
                    addMissing(o, needs, actionNamesOf, work);
            }
            if (work.empty())
                return;
            fetch(work);
        }
    }

    Node node(const ObjectRef &o)
    {
        std::lock_guard lock(mutex);
        return nodes[o.key()];
    }

    std::optional<AXError> failure(const ObjectRef &o)
    {
        if (o.service.empty())
            return AXError::CannotComplete;
        std::lock_guard lock(mutex);
        if (applications[o.service].unresponsive)
            return AXError::CannotComplete;
        if (nodes[o.key()].gone)
            return AXError::InvalidUIElement;
        return std::nullopt;
    }

    AxRole axRole(const Node &n)
    {
        RoleContext context;
        context.role = n.role.value_or(0);
        context.states = n.states.value_or(StateSet {});
        std::lock_guard lock(mutex);
        if (n.parent)
            context.parentRole = nodes[n.parent->key()].role;
        if (n.children && needsChildren(context.role)) {
            for (const auto &c : *n.children) {
                const auto r = nodes[c.key()].role;
                context.hasEntryChild = context.hasEntryChild
                    || r == std::optional<std::uint32_t>(role::Entry)
                    || r == std::optional<std::uint32_t>(role::Text);
            }
        }
        context.placed = !n.extents || hasPlace(*n.extents);
        if (n.attributes) {
            if (auto it = n.attributes->find("xml-roles"); it != n.attributes->end())
                context.xmlRoles = it->second;
        }
        return axRoleOf(context);
    }

    int timeoutFor(const ObjectRef &o)
    {
        std::lock_guard lock(mutex);
        auto it = timeouts.find(o.key());
        return it == timeouts.end() ? defaultTimeoutMs : it->second;
    }

    ToolkitGeometry toolkitOf(const std::string &service)
    {
        {
            std::lock_guard lock(mutex);
            if (toolkits[service].known)
                return toolkits[service].geometry;
        }
        const ObjectRef root {service, rootPath};
        auto name = bus.property(root, applicationInterface, "ToolkitName", defaultTimeoutMs);
        auto version = bus.property(root, applicationInterface, "Version", defaultTimeoutMs);
        const auto geometry = toolkitGeometry(readStringVariant(name.reply()).value_or(""),
                                              readStringVariant(version.reply()).value_or(""));
        std::lock_guard lock(mutex);
        toolkits[service] = Toolkit {true, geometry};
        return geometry;
    }

    // GTK 4 is the toolkit that counts from its window.
    bool isGtk4(const std::string &service) { return toolkitOf(service).relativeToWindow; }

    // An object without a place of its own stands where its children do: GTK 4's stack pages
    // have no Component, and GTK 3 places the page tab of a notebook whose tabs are hidden at
    // -1,-1 sized -1 by -1, though it holds the page's content. It takes the union of its
    // showing children that have a size (of all of them where none is showing: GTK 4 marks
    // only its windows), or where the first one stands.
    std::optional<Extents> extentsOf(const ObjectRef &ref, const Node &own)
    {
        if ((own.extents && hasPlace(*own.extents))
            || (!own.extents && own.implements(componentInterface)))
            return own.extents;
        ensure({ref}, NChildren);
        const auto children = node(ref).children.value_or(std::vector<ObjectRef> {});
        ensure(children, NExtents | NStates);
        std::vector<Extents> sized;
        std::vector<Extents> showing;
        std::optional<Extents> first;
        for (const auto &c : children) {
            const Node n = node(c);
            if (!n.extents)
                continue;
            if (!first)
                first = n.extents;
            if (n.extents->width <= 0 || n.extents->height <= 0)
                continue;
            sized.push_back(*n.extents);
            if (n.states && n.states->has(state::Showing))
                showing.push_back(*n.extents);
        }
        if (auto united = unionOf(showing.empty() ? sized : showing))
            return united;
        return first ? first : own.extents;
    }

    // How the application's coordinates map onto the root window, worked out once a read:
    // one X request for its windows, whose frames the read asks for anyway.
    CoordinateSpace spaceOf(const std::string &service)
    {
        {
            std::lock_guard lock(mutex);
            if (auto it = spaces.find(service); it != spaces.end())
                return it->second;
        }
        CoordinateSpace space;
        if (const auto pid = bus.processOf(service, defaultTimeoutMs)) {
            const ObjectRef root {service, rootPath};
            ensure({root}, NChildren);
            const auto frames = node(root).children.value_or(std::vector<ObjectRef> {});
            ensure(frames, NRole | NStates | NName | NExtents);
            std::vector<ReportedWindow> reported;
            for (const auto &f : frames) {
                const Node n = node(f);
                if (n.role && isWindowRole(*n.role) && n.states && n.states->has(state::Showing)
                    && n.extents)
                    reported.push_back(ReportedWindow {n.name.value_or(""), *n.extents,
                                                       n.states->has(state::Active)});
            }
            space = CoordinateSpace::of(toolkitOf(service), windowsOf(*pid), reported);
        }
        std::lock_guard lock(mutex);
        spaces[service] = space;
        return space;
    }

    // Where the object stands in root pixels.
    std::optional<CGRect> rootFrameOf(const ObjectRef &ref, const Node &own)
    {
        const auto extents = extentsOf(ref, own);
        if (!extents)
            return std::nullopt;
        const CoordinateSpace space = spaceOf(ref.service);
        return space.toRoot(*extents, space.mixed() && inPage(ref));
    }

    // Whether the object lies in a web page: its own role, or its parents', read where the
    // walk, a query or the snapshot left them unknown.
    bool inPage(const ObjectRef &o)
    {
        const auto known = [](const Node &n) {
            return n.inPage || n.gone || (n.role && (n.parent || (n.fetched & NParent)));
        };
        std::vector<ObjectRef> chain;
        std::optional<bool> found;
        for (ObjectRef current = o; !found && chain.size() < 1000;) {
            Node n = node(current);
            if (!known(n)) {
                ensure({current}, NParent | NRole);
                n = node(current);
                if (!known(n))
                    break; // the application doesn't answer
            }
            chain.push_back(current);
            if (n.inPage)
                found = n.inPage;
            else if (n.role == std::optional<std::uint32_t>(role::DocumentWeb))
                found = true;
            else if (!n.parent || n.parent->isNull() || isApplicationRoot(*n.parent))
                found = false;
            else
                current = *n.parent;
        }
        std::lock_guard lock(mutex);
        for (const auto &c : chain)
            nodes[c.key()].inPage = found.value_or(false);
        return found.value_or(false);
    }

    void markInPage(const std::vector<ObjectRef> &objects)
    {
        std::lock_guard lock(mutex);
        for (const auto &o : objects)
            nodes[o.key()].inPage = true;
    }

    // What is showing below an object and has a role the search keys ask for, in canonical
    // order; nothing where the toolkit doesn't answer. One query where the page is small; a
    // walk of what shows where it holds a long list, which the query would read whole.
    std::optional<std::vector<ObjectRef>> pressableBelow(const ObjectRef &o)
    {
        if (walkShowing(o))
            return pressableIn(o);
        MatchRule rule;
        rule.states = {static_cast<std::int32_t>((1u << state::Showing) | (1u << state::Visible)),
                       0};
        rule.stateMatchType = 1; // all
        rule.attributeMatchType = 1;
        rule.roles = searchKeyRoles();
        rule.roleMatchType = 2; // any
        rule.interfaceMatchType = 1;
        const std::uint32_t canonical = 1;
        auto reply = bus.call(o, collectionInterface, "GetMatches",
                              {rule, canonical, std::int32_t {0}, true}, timeoutFor(o));
        return readObjects(reply.reply());
    }

    // Reads what shows below `o`, level by level in one burst each, long lists by their
    // visible part, but not what the pressable elements hold (a link's text, a button's
    // label). Gives up once a level is wide and no long list has come: answers whether the walk
    // went to the end.
    bool walkShowing(const ObjectRef &o)
    {
        constexpr std::size_t probeWidth = 200;
        constexpr std::size_t maxNodes = 20000;
        std::vector<ObjectRef> level {o};
        bool sawLongList = false;
        std::size_t total = 0;
        for (int depth = 0; depth < 64 && !level.empty() && total < maxNodes; ++depth) {
            if (!sawLongList && level.size() > probeWidth)
                return false;
            ensure(level, NRole | NStates);
            std::vector<ObjectRef> containers;
            {
                std::lock_guard lock(mutex);
                for (const auto &c : level) {
                    const Node &n = nodes[c.key()];
                    const bool root = c.key() == o.key();
                    if (root
                        || (n.states && n.states->has(state::Showing)
                            && !(n.role && isSearchKeyRole(*n.role))))
                        containers.push_back(c);
                }
            }
            ensure(containers, NChildren);
            std::vector<ObjectRef> next;
            std::lock_guard lock(mutex);
            for (const auto &c : containers) {
                const Node &n = nodes[c.key()];
                sawLongList = sawLongList || n.childCount.value_or(0) > bigList;
                if (n.children)
                    next.insert(next.end(), n.children->begin(), n.children->end());
            }
            total += level.size();
            level = std::move(next);
        }
        return sawLongList;
    }

    // After `walkShowing`: what it found showing, visible and pressable, in document order.
    std::vector<ObjectRef> pressableIn(const ObjectRef &o)
    {
        std::vector<ObjectRef> found;
        std::vector<ObjectRef> stack {o};
        std::lock_guard lock(mutex);
        while (!stack.empty()) {
            const ObjectRef c = stack.back();
            stack.pop_back();
            const Node &n = nodes[c.key()];
            const bool shows = n.states && n.states->has(state::Showing);
            if (c.key() != o.key() && !shows)
                continue;
            if (shows && n.states->has(state::Visible) && n.role && isSearchKeyRole(*n.role))
                found.push_back(c);
            if (n.children)
                stack.insert(stack.end(), n.children->rbegin(), n.children->rend());
        }
        return found;
    }

    // The part of a long list that stands in its application's window: the children are laid
    // out in their order, top to bottom, so the first and the last that show are found by
    // a few rounds of probes (sixteen children at a time, their place asked together), and
    // only those between are read.
    void readVisibleSlice(const ObjectRef &o)
    {
        const auto count = node(o).childCount.value_or(0);
        const auto region = visibleRegionOf(o.service);
        const int t = timeoutFor(o);
        // The first child not above the region lies in [startLo, startHi]; the first below it
        // in [endLo, endHi].
        std::int32_t startLo = 0, startHi = count, endLo = 0, endHi = count;
        for (int round = 0; round < 8 && region && (startLo < startHi || endLo < endHi); ++round) {
            std::vector<std::int32_t> probes;
            const auto spread = [&probes](std::int32_t lo, std::int32_t hi) {
                for (int k = 1; k <= 8 && lo < hi; ++k)
                    probes.push_back(
                        lo + static_cast<std::int32_t>(static_cast<std::int64_t>(hi - lo) * k / 9));
            };
            spread(startLo, startHi);
            spread(endLo, endHi);
            const auto places = placesOf(o, probes, t);
            for (std::size_t i = 0; i < probes.size(); ++i) {
                if (!places[i])
                    continue;
                const auto p = probes[i];
                const auto &e = *places[i];
                if (e.y + e.height <= region->origin.y)
                    startLo = std::max(startLo, p + 1);
                else
                    startHi = std::min(startHi, p);
                if (e.y >= region->origin.y + region->size.height)
                    endHi = std::min(endHi, p);
                else
                    endLo = std::max(endLo, p + 1);
            }
            startHi = std::max(startHi, startLo);
            endHi = std::max(endHi, endLo);
        }
        const std::int32_t first = region ? startLo : 0;
        const std::int32_t last =
            std::min(region ? std::max(endLo, first) : count, first + bigList);
        std::vector<PendingCall> calls;
        for (std::int32_t i = first; i < last; ++i)
            calls.push_back(bus.call(o, accessibleInterface, "GetChildAtIndex", {i}, t));
        std::vector<ObjectRef> children;
        for (auto &call : calls)
            if (auto child = call.isError() ? std::nullopt : readObject(call.reply()))
                children.push_back(*child);
        std::lock_guard lock(mutex);
        Node &n = nodes[o.key()];
        n.children = std::move(children);
        n.fetched |= NChildren | NVisibleSlice;
    }

    // Where the children at these indices stand; nothing where a call failed.
    std::vector<std::optional<Extents>> placesOf(const ObjectRef &o,
                                                 const std::vector<std::int32_t> &indices, int t)
    {
        std::vector<PendingCall> childCalls;
        for (auto i : indices)
            childCalls.push_back(bus.call(o, accessibleInterface, "GetChildAtIndex", {i}, t));
        std::vector<std::optional<PendingCall>> extentCalls;
        for (auto &call : childCalls) {
            const auto child = call.isError() ? std::nullopt : readObject(call.reply());
            extentCalls.push_back(
                child ? std::optional(
                    bus.call(*child, componentInterface, "GetExtents", {std::uint32_t {0}}, t))
                      : std::nullopt);
        }
        std::vector<std::optional<Extents>> places;
        for (auto &call : extentCalls)
            places.push_back(call && !call->isError() ? readExtents(call->reply()) : std::nullopt);
        return places;
    }

    // The application's active window, in the coordinates its toolkit reports.
    std::optional<CGRect> visibleRegionOf(const std::string &service)
    {
        const auto pid = bus.processOf(service, defaultTimeoutMs);
        if (!pid)
            return std::nullopt;
        for (const auto &w : windowsOf(*pid)) {
            if (!w.isActive)
                continue;
            const CoordinateSpace space = spaceOf(service);
            const CGPoint topLeft = space.hitTestPoint(w.frame.origin);
            const CGPoint bottomRight = space.hitTestPoint(
                {w.frame.origin.x + w.frame.size.width, w.frame.origin.y + w.frame.size.height});
            return makeRect(topLeft.x, topLeft.y, bottomRight.x - topLeft.x,
                            bottomRight.y - topLeft.y);
        }
        return std::nullopt;
    }

    void invalidate()
    {
        std::lock_guard lock(mutex);
        nodes.clear();
        applications.clear();
        spaces.clear();
    }

    // GTK 4 says showing of its windows only. There an object may show when it is visible and
    // has a size, or has no place of its own: a stack page stands where its children are. The
    // pages a stack hides are visible and sized 0 by 0.
    static bool mayShow(const Node &n, bool gtk4)
    {
        if (!n.states)
            return false;
        if (!gtk4 || n.states->has(state::Showing))
            return n.states->has(state::Showing);
        if (!n.states->has(state::Visible))
            return false;
        if (!n.extents)
            return !n.implements(componentInterface);
        return n.extents->width > 0 && n.extents->height > 0;
    }

    // Reads `needs` of the objects and, level by level in one burst each, of everything showing
    // below them: what the walk will ask for next.
    void ensureShowingSubtrees(const std::vector<ObjectRef> &objects, unsigned needs,
                               RoleFilter actionNamesOf, std::size_t max)
    {
        std::unordered_set<std::string> seen;
        std::vector<ObjectRef> level;
        {
            std::lock_guard lock(mutex);
            for (const auto &o : objects) {
                if ((nodes[o.key()].subtreeFetched & needs) != needs)
                    level.push_back(o);
            }
        }
        std::vector<ObjectRef> visited;
        std::size_t total = 0;
        const bool gtk4 = !level.empty() && isGtk4(level.front().service);
        while (!level.empty() && total < max) {
            ensure(level, needs | NStates | (gtk4 ? NExtents : 0u), actionNamesOf);
            std::vector<ObjectRef> showing;
            {
                std::lock_guard lock(mutex);
                for (const auto &o : level) {
                    if (mayShow(nodes[o.key()], gtk4))
                        showing.push_back(o);
                }
            }
            // A page is read by one query where the caller allows it, and by a walk of its own,
            // with hints of its own, where not: the look-ahead stops at it.
            std::erase_if(showing, [&](const ObjectRef &o) {
                std::lock_guard lock(mutex);
                return nodes[o.key()].role == std::optional<std::uint32_t>(role::DocumentWeb);
            });
            ensure(showing, NChildren);
            std::vector<ObjectRef> next;
            {
                std::lock_guard lock(mutex);
                for (const auto &o : showing) {
                    const Node &n = nodes[o.key()];
                    if (!n.children)
                        continue;
                    for (const auto &c : *n.children) {
                        if (seen.insert(c.key()).second)
                            next.push_back(c);
                    }
                }
            }
            total += level.size();
            visited.insert(visited.end(), level.begin(), level.end());
            level = std::move(next);
        }
        if (!level.empty())
            return; // cut short: what lies deeper is read when it is asked for
        std::lock_guard lock(mutex);
        for (const auto &o : visited)
            nodes[o.key()].subtreeFetched |= needs;
    }

    std::mutex mutex;
    std::unordered_map<std::string, Node> nodes;
    std::unordered_map<std::string, Application> applications;
    std::unordered_map<std::string, Toolkit> toolkits;
    std::unordered_map<std::string, CoordinateSpace> spaces;
    std::unordered_map<std::string, int> timeouts;
    std::unordered_map<pid_t, std::string> services;

private:
    // What of `needs` is not known of `o` yet, including what the answers so far make necessary.
    void addMissing(const ObjectRef &o, unsigned needs, RoleFilter actionNamesOf,
                    std::vector<std::pair<ObjectRef, unsigned>> &work)
    {
        if (applications[o.service].unresponsive)
            return;
        Node &n = nodes[o.key()];
        if (n.gone)
            return;
        const bool roleKnown = n.role && n.states;
        // Without its parent and children a role may be named differently, but never across the
        // line that the filters draw (a menu is a menu bar item or a menu, a combo box a combo
        // box or a pop-up button), so the role alone decides.
        const bool filtered = actionNamesOf && (needs & NActions);
        const std::string axRole = roleKnown && (filtered || (needs & (NText | NAttributes | NId)))
            ? axRoleOf(RoleContext {*n.role, *n.states, {}, true, {}}).role
            : std::string();
        // Until the role is known the names are read with it, rather than a round later.
        if (filtered && roleKnown && !actionNamesOf(axRole))
            needs &= ~NActions;
        unsigned own = needs
            & (NRole | NStates | NName | NDescription | NParent | NChildren | NExtents | NActions);
        if (n.role && (needs & NContext)) {
            if (needsParentRole(*n.role))
                own |= NParent;
            if (needsChildren(*n.role))
                own |= NChildren;
            if (needsExtents(*n.role))
                own |= NExtents;
            if (*n.role == role::Landmark)
                own |= NAttributes;
        }
        if (roleKnown && (needs & (NText | NAttributes | NId))) {
            if (isTextRole(axRole)) {
                if (n.implements(textInterface))
                    own |= needs & NText;
                own |= needs & NAttributes;
            }
            // The identifier matters only to the rule for a browser's address field; reading
            // it of every element would cost a third of a window's calls.
            if (axRole == "AXTextField")
                own |= needs & NId;
        }
        if ((own & NChildren) && !(n.fetched & NChildren)) {
            own &= ~NChildren;
            if (!n.role)
                own |= NRole; // the children a round later, once the role tells what to ask
            else if (!mayHoldMany(*n.role) || (n.childCount && *n.childCount <= bigList))
                own |= NChildren;
            else
                own |= n.childCount ? NVisibleSlice : NChildCount;
        }
        const unsigned missing = own & ~n.fetched;
        if (missing)
            work.emplace_back(o, missing);
        if (n.actionNames && (needs & NActions)) {
            for (std::size_t i = 0; i < n.actionNames->size() && i < 32; ++i) {
                if (!(*n.actionNames)[i])
                    work.emplace_back(o, NActions | (static_cast<unsigned>(i + 1) << 16));
            }
        }
        // What others must answer for this one.
        auto needFrom = [&](const ObjectRef &other, unsigned what) {
            Node &m = nodes[other.key()];
            if (!m.gone && (what & ~m.fetched) && !applications[other.service].unresponsive)
                work.emplace_back(other, what & ~m.fetched);
        };
        if (n.role && (needs & NContext)) {
            if (needsParentRole(*n.role) && n.parent && !n.parent->isNull())
                needFrom(*n.parent, NRole);
            if (needsChildren(*n.role) && n.children) {
                for (const auto &c : *n.children)
                    needFrom(c, NRole);
            }
        }
        if ((needs & NChildStates) && n.children) {
            for (const auto &c : *n.children)
                needFrom(c, NStates);
        }
    }

    struct Call
    {
        ObjectRef object;
        std::string key;
        unsigned need;
        // For one action's name, its index plus one.
        unsigned action;
        PendingCall call;
    };

    void fetch(const std::vector<std::pair<ObjectRef, unsigned>> &work)
    {
        std::vector<ObjectRef> slices;
        std::vector<Call> pending;
        pending.reserve(work.size() * 3);
        for (const auto &[o, needs] : work) {
            const int t = timeoutFor(o);
            const std::string key = o.key();
            auto add = [&](unsigned need, PendingCall call, unsigned action = 0) {
                pending.push_back(Call {o, key, need, action, std::move(call)});
            };
            if (const unsigned action = needs >> 16) {
                add(NActions,
                    bus.call(o, actionInterface, "GetName", {static_cast<std::int32_t>(action - 1)},
                             t),
                    action);
                continue;
            }
            if (needs & NRole)
                add(NRole, bus.call(o, accessibleInterface, "GetRole", {}, t));
            if (needs & NStates)
                add(NStates, bus.call(o, accessibleInterface, "GetState", {}, t));
            if (needs & NName)
                add(NName, bus.property(o, accessibleInterface, "Name", t));
            if (needs & NDescription)
                add(NDescription, bus.property(o, accessibleInterface, "Description", t));
            if (needs & NParent)
                add(NParent, bus.property(o, accessibleInterface, "Parent", t));
            if (needs & NChildren)
                add(NChildren, bus.call(o, accessibleInterface, "GetChildren", {}, t));
            if (needs & NChildCount)
                add(NChildCount, bus.property(o, accessibleInterface, "ChildCount", t));
            if (needs & NVisibleSlice)
                slices.push_back(o);
            if (needs & NExtents)
                add(NExtents,
                    bus.call(o, componentInterface, "GetExtents", {std::uint32_t {0}}, t));
            // All names in one call. ATK and Qt translate these names, so a name that is not
            // one of the known ones in English is read again untranslated, one by one.
            if (needs & NActions)
                add(NActions, bus.call(o, actionInterface, "GetActions", {}, t));
            if (needs & NText)
                add(NText,
                    bus.call(o, textInterface, "GetText", {std::int32_t {0}, std::int32_t {-1}},
                             t));
            if (needs & NAttributes)
                add(NAttributes, bus.call(o, accessibleInterface, "GetAttributes", {}, t));
            if (needs & NId)
                add(NId, bus.property(o, accessibleInterface, "AccessibleId", t));
        }
        for (auto &p : pending)
            p.call.reply();
        {
            std::lock_guard lock(mutex);
            for (auto &p : pending)
                store(p);
        }
        for (const auto &o : slices)
            readVisibleSlice(o);
    }

    void store(Call &p)
    {
        Node &n = nodes[p.key];
        n.fetched |= p.need;
        if (p.call.isError()) {
            const std::string error = p.call.errorName();
            // "No such object" means gone only as the answer to what every object answers:
            // Qt says the same of an interface an object lacks.
            const bool universal = p.need == NRole || p.need == NStates || p.need == NChildren;
            if (isTimeout(error))
                applications[p.object.service].unresponsive = true;
            else if (isApplicationGone(error) || (universal && error == DBUS_ERROR_UNKNOWN_OBJECT))
                n.gone = true;
            else if (p.need == NActions && !p.action)
                n.actionNames.emplace();
            else if (p.need == NChildCount)
                n.childCount = 0; // unknown: the children are asked for as they are
            return;
        }
        DBusMessage *m = p.call.reply();
        switch (p.need) {
        case NRole:
            n.role = readUint(m);
            break;
        case NStates:
            if (auto words = readUints(m))
                n.states = statesOf(*words);
            break;
        case NName:
            n.name = readStringVariant(m);
            break;
        case NDescription:
            n.description = readStringVariant(m);
            break;
        case NParent:
            n.parent = readObjectVariant(m);
            break;
        case NChildren:
            n.children = readObjects(m);
            // Known for certain now, so that a climb to a web page needs no call.
            for (const auto &c : n.children.value_or(std::vector<ObjectRef> {})) {
                Node &child = nodes[c.key()];
                if (!child.parent)
                    child.parent = p.object;
            }
            break;
        case NChildCount:
            n.childCount = readIntVariant(m).value_or(0);
            break;
        case NExtents:
            n.extents = readExtents(m);
            break;
        case NActions:
            if (p.action) {
                (*n.actionNames)[p.action - 1] = readString(m).value_or(std::string());
                break;
            }
            n.actionNames.emplace();
            for (auto &name : readActionNames(m).value_or(std::vector<std::string> {})) {
                if (isKnownActionName(name))
                    n.actionNames->emplace_back(std::move(name));
                else
                    n.actionNames->emplace_back();
            }
            break;
        case NText:
            n.text = readString(m);
            break;
        case NAttributes:
            n.attributes = readStringMap(m);
            break;
        case NId:
            n.id = readStringVariant(m);
            break;
        default:
            break;
        }
    }

    // One call for what the toolkit knows of every object of the application: roles, states,
    // names, descriptions and the links between them.
    void takeSnapshot(const std::string &service)
    {
        if (service.empty())
            return;
        {
            std::lock_guard lock(mutex);
            auto &app = applications[service];
            if (app.snapshotTaken || app.unresponsive)
                return;
            app.snapshotTaken = true;
        }
        auto reply = bus.call(ObjectRef {service, "/org/a11y/atspi/cache"}, "org.a11y.atspi.Cache",
                              "GetItems", {}, defaultTimeoutMs);
        const bool failed = reply.isError();
        const auto items = failed ? std::nullopt : readCacheItems(reply.reply());
        std::lock_guard lock(mutex);
        if (failed && isTimeout(reply.errorName()))
            applications[service].unresponsive = true;
        if (!items)
            return;
        std::unordered_map<std::string, std::vector<std::pair<int, ObjectRef>>> childrenOf;
        std::unordered_map<std::string, int> childCounts;
        for (const auto &item : *items) {
            const std::string key = item.object.key();
            Node &n = nodes[key];
            n.role = item.role;
            n.states = statesOf(item.states);
            n.name = item.name;
            n.description = item.description;
            n.parent = item.parent;
            n.interfaces = item.interfaces;
            n.fetched |= NRole | NStates | NName | NDescription | NParent;
            if (!n.implements(actionInterface)) {
                n.actionNames.emplace();
                n.fetched |= NActions;
            }
            // GTK 4 counts no children of the application itself; its windows are asked for.
            if (item.childCount == 0 && !isApplicationRoot(item.object)) {
                n.children.emplace();
                n.fetched |= NChildren;
            }
            childCounts[key] = item.childCount;
            if (!isApplicationRoot(item.object))
                n.childCount = item.childCount;
            childrenOf[item.parent.key()].emplace_back(item.indexInParent, item.object);
        }
        // A child list is taken from the snapshot only where it is complete: toolkits keep
        // there only the objects somebody has asked about.
        for (auto &[parentKey, children] : childrenOf) {
            if (parentKey.ends_with(std::string("\n") + rootPath))
                continue;
            auto count = childCounts.find(parentKey);
            if (count == childCounts.end() || count->second != static_cast<int>(children.size()))
                continue;
            std::sort(children.begin(), children.end(),
                      [](const auto &a, const auto &b) { return a.first < b.first; });
            Node &n = nodes[parentKey];
            n.children.emplace();
            for (const auto &[index, child] : children)
                n.children->push_back(child);
            n.fetched |= NChildren;
        }
    }
};

AtspiAccessibility::AtspiAccessibility(AtspiBus &bus, ClientWindowsOf windowsOf)
    : _state(std::make_unique<State>(bus, std::move(windowsOf)))
{
    bus.listenForChildrenChanges(defaultTimeoutMs);
}

AtspiAccessibility::~AtspiAccessibility() = default;

void AtspiAccessibility::invalidateCache()
{

    _state->invalidate();
}

AXUIElement AtspiAccessibility::createApplication(pid_t pid)
{
    {
        std::lock_guard lock(_state->mutex);
        if (auto it = _state->services.find(pid); it != _state->services.end())
            return handleOf(ObjectRef {it->second, rootPath});
    }
    for (const auto &app : _state->bus.applications(defaultTimeoutMs)) {
        if (_state->bus.processOf(app.service, defaultTimeoutMs) == pid) {
            std::lock_guard lock(_state->mutex);
            _state->services[pid] = app.service;
            return handleOf(ObjectRef {app.service, rootPath});
        }
    }
    // No accessible application: calls on this element fail.
    return handleOf(ObjectRef {std::string(), rootPath});
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
        _state->ensure({*ref}, needs);
    if (auto failure = _state->failure(*ref))
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
    auto &s = *_state;
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
        const auto found = n.attributes ? n.attributes->find("placeholder-text")
                                        : std::map<std::string, std::string>::const_iterator {};
        if (!n.attributes || found == n.attributes->end())
            return AXError::NoValue;
        return Value(found->second);
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
    // A menu bar is the application's, reached through its menu-bar attribute, not a part of
    // the window that holds it on Linux: read twice, it would be labelled twice.
    // GTK 4 keeps the widgets of the pages a stack hides in its tree, sized 0 by 0 and never
    // saying what shows; AppKit leaves the views of hidden tabs out, and so does this.
    const bool gtk4 = s.isGtk4(ref->service);
    s.ensure(*n.children, NRole | (gtk4 ? NStates | NExtents : 0u));
    const bool visibleOnly = name != NSAccessibilityChildrenAttribute;
    std::vector<ObjectRef> children;
    for (const auto &c : *n.children) {
        const Node child = s.node(c);
        if (child.role == std::optional<std::uint32_t>(role::MenuBar))
            continue;
        if ((gtk4 || visibleOnly) && !State::mayShow(child, gtk4))
            continue;
        children.push_back(c);
    }
    return refsValue(children);
}

std::optional<ObjectRef> AtspiAccessibility::focusedWindow(const ObjectRef &app,
                                                           const std::vector<ObjectRef> &windows)
{
    auto &s = *_state;
    if (windows.empty())
        return std::nullopt;
    // The X server knows which window is active; some toolkits never say so themselves.
    if (auto pid = s.bus.processOf(app.service, defaultTimeoutMs)) {
        for (const auto &client : s.windowsOf(*pid)) {
            if (!client.isActive)
                continue;
            if (auto frame = frameOf(app, client, windows))
                return frame;
        }
    }
    for (const auto &w : windows) {
        const Node n = s.node(w);
        if (n.states && n.states->has(state::Active))
            return w;
    }
    for (const auto &w : windows) {
        const Node n = s.node(w);
        if (n.states && n.states->has(state::Showing))
            return w;
    }
    return windows.front();
}

std::optional<ObjectRef> AtspiAccessibility::frameOf(const ObjectRef &app,
                                                     const ClientWindow &client,
                                                     const std::vector<ObjectRef> &windows)
{
    // Several windows may share a title, so the one whose frame fits the window best is taken.
    auto &s = *_state;
    s.ensure(windows, NExtents);
    const bool relative = s.isGtk4(app.service);
    std::optional<ObjectRef> best;
    double bestDistance = 0;
    for (const auto &w : windows) {
        const Node n = s.node(w);
        if (!n.name || *n.name != client.title || !n.extents || !n.states
            || !n.states->has(state::Showing))
            continue;
        const CGRect &f = client.frame;
        const auto &e = *n.extents;
        double distance = std::abs(e.width - f.size.width) + std::abs(e.height - f.size.height);
        if (!relative)
            distance += std::abs(e.x - f.origin.x) + std::abs(e.y - f.origin.y);
        if (!best || distance < bestDistance) {
            best = w;
            bestDistance = distance;
        }
    }
    return best;
}

bool AtspiAccessibility::hasPanel(const ObjectRef &app, Panel panel)
{
    const auto pid = _state->bus.processOf(app.service, defaultTimeoutMs);
    if (!pid)
        return false;
    const auto windows = _state->windowsOf(*pid);
    return std::any_of(windows.begin(), windows.end(),
                       [panel](const ClientWindow &w) { return w.panel == panel; });
}

std::vector<ObjectRef> AtspiAccessibility::panelFrames(const ObjectRef &app,
                                                       const std::vector<ObjectRef> &windows,
                                                       Panel panel)
{
    std::vector<ObjectRef> frames;
    const auto pid = _state->bus.processOf(app.service, defaultTimeoutMs);
    if (!pid)
        return frames;
    for (const auto &client : _state->windowsOf(*pid)) {
        if (client.panel != panel)
            continue;
        if (auto frame = frameOf(app, client, windows))
            frames.push_back(*frame);
    }
    return frames;
}

std::optional<ObjectRef> AtspiAccessibility::menuBarUnder(const ObjectRef &window)
{
    auto &s = *_state;
    std::vector<ObjectRef> level {window};
    for (int depth = 0; depth < 6 && !level.empty(); ++depth) {
        s.ensure(level, NChildren);
        std::vector<ObjectRef> next;
        for (const auto &o : level) {
            const auto children = s.node(o).children;
            if (children)
                next.insert(next.end(), children->begin(), children->end());
        }
        s.ensure(next, NRole | NStates);
        for (const auto &o : next) {
            const Node n = s.node(o);
            if (n.role == std::optional<std::uint32_t>(role::MenuBar) && n.states
                && n.states->has(state::Showing))
                return o;
        }
        // A menu bar shows, and is never part of a page: what is hidden, and the pages with
        // their thousands of links, are not looked through.
        std::erase_if(next, [&s](const ObjectRef &o) {
            const Node n = s.node(o);
            return !n.states || !n.states->has(state::Showing)
                || n.role == std::optional<std::uint32_t>(role::DocumentWeb);
        });
        level = std::move(next);
    }
    return std::nullopt;
}

AXResult<ValueArray> AtspiAccessibility::copyAttributeValues(const AXUIElement &element,
                                                             const std::string &name, long index,
                                                             long maxValues)
{
    auto value = copyAttributeValue(element, name);
    if (!value.ok())
        return value.error();
    return slice(value.value(), index, maxValues);
}

AXResult<ValueArray> AtspiAccessibility::copyActionNames(const AXUIElement &element)
{
    const ObjectRef *ref = refOf(element);
    if (!ref)
        return AXError::IllegalArgument;
    if (isApplicationRoot(*ref))
        return ValueArray {};
    _state->ensure({*ref}, NActions);
    if (auto failure = _state->failure(*ref))
        return *failure;
    const Node n = _state->node(*ref);
    ValueArray names;
    for (const auto &name : n.actionNames.value_or(ActionNames {})) {
        if (name)
            names.push_back(axActionName(*name));
    }
    return names;
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
    if (auto failure = _state->failure(*ref))
        return *failure;
    const auto matches = _state->pressableBelow(*ref);
    if (!matches)
        return AXError::ParameterizedAttributeUnsupported;
    // What a page holds is in the page: no climb back up to it is needed.
    if (_state->spaceOf(ref->service).mixed() && _state->inPage(*ref))
        _state->markInPage(*matches);
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
    auto &s = *_state;
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
            auto reply = s.bus.call(current, componentInterface, "GetAccessibleAtPoint",
                                    {px, py, std::uint32_t {0}}, s.timeoutFor(current));
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
    return _state->bus.enableAccessibility(defaultTimeoutMs) ? AXError::Success : AXError::Failure;
}

AXError AtspiAccessibility::setMessagingTimeout(const AXUIElement &element, float seconds)
{
    const ObjectRef *ref = refOf(element);
    if (!ref || seconds < 0)
        return AXError::IllegalArgument;
    std::lock_guard lock(_state->mutex);
    _state->timeouts[ref->key()] =
        seconds == 0 ? defaultTimeoutMs : std::max(1, static_cast<int>(seconds * 1000));
    return AXError::Success;
}

AXError AtspiAccessibility::performAction(const AXUIElement &element, const std::string &action)
{
    const ObjectRef *ref = refOf(element);
    if (!ref)
        return AXError::IllegalArgument;
    _state->ensure({*ref}, NActions);
    if (auto failure = _state->failure(*ref))
        return *failure;
    const Node n = _state->node(*ref);
    const auto names = n.actionNames.value_or(ActionNames {});
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!names[i] || axActionName(*names[i]) != action)
            continue;
        auto reply = _state->bus.call(*ref, actionInterface, "DoAction",
                                      {static_cast<std::int32_t>(i)}, _state->timeoutFor(*ref));
        return readBool(reply.reply()).value_or(false) ? AXError::Success : AXError::CannotComplete;
    }
    return AXError::ActionUnsupported;
}

AXResult<pid_t> AtspiAccessibility::getPid(const AXUIElement &element)
{
    const ObjectRef *ref = refOf(element);
    if (!ref || ref->service.empty())
        return AXError::InvalidUIElement;
    auto pid = _state->bus.processOf(ref->service, defaultTimeoutMs);
    if (!pid)
        return AXError::CannotComplete;
    return *pid;
}

bool AtspiAccessibility::isProcessTrusted()
{
    return true;
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
        _state->ensure(refs, needs, reads.actionNamesOf);
        return;
    }
    // What is showing below these elements will be read next: fetch it in the same go.
    constexpr std::size_t lookahead = 4000;
    _state->ensureShowingSubtrees(refs, needs, reads.actionNamesOf, lookahead);
}

} // namespace tarnvik::linux
