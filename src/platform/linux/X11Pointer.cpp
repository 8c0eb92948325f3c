#include "platform/linux/X11Pointer.h"

#include "platform/KeyEvents.h"
#include "platform/linux/X11Keys.h"

#include <QSocketNotifier>
#include <QTimer>

#include <cstdlib>
#include <optional>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

namespace tarnvik::linux {

class X11Pointer::Connection : public XConnection
{
public:
    // The XInput extension's major opcode; 0 without XInput 2.2.
    std::uint8_t xinput = 0;

    // The four modifiers as the keyboard holds them now, and where the pointer stands.
    std::optional<std::pair<std::uint16_t, std::pair<int, int>>> pointerState()
    {
        auto *reply = xcb_query_pointer_reply(c, xcb_query_pointer(c, root), nullptr);
        if (!reply)
            return std::nullopt;
        const auto modifiers = static_cast<std::uint16_t>(reply->mask & XMod::fourModifiers);
        const std::pair<int, int> at {reply->root_x, reply->root_y};
        std::free(reply);
        return std::pair {modifiers, at};
    }

    void fake(std::uint8_t type, std::uint8_t detail, CGPoint position = {})
    {
        xcb_test_fake_input(
            c, type, detail, XCB_CURRENT_TIME, type == XCB_MOTION_NOTIFY ? root : XCB_NONE,
            static_cast<std::int16_t>(position.x), static_cast<std::int16_t>(position.y), 0);
    }
};

std::unique_ptr<X11Pointer> X11Pointer::connect(Scheduler &scheduler,
                                                std::function<double()> doubleClickInterval)
{
    auto x = std::make_unique<Connection>();
    if (!x->connect())
        return nullptr;
    std::free(xcb_xfixes_query_version_reply(x->c, xcb_xfixes_query_version(x->c, 4, 0), nullptr));
    auto *test = xcb_test_get_version_reply(x->c, xcb_test_get_version(x->c, 2, 2), nullptr);
    if (!test)
        return nullptr;
    std::free(test);
    // Raw button events carry no window: they tell only that the user pressed a button.
    x->xinput = xinput22(x->c);
    return std::unique_ptr<X11Pointer>(
        new X11Pointer(std::move(x), scheduler, std::move(doubleClickInterval)));
}

X11Pointer::X11Pointer(std::unique_ptr<Connection> connection, Scheduler &scheduler,
                       std::function<double()> doubleClickInterval)
    : _x(std::move(connection))
    , _doubleClickInterval(std::move(doubleClickInterval))
    , _clicks(scheduler,
              {.heldModifiers = [this] { return heldModifiers(); },
               .post = [this](const Press &press) { post(press); },
               .beep =
                   [this] {
                       beep();
                   }})
{
    _events = watchEvents(_x->c, [this] { readEvents(); });
}

X11Pointer::~X11Pointer() = default;

void X11Pointer::postMouseMoved(CGPoint position)
{
    _x->fake(XCB_MOTION_NOTIFY, 0, position);
    xcb_flush(_x->c);
}

void X11Pointer::postMouseButton(int button, bool down, CGPoint position, std::uint64_t flags,
                                 int clickState)
{
    // X has no click count: the application counts a second press within its own interval.
    (void)clickState;
    _clicks.ask({button, down, position, flags});
}

std::uint64_t X11Pointer::heldModifiers()
{
    const auto state = _x->pointerState();
    readQueuedEvents();
    return state ? modifierFlags(state->first) : 0;
}

void X11Pointer::post(const Press &press)
{
    const std::uint8_t xButton = press.button == 0 ? 1 : press.button == 1 ? 3 : 2;
    const std::optional<std::uint8_t> control =
        (press.flags & ModifierFlag::command) ? xKeyCode(59) : std::nullopt;
    if (control && press.down)
        _x->fake(XCB_KEY_PRESS, *control);
    _x->fake(XCB_MOTION_NOTIFY, 0, press.position);
    _x->fake(press.down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, xButton);
    if (control && !press.down)
        _x->fake(XCB_KEY_RELEASE, *control);
    xcb_flush(_x->c);
}

void X11Pointer::beep()
{
    xcb_bell(_x->c, 0);
    xcb_flush(_x->c);
}

void X11Pointer::hideCursor()
{
    xcb_xfixes_hide_cursor(_x->c, _x->root);
    xcb_flush(_x->c);
}

void X11Pointer::showCursor()
{
    xcb_xfixes_show_cursor(_x->c, _x->root);
    xcb_flush(_x->c);
}

void X11Pointer::observe(std::function<void()> observer)
{
    _motion = std::move(observer);
    if (!_motion) {
        _motionPoll.reset();
        return;
    }
    // Polled while a session runs: twenty queries a second cost nothing, and need no extension.
    _lastPointer = {-1, -1};
    _motionPoll = std::make_unique<QTimer>();
    _motionPoll->setInterval(50);
    QObject::connect(_motionPoll.get(), &QTimer::timeout, [this] { pollPointer(); });
    _motionPoll->start();
}

void X11Pointer::observePresses(std::function<void()> observer)
{
    const bool was = static_cast<bool>(_presses);
    _presses = std::move(observer);
    if (!_x->xinput || was == static_cast<bool>(_presses))
        return;
    // Asked for only while someone listens: otherwise every click on the desktop would wake us.
    selectXInputEvents(_x->c, _x->root, XCB_INPUT_DEVICE_ALL_MASTER,
                       _presses ? XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS : 0);
    xcb_flush(_x->c);
}

void X11Pointer::readEvents()
{
    bool pressed = false;
    while (auto *event = xcb_poll_for_event(_x->c)) {
        const auto *ge = reinterpret_cast<xcb_ge_generic_event_t *>(event);
        if ((event->response_type & 0x7f) == XCB_GE_GENERIC && _x->xinput
            && ge->extension == _x->xinput && ge->event_type == XCB_INPUT_RAW_BUTTON_PRESS) {
            // Buttons 4 to 7 are the wheel's.
            const auto button =
                reinterpret_cast<xcb_input_raw_button_press_event_t *>(event)->detail;
            pressed = pressed || button <= 3 || button >= 8;
        }
        std::free(event);
    }
    if (pressed && _presses)
        _presses();
}

void X11Pointer::readQueuedEvents()
{
    // Waiting for a reply may have moved a press into the connection's queue, where the socket
    // no longer announces it.
    QTimer::singleShot(0, _events.get(), [this] { readEvents(); });
}

void X11Pointer::pollPointer()
{
    const auto state = _x->pointerState();
    readQueuedEvents();
    if (!state)
        return;
    const bool moved = _lastPointer.first >= 0 && state->second != _lastPointer;
    _lastPointer = state->second;
    if (moved && _motion)
        _motion();
}

} // namespace tarnvik::linux
