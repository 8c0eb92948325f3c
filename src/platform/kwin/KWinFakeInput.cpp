#include "platform/kwin/KWinFakeInput.h"

#include "fake-input-client-protocol.h"

#include <algorithm>
#include <cstring>
#include <wayland-client.h>

namespace tarnvik::kwin {

namespace {

// Absolute motion came in the third version, keys in the fourth.
constexpr std::uint32_t neededVersion = 4;

} // namespace

std::unique_ptr<KWinFakeInput> KWinFakeInput::connect()
{
    std::unique_ptr<KWinFakeInput> p(new KWinFakeInput);
    p->_display = wl_display_connect(nullptr);
    if (!p->_display)
        return nullptr;
    static const wl_registry_listener listener {
        .global =
            [](void *data, wl_registry *registry, std::uint32_t name, const char *interface,
               std::uint32_t version) {
                auto *self = static_cast<KWinFakeInput *>(data);
                if (std::strcmp(interface, org_kde_kwin_fake_input_interface.name) == 0
                    && version >= neededVersion)
                    self->_input = static_cast<org_kde_kwin_fake_input *>(wl_registry_bind(
                        registry, name, &org_kde_kwin_fake_input_interface, neededVersion));
            },
        .global_remove = [](void *, wl_registry *, std::uint32_t) {},
    };
    p->_registry = wl_display_get_registry(p->_display);
    wl_registry_add_listener(p->_registry, &listener, p.get());
    if (wl_display_roundtrip(p->_display) < 0 || !p->_input)
        return nullptr;
    // KWin drops what a device sends before it has said who it is.
    org_kde_kwin_fake_input_authenticate(p->_input, "Tarnvik",
                                         "clicks and scrolls what the user chooses by keyboard");
    if (wl_display_roundtrip(p->_display) < 0)
        return nullptr;
    return p;
}

KWinFakeInput::~KWinFakeInput()
{
    if (_input)
        org_kde_kwin_fake_input_destroy(_input);
    if (_registry)
        wl_registry_destroy(_registry);
    if (_display) {
        wl_display_flush(_display);
        wl_display_disconnect(_display);
    }
}

void KWinFakeInput::moveTo(CGPoint point, const CGRect &)
{
    std::lock_guard lock(_mutex);
    org_kde_kwin_fake_input_pointer_motion_absolute(_input, wl_fixed_from_double(point.x),
                                                    wl_fixed_from_double(point.y));
    wl_display_flush(_display);
}

void KWinFakeInput::press(std::uint32_t button, bool down)
{
    std::lock_guard lock(_mutex);
    org_kde_kwin_fake_input_button(
        _input, button, down ? WL_POINTER_BUTTON_STATE_PRESSED : WL_POINTER_BUTTON_STATE_RELEASED);
    wl_display_flush(_display);
}

void KWinFakeInput::scroll(double vertical, double horizontal)
{
    std::lock_guard lock(_mutex);
    if (vertical != 0)
        org_kde_kwin_fake_input_axis(_input, WL_POINTER_AXIS_VERTICAL_SCROLL,
                                     wl_fixed_from_double(vertical));
    if (horizontal != 0)
        org_kde_kwin_fake_input_axis(_input, WL_POINTER_AXIS_HORIZONTAL_SCROLL,
                                     wl_fixed_from_double(horizontal));
    wl_display_flush(_display);
}

void KWinFakeInput::key(std::uint32_t code, bool down)
{
    std::lock_guard lock(_mutex);
    org_kde_kwin_fake_input_keyboard_key(
        _input, code, down ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED);
    wl_display_flush(_display);
}

} // namespace tarnvik::kwin
