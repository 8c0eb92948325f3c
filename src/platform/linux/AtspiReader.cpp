#include "platform/linux/AtspiReader.h"

#include <chrono>
#include <thread>
#include <unordered_set>

namespace tarnvik::linux {

namespace {

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

} // namespace

AtspiReader::AtspiReader(AtspiBus &bus, ClientWindows windows)
    : _bus(bus)
    , _windows(std::move(windows))
{ }

void AtspiReader::ensure(const std::vector<ObjectRef> &objects, unsigned needs,
                         RoleFilter actionNamesOf)
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
            std::lock_guard lock(_mutex);
            for (const auto &o : objects)
                addMissing(o, needs, actionNamesOf, work);
        }
        if (work.empty())
            return;
        fetch(work);
    }
}

Node AtspiReader::node(const ObjectRef &o)
{
    std::lock_guard lock(_mutex);
    return _nodes[o.key()];
}

std::optional<AXError> AtspiReader::failure(const ObjectRef &o)
{
    if (o.service.empty())
        return AXError::CannotComplete;
    std::lock_guard lock(_mutex);
    if (_applications[o.service].unresponsive)
        return AXError::CannotComplete;
    if (_nodes[o.key()].gone)
        return AXError::InvalidUIElement;
    return std::nullopt;
}

bool AtspiReader::isMenuBar(const ObjectRef &o, const Node &n)
{
    if (n.role != std::optional<std::uint32_t>(role::MenuBar))
        return false;
    ensure({o}, NRole | NContext);
    return axRole(node(o)).role == "AXMenuBar";
}

AxRole AtspiReader::axRole(const Node &n)
{
    RoleContext context;
    context.role = n.role.value_or(0);
    context.states = n.states.value_or(StateSet {});
    std::lock_guard lock(_mutex);
    if (n.parent)
        context.parentRole = _nodes[n.parent->key()].role;
    if (n.children && needsChildren(context.role)) {
        for (const auto &c : *n.children) {
            const auto r = _nodes[c.key()].role;
            context.hasEntryChild = context.hasEntryChild
                || r == std::optional<std::uint32_t>(role::Entry)
                || r == std::optional<std::uint32_t>(role::Text);
            context.hasMenuChild = context.hasMenuChild
                || (r
                    && (*r == role::Menu || *r == role::MenuItem || *r == role::CheckMenuItem
                        || *r == role::RadioMenuItem));
        }
    }
    context.placed = placed(n);
    if (needsChildPlaces(context.role))
        context.overflows = overflows(n);
    if (n.attributes) {
        if (auto it = n.attributes->find("xml-roles"); it != n.attributes->end())
            context.xmlRoles = it->second;
    }
    return axRoleOf(context);
}

namespace {

bool sized(const std::optional<Extents> &e)
{
    return e && e->width > 0 && e->height > 0;
}

// With a pixel of slack: browsers round a child's place and its box's apart.
bool outside(const Extents &e, const Extents &own)
{
    return e.x < own.x - 1 || e.y < own.y - 1 || e.x + e.width > own.x + own.width + 1
        || e.y + e.height > own.y + own.height + 1;
}

bool apart(const Extents &e, const Extents &own)
{
    return e.x >= own.x + own.width || e.y >= own.y + own.height || e.x + e.width <= own.x
        || e.y + e.height <= own.y;
}

} // namespace

bool AtspiReader::hidesOverflow(const Node &n)
{
    if (!sized(n.extents) || !n.children || n.children->empty())
        return false;
    for (const auto *child : {&n.children->front(), &n.children->back()}) {
        const Node &c = _nodes[child->key()];
        if (c.states && !c.states->has(state::Showing) && sized(c.extents)
            && outside(*c.extents, *n.extents))
            return true;
    }
    return false;
}

bool AtspiReader::overflows(const Node &n)
{
    if (!hidesOverflow(n))
        return false;
    // A box whose content spills out where it can be seen (a grid wider than its box) is no
    // box that scrolls, though what spills past the window doesn't show either. A box that
    // scrolls shows a child it cuts in half, so only what shows wholly outside counts.
    for (const auto &child : *n.children) {
        const Node &c = _nodes[child.key()];
        if (!c.states)
            return false;
        if (c.states->has(state::Showing) && (!c.extents || apart(*c.extents, *n.extents)))
            return false;
    }
    return true;
}

int AtspiReader::timeoutFor(const ObjectRef &o)
{
    std::lock_guard lock(_mutex);
    auto it = _timeouts.find(o.key());
    return it == _timeouts.end() ? defaultTimeoutMs : it->second;
}

