#include "platform/linux/CompositorWindows.h"

#include "platform/linux/DesktopIdentity.h"

#include <algorithm>
#include <unistd.h>

namespace tarnvik::linux {

std::vector<CompositorMonitor> activeFirst(std::vector<std::pair<bool, CompositorMonitor>> monitors)
{
    std::stable_partition(monitors.begin(), monitors.end(), [](const auto &m) { return m.first; });
    std::vector<CompositorMonitor> ordered;
    for (const auto &m : monitors)
        ordered.push_back(m.second);
    return ordered;
}

namespace {

RunningApplication applicationOf(const CompositorWindow &w)
{
    std::optional<std::string> gtkApplicationId;
    if (!w.gtkApplicationId.empty())
        gtkApplicationId = w.gtkApplicationId;
    // A Wayland client's application id stands where an X client's class does.
    return identify(
        w.pid,
        {.wmInstance = w.wmInstance, .wmClass = w.wmClass, .gtkApplicationId = gtkApplicationId});
}

} // namespace

CompositorWindows::CompositorWindows(CompositorWindowSource &source)
    : _source(source)
{ }

CompositorWindows::CompositorWindows(std::unique_ptr<CompositorWindowSource> source)
    : _owned(std::move(source))
    , _source(*_owned)
{ }

std::vector<CompositorWindow> CompositorWindows::frames()
{
    constexpr auto fresh = std::chrono::milliseconds(100);
    std::lock_guard lock(_mutex);
    const auto now = std::chrono::steady_clock::now();
    if (now - _framesAt > fresh) {
        _frames = _source.frames();
        _framesAt = now;
    }
    return _frames;
}

std::vector<ClientWindow> CompositorWindows::clientWindows(pid_t pid)
{
    std::vector<ClientWindow> found;
    for (const auto &w : frames()) {
        if (w.pid == pid)
            found.push_back(
                {.title = w.title, .frame = w.frame, .isActive = w.focused, .surface = w.buffer});
    }
    return found;
}

std::optional<RunningApplication> CompositorWindows::frontmostApplication()
{
    const auto windows = frames();
    const auto focused =
        std::find_if(windows.begin(), windows.end(), [](const auto &w) { return w.focused; });
    if (focused == windows.end() || focused->pid <= 0)
        return std::nullopt;
    return applicationOf(*focused);
}

std::optional<RunningApplication> CompositorWindows::menuBarOwningApplication()
{
    return frontmostApplication();
}

std::vector<RunningApplication> CompositorWindows::runningApplications()
{
    std::vector<RunningApplication> apps;
    for (const auto &w : frames()) {
        const bool known = std::any_of(apps.begin(), apps.end(),
                                       [&](const auto &a) { return a.processIdentifier == w.pid; });
        if (w.pid > 0 && !known)
            apps.push_back(applicationOf(w));
    }
    return apps;
}

pid_t CompositorWindows::currentProcessIdentifier()
{
    return getpid();
}

void CompositorWindows::watchFocus()
{
    _source.onFocusChanged([this] {
        {
            std::lock_guard lock(_mutex);
            _framesAt = {};
        }
        focusMoved();
    });
}

ValueArray CompositorWindows::onScreenWindowInfo()
{
    ValueArray list = menubarEntries();
    for (const auto &w : frames()) {
        const auto &owner = w.wmClass.empty() ? w.wmInstance : w.wmClass;
        list.push_back(windowInfo(w.frame, w.pid, owner, w.title));
    }
    return list;
}

std::vector<Screen> CompositorWindows::screens()
{
    const auto monitors = _source.monitors();
    std::vector<Screen> result;
    const double height = monitors.empty() ? 0 : monitors.front().frame.size.height;
    for (const auto &m : monitors) {
        const CGRect frame = flippedRect(m.frame, height);
        result.push_back(Screen {frame, frame, m.scale, 1.0 / 60});
    }
    return result;
}

} // namespace tarnvik::linux
