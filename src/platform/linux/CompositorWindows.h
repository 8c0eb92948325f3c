#pragma once

#include "platform/linux/WindowSystem.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tarnvik::linux {

// A window as a Wayland compositor places it, in the compositor's logical pixels.
struct CompositorWindow
{
    std::uint64_t id = 0;
    std::int32_t pid = 0;
    std::string title;
    bool focused = false;
    std::string wmClass;
    std::string wmInstance;
    std::string gtkApplicationId;
    // What the user sees as the window, its title bar included.
    CGRect frame {};
    // The surface the client draws, its client-side shadows included.
    CGRect buffer {};
};

struct CompositorMonitor
{
    CGRect frame {};
    double scale = 1;
};

// Monitors, each with whether it is the active one (the one with the focus), as a compositor
// lists them: the active one first, the others in their order.
std::vector<CompositorMonitor>
activeFirst(std::vector<std::pair<bool, CompositorMonitor>> monitors);

// What a Wayland compositor tells of its windows: there no client learns where another's
// windows stand, or which one has the focus.
class CompositorWindowSource
{
public:
    virtual ~CompositorWindowSource() = default;
    // The windows a person sees, the front one first; nothing when the compositor doesn't
    // answer. Called from any thread.
    virtual std::vector<CompositorWindow> frames() const = 0;
    // The primary monitor first.
    virtual std::vector<CompositorMonitor> monitors() const = 0;
    // Each time another window may have the focus, on the main thread.
    virtual void onFocusChanged(std::function<void()> handler) = 0;
};

// The windows of a Wayland session as its compositor places them. Every toolkit reports its
// objects relative to its window's surface. Coordinates are the compositor's logical pixels,
// whatever the monitors' scales.
class CompositorWindows final : public WindowSystem
{
public:
    explicit CompositorWindows(CompositorWindowSource &source);
    // Owning its source.
    explicit CompositorWindows(std::unique_ptr<CompositorWindowSource> source);

    std::vector<ClientWindow> clientWindows(pid_t pid) override;
    bool placesRelativeToWindows() const override { return true; }
    // Wayland compositors composite every window.
    bool hasCompositor() override { return true; }
    // The defaults: the desktop's settings are not read yet.
    DesktopAppearance appearance() override { return {}; }

    std::optional<RunningApplication> frontmostApplication() override;
    std::optional<RunningApplication> menuBarOwningApplication() override;
    std::vector<RunningApplication> runningApplications() override;
    pid_t currentProcessIdentifier() override;

    ValueArray onScreenWindowInfo() override;
    std::vector<Screen> screens() override;

private:
    void watchFocus() override;
    // The compositor's windows, asked again only after a tenth of a second: a read of the
    // desktop asks for them many times over, each a round trip to a busy compositor.
    std::vector<CompositorWindow> frames();

    std::unique_ptr<CompositorWindowSource> _owned;
    CompositorWindowSource &_source;
    std::mutex _mutex;
    std::vector<CompositorWindow> _frames;
    std::chrono::steady_clock::time_point _framesAt;
};

} // namespace tarnvik::linux
