#pragma once

#include "platform/Geometry.h"
#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/DBusMessages.h"

#include <string>
#include <vector>

namespace tarnvik::linux {

// How a toolkit reports places over AT-SPI, beyond its scale (measured in
// docs/linux-backend.md).
struct ToolkitGeometry
{
    // GTK 4: in its window's coordinates, which it counts through the bounds of every parent,
    // the window's own among them. 4.8 reports the window at 0, 0 and each object from the X
    // window's top left; 4.18 reports the window at minus the margin it keeps inside the X
    // window (-5, -5 without a compositor) and each object one more margin short of where it
    // stands: an object stands at the X window's origin plus its extents less twice the
    // window's reported origin.
    bool relativeToWindow = false;
    // GTK scales its windows by whole numbers only, and rounds its window's origin down.
    bool wholeScales = false;
    // Chromium: its own widgets in its scaled pixels, but web pages and every hit test in the X
    // server's.
    bool pagesInRootPixels = false;
};

ToolkitGeometry toolkitGeometry(const std::string &toolkitName, const std::string &version);

// A top-level window as the application reports it: a showing frame.
struct ReportedWindow
{
    std::string title;
    Extents extents;
    bool active = false;
};

// The frame the application reports for an X window: by title, the closest in shape where
// several share it (a scale keeps the shape); else the active frame of that shape for the
// active window, or the only frame of that shape. Nothing where none fits.
const ReportedWindow *frameOfWindow(const ClientWindow &client,
                                    const std::vector<ReportedWindow> &reported);

// How one application's AT-SPI coordinates map onto the X server's root window. A toolkit that
// scales itself (GTK at GDK_SCALE=2, Qt by Xft.dpi or QT_SCALE_FACTOR, Chromium's own widgets
// at a device scale factor) reports its own logical pixels; the scale is what one of its
// windows measures on the X server against its reported frame, and that window is the anchor:
// what it holds converts to the pixel, what other windows hold to within the scale.
class CoordinateSpace
{
public:
    // Root pixels as they are.
    CoordinateSpace() = default;
    // From the application's windows as the X server has them and as it reports them; the
    // active X window is the anchor, else the first.
    static CoordinateSpace of(const ToolkitGeometry &toolkit,
                              const std::vector<ClientWindow> &clients,
                              const std::vector<ReportedWindow> &reported);
    // Where every toolkit reports places relative to its own window, in the compositor's
    // logical pixels, as on Wayland: the active window is the anchor, else the first, and
    // where the toolkit's window lies in its surface is told by its reported size.
    static CoordinateSpace ofSurfaces(const ToolkitGeometry &toolkit,
                                      const std::vector<ClientWindow> &clients,
                                      const std::vector<ReportedWindow> &reported);

    double scale() const { return _scale; }
    // Whether some extents (web pages') are in root pixels while the rest are scaled.
    bool mixed() const { return _pagesInRootPixels && _scale != 1; }
    // Where reported extents stand in root pixels; `inPage` for an object of a web page.
    CGRect toRoot(const Extents &e, bool inPage) const;
    // The point to ask the application's hit test for.
    CGPoint hitTestPoint(CGPoint root) const;

private:
    double _scale = 1;
    CGPoint _rootAnchor {};
    CGPoint _reportedAnchor {};
    bool _pagesInRootPixels = false;
};

} // namespace tarnvik::linux
