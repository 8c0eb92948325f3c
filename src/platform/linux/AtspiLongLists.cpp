#include "platform/linux/AtspiReader.h"

#include <unordered_map>

namespace tarnvik::linux {

namespace {

// The roles the search keys ask for, as a bit set of role numbers.
std::vector<std::int32_t> searchKeyRoles()
{
    const std::uint32_t roles[] = {
        role::PushButton, role::ToggleButton, role::CheckBox,      role::RadioButton,
        role::PageTab,    role::Link,         role::Entry,         role::PasswordText,
        role::ComboBox,   role::ListBox,      role::Slider,        role::SpinButton,
        role::Image,      role::MenuItem,     role::CheckMenuItem, role::RadioMenuItem};
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

std::optional<std::vector<ObjectRef>> AtspiReader::pressableBelow(const ObjectRef &o)
{
    ensure({o}, NRole);
    if (node(o).role == std::optional<std::uint32_t>(role::DocumentWeb)) {
        walkShowing(o);
        return pressableIn(o);
    }
    MatchRule rule;
    rule.states = {static_cast<std::int32_t>((1u << state::Showing) | (1u << state::Visible)), 0};
    rule.stateMatchType = 1; // all
    rule.attributeMatchType = 1;
    rule.roles = searchKeyRoles();
    rule.roleMatchType = 2; // any
    rule.interfaceMatchType = 1;
    const std::uint32_t canonical = 1;
    auto reply = _bus.call(o, collectionInterface, "GetMatches",
                           {rule, canonical, std::int32_t {0}, true}, timeoutFor(o));
    return readObjects(reply.reply());
}

void AtspiReader::walkShowing(const ObjectRef &o)
{
    constexpr std::size_t maxNodes = 20000;
    std::vector<ObjectRef> level {o};
    std::size_t total = 0;
    for (int depth = 0; depth < 64 && !level.empty() && total < maxNodes; ++depth) {
        ensure(level, NRole | NStates);
        std::vector<ObjectRef> containers;
        {
            std::lock_guard lock(_mutex);
            for (const auto &c : level) {
                const Node &n = _nodes[c.key()];
                const bool root = c.key() == o.key();
                if (root
                    || (n.states && n.states->has(state::Showing)
                        && !(n.role && isSearchKeyRole(*n.role))))
                    containers.push_back(c);
            }
        }
        ensure(containers, NShownChildren);
        std::vector<ObjectRef> next;
        std::lock_guard lock(_mutex);
        for (const auto &c : containers) {
            const Node &n = _nodes[c.key()];
            if (n.children)
                next.insert(next.end(), n.children->begin(), n.children->end());
        }
        total += level.size();
        level = std::move(next);
    }
}

std::vector<ObjectRef> AtspiReader::pressableIn(const ObjectRef &o)
{
    std::vector<ObjectRef> found;
    std::vector<ObjectRef> stack {o};
    std::lock_guard lock(_mutex);
    while (!stack.empty()) {
        const ObjectRef c = stack.back();
        stack.pop_back();
        const Node &n = _nodes[c.key()];
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

void AtspiReader::readVisibleSlices(const std::vector<ObjectRef> &lists)
{
    std::vector<SliceSearch> searches;
    std::unordered_map<std::string, std::optional<CGRect>> regions;
    for (const auto &o : lists) {
        if (!regions.contains(o.service))
            regions[o.service] = visibleRegionOf(o.service);
        const auto count = node(o).childCount.value_or(0);
        searches.push_back(SliceSearch {o, count, regions[o.service], 0, count, 0, count});
    }
    narrowToRegions(searches);
    auto children = shownChildren(searches);
    std::lock_guard lock(_mutex);
    for (std::size_t s = 0; s < searches.size(); ++s) {
        Node &n = _nodes[searches[s].list.key()];
        for (const auto &c : children[s]) {
            Node &child = _nodes[c.key()];
            if (!child.parent)
                child.parent = searches[s].list;
        }
        n.children = std::move(children[s]);
        n.fetched |= NChildren | NVisibleSlice;
    }
}

void AtspiReader::narrowToRegions(std::vector<SliceSearch> &searches)
{
    for (int round = 0; round < 8; ++round) {
        std::vector<std::pair<ObjectRef, std::int32_t>> probes;
        std::vector<std::size_t> owners;
        for (std::size_t s = 0; s < searches.size(); ++s) {
            const SliceSearch &search = searches[s];
            if (!search.region)
                continue;
            const auto spread = [&](std::int32_t lo, std::int32_t hi) {
                std::int32_t previous = -1;
                for (int k = 1; k <= 8 && lo < hi; ++k) {
                    const auto i =
                        lo + static_cast<std::int32_t>(static_cast<std::int64_t>(hi - lo) * k / 9);
                    if (i == previous)
                        continue;
                    previous = i;
                    probes.emplace_back(search.list, i);
                    owners.push_back(s);
                }
            };
            spread(search.startLo, search.startHi);
            spread(search.endLo, search.endHi);
        }
        if (probes.empty())
            return;
        const auto places = placesOf(probes);
        for (std::size_t i = 0; i < probes.size(); ++i) {
            // A child not placed yet (a browser still laying its page out) tells nothing.
            if (!places[i] || places[i]->width < 0 || places[i]->height < 0)
                continue;
            SliceSearch &search = searches[owners[i]];
            const auto p = probes[i].second;
            const auto &e = *places[i];
            const CGRect &region = *search.region;
            if (e.y + e.height <= region.origin.y)
                search.startLo = std::max(search.startLo, p + 1);
            else
                search.startHi = std::min(search.startHi, p);
            if (e.y >= region.origin.y + region.size.height)
                search.endHi = std::min(search.endHi, p);
            else
                search.endLo = std::max(search.endLo, p + 1);
        }
        for (auto &search : searches) {
            search.startHi = std::max(search.startHi, search.startLo);
            search.endHi = std::max(search.endHi, search.endLo);
        }
    }
}

std::vector<std::vector<ObjectRef>>
AtspiReader::shownChildren(const std::vector<SliceSearch> &searches)
{
    // Where most of a list shows, all of it is asked for in one call rather than child by
    // child.
    std::vector<std::optional<PendingCall>> whole;
    std::vector<std::vector<PendingCall>> parts;
    for (const auto &search : searches) {
        const int t = timeoutFor(search.list);
        const std::int32_t first = search.region ? search.startLo : 0;
        const std::int32_t last =
            std::min(search.region ? std::max(search.endLo, first) : search.count, first + bigList);
        std::vector<PendingCall> calls;
        if (search.count <= bigList && 2 * (last - first) > search.count) {
            whole.emplace_back(_bus.call(search.list, accessibleInterface, "GetChildren", {}, t));
        } else {
            whole.emplace_back();
            for (std::int32_t i = first; i < last; ++i)
                calls.push_back(
                    _bus.call(search.list, accessibleInterface, "GetChildAtIndex", {i}, t));
        }
        parts.push_back(std::move(calls));
    }
    std::vector<std::vector<ObjectRef>> children(searches.size());
    for (std::size_t s = 0; s < searches.size(); ++s) {
        if (whole[s]) {
            if (!whole[s]->isError())
                children[s] = readObjects(whole[s]->reply()).value_or(std::vector<ObjectRef> {});
            continue;
        }
        for (auto &call : parts[s])
            if (auto child = call.isError() ? std::nullopt : readObject(call.reply()))
                children[s].push_back(*child);
    }
    return children;
}

std::vector<std::optional<Extents>>
AtspiReader::placesOf(const std::vector<std::pair<ObjectRef, std::int32_t>> &probes)
{
    std::vector<PendingCall> childCalls;
    for (const auto &[list, i] : probes)
        childCalls.push_back(
            _bus.call(list, accessibleInterface, "GetChildAtIndex", {i}, timeoutFor(list)));
    std::vector<std::optional<PendingCall>> extentCalls;
    for (std::size_t k = 0; k < probes.size(); ++k) {
        auto &call = childCalls[k];
        const auto child = call.isError() ? std::nullopt : readObject(call.reply());
        extentCalls.push_back(child ? std::optional(_bus.call(
                                  *child, componentInterface, "GetExtents",
                                  {coordinatesOf(child->service)}, timeoutFor(probes[k].first)))
                                    : std::nullopt);
    }
    std::vector<std::optional<Extents>> places;
    for (auto &call : extentCalls)
        places.push_back(call && !call->isError() ? readExtents(call->reply()) : std::nullopt);
    return places;
}

std::optional<CGRect> AtspiReader::visibleRegionOf(const std::string &service)
{
    const auto pid = _bus.processOf(service, defaultTimeoutMs);
    if (!pid)
        return std::nullopt;
    for (const auto &w : _windows.of(*pid)) {
        if (!w.isActive)
            continue;
        const CoordinateSpace space = spaceOf(service);
        const CGPoint topLeft = space.hitTestPoint(w.frame.origin);
        const CGPoint bottomRight = space.hitTestPoint(
            {w.frame.origin.x + w.frame.size.width, w.frame.origin.y + w.frame.size.height});
        return makeRect(topLeft.x, topLeft.y, bottomRight.x - topLeft.x, bottomRight.y - topLeft.y);
    }
    return std::nullopt;
}

} // namespace tarnvik::linux
