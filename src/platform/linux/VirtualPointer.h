#pragma once

#include "platform/Pointer.h"

#include <atomic>
#include <cstdint>
#include <functional>

namespace tarnvik::linux {

// A pointer device of this program's own that a Wayland compositor lets it make (wlroots'
// virtual pointer, KWin's fake input). Any thread may use it.
class PointerDevice
{
public:
    virtual ~PointerDevice() = default;
    // To a point of the layout of outputs `layout` spans, in the compositor's logical pixels.
    virtual void moveTo(CGPoint point, const CGRect &layout) = 0;
    // `button` a Linux input event code (BTN_LEFT...).
    virtual void press(std::uint32_t button, bool down) = 0;
    // Positive values scroll down and to the right, as a touchpad's fingers moving up and left.
    virtual void scroll(double vertical, double horizontal) = 0;
    // Waits until the compositor has handled what was sent: what another connection sends next
    // then comes after it.
    virtual void sync() = 0;
};

// Keys of this program's own that a Wayland compositor lets it press (KWin's fake input,
// wlroots' virtual keyboard), by their Linux input event codes. Any thread may use it.
class KeyDevice
{
public:
    virtual ~KeyDevice() = default;
    // The compositor handles the key before anything the pointer device sends next: on the
    // pointer's own connection by its order, on another by a wait for the compositor.
    virtual void key(std::uint32_t code, bool down) = 0;
};

// Clicks and scrolls through such a device, a Command-click as a Control-click where there are
// keys to hold. Those compositors tell a client nothing of the user's pointer outside its own
// windows, and let it neither hide the pointer nor follow it: those are left undone.
class VirtualPointer final : public EventPosting,
                             public PointerVisibility,
                             public PointerMotion,
                             public ScrollPosting
{
public:
    struct Parts
    {
        PointerDevice &device;
        // Where the compositor offers none, clicks carry no modifiers.
        KeyDevice *keys = nullptr;
        // The box around every output, in the compositor's logical pixels.
        std::function<CGRect()> layout;
        std::function<double()> doubleClickInterval;
        // Whether the application in front moves its lists by a measure of their page for each
        // step of a smooth scroll (GTK 3).
        std::function<bool()> scrollsByPage;
    };
    explicit VirtualPointer(Parts parts)
        : _parts(std::move(parts))
    { }

    void postMouseMoved(CGPoint position) override;
    // The application counts the clicks of a double click itself.
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

} // namespace tarnvik::linux
