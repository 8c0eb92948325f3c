#include "platform/kwin/KWinFakeInput.h"

#include "fake-input-client-protocol.h"

#include <wayland-client.h>

namespace tarnvik::kwin {

namespace {

// Absolute motion came in the third version, keys in the fourth.
constexpr std::uint32_t neededVersion = 4;

} // namespace

std::unique_ptr<KWinFakeInput> KWinFakeInput::connect()
{
    std::unique_ptr<KWinFakeInput> p(new KWinFakeInput);
    p->_connection = wayland::WaylandConnection::connect();
    if (!p->_connection)
        return nullptr;
    p->_input = static_cast<org_kde_kwin_fake_input *>(
        p->_connection->bind(org_kde_kwin_fake_input_interface, neededVersion));
    if (!p->_input)
        return nullptr;
    // KWin drops what a device sends before it has said who it is.
    org_kde_kwin_fake_input_authenticate(p->_input, "Tarnvik",
                                         "clicks and scrolls what the user chooses by keyboard");
    if (!p->_connection->roundtrip())
        return nullptr;
    return p;
}

KWinFakeInput::~KWinFakeInput()
{
    if (_input)
        org_kde_kwin_fake_input_destroy(_input);
}

void KWinFakeInput::moveTo(CGPoint point, const CGRect &)
{
    std::lock_guard lock(_mutex);
    org_kde_kwin_fake_input_pointer_motion_absolute(_input, wl_fixed_from_double(point.x),
                                                    wl_fixed_from_double(point.y));
    _connection->flush();
}

void KWinFakeInput::press(std::uint32_t button, bool down)
{
    std::lock_guard lock(_mutex);
    org_kde_kwin_fake_input_button(
        _input, button, down ? WL_POINTER_BUTTON_STATE_PRESSED : WL_POINTER_BUTTON_STATE_RELEASED);
    _connection->flush();
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
    _connection->flush();
}

void KWinFakeInput::key(std::uint32_t code, bool down)
{
    std::lock_guard lock(_mutex);
    org_kde_kwin_fake_input_keyboard_key(
        _input, code, down ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED);
    _connection->flush();
}

void KWinFakeInput::sync()
{
    std::lock_guard lock(_mutex);
    _connection->roundtrip();
}

} // namespace tarnvik::kwin
