// The numbers are those measured on the virtual desktop (docs/linux-backend.md): each toolkit's
// window on the X server beside the frame and the elements it reported over AT-SPI, and where
// the elements stood on the screen.
#include "platform/linux/CoordinateSpace.h"

#include <gtest/gtest.h>

namespace tarnvik::linux {
namespace {

ClientWindow window(const char *title, double x, double y, double width, double height,
                    bool active = true)
{
    return ClientWindow {title, makeRect(x, y, width, height), active, Panel::None};
}

ReportedWindow frame(const char *title, int x, int y, int width, int height, bool active = true)
{
    return ReportedWindow {title, Extents {x, y, width, height}, active};
}

Extents at(int x, int y, int width, int height)
{
    return Extents {x, y, width, height};
}

void expectRect(const CGRect &r, double x, double y, double width, double height)
{
    EXPECT_EQ(r.origin.x, x);
    EXPECT_EQ(r.origin.y, y);
    EXPECT_EQ(r.size.width, width);
    EXPECT_EQ(r.size.height, height);
}

TEST(CoordinateSpace, Gtk3AtTwiceRoundsItsWindowOriginDown)
{
    // At GDK_SCALE=2, a window with the window manager's title bar: GTK's frame takes it in
    // (701x513 for a 1400x1000 window), and the window's origin still decides.
    const auto gtk = toolkitGeometry("gtk", "3.24.38");
    const auto editor = CoordinateSpace::of(gtk, {window("Editor", 519, 20, 1400, 1000)},
                                            {frame("Editor", 259, 0, 701, 513)});
    EXPECT_EQ(editor.scale(), 2);
    expectRect(editor.toRoot(at(259, 10, 700, 34), false), 519, 20, 1400, 68);
    const CGPoint asked = editor.hitTestPoint({1218, 54});
    EXPECT_EQ(asked.x, 608.5);
    EXPECT_EQ(asked.y, 27);
}

TEST(CoordinateSpace, AnOpenPopupMenuIsNotTheWindow)
{
    // gtk3-widget-factory with an entry's context menu open: the menu's frame is the active one,
    // untitled like the window's; its shape tells it apart. Taken for the window, it made the
    // scale 7 and sent every label off the screen.
    const auto gtk = toolkitGeometry("gtk", "3.24.38");
    const std::vector<ReportedWindow> frames {frame("", 277, 168, 1366, 738, false),
                                              frame("", 467, 423, 148, 160, true)};
    const auto space = CoordinateSpace::of(gtk, {window("", 277, 168, 1366, 738)}, frames);
    EXPECT_EQ(space.scale(), 1);
    expectRect(space.toRoot(at(471, 528, 140, 25), false), 471, 528, 140, 25);

    const std::vector<ReportedWindow> scaled {frame("", 138, 84, 683, 369, false),
                                              frame("", 233, 211, 74, 80, true)};
    EXPECT_EQ(CoordinateSpace::of(gtk, {window("", 277, 168, 1366, 738)}, scaled).scale(), 2);
}

TEST(CoordinateSpace, ChromiumScalesItsOwnWidgetsButNotItsPagesOrHitTests)
{
    // --force-device-scale-factor=2, the window at 100,50.
    const auto space =
        CoordinateSpace::of(toolkitGeometry("Chromium", "156"),
                            {window("Tarnvik Controls - Chromium", 100, 50, 1600, 900)},
                            {frame("Tarnvik Controls - Chromium", 50, 25, 800, 450)});
    const CGPoint asked = space.hitTestPoint({298, 176});
    EXPECT_EQ(asked.x, 298);
    EXPECT_EQ(asked.y, 176);
}

TEST(CoordinateSpace, UnderACompositorAWindowCountsFromWhatItReportsWithOrWithoutItsShadow)
{
    // GNOME Shell on X11: Firefox's X window at 293, 43 (1332x995) with the frame extents 26, 26,
    // 23, 29; it reports its window without them, 319, 66 (1280x943), and its objects where
    // they stand.
    ClientWindow firefox = window("Tarnvik Controls — Mozilla Firefox", 319, 66, 1280, 943);
    firefox.surface = makeRect(293, 43, 1332, 995);
    const auto gecko =
        CoordinateSpace::of(toolkitGeometry("Gecko", "115"), {firefox},
                            {frame("Tarnvik Controls — Mozilla Firefox", 319, 66, 1280, 943)});
    expectRect(gecko.toRoot(at(352, 284, 14, 14), false), 352, 284, 14, 14);
    // GTK 4 counts from its window without the shadow: gtk4-widget-factory's X window at 112,
    // 79 (1694x898), extents 14, 14, 12, 17, a check box reported at 14, 413 in its window.
    ClientWindow factory = window("GTK Widget Factory", 126, 91, 1666, 869);
    factory.surface = makeRect(112, 79, 1694, 898);
    const auto gtk4 = CoordinateSpace::of(toolkitGeometry("gtk", "4.8.3"), {factory},
                                          {frame("GTK Widget Factory", 0, 0, 1666, 869)});
    expectRect(gtk4.toRoot(at(14, 413, 100, 16), false), 140, 504, 100, 16);
    // Chromium on openbox at twice its size keeps extents of 8, 8, 0, 8 and reports its whole
    // X window, at 20, 20 (1880x1040), in its own pixels.
    ClientWindow chromium = window("Tarnvik Controls - Chromium", 28, 20, 1864, 1032);
    chromium.surface = makeRect(20, 20, 1880, 1040);
    const auto scaled =
        CoordinateSpace::of(toolkitGeometry("Chromium", "156"), {chromium},
                            {frame("Tarnvik Controls - Chromium", 10, 10, 940, 520)});
    EXPECT_EQ(scaled.scale(), 2);
    expectRect(scaled.toRoot(at(60, 40, 20, 10), false), 120, 80, 40, 20);
}

TEST(CoordinateSpace, AWindowWhoseFrameWasNotFoundKeepsTheToolkitsPixels)
{
    // Or nothing on the X server.
    const auto unknown =
        CoordinateSpace::of(toolkitGeometry("Qt", "6.4.2"), {window("Other", 0, 0, 800, 600)}, {});
    EXPECT_EQ(unknown.scale(), 1);
    expectRect(unknown.toRoot(at(10, 20, 30, 40), false), 10, 20, 30, 40);
    expectRect(CoordinateSpace().toRoot(at(10, 20, 30, 40), false), 10, 20, 30, 40);
}

TEST(CoordinateSpace, Gtk4CountsFromItsActiveWindowWithItsShadowLeftOut)
{
    const auto gtk4 = toolkitGeometry("GTK", "4.8.3");
    // At 1x the window holds 5 pixels of shadow on each side: no scale.
    const auto plain = CoordinateSpace::of(
        gtk4,
        {window("Other", 0, 0, 300, 200, false), window("GTK Widget Factory", 122, 101, 1676, 878)},
        {frame("GTK Widget Factory", 0, 0, 1666, 868)});
    EXPECT_EQ(plain.scale(), 1);
    expectRect(plain.toRoot(at(10, 56, 1646, 802), false), 132, 157, 1646, 802);
    const CGPoint asked = plain.hitTestPoint({142, 167});
    EXPECT_EQ(asked.x, 20);
    EXPECT_EQ(asked.y, 66);
    // GDK_SCALE=2.
    const auto twice =
        CoordinateSpace::of(gtk4, {window("GTK Widget Factory", 101, 51, 2684, 1508)},
                            {frame("GTK Widget Factory", 0, 0, 1332, 744)});
    EXPECT_EQ(twice.scale(), 2);
    expectRect(twice.toRoot(at(19, 57, 350, 32), false), 139, 165, 700, 64);
}

TEST(CoordinateSpace, Gtk418CountsTwiceTheMarginItsWindowReports)
{
    // Debian 13's gtk4-widget-factory: its second check button answers clicks from y 606 to
    // 630, not at 603 or 632.
    const auto gtk418 = CoordinateSpace::of(toolkitGeometry("GTK", "4.18.6"),
                                            {window("GTK Widget Factory", 280, 163, 1360, 754)},
                                            {frame("GTK Widget Factory", -5, -5, 1360, 754)});
    EXPECT_EQ(gtk418.scale(), 1);
    expectRect(gtk418.toRoot(at(5, 433, 112, 24), false), 295, 606, 112, 24);
    const CGPoint asked = gtk418.hitTestPoint({350, 610});
    EXPECT_EQ(asked.x, 60);
    EXPECT_EQ(asked.y, 437);
}

TEST(CoordinateSpace, WindowsSharingATitleArePairedByShape)
{
    const auto space = CoordinateSpace::of(
        toolkitGeometry("Qt", "6.4.2"), {window("Same", 0, 0, 1000, 500)},
        {frame("Same", 0, 0, 300, 300, false), frame("Same", 0, 0, 500, 250, false)});
    EXPECT_EQ(space.scale(), 2);
}

TEST(CoordinateSpace, OnWaylandGtk3CountsFromItsSurfaceShadowIncluded)
{
    // GNOME Shell 43 on Wayland: gtk3-widget-factory's frame at 0, 32 (1415x732), its surface
    // at -26, 9 (1467x784) with the shadow, reported as 0, 0 and the surface's size. A check
    // box reported at 36, 444 answered clicks at 69, 464 and not at 95, 487.
    ClientWindow factory = window("gtk3-widget-factory", 0, 32, 1415, 732);
    factory.surface = makeRect(-26, 9, 1467, 784);
    const auto space = CoordinateSpace::ofSurfaces(toolkitGeometry("gtk", "3.24.38"), {factory},
                                                   {frame("gtk3-widget-factory", 0, 0, 1467, 784)});
    expectRect(space.toRoot(at(36, 444, 118, 22), false), 10, 453, 118, 22);
    const CGPoint hit = space.hitTestPoint({69, 464});
    EXPECT_EQ(hit.x, 95);
    EXPECT_EQ(hit.y, 455);
}

TEST(CoordinateSpace, OnWaylandQtCountsFromItsContentInsideTheDecorationsItDraws)
{
    // GNOME Shell 43 on Wayland: our Qt 6 window's frame and surface at 153, 63 (486x673), with
    // the title bar and borders Qt draws itself; it reports its content at 0, 0 (480x640). Its
    // check box, reported at 9, 77 (81x18), answered clicks at 205, 179 and not at 202, 149.
    ClientWindow controls = window("Tarnvik Qt Controls", 153, 63, 486, 673);
    const auto space = CoordinateSpace::ofSurfaces(toolkitGeometry("Qt", "6.4.2"), {controls},
                                                   {frame("Tarnvik Qt Controls", 0, 0, 480, 640)});
    expectRect(space.toRoot(at(9, 77, 81, 18), false), 165, 170, 81, 18);
}

TEST(CoordinateSpace, OnAWaylandMonitorOfScaleTwoEachToolkitCountsInItsOwnPixels)
{
    // GNOME Shell 43 at a scale of 2: the shell places windows in its own pixels, and the
    // toolkits report theirs. GTK 3's check box reported at 36, 444 (118x22) stood at 20, 906
    // (236x44), where a click flipped it.
    ClientWindow factory = window("gtk3-widget-factory", 0, 64, 2830, 1464);
    factory.surface = makeRect(-52, 18, 2934, 1568);
    const auto gtk = CoordinateSpace::ofSurfaces(toolkitGeometry("gtk", "3.24.38"), {factory},
                                                 {frame("gtk3-widget-factory", 0, 0, 1467, 784)});
    expectRect(gtk.toRoot(at(36, 444, 118, 22), false), 20, 906, 236, 44);
    // Qt's content inside the decorations it draws, twice as thick.
    ClientWindow controls = window("Tarnvik Qt Controls", 306, 126, 972, 1346);
    const auto qt = CoordinateSpace::ofSurfaces(toolkitGeometry("Qt", "6.4.2"), {controls},
                                                {frame("Tarnvik Qt Controls", 0, 0, 480, 640)});
    expectRect(qt.toRoot(at(9, 77, 81, 18), false), 330, 340, 162, 36);
    // GNOME Shell 48, where Xwayland scales natively: GTK 3 as an X program counts the monitor's
    // pixels, half the shell's. Its X window at 576, 444 (1408x784) is the shell's surface at
    // 288, 222 (704x392); its check box reported at 36, 442 (108x21) stood at 306, 443, where a
    // click flipped it.
    const ClientWindow onXwayland = window("gtk3-widget-factory", 288, 222, 704, 392);
    const auto x = CoordinateSpace::ofSurfaces(toolkitGeometry("gtk", "3.24.49"), {onXwayland},
                                               {frame("gtk3-widget-factory", 0, 0, 1408, 784)});
    expectRect(x.toRoot(at(36, 442, 108, 21), false), 306, 443, 54, 11);
}

} // namespace
} // namespace tarnvik::linux
