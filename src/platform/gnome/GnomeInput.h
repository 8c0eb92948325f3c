#pragma once

#include "platform/ClickQueue.h"
#include "platform/KeyEvents.h"
#include "platform/Pointer.h"
#include "platform/gnome/TarnvikGnomeExtension.h"

#include <atomic>
#include <functional>

namespace tarnvik::gnome {

// Clicks, scrolls and the pointer's visibility through the shell's virtual devices, and the
// user's pointer as the shell reports it while a session holds the keys: on Wayland no client
// may post input to another, or follow the pointer outside its own windows.
class GnomePointer final : public EventPosting,
                           public PointerVisibility,
                           public PointerMotion,
                           public ScrollPosting
{
public:
    struct Parts
    {
        TarnvikGnomeExtension &shell;
        Scheduler &scheduler;
        std::function<double()> doubleClickInterval;
        // Whether the application in front moves its lists by a measure of their page for each
        // step of a smooth scroll (GTK 3).
        std::function<bool()> scrollsByPage;
    };
    explicit GnomePointer(Parts parts);

    void postMouseMoved(CGPoint position) override { _shell.movePointer(position); }
    // The shell's seat counts the clicks of a double click itself. Its keyboard state is the
    // seat's, shared by every keyboard, so a press waits for the user's modifiers to be let go.
    void postMouseButton(int button, bool down, CGPoint position, std::uint64_t flags,
                         int clickCount) override;
    double doubleClickInterval() override { return _doubleClickInterval(); }
    void beep() override;

    void hideCursor() override;
    void showCursor() override;

    void observe(std::function<void()> observer) override
    {
        _shell.onPointerMoved(std::move(observer));
    }
    void observePresses(std::function<void()> observer) override
    {
        _shell.onPointerPressed(std::move(observer));
    }

    // As a touchpad scrolls, whose steps reach most toolkits as pixels.
    void postScroll(double verticalPx, double horizontalPx) override;
    void aimAt(CGRect area) override;

private:
    TarnvikGnomeExtension &_shell;
    std::function<double()> _doubleClickInterval;
    std::function<bool()> _scrollsByPage;
    ClickQueue _clicks;
    int _hides = 0;
    // The shell's steps for a pixel in the area aimed at; the frame clock's thread reads it.
    std::atomic<double> _stepsPerPixel = 1;
};

// The modifiers the seat's keyboards hold, as they change, for shortcuts of modifiers alone: on
// Wayland no client sees the keys another one gets, and the shell reports only the modifiers.
class GnomeModifierWatch final : public KeyEventMonitor
{
public:
    explicit GnomeModifierWatch(TarnvikGnomeExtension &shell);
    ~GnomeModifierWatch() override;
    GnomeModifierWatch(const GnomeModifierWatch &) = delete;
    GnomeModifierWatch &operator=(const GnomeModifierWatch &) = delete;

    void setMonitorHandler(Handler handler) override;

private:
    TarnvikGnomeExtension &_shell;
    Handler _handler;
};

} // namespace tarnvik::gnome
