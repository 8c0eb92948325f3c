#include "platform/linux/AtspiReader.h"

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
    if (walkShowing(o))
        return pressableIn(o);
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

bool AtspiReader::walkShowing(const ObjectRef &o)
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
        ensure(containers, NChildren);
        std::vector<ObjectRef> next;
        std::lock_guard lock(_mutex);
        for (const auto &c : containers) {
            const Node &n = _nodes[c.key()];
            sawLongList = sawLongList || n.childCount.value_or(0) > bigList;
            if (n.children)
                next.insert(next.end(), n.children->begin(), n.children->end());
        }
        total += level.size();
        level = std::move(next);
    }
    return sawLongList;
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

void AtspiReader::readVisibleSlice(const ObjectRef &o)
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
    const std::int32_t last = std::min(region ? std::max(endLo, first) : count, first + bigList);
    std::vector<PendingCall> calls;
    for (std::int32_t i = first; i < last; ++i)
        calls.push_back(_bus.call(o, accessibleInterface, "GetChildAtIndex", {i}, t));
    std::vector<ObjectRef> children;
    for (auto &call : calls)
        if (auto child = call.isError() ? std::nullopt : readObject(call.reply()))
            children.push_back(*child);
    std::lock_guard lock(_mutex);
    Node &n = _nodes[o.key()];
    n.children = std::move(children);
    n.fetched |= NChildren | NVisibleSlice;
}

std::vector<std::optional<Extents>>
AtspiReader::placesOf(const ObjectRef &o, const std::vector<std::int32_t> &indices, int t)
{
    std::vector<PendingCall> childCalls;
    for (auto i : indices)
        childCalls.push_back(_bus.call(o, accessibleInterface, "GetChildAtIndex", {i}, t));
    std::vector<std::optional<PendingCall>> extentCalls;
    for (auto &call : childCalls) {
        const auto child = call.isError() ? std::nullopt : readObject(call.reply());
        extentCalls.push_back(child ? std::optional(_bus.call(*child, componentInterface,
                                                              "GetExtents", {std::uint32_t {0}}, t))
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
    for (const auto &w : _windowsOf(*pid)) {
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
