#include "app/DesktopInputs.h"
#include "platform/kwin/KGlobalAccelHotKeys.h"
#include "platform/kwin/KWinFakeInput.h"
#include "platform/layershell/LayerShellKeyboard.h"
#include "platform/layershell/LayerShellOverlays.h"
#include "platform/linux/UnwatchedKeyboard.h"
#include "platform/linux/VirtualPointer.h"
#include "platform/linux/XkbKeyText.h"
#include "platform/wlroots/DesktopBindings.h"
#include "platform/wlroots/WlrVirtualKeyboard.h"
#include "platform/wlroots/WlrVirtualPointer.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>

namespace tarnvik {

namespace {

// A compositor with the layer shell: the keyboard through a layer-shell surface, the pointer
// through a device of this program's own, the shortcuts through KDE's global shortcuts where
// the session has them, else through the compositor's own key bindings (sway).
class LayerShellInput final : public DesktopInput
{
public:
    struct Parts
    {
        // The compositor, by the name its users know: "sway", "KWin".
        std::string desktop;
        std::unique_ptr<KeyboardLayout> layout;
        std::unique_ptr<linux::PointerDevice> device;
        // Keys to hold for a click: the device's own (KWin's fake input), or a keyboard of this
        // program's (wlroots' virtual keyboard), kept in `keyboard`.
        linux::KeyDevice *keys = nullptr;
        std::unique_ptr<linux::KeyDevice> keyboard;
        // The box around every output, in the compositor's logical pixels.
        std::function<CGRect()> outputs;
        std::function<double()> doubleClickInterval;
        std::function<bool()> scrollsByPage;
    };

    explicit LayerShellInput(Parts parts)
        : _desktop(parts.desktop)
        , _layout(std::move(parts.layout))
        , _device(std::move(parts.device))
        , _keyboard(std::move(parts.keyboard))
        , _keys(*_layout)
        , _pointer({.device = *_device,
                    .keys = parts.keys,
                    .layout = std::move(parts.outputs),
                    .doubleClickInterval = std::move(parts.doubleClickInterval),
                    .scrollsByPage = std::move(parts.scrollsByPage)})
        , _bindings(_desktop)
        , _unwatched(_desktop)
    {
        if (kwin::KGlobalAccelHotKeys::available())
            _shortcuts = std::make_unique<kwin::KGlobalAccelHotKeys>(*_layout);
        QCoreApplication::instance()->installEventFilter(&_overlays);
    }

    KeyboardCapture &keyboard() override { return _keys; }
    KeyboardLayout &layout() override { return *_layout; }
    HotKeys &hotKeys() override
    {
        return _shortcuts ? static_cast<HotKeys &>(*_shortcuts) : _bindings;
    }
    KeyEventMonitor &keyMonitor() override { return _bindings; }
    CapsLockKey &capsLock() override { return _unwatched; }
    KeyboardInputSources &inputSources() override { return _unwatched; }
    EventPosting &events() override { return _pointer; }
    PointerVisibility &cursor() override { return _pointer; }
    PointerMotion &pointerMotion() override { return _pointer; }
    ScrollPosting &scrolling() override { return _pointer; }
    std::string scrollingName() const override { return _desktop + "'s virtual pointer"; }
    void onNamedShortcut(std::function<void(const std::string &name)> handler) override
    {
        _bindings.onNamedShortcut(std::move(handler));
    }

private:
    std::string _desktop;
    std::unique_ptr<KeyboardLayout> _layout;
    std::unique_ptr<linux::PointerDevice> _device;
    std::unique_ptr<linux::KeyDevice> _keyboard;
    // This program's windows over the others are layer-shell surfaces, as its keyboard is.
    layershell::LayerShellOverlays _overlays;
    layershell::LayerShellKeyboard _keys;
    linux::VirtualPointer _pointer;
    std::unique_ptr<kwin::KGlobalAccelHotKeys> _shortcuts;
    wlroots::DesktopBindings _bindings;
    linux::UnwatchedKeyboard _unwatched;
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

std::unique_ptr<DesktopInput> connectLayerShellInput(Screens &screens,
                                                     std::function<double()> doubleClickInterval,
                                                     std::function<bool()> scrollsByPage)
{
    auto layout = linux::NamedKeymapLayout::make();
    if (!layout) {
        std::fputs("tarnvik: XKB can't make a keymap here\n", stderr);
        return nullptr;
    }
    std::string desktop = "sway";
    std::unique_ptr<linux::PointerDevice> device = wlroots::WlrVirtualPointer::connect();
    linux::KeyDevice *keys = nullptr;
    std::unique_ptr<linux::KeyDevice> keyboard;
    if (device) {
        keyboard = wlroots::WlrVirtualKeyboard::connect(layout->keymap());
        keys = keyboard.get();
        if (!keyboard)
            std::fputs("tarnvik: the compositor offers no virtual keyboard "
                       "(zwp_virtual_keyboard_manager_v1): "
                       "clicks will carry no modifiers\n",
                       stderr);
    } else {
        desktop = "KWin";
        auto kwin = kwin::KWinFakeInput::connect();
        keys = kwin.get();
        device = std::move(kwin);
    }
    if (!device) {
        std::fputs("tarnvik: the compositor offers this program neither a virtual pointer "
                   "(zwlr_virtual_pointer_manager_v1) nor KWin's fake input: on KWin, Tarnvik's "
                   "desktop entry must be installed (see the README)\n",
                   stderr);
        return nullptr;
    }
    return std::make_unique<LayerShellInput>(
        LayerShellInput::Parts {.desktop = std::move(desktop),
                                .layout = std::move(layout),
                                .device = std::move(device),
                                .keys = keys,
                                .keyboard = std::move(keyboard),
                                .outputs = [&screens] { return layoutOf(screens.screens()); },
                                .doubleClickInterval = std::move(doubleClickInterval),
                                .scrollsByPage = std::move(scrollsByPage)});
}

} // namespace tarnvik
