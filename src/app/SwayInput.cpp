#include "app/DesktopInputs.h"
#include "platform/layershell/LayerShellKeyboard.h"
#include "platform/layershell/LayerShellOverlays.h"
#include "platform/linux/UnwatchedKeyboard.h"
#include "platform/linux/XkbKeyText.h"
#include "platform/wlroots/DesktopBindings.h"
#include "platform/wlroots/WlrPointer.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>

namespace tarnvik {

namespace {

// sway's: the keyboard through a layer-shell surface, the pointer through the wlroots virtual
// pointer, the shortcuts through sway's own key bindings.
class SwayInput final : public DesktopInput
{
public:
    SwayInput(std::unique_ptr<KeyboardLayout> layout,
              std::unique_ptr<wlroots::WlrVirtualPointer> device, wlroots::WlrPointer::Parts parts)
        : _layout(std::move(layout))
        , _device(std::move(device))
        , _keys(*_layout)
        , _pointer(std::move(parts))
    {
        QCoreApplication::instance()->installEventFilter(&_overlays);
    }

    KeyboardCapture &keyboard() override { return _keys; }
    KeyboardLayout &layout() override { return *_layout; }
    HotKeys &hotKeys() override { return _bindings; }
    KeyEventMonitor &keyMonitor() override { return _bindings; }
    CapsLockKey &capsLock() override { return _unwatched; }
    KeyboardInputSources &inputSources() override { return _unwatched; }
    EventPosting &events() override { return _pointer; }
    PointerVisibility &cursor() override { return _pointer; }
    PointerMotion &pointerMotion() override { return _pointer; }
    ScrollPosting &scrolling() override { return _pointer; }
    std::string scrollingName() const override { return "sway's virtual pointer"; }

private:
    std::unique_ptr<KeyboardLayout> _layout;
    std::unique_ptr<wlroots::WlrVirtualPointer> _device;
    // This program's windows over the others are layer-shell surfaces, as its keyboard is.
    layershell::LayerShellOverlays _overlays;
    layershell::LayerShellKeyboard _keys;
    wlroots::WlrPointer _pointer;
    wlroots::DesktopBindings _bindings;
    linux::UnwatchedKeyboard _unwatched {"sway"};
};

// The box around every output, in the compositor's pixels (y down).
CGRect layoutOf(const std::vector<Screen> &screens)
{
    if (screens.empty())
        return {};
    const double height = screens.front().frame.size.height;
    CGRect box = flippedRect(screens.front().frame, height);
    for (const auto &s : screens) {
        const CGRect r = flippedRect(s.frame, height);
        const double left = std::min(box.origin.x, r.origin.x);
        const double top = std::min(box.origin.y, r.origin.y);
        const double right = std::max(box.origin.x + box.size.width, r.origin.x + r.size.width);
        const double bottom = std::max(box.origin.y + box.size.height, r.origin.y + r.size.height);
        box = makeRect(left, top, right - left, bottom - top);
    }
    return box;
}

} // namespace

std::unique_ptr<DesktopInput> connectSwayInput(Screens &screens,
                                               std::function<double()> doubleClickInterval,
                                               std::function<bool()> scrollsByPage)
{
    auto layout = linux::NamedKeymapLayout::make();
    if (!layout) {
        std::fputs("tarnvik: XKB can't make a keymap here\n", stderr);
        return nullptr;
    }
    auto device = wlroots::WlrVirtualPointer::connect();
    if (!device) {
        std::fputs("tarnvik: the compositor offers no virtual pointer "
                   "(zwlr_virtual_pointer_manager_v1)\n",
                   stderr);
        return nullptr;
    }
    auto &pointer = *device;
    return std::make_unique<SwayInput>(
        std::move(layout), std::move(device),
        wlroots::WlrPointer::Parts {.device = pointer,
                                    .layout = [&screens] { return layoutOf(screens.screens()); },
                                    .doubleClickInterval = std::move(doubleClickInterval),
                                    .scrollsByPage = std::move(scrollsByPage)});
}

} // namespace tarnvik
