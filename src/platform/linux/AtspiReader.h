#pragma once

// The reading of the AT-SPI backend: what is known of each object, and how it is fetched. Only
// the Linux backend includes this.

#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/AtspiBus.h"
#include "platform/linux/AtspiRoles.h"
#include "platform/linux/CoordinateSpace.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tarnvik::linux {

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
    // The children as a walk of a page reads them: of a container that holds more than a
    // screenful, only those that stand in the window.
    NShownChildren = 1u << 15,
};

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

inline bool isApplicationRoot(const ObjectRef &r)
{
    return r.path == rootPath;
}

// What is known of the applications' objects in one reading of the desktop, and the bursts of
// calls that fill it in. One lock guards it all, for the three tasks that read the tree set at
// once; it is never held while a call is on its way. The long lists are read by members defined
// in AtspiLongLists.cpp rather than by a class of their own: they walk the store under its lock,
// and a burst reads a long list's visible part.
class AtspiReader
{
public:
    AtspiReader(AtspiBus &bus, ClientWindows windows);

    AtspiBus &bus() const { return _bus; }
    std::vector<ClientWindow> windowsOf(pid_t pid) const { return _windows.of(pid); }

    // Reads what `needs` asks of each object, fetching what isn't known yet in bursts of calls
    // issued together, a few rounds deep for what depends on an earlier answer. With
    // `actionNamesOf`, action names only of the objects whose role it accepts.
    void ensure(const std::vector<ObjectRef> &objects, unsigned needs,
                RoleFilter actionNamesOf = nullptr);
    Node node(const ObjectRef &o);
    std::optional<AXError> failure(const ObjectRef &o);
    AxRole axRole(const Node &n);
    // Whether the object, known as `n`, plays a menu bar: its children's roles are read first
    // where its own role says it may.
    bool isMenuBar(const ObjectRef &o, const Node &n);
    int timeoutFor(const ObjectRef &o);
    void setTimeout(const ObjectRef &o, int timeoutMs);
    std::optional<std::string> serviceOf(pid_t pid);
    void setServiceOf(pid_t pid, const std::string &service);

    // GTK 4 is the toolkit that counts from its window.
    bool isGtk4(const std::string &service) { return toolkitOf(service).geometry.relativeToWindow; }
    // The coordinates an object's extents and hit tests are asked in: GTK 4.18 answers the
    // screen's with 0, 0 for every object, and GTK 4.8 answered both alike.
    // On Wayland GTK 3, Qt and the browsers give the same for screen coordinates as for their
    // window's (Firefox nothing for the latter), and GTK 4 0, 0 for the former.
    std::uint32_t coordinatesOf(const std::string &service) { return isGtk4(service) ? 1u : 0u; }
    // Qt keeps a combo box's open list inside the window, below the combo box.
    bool isQt(const std::string &service) { return toolkitOf(service).qt; }
    bool isGtk3(const std::string &service)
    {
        const auto &geometry = toolkitOf(service).geometry;
        return geometry.wholeScales && !geometry.relativeToWindow;
    }
    // How the application's coordinates map onto the root window, worked out once a read:
    // one X request for its windows, whose frames the read asks for anyway.
    CoordinateSpace spaceOf(const std::string &service);
    // Of the frames, the showing windows, each with what its application reports of it.
    std::vector<std::pair<ObjectRef, ReportedWindow>>
    reportedWindows(const std::vector<ObjectRef> &frames);
    // Where the object stands in root pixels.
    std::optional<CGRect> rootFrameOf(const ObjectRef &ref, const Node &own);
    // Whether the object lies in a web page: its own role, or its parents', read where the
    // walk, a query or the snapshot left them unknown.
    bool inPage(const ObjectRef &o);
    void markInPage(const std::vector<ObjectRef> &objects);

    // What is showing below an object and has a role the search keys ask for, in canonical
    // order; nothing where the toolkit doesn't answer. A page is walked where it shows, since
    // the toolkit's query visits every object of the page, shown or not; anything else is
    // asked with one query.
    std::optional<std::vector<ObjectRef>> pressableBelow(const ObjectRef &o);

    // GTK 4 says showing of its windows only. There an object may show when it is visible and
    // has a size, or has no place of its own: a stack page stands where its children are. The
    // pages a stack hides are visible and sized 0 by 0.
    static bool mayShow(const Node &n, bool gtk4);
    // Whether the object has a place on the screen of its own; GTK 3 gives one it has not
    // placed extents of -1 by -1. Unknown extents count as a place.
    static bool placed(const Node &n);
    // Reads `needs` of the objects and, level by level in one burst each, of everything showing
    // below them: what the walk will ask for next.
    void ensureShowingSubtrees(const std::vector<ObjectRef> &objects, unsigned needs,
                               RoleFilter actionNamesOf, std::size_t max);

