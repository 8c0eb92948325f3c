#include "app/DesktopInputs.h"

#include "platform/gnome/GnomeInput.h"
#include "platform/gnome/GnomeOverview.h"
#include "platform/linux/UnwatchedKeyboard.h"
#include "platform/linux/WheelScrolling.h"
#include "platform/linux/X11KeyWatch.h"
#include "platform/linux/X11Keyboard.h"
#include "platform/linux/X11Pointer.h"
#include "platform/linux/XkbKeyText.h"
#include "platform/linux/XkbLayouts.h"

#include <cstdio>

namespace tarnvik {

namespace {

// The X display's connections, each made on its own.
struct X11Parts
{
    std::unique_ptr<linux::X11Keyboard> keyboard;
    std::unique_ptr<linux::X11KeyWatch> keyWatch;
    std::unique_ptr<linux::XkbLayouts> layouts;
    std::unique_ptr<linux::X11Pointer> pointer;
    std::unique_ptr<ScrollPosting> scrolling;
    std::string scrollingName;
};

class X11Input final : public DesktopInput
{
public:
    X11Input(gnome::TarnvikGnomeExtension &shell, X11Parts parts)
        : _x(std::move(parts))
        , _hotKeys(_x.keyboard.get(), shell)
    { }

    KeyboardCapture &keyboard() override { return *_x.keyboard; }
    KeyboardLayout &layout() override { return *_x.keyboard; }
    HotKeys &hotKeys() override { return _hotKeys; }
    KeyEventMonitor &keyMonitor() override { return *_x.keyWatch; }
    CapsLockKey &capsLock() override { return *_x.keyWatch; }
    KeyboardInputSources &inputSources() override { return *_x.layouts; }
    EventPosting &events() override { return *_x.pointer; }
    PointerVisibility &cursor() override { return *_x.pointer; }
    PointerMotion &pointerMotion() override { return *_x.pointer; }
    ScrollPosting &scrolling() override { return *_x.scrolling; }
    std::string scrollingName() const override { return _x.scrollingName; }

private:
    X11Parts _x;
    gnome::GnomeOverviewHotKeys _hotKeys;
};

class GnomeInput final : public DesktopInput
{
public:
    GnomeInput(gnome::TarnvikGnomeExtension &shell, Scheduler &scheduler,
               std::unique_ptr<KeyboardLayout> layout, std::function<double()> doubleClickInterval,
               std::function<bool()> scrollsByPage)
        : _layout(std::move(layout))
        , _keys(shell, *_layout)
        , _hotKeys(nullptr, shell)
        , _pointer({.shell = shell,
                    .scheduler = scheduler,
                    .doubleClickInterval = std::move(doubleClickInterval),
                    .scrollsByPage = std::move(scrollsByPage)})
        , _modifiers(shell)
    { }

    KeyboardCapture &keyboard() override { return _keys; }
    KeyboardLayout &layout() override { return *_layout; }
    HotKeys &hotKeys() override { return _hotKeys; }
    KeyEventMonitor &keyMonitor() override { return _modifiers; }
    CapsLockKey &capsLock() override { return _unwatched; }
    KeyboardInputSources &inputSources() override { return _unwatched; }
    EventPosting &events() override { return _pointer; }
    PointerVisibility &cursor() override { return _pointer; }
    PointerMotion &pointerMotion() override { return _pointer; }
    ScrollPosting &scrolling() override { return _pointer; }
    std::string scrollingName() const override { return "GNOME Shell's virtual pointer"; }

private:
    std::unique_ptr<KeyboardLayout> _layout;
    gnome::GnomeOverviewKeys _keys;
    gnome::GnomeOverviewHotKeys _hotKeys;
    gnome::GnomePointer _pointer;
    gnome::GnomeModifierWatch _modifiers;
    linux::UnwatchedKeyboard _unwatched {"GNOME's Wayland session"};
};

} // namespace

std::unique_ptr<DesktopInput> connectX11Input(gnome::TarnvikGnomeExtension &shell,
                                              Scheduler &scheduler,
                                              std::function<double()> doubleClickInterval)
{
    X11Parts x {.keyboard = linux::X11Keyboard::connect(),
                .keyWatch = linux::X11KeyWatch::connect(),
                .layouts = linux::XkbLayouts::connect(),
                .pointer = linux::X11Pointer::connect(scheduler, std::move(doubleClickInterval))};
    if (!x.keyboard || !x.keyWatch || !x.layouts || !x.pointer) {
        std::fputs("tarnvik: the display lacks the XTEST or XKB extension\n", stderr);
        return nullptr;
    }
    x.scrolling = linux::makeScrollPosting(x.scrollingName);
    if (!x.scrolling) {
        std::fputs("tarnvik: no display to scroll\n", stderr);
        return nullptr;
    }
    return std::make_unique<X11Input>(shell, std::move(x));
}

std::unique_ptr<DesktopInput> connectGnomeInput(gnome::TarnvikGnomeExtension &shell,
                                                Scheduler &scheduler,
                                                std::function<double()> doubleClickInterval,
                                                std::function<bool()> scrollsByPage)
{
    auto layout = linux::NamedKeymapLayout::make();
    if (!layout) {
        std::fputs("tarnvik: XKB can't make a keymap here\n", stderr);
        return nullptr;
    }
    return std::make_unique<GnomeInput>(shell, scheduler, std::move(layout),
                                        std::move(doubleClickInterval), std::move(scrollsByPage));
}

} // namespace tarnvik
