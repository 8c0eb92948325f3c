#pragma once

#include "platform/Pointer.h"
#include "platform/wlroots/WlrVirtualPointer.h"

#include <atomic>
#include <functional>

namespace tarnvik::wlroots {

// Clicks and scrolls through this program's virtual pointer on a wlroots compositor. Such a
// compositor tells a client nothing of the user's pointer outside its own windows, and lets it
// neither hide the pointer nor follow it: those are left undone.
class WlrPointer final : public EventPosting,
                         public PointerVisibility,
                         public PointerMotion,
                         public ScrollPosting
{
public:
    struct Parts
    {
        WlrVirtualPointer &device;
        // The box around every output, in the compositor's logical pixels.
        std::function<CGRect()> layout;
        std::function<double()> doubleClickInterval;
        // Whether the application in front moves its lists by a measure of their page for each
        // step of a smooth scroll (GTK 3).
        std::function<bool()> scrollsByPage;
    };
    explicit WlrPointer(Parts parts)
        : _parts(std::move(parts))
    { }

    void postMouseMoved(CGPoint position) override;
    // The compositor counts the clicks of a double click itself.
    void postMouseButton(int button, bool down, CGPoint position, std::uint64_t flags,
                         int clickCount) override;
    double doubleClickInterval() override { return _parts.doubleClickInterval(); }
    void beep() override { }

    void hideCursor() override { }
    void showCursor() override { }
    void observe(std::function<void()>) override { }
    void observePresses(std::function<void()>) override { }

    // As a touchpad scrolls, whose steps reach most toolkits as pixels.
    void postScroll(double verticalPx, double horizontalPx) override;
    void aimAt(CGRect area) override;

private:
    Parts _parts;
    // The touchpad's steps for a pixel in the area aimed at; the frame clock's thread reads it.
    std::atomic<double> _stepsPerPixel = 1;
};

} // namespace tarnvik::wlroots
