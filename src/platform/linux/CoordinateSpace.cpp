#include "platform/linux/CoordinateSpace.h"

#include <algorithm>
#include <cmath>

namespace tarnvik::linux {

namespace {

bool hasSize(const Extents &e)
{
    return e.width > 0 && e.height > 0;
}

const ClientWindow *anchorWindow(const std::vector<ClientWindow> &clients)
{
    for (const auto &c : clients) {
        if (c.isActive)
            return &c;
    }
    return clients.empty() ? nullptr : &clients.front();
}

bool sizeOf(const CGRect &window, const Extents &e, double scale = 1)
{
    return std::abs(window.size.width / scale - e.width) <= 1
        && std::abs(window.size.height / scale - e.height) <= 1;
}

// What the shell scales a toolkit's pixels by on a monitor of that scale: the whole number that
// makes the window it reports its whole surface or its frame, or one over it for an X program on
// Xwayland, which counts the monitor's own pixels where the shell scales natively; the nearest
// whole number to its frame's width otherwise (Qt, whose window leaves out the decorations it
// draws).
double surfaceScale(const ClientWindow &client, const Extents &e)
{
    for (const double scale : {1.0, 2.0, 3.0, 4.0, 1 / 2.0, 1 / 3.0, 1 / 4.0}) {
        if (sizeOf(client.surface, e, scale) || sizeOf(client.frame, e, scale))
            return scale;
    }
    return e.width > 0 ? std::clamp(std::round(client.frame.size.width / e.width), 1.0, 4.0) : 1.0;
}

// Whether the frame may be the window scaled: a scale keeps the shape. An open popup menu is
// active too, and has another.
bool sameShape(const ClientWindow &client, const Extents &e)
{
    if (!hasSize(e))
        return false;
    const double across = client.frame.size.width / e.width;
    const double down = client.frame.size.height / e.height;
    return std::abs(across - down) <= 0.05 * std::max(across, down);
}

// Root pixels per reported pixel. A ratio near 1 is 1: GTK 4's window holds a few pixels of
// shadow around its frame. Anything outside a plausible range means the pair is not one
// window, and nothing is scaled.
double scaleOf(const ToolkitGeometry &toolkit, const ClientWindow &client,
               const ReportedWindow &frame)
{
    const double ratio = (client.frame.size.width + client.frame.size.height)
        / double(frame.extents.width + frame.extents.height);
    const double scale = toolkit.wholeScales ? std::round(ratio) : ratio;
    if (!(scale >= 0.5 && scale <= 8) || std::abs(scale - 1) < 0.02)
        return 1;
    return scale;
}

// Where the toolkit puts the X window's top left in its own pixels. GTK divides it by the scale
// and rounds down; Qt and Chromium report that window as their frame, while GTK's frame may
// take in the window manager's title bar.
CGPoint reportedOrigin(const ToolkitGeometry &toolkit, const ClientWindow &client,
                       const ReportedWindow *frame, double scale)
{
    const CGPoint &root = client.frame.origin;
    if (toolkit.wholeScales)
        return {std::floor(root.x / scale), std::floor(root.y / scale)};
    const bool isTheWindow = frame
        && std::abs(frame->extents.width * scale - client.frame.size.width) < scale
        && std::abs(frame->extents.height * scale - client.frame.size.height) < scale;
    if (isTheWindow)
        return {double(frame->extents.x), double(frame->extents.y)};
    return {root.x / scale, root.y / scale};
}

} // namespace

ToolkitGeometry toolkitGeometry(const std::string &toolkitName, const std::string &version)
{
    const bool gtk = toolkitName == "gtk" || toolkitName == "GTK";
    return {gtk && version.starts_with('4'), gtk, toolkitName == "Chromium"};
}

const ReportedWindow *frameOfWindow(const ClientWindow &client,
                                    const std::vector<ReportedWindow> &reported)
{
    const double shape = client.frame.size.width / std::max(client.frame.size.height, 1.0);
    const ReportedWindow *best = nullptr;
    double bestDistance = 0;
    for (const auto &r : reported) {
        if (r.title.empty() || r.title != client.title || !sameShape(client, r.extents))
            continue;
        const double distance =
            std::abs(double(r.extents.width) / double(r.extents.height) - shape);
        if (!best || distance < bestDistance) {
            best = &r;
            bestDistance = distance;
        }
    }
    if (best)
        return best;
    for (const auto &r : reported) {
        if (client.isActive && r.active && sameShape(client, r.extents))
            return &r;
    }
    // Else the one frame of the window's shape, where only one has it.
    const ReportedWindow *only = nullptr;
    for (const auto &r : reported) {
        if (!sameShape(client, r.extents))
            continue;
        if (only)
            return nullptr;
        only = &r;
    }
    return only;
}

CoordinateSpace CoordinateSpace::of(const ToolkitGeometry &toolkit,
                                    const std::vector<ClientWindow> &clients,
                                    const std::vector<ReportedWindow> &reported)
{
    CoordinateSpace space;
    space._pagesInRootPixels = toolkit.pagesInRootPixels;
    const ClientWindow *anchor = anchorWindow(clients);
    if (!anchor)
        return space;
    const ReportedWindow *frame = frameOfWindow(*anchor, reported);
    // A client may draw a shadow around its window inside its X window: the toolkit's window
    // is what the user sees where it reports that size (GTK 4, Firefox under a compositor),
    // else the whole X window (GTK 3; Chromium, which keeps its extents even without one).
    ClientWindow drawn = *anchor;
    if (!frame || !sizeOf(anchor->frame, frame->extents))
        drawn.frame = anchor->surface;
    const ClientWindow *client = &drawn;
    if (frame)
        space._scale = scaleOf(toolkit, *client, *frame);
    if (!toolkit.relativeToWindow && space._scale == 1)
        return space;
    space._rootAnchor = client->frame.origin;
    if (!toolkit.relativeToWindow)
        space._reportedAnchor = reportedOrigin(toolkit, *client, frame, space._scale);
    else if (frame)
        space._reportedAnchor = {2.0 * frame->extents.x, 2.0 * frame->extents.y};
    return space;
}

CoordinateSpace CoordinateSpace::ofSurfaces(const ToolkitGeometry &toolkit,
                                            const std::vector<ClientWindow> &clients,
                                            const std::vector<ReportedWindow> &reported)
{
    CoordinateSpace space;
    const ClientWindow *client = anchorWindow(clients);
    if (!client)
        return space;
    const CGRect &surface = client->surface;
    space._rootAnchor = surface.origin;
    ClientWindow drawn = *client;
    drawn.frame = surface;
    const ReportedWindow *window = frameOfWindow(drawn, reported);
    if (!window)
        return space;
    // What the toolkit calls its window is its whole surface (GTK 3, shadow included), the
    // frame the shell shows (GTK 4, shadow left out), or its content inside decorations it
    // draws itself, as wide on the left, the right and the bottom, the title bar on top (Qt).
    // Each in its own pixels, which the shell scales by its monitor's scale.
    const auto &e = window->extents;
    const double scale = surfaceScale(*client, e);
    space._scale = scale;
    const auto sized = [&e, scale](const CGRect &r) {
        return sizeOf(r, e, scale);
    };
    if (sized(client->frame) && !sized(surface)) {
        space._rootAnchor = client->frame.origin;
    } else if (!sized(surface)) {
        const double border = (surface.size.width - e.width * scale) / 2;
        space._rootAnchor = {surface.origin.x + border,
                             surface.origin.y + surface.size.height - e.height * scale - border};
    }
    // GTK 4 counts through its window's own bounds as it does in an X window.
    const double counted = toolkit.relativeToWindow ? 2.0 : 1.0;
    space._reportedAnchor = {counted * e.x, counted * e.y};
    return space;
}

CGRect CoordinateSpace::toRoot(const Extents &e, bool inPage) const
{
    if (inPage && _pagesInRootPixels)
        return makeRect(e.x, e.y, e.width, e.height);
    return makeRect(std::round(_rootAnchor.x + (e.x - _reportedAnchor.x) * _scale),
                    std::round(_rootAnchor.y + (e.y - _reportedAnchor.y) * _scale),
                    std::round(e.width * _scale), std::round(e.height * _scale));
}

CGPoint CoordinateSpace::hitTestPoint(CGPoint root) const
{
    if (_pagesInRootPixels)
        return root;
    return {_reportedAnchor.x + (root.x - _rootAnchor.x) / _scale,
            _reportedAnchor.y + (root.y - _rootAnchor.y) / _scale};
}

} // namespace tarnvik::linux
