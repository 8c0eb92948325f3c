#include "platform/linux/WheelScrolling.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <linux/uinput.h>
#include <mutex>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

namespace tarnvik::linux {

long WheelAccumulator::add(double px)
{
    // Once in the sum, a NaN or an infinity would turn every later scroll into nonsense.
    if (!std::isfinite(px))
        return 0;
    if (px * _lastPx < 0)
        _pending = 0;
    if (px != 0)
        _lastPx = px;
    // Bounded, so that the units stay within what a long and an input event's value hold.
    constexpr double mostUnits = 1e6;
    _pending = std::clamp(_pending + px / _pixelsPerUnit, -mostUnits, mostUnits);
    const long units = std::lround(_pending);
    _pending -= static_cast<double>(units);
    return units;
}

namespace {

constexpr const char *deviceName = "Tarnvik smooth scrolling";

// X wheel buttons posted through XTest: four and five scroll up and down, six and seven left
// and right, one step a click.
class XTestScrolling final : public ScrollPosting
{
public:
    explicit XTestScrolling(xcb_connection_t *connection)
        : _c(connection)
    { }
    ~XTestScrolling() override { xcb_disconnect(_c); }

    void postScroll(double verticalPx, double horizontalPx) override
    {
        std::lock_guard lock(_mutex);
        click(_vertical.add(verticalPx), 4, 5);
        click(_horizontal.add(horizontalPx), 6, 7);
        xcb_flush(_c);
    }

private:
    void click(long steps, std::uint8_t positive, std::uint8_t negative)
    {
        const std::uint8_t button = steps > 0 ? positive : negative;
        for (long i = 0; i < std::labs(steps); ++i) {
            xcb_test_fake_input(_c, XCB_BUTTON_PRESS, button, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
            xcb_test_fake_input(_c, XCB_BUTTON_RELEASE, button, XCB_CURRENT_TIME, XCB_NONE, 0, 0,
                                0);
        }
    }

    xcb_connection_t *_c;
    std::mutex _mutex;
    WheelAccumulator _vertical {pixelsPerWheelStep};
    WheelAccumulator _horizontal {pixelsPerWheelStep};
};

} // namespace

UinputScrolling::~UinputScrolling()
{
    ioctl(_fd, UI_DEV_DESTROY);
    close(_fd);
}

void UinputScrolling::postScroll(double verticalPx, double horizontalPx)
{
    std::lock_guard lock(_mutex);
    axis(_vertical.add(verticalPx), _verticalSteps, REL_WHEEL_HI_RES, REL_WHEEL);
    // The kernel's horizontal wheel is positive to the right.
    axis(_horizontal.add(-horizontalPx), _horizontalSteps, REL_HWHEEL_HI_RES, REL_HWHEEL);
    emit(EV_SYN, SYN_REPORT, 0);
}

void UinputScrolling::axis(long units, long &steps, std::uint16_t hiRes, std::uint16_t whole)
{
    if (units == 0)
        return;
    emit(EV_REL, hiRes, static_cast<std::int32_t>(units));
    // As with the units, a change of direction starts the whole steps afresh.
    if (units * steps < 0)
        steps = 0;
    steps += units;
    const long wholeSteps = steps / static_cast<long>(hiResUnitsPerStep);
    steps -= wholeSteps * static_cast<long>(hiResUnitsPerStep);
    if (wholeSteps != 0)
        emit(EV_REL, whole, static_cast<std::int32_t>(wholeSteps));
}

void UinputScrolling::emit(std::uint16_t type, std::uint16_t code, std::int32_t value)
{
    input_event event {};
    event.type = type;
    event.code = code;
    event.value = value;
    // A full write or none: the device takes whole events.
    if (write(_fd, &event, sizeof event) != static_cast<ssize_t>(sizeof event))
        return;
}

namespace {

int createUinputMouse()
{
    const int fd = open("/dev/uinput", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return -1;
    // Buttons and motion axes too: without them the device isn't taken for a mouse.
    bool ok = ioctl(fd, UI_SET_EVBIT, EV_KEY) == 0 && ioctl(fd, UI_SET_EVBIT, EV_REL) == 0;
    for (int button : {BTN_LEFT, BTN_RIGHT, BTN_MIDDLE})
        ok = ok && ioctl(fd, UI_SET_KEYBIT, button) == 0;
    for (int axis : {REL_X, REL_Y, REL_WHEEL, REL_HWHEEL, REL_WHEEL_HI_RES, REL_HWHEEL_HI_RES})
        ok = ok && ioctl(fd, UI_SET_RELBIT, axis) == 0;
    uinput_setup setup {};
    setup.id.bustype = BUS_VIRTUAL;
    std::strncpy(setup.name, deviceName, UINPUT_MAX_NAME_SIZE - 1);
    ok = ok && ioctl(fd, UI_DEV_SETUP, &setup) == 0 && ioctl(fd, UI_DEV_CREATE) == 0;
    if (!ok) {
        close(fd);
        return -1;
    }
    return fd;
}

// Whether the X server lists an input device of that name: a virtual X server (Xvfb) never
// takes up new devices, and wheel events of a device it doesn't read go nowhere.
bool xServerHasDevice(xcb_connection_t *c, const char *name)
{
    auto *reply = xcb_input_xi_query_device_reply(
        c, xcb_input_xi_query_device(c, XCB_INPUT_DEVICE_ALL), nullptr);
    if (!reply)
        return false;
    bool found = false;
    for (auto it = xcb_input_xi_query_device_infos_iterator(reply); it.rem && !found;
         xcb_input_xi_device_info_next(&it)) {
        const int length = xcb_input_xi_device_info_name_length(it.data);
        found =
            std::string(xcb_input_xi_device_info_name(it.data), static_cast<std::size_t>(length))
            == name;
    }
    std::free(reply);
    return found;
}

} // namespace

std::unique_ptr<ScrollPosting> makeScrollPosting(std::string &how)
{
    auto *c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        xcb_disconnect(c);
        how = "none: no display";
        return nullptr;
    }
    if (const int fd = createUinputMouse(); fd >= 0) {
        auto uinput = std::make_unique<UinputScrolling>(fd);
        std::free(
            xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 2), nullptr));
        // The server takes a new device up within a few frames of its creation.
        for (int attempt = 0; attempt < 20; ++attempt) {
            if (xServerHasDevice(c, deviceName)) {
                xcb_disconnect(c);
                how = "uinput, in pixels";
                return uinput;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
    how = "XTest wheel steps of " + std::to_string(static_cast<int>(pixelsPerWheelStep)) + " px";
    return std::make_unique<XTestScrolling>(c);
}

double touchpadStepsPerPixel(bool scrollsByPage, double pageHeight)
{
    // Measured: a second at 1 px/ms, sent as pixels, moved a 500-pixel GTK 3 list by 6,000 or
    // more.
    return scrollsByPage && pageHeight > 1 ? 10.0 / std::pow(pageHeight, 2.0 / 3.0) : 1.0;
}

} // namespace tarnvik::linux
