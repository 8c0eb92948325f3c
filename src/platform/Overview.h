#pragma once

#include "platform/AXUIElement.h"
#include "platform/Geometry.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tarnvik {

// A window the overview shows, with what the desktop knows of the application that owns it.
struct OverviewWindow
{
    std::uint64_t number = 0;
    pid_t pid = 0;
    std::string title;
    std::optional<std::string> applicationName;
    // An icon name of the desktop's icon theme, or an image's path.
    std::optional<std::string> icon;
};

// One label drawn over the overview: its body's frame in the screen space (top-left origin),
// how many of its characters are typed, its colours as "#rrggbb", and the icon of the window's
// application beside it.
struct OverviewLabel
{
    std::string text;
    CGRect frame;
    int typed = 0;
    std::string textColor;
    std::string backgroundColor;
    std::string borderColor;
    double fontSize = 0;
    // An empty background leaves the box clear inside its border.
    double borderWidth = 1;
    double cornerRadius = 3;
    std::optional<std::string> icon;
    CGRect iconFrame;
};

// A label drawn by this program, handed to the shell as pixels: premultiplied ARGB, 32 bits a
// pixel in the machine's order, rows `stride` bytes apart. The shell keeps the pixels of each
// key once sent: an image whose `pixels` are empty is the one sent before under its key.
struct OverviewImage
{
    std::string key;
    // Where it stands on screen; the pixels are scaled to it.
    CGRect frame;
    int width = 0;
    int height = 0;
    int stride = 0;
    std::vector<std::uint8_t> pixels;
};

// The desktop's window overview, where it shows every window at once. No ordinary window shows
// over it and it keeps the keyboard while it is open, so the labels and keys of a session over
// it go through the desktop itself. Every call is made on the main thread.
class Overview
{
public:
    virtual ~Overview() = default;

    // `report` runs on the main thread when the overview starts to open and again when it has
    // finished opening; an empty one ends the watch.
    virtual void observe(std::function<void()> report) = 0;
    // Cheap enough to ask 33 times a second.
    virtual bool isOpen() = 0;
    // The accessibility element that holds the overview, while it is open.
    virtual std::optional<AXUIElement> rootElement() = 0;
    // The window previews' frames now, each under a key of its window; cheap, and read without
    // the accessibility tree.
    virtual std::map<std::string, CGRect> previewFrames() = 0;
    // The windows on screen, as the overview knows them: on every kind of session, where the
    // X server knows only its own clients.
    virtual std::vector<OverviewWindow> windows() = 0;
    // Why labels can't be drawn over the overview, said as one line that tells how to fix it;
    // nothing when they can.
    virtual std::optional<std::string> unavailable() = 0;

    // The labels of a session in place of the last ones, shown.
    virtual void showLabels(const std::vector<OverviewLabel> &labels) = 0;
    // In place of the labels shown: images drawn here. Whether the shell has the pixels of a
    // key already.
    virtual void showImages(const std::vector<OverviewImage> &images) = 0;
    virtual bool hasImage(const std::string &key) = 0;
    virtual void setLabelsVisible(bool visible) = 0;
    virtual void clearLabels() = 0;
    // A panel of this program (the search field, a highlight) drawn above everything, in place
    // of the one shown under its key; its pixels are never kept for a later call.
    virtual void showPanel(const OverviewImage &panel) = 0;
    virtual void hidePanel(const std::string &key) = 0;
    // Brings the window whose preview stands at `point` to the front, which closes the overview.
    virtual bool pick(CGPoint point) = 0;
};

} // namespace tarnvik