void AtspiReader::setTimeout(const ObjectRef &o, int timeoutMs)
{
    std::lock_guard lock(_mutex);
    _timeouts[o.key()] = timeoutMs;
}

std::optional<std::string> AtspiReader::serviceOf(pid_t pid)
{
    std::lock_guard lock(_mutex);
    if (auto it = _services.find(pid); it != _services.end())
        return it->second;
    return std::nullopt;
}

void AtspiReader::setServiceOf(pid_t pid, const std::string &service)
{
    std::lock_guard lock(_mutex);
    _services[pid] = service;
}

AtspiReader::Toolkit AtspiReader::toolkitOf(const std::string &service)
{
    {
        std::lock_guard lock(_mutex);
        if (_toolkits[service].known)
            return _toolkits[service];
    }
    const ObjectRef root {service, rootPath};
    auto name = _bus.property(root, applicationInterface, "ToolkitName", defaultTimeoutMs);
    auto version = _bus.property(root, applicationInterface, "Version", defaultTimeoutMs);
    const auto toolkitName = readStringVariant(name.reply()).value_or("");
    const Toolkit toolkit {
        .known = true,
        .geometry = toolkitGeometry(toolkitName, readStringVariant(version.reply()).value_or("")),
        .qt = toolkitName == "Qt",
        .endsTextAtItsEnd = toolkitName == "gtk" || toolkitName == "GTK" || toolkitName == "Qt"
            || toolkitName == "Chromium",
    };
    std::lock_guard lock(_mutex);
    _toolkits[service] = toolkit;
    return toolkit;
}

std::optional<Extents> AtspiReader::extentsOf(const ObjectRef &ref, const Node &own)
{
    if ((own.extents && hasPlace(*own.extents))
        || (!own.extents && own.implements(componentInterface)))
        return own.extents;
    if (own.role == std::optional<std::uint32_t>(role::DocumentWeb) && own.states
        && own.states->has(state::Showing)) {
        if (auto placed = placedPage(ref))
            return placed;
    }
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

// Firefox answers -1 by -1 for a page it shows until its layout is known to its accessibility,
// for some 100 ms after its accessibility is switched on (measured once: still -1 at 80 ms,
// placed at 150). A read then would label the browser without the page, so the page's place is
// asked for again until it has one.
std::optional<Extents> AtspiReader::placedPage(const ObjectRef &page)
{
    constexpr auto pause = std::chrono::milliseconds(20);
    constexpr int tries = 25;
    for (int i = 0; i < tries; ++i) {
        std::this_thread::sleep_for(pause);
        {
            std::lock_guard lock(_mutex);
            _nodes[page.key()].fetched &= ~NExtents;
        }
        ensure({page}, NExtents);
        if (failure(page))
            return std::nullopt;
        if (const auto e = node(page).extents; e && hasPlace(*e))
            return e;
    }
    return std::nullopt;
}

CoordinateSpace AtspiReader::spaceOf(const std::string &service)
{
    {
        std::lock_guard lock(_mutex);
        if (auto it = _spaces.find(service); it != _spaces.end())
            return it->second;
    }
    CoordinateSpace space;
    if (const auto pid = _bus.processOf(service, defaultTimeoutMs)) {
        const ObjectRef root {service, rootPath};
        ensure({root}, NChildren);
        const auto shown = reportedWindows(node(root).children.value_or(std::vector<ObjectRef> {}));
        std::vector<ReportedWindow> reported;
        for (const auto &[frame, report] : shown)
            reported.push_back(report);
        const auto &toolkit = toolkitOf(service).geometry;
        const auto windows = _windows.of(*pid);
        space = _windows.placesRelativeToThem
            ? CoordinateSpace::ofSurfaces(toolkit, windows, reported)
            : CoordinateSpace::of(toolkit, windows, reported);
    }
    std::lock_guard lock(_mutex);
    _spaces[service] = space;
    return space;
}

std::vector<std::pair<ObjectRef, ReportedWindow>>
AtspiReader::reportedWindows(const std::vector<ObjectRef> &frames)
{
    ensure(frames, NRole | NStates | NName | NExtents);
    std::vector<std::pair<ObjectRef, ReportedWindow>> shown;
    for (const auto &f : frames) {
        const Node n = node(f);
        if (n.role && isWindowRole(*n.role) && n.states && n.states->has(state::Showing)
            && n.extents)
            shown.emplace_back(
                f, ReportedWindow {n.name.value_or(""), *n.extents, n.states->has(state::Active)});
    }
    return shown;
}

std::optional<CGRect> AtspiReader::rootFrameOf(const ObjectRef &ref, const Node &own)
{
    const auto extents = extentsOf(ref, own);
    if (!extents)
        return std::nullopt;
    const CoordinateSpace space = spaceOf(ref.service);
    return space.toRoot(*extents, space.mixed() && inPage(ref));
}

bool AtspiReader::inPage(const ObjectRef &o)
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
    std::lock_guard lock(_mutex);
    for (const auto &c : chain)
        _nodes[c.key()].inPage = found.value_or(false);
    return found.value_or(false);
}

