#pragma once

#include "platform/Accessibility.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarnvik::linux {

class AtspiBus;
class AtspiReader;
struct ObjectRef;
struct Node;

// What the X server says of one top-level window of a process: how the focused window is found
// without relying on the toolkit's active state, and where a toolkit that reports positions
// relative to its window has its origin.
// A window of the desktop's panels (the dock window type): along the top edge of its screen it
// holds what the menu bar's extras are elsewhere; anywhere else it is a dock.
enum class Panel { None, TopBar, Dock };

struct ClientWindow
{
    std::string title;
    // What the user sees as the window.
    CGRect frame;
    bool isActive = false;
    Panel panel = Panel::None;
    // What the client draws, its client-side shadows included: on X11 the X window, the frame.
    CGRect surface = frame;
};
using ClientWindowsOf = std::function<std::vector<ClientWindow>(pid_t)>;

// The desktop's top-level windows as the window system has them.
struct ClientWindows
{
    ClientWindowsOf of;
    // Every toolkit reports its objects' places relative to its own window's surface, as on
    // Wayland, where no client knows where its window stands.
    bool placesRelativeToThem = false;
};

// The accessibility operations over AT-SPI2. Reads are answered from what was fetched in bulk:
// a snapshot of the whole application (Cache.GetItems) where the toolkit offers one, and bursts
// of calls issued together for the elements the core says it will read. Every call has a
// time-out, and an application that times out once is not waited for again until the next
// invalidateCache(), so a hung application costs one time-out per read of the desktop.
class AtspiAccessibility final : public Accessibility
{
public:
    static constexpr int defaultTimeoutMs = 500;

    AtspiAccessibility(AtspiBus &bus, ClientWindows windows);
    ~AtspiAccessibility() override;

    AXUIElement createApplication(pid_t pid) override;
    AXResult<Value> copyAttributeValue(const AXUIElement &element,
                                       const std::string &name) override;
    AXResult<ValueArray>
    copyMultipleAttributeValues(const AXUIElement &element,
                                const std::vector<std::string> &names) override;
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
    bool isProcessTrusted() override;
    void prefetch(const std::vector<AXUIElement> &elements, const ReadAhead &reads) override;
    // Whether the process's toolkit moves its lists by a measure of their page for each step
    // of a smooth scroll rather than by pixels (GTK 3).
    bool scrollsByPage(pid_t pid);
    void invalidateCache() override;
    // The bus name of the process's application, once it is on the bus.
    std::optional<std::string> serviceOf(pid_t pid);
    // The handle of an object, as the elements read of it have.
    static AXUIElement elementOf(const ObjectRef &object);

private:
    std::optional<ObjectRef> focusedWindow(const ObjectRef &application,
                                           const std::vector<ObjectRef> &windows);
    // Of the application's windows, the one the X server's window is (`frameOfWindow`).
    std::optional<ObjectRef> frameOf(const ClientWindow &client,
                                     const std::vector<ObjectRef> &windows);
    // Whether the X server shows a window of the application's process as that panel.
    bool hasPanel(const ObjectRef &application, Panel panel);
    std::vector<ObjectRef> panelFrames(const ObjectRef &application,
                                       const std::vector<ObjectRef> &windows, Panel panel);
    using Accepts = std::function<bool(const ObjectRef &, const Node &)>;
    // The first object that `wanted` accepts below `root`, looked for level by level, up to
    // `levels` deep, through the objects that show and that `lookInside` accepts; the roles and
    // states of every object met are read.
    std::optional<ObjectRef> firstBelow(const ObjectRef &root, int levels, const Accepts &wanted,
                                        const Accepts &lookInside);
    std::optional<ObjectRef> menuBarUnder(const ObjectRef &window);
    // The items of the menu that the window's menu bar has open, where the toolkit keeps them
    // below the bar's item rather than in a window of their own (GTK 3's menu bars).
    std::optional<std::vector<ObjectRef>> openMenuItems(const ObjectRef &window);
    // The list a combo box of the window has open, where the toolkit keeps it below the combo
    // box rather than in a window of its own (Qt's).
    std::optional<ObjectRef> openComboList(const ObjectRef &window);
    // Whether pressing the object, whose AT-SPI role is `itsRole`, through its action leaves
    // its menu open.
    bool choosesWithoutClosing(const ObjectRef &ref, std::optional<std::uint32_t> itsRole);

    std::unique_ptr<AtspiReader> _reader;
    // Set by invalidateCache(), which each session's read starts with.
    std::atomic<bool> _readingAfresh = false;
};

} // namespace tarnvik::linux