    void invalidate();

private:
    static constexpr int defaultTimeoutMs = AtspiAccessibility::defaultTimeoutMs;
    // Longer lists are read where they show: a page of 10,000 links answers GetChildren in over
    // a second (Chromium 1.3 s, Firefox 1.8 s), and Collection.GetMatches walks them all.
    static constexpr std::int32_t bigList = 1000;
    // In a page, where nearly every container may run on far below the window, a list this
    // long is read where it shows: a browser makes an object for each child it hands out,
    // about 100 us each, and the walk then asks each for its role and states.
    static constexpr std::int32_t screenful = 100;
    // A text's value is read up to here where the toolkit allows: search finds a field by what
    // it begins with, and a long document would otherwise come whole at every read.
    static constexpr std::int32_t longestText = 4096;

    struct Application
    {
        bool snapshotTaken = false;
        bool unresponsive = false;
    };

    struct Toolkit
    {
        bool known = false;
        ToolkitGeometry geometry;
        bool qt = false;
        // Asked for text past its end, it gives the text up to there (GTK, Qt, Chromium;
        // Firefox gives nothing), and GTK 4.8 gives nothing for an end of -1.
        bool endsTextAtItsEnd = false;
    };

    struct Call
    {
        ObjectRef object;
        std::string key;
        unsigned need;
        // For one action's name, its index plus one.
        unsigned action;
        PendingCall call;
    };

    Toolkit toolkitOf(const std::string &service);
    // Whether the first or the last child of the object stands outside its extents and
    // doesn't show: what a box hides. Called under the lock, as is the next.
    bool hidesOverflow(const Node &n);
    // Whether the object hides what stands outside its extents, and every child that shows
    // stands within them: a box that scrolls its content.
    bool overflows(const Node &n);
    // An object without a place of its own stands where its children do: GTK 4's stack pages
    // have no Component, and GTK 3 places the page tab of a notebook whose tabs are hidden at
    // -1,-1 sized -1 by -1, though it holds the page's content. It takes the union of its
    // showing children that have a size (of all of them where none is showing: GTK 4 marks
    // only its windows), or where the first one stands.
    std::optional<Extents> extentsOf(const ObjectRef &ref, const Node &own);
    // The extents of a showing page once its browser has placed it, or nothing after a while.
    std::optional<Extents> placedPage(const ObjectRef &page);

    // What of `needs` is not known of `o` yet, including what the answers so far make necessary.
    void addMissing(const ObjectRef &o, unsigned needs, RoleFilter actionNamesOf,
                    std::vector<std::pair<ObjectRef, unsigned>> &work);
    void fetch(const std::vector<std::pair<ObjectRef, unsigned>> &work);
    void store(Call &p);
    // One call for what the toolkit knows of every object of the application: roles, states,
    // names, descriptions and the links between them.
    void takeSnapshot(const std::string &service);

    // Reads what shows below `o`, level by level in one burst each, lists longer than a
    // screenful by their visible part, but not what the pressable elements hold (a link's
    // text, a button's label).
    void walkShowing(const ObjectRef &o);
    // After `walkShowing`: what it found showing, visible and pressable, in document order.
    std::vector<ObjectRef> pressableIn(const ObjectRef &o);
    // The part of each long list that stands in its application's window: the children are
    // laid out in their order, top to bottom, so the first and the last that show are found
    // by a few rounds of probes (sixteen children of each list at a time, the places of all
    // the lists' probes asked together), and only those between are read.
    void readVisibleSlices(const std::vector<ObjectRef> &lists);
    // One list's search for the children that stand in its window.
    struct SliceSearch
    {
        ObjectRef list;
        std::int32_t count;
        std::optional<CGRect> region;
        // The first child not above the region lies in [startLo, startHi]; the first below it
        // in [endLo, endHi].
        std::int32_t startLo, startHi, endLo, endHi;
    };
    // Narrows every search by rounds of probes until each knows its first and last child.
    void narrowToRegions(std::vector<SliceSearch> &searches);
    // The children each search found standing in its window, read in one burst.
    std::vector<std::vector<ObjectRef>> shownChildren(const std::vector<SliceSearch> &searches);
    // Where the children at these indices of these lists stand; nothing where a call failed.
    std::vector<std::optional<Extents>>
    placesOf(const std::vector<std::pair<ObjectRef, std::int32_t>> &probes);
    // The application's active window, in the coordinates its toolkit reports.
    std::optional<CGRect> visibleRegionOf(const std::string &service);

    AtspiBus &_bus;
    ClientWindows _windows;
    std::mutex _mutex;
    std::unordered_map<std::string, Node> _nodes;
    std::unordered_map<std::string, Application> _applications;
    std::unordered_map<std::string, Toolkit> _toolkits;
    std::unordered_map<std::string, CoordinateSpace> _spaces;
    std::unordered_map<std::string, int> _timeouts;
    std::unordered_map<pid_t, std::string> _services;
};

} // namespace tarnvik::linux