void AtspiReader::markInPage(const std::vector<ObjectRef> &objects)
{
    std::lock_guard lock(_mutex);
    for (const auto &o : objects)
        _nodes[o.key()].inPage = true;
}

void AtspiReader::invalidate()
{
    std::lock_guard lock(_mutex);
    _nodes.clear();
    _applications.clear();
    _spaces.clear();
}

bool AtspiReader::placed(const Node &n)
{
    return !n.extents || hasPlace(*n.extents);
}

bool AtspiReader::mayShow(const Node &n, bool gtk4)
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

void AtspiReader::ensureShowingSubtrees(const std::vector<ObjectRef> &objects, unsigned needs,
                                        RoleFilter actionNamesOf, std::size_t max)
{
    std::unordered_set<std::string> seen;
    std::vector<ObjectRef> level;
    {
        std::lock_guard lock(_mutex);
        for (const auto &o : objects) {
            if ((_nodes[o.key()].subtreeFetched & needs) != needs)
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
            std::lock_guard lock(_mutex);
            for (const auto &o : level) {
                if (mayShow(_nodes[o.key()], gtk4))
                    showing.push_back(o);
            }
        }
        // A page is read by one query where the caller allows it, and by a walk of its own,
        // with hints of its own, where not: the look-ahead stops at it.
        std::erase_if(showing, [&](const ObjectRef &o) {
            std::lock_guard lock(_mutex);
            return _nodes[o.key()].role == std::optional<std::uint32_t>(role::DocumentWeb);
        });
        ensure(showing, NChildren);
        std::vector<ObjectRef> next;
        {
            std::lock_guard lock(_mutex);
            for (const auto &o : showing) {
                const Node &n = _nodes[o.key()];
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
    std::lock_guard lock(_mutex);
    for (const auto &o : visited)
        _nodes[o.key()].subtreeFetched |= needs;
}

void AtspiReader::addMissing(const ObjectRef &o, unsigned needs, RoleFilter actionNamesOf,
                             std::vector<std::pair<ObjectRef, unsigned>> &work)
{
    if (_applications[o.service].unresponsive)
        return;
    Node &n = _nodes[o.key()];
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
        & (NRole | NStates | NName | NDescription | NParent | NChildren | NShownChildren | NExtents
           | NActions);
    if (n.role && (needs & NContext)) {
        if (needsParentRole(*n.role))
            own |= NParent;
        if (needsChildren(*n.role))
            own |= NChildren;
        if (needsExtents(*n.role))
            own |= NExtents;
        if (*n.role == role::Landmark)
            own |= NAttributes;
        if (needsChildPlaces(*n.role))
            own |= NChildren | NExtents;
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
    if ((own & (NChildren | NShownChildren)) && !(n.fetched & NChildren)) {
        const std::int32_t longest = (own & NShownChildren) ? screenful : bigList;
        own &= ~(NChildren | NShownChildren);
        if (!n.role)
            own |= NRole; // the children a round later, once the role tells what to ask
        else if (!mayHoldMany(*n.role) || (n.childCount && *n.childCount <= longest))
            own |= NChildren;
        else
            own |= n.childCount ? NVisibleSlice : NChildCount;
    }
    own &= ~NShownChildren;
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
        Node &m = _nodes[other.key()];
        if (!m.gone && (what & ~m.fetched) && !_applications[other.service].unresponsive)
            work.emplace_back(other, what & ~m.fetched);
    };
    if (n.role && (needs & NContext)) {
        if (needsParentRole(*n.role) && n.parent && !n.parent->isNull())
            needFrom(*n.parent, NRole);
        if (needsChildren(*n.role) && n.children) {
            for (const auto &c : *n.children)
                needFrom(c, NRole);
        }
        // A box that shows and holds several children may hide some: one child alone stands
        // at least in part within it.
        if (needsChildPlaces(*n.role) && n.states && n.states->has(state::Showing) && n.children
            && n.children->size() > 1) {
            needFrom(n.children->front(), NStates | NExtents);
            needFrom(n.children->back(), NStates | NExtents);
            // Then whether what shows stands within: the places of those that show.
            if (hidesOverflow(n)) {
                for (const auto &c : *n.children) {
                    const auto &states = _nodes[c.key()].states;
                    needFrom(c, !states ? NStates : states->has(state::Showing) ? NExtents : 0u);
                }
            }
        }
    }
    if ((needs & NChildStates) && n.children) {
        for (const auto &c : *n.children)
            needFrom(c, NStates);
    }
}

void AtspiReader::fetch(const std::vector<std::pair<ObjectRef, unsigned>> &work)
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
                _bus.call(o, actionInterface, "GetName", {static_cast<std::int32_t>(action - 1)},
                          t),
                action);
            continue;
        }
        if (needs & NRole)
            add(NRole, _bus.call(o, accessibleInterface, "GetRole", {}, t));
        if (needs & NStates)
            add(NStates, _bus.call(o, accessibleInterface, "GetState", {}, t));
        if (needs & NName)
            add(NName, _bus.property(o, accessibleInterface, "Name", t));
        if (needs & NDescription)
            add(NDescription, _bus.property(o, accessibleInterface, "Description", t));
        if (needs & NParent)
            add(NParent, _bus.property(o, accessibleInterface, "Parent", t));
        if (needs & NChildren)
            add(NChildren, _bus.call(o, accessibleInterface, "GetChildren", {}, t));
        if (needs & NChildCount)
            add(NChildCount, _bus.property(o, accessibleInterface, "ChildCount", t));
        if (needs & NVisibleSlice)
            slices.push_back(o);
        if (needs & NExtents)
            add(NExtents,
                _bus.call(o, componentInterface, "GetExtents", {coordinatesOf(o.service)}, t));
        // All names in one call. ATK and Qt translate these names, so a name that is not
        // one of the known ones in English is read again untranslated, one by one.
        if (needs & NActions)
            add(NActions, _bus.call(o, actionInterface, "GetActions", {}, t));
        if (needs & NText) {
            const std::int32_t end = toolkitOf(o.service).endsTextAtItsEnd ? longestText : -1;
            add(NText, _bus.call(o, textInterface, "GetText", {std::int32_t {0}, end}, t));
        }
        if (needs & NAttributes)
            add(NAttributes, _bus.call(o, accessibleInterface, "GetAttributes", {}, t));
        if (needs & NId)
            add(NId, _bus.property(o, accessibleInterface, "AccessibleId", t));
    }
    for (auto &p : pending)
        p.call.reply();
    {
        std::lock_guard lock(_mutex);
        for (auto &p : pending)
            store(p);
    }
    if (!slices.empty())
        readVisibleSlices(slices);
}

void AtspiReader::store(Call &p)
{
    Node &n = _nodes[p.key];
    n.fetched |= p.need;
    if (p.call.isError()) {
        const std::string error = p.call.errorName();
        // "No such object" means gone only as the answer to what every object answers:
        // Qt says the same of an interface an object lacks.
        const bool universal = p.need == NRole || p.need == NStates || p.need == NChildren;
        if (isTimeout(error))
            _applications[p.object.service].unresponsive = true;
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
            Node &child = _nodes[c.key()];
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

void AtspiReader::takeSnapshot(const std::string &service)
{
    if (service.empty())
        return;
    {
        std::lock_guard lock(_mutex);
        auto &app = _applications[service];
        if (app.snapshotTaken || app.unresponsive)
            return;
        app.snapshotTaken = true;
    }
    auto reply = _bus.call(ObjectRef {service, "/org/a11y/atspi/cache"}, "org.a11y.atspi.Cache",
                           "GetItems", {}, defaultTimeoutMs);
    const bool failed = reply.isError();
    const auto items = failed ? std::nullopt : readCacheItems(reply.reply());
    std::lock_guard lock(_mutex);
    if (failed && isTimeout(reply.errorName()))
        _applications[service].unresponsive = true;
    if (!items)
        return;
    std::unordered_map<std::string, std::vector<std::pair<int, ObjectRef>>> childrenOf;
    std::unordered_map<std::string, int> childCounts;
    for (const auto &item : *items) {
        // The toolkit's cache may keep an object that has gone: Firefox keeps the page a tab
        // showed before it went to another, defunct and at index -1 of the frame that holds
        // the new one, which is left out. Taken as the frame's one child, it hid the new page.
        if (statesOf(item.states).has(state::Defunct))
            continue;
        const std::string key = item.object.key();
        Node &n = _nodes[key];
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
        if (item.indexInParent >= 0)
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
        Node &n = _nodes[parentKey];
        n.children.emplace();
        for (const auto &[index, child] : children)
            n.children->push_back(child);
        n.fetched |= NChildren;
    }
}

} // namespace tarnvik::linux
