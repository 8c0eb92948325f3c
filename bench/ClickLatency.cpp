// From the click shortcut's key press to the labels on the screen, as a person sees it: the
// keys are pressed through XTest and the virtual screen's frame buffer (Xvfb -fbdir, which the
// server writes as it draws) is watched until the labels show.
//
//   tarnvik_click_latency [RUNS]
//
// Run on a virtual desktop whose frontmost application has labels and a resident tarnvik
// (bench/click/latency sets it up). Prints, per run and as medians, the time until the overlay
// first shows and until the labels' yellow shows: the first frames of the fade-in are paler.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// The frame buffer as an XWD file: a header of big-endian words, a colour map, then 32-bit BGRX
// rows.
class FrameBuffer
{
public:
    explicit FrameBuffer(const char *path)
    {
        const int fd = open(path, O_RDONLY);
        if (fd < 0)
            return;
        struct stat info = {};
        void *data = MAP_FAILED;
        if (fstat(fd, &info) == 0) {
            _size = static_cast<std::size_t>(info.st_size);
            data = mmap(nullptr, _size, PROT_READ, MAP_SHARED, fd, 0);
        }
        close(fd);
        if (data == MAP_FAILED)
            return;
        _data = static_cast<const std::uint8_t *>(data);
        _pixels = _data + word(0) + word(19) * 12;
        _bytesPerLine = word(12);
        _width = word(4);
        _height = word(5);
    }
    ~FrameBuffer()
    {
        if (_data)
            munmap(const_cast<std::uint8_t *>(_data), _size);
    }
    FrameBuffer(const FrameBuffer &) = delete;
    FrameBuffer &operator=(const FrameBuffer &) = delete;

    bool valid() const { return _data != nullptr; }

    // Every fourth pixel of every fourth row: a label is wider and taller than that.
    std::vector<std::uint32_t> sample() const
    {
        std::vector<std::uint32_t> points;
        points.reserve((_width / 4) * (_height / 4));
        for (std::uint32_t y = 0; y < _height; y += 4) {
            const auto *row = reinterpret_cast<const std::uint32_t *>(_pixels + y * _bytesPerLine);
            for (std::uint32_t x = 0; x < _width; x += 4)
                points.push_back(row[x] & 0xffffff);
        }
        return points;
    }

private:
    std::uint32_t word(int i) const
    {
        const std::uint8_t *p = _data + i * 4;
        return (std::uint32_t(p[0]) << 24) | (std::uint32_t(p[1]) << 16)
            | (std::uint32_t(p[2]) << 8) | p[3];
    }

    const std::uint8_t *_data = nullptr;
    std::size_t _size = 0;
    const std::uint8_t *_pixels = nullptr;
    std::uint32_t _bytesPerLine = 0;
    std::uint32_t _width = 0;
    std::uint32_t _height = 0;
};

// The default theme's yellow, as the integration tests know it.
bool isLabelYellow(std::uint32_t bgr)
{
    const int r = (bgr >> 16) & 0xff, g = (bgr >> 8) & 0xff, b = bgr & 0xff;
    return r > 235 && g > 190 && g < 255 && b < 215 && r - b > 40;
}

class Keyboard
{
public:
    Keyboard()
        : _c(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(_c))
            return;
        xkb_x11_setup_xkb_extension(
            _c, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
            XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, nullptr, nullptr);
        auto *context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
        _keymap = xkb_x11_keymap_new_from_device(
            context, _c, xkb_x11_get_core_keyboard_device_id(_c), XKB_KEYMAP_COMPILE_NO_FLAGS);
        xkb_context_unref(context);
    }
    ~Keyboard()
    {
        if (_keymap)
            xkb_keymap_unref(_keymap);
        xcb_disconnect(_c);
    }
    Keyboard(const Keyboard &) = delete;
    Keyboard &operator=(const Keyboard &) = delete;

    bool valid() const { return _keymap != nullptr; }

    std::optional<std::uint8_t> key(xkb_keysym_t wanted) const
    {
        for (auto k = xkb_keymap_min_keycode(_keymap); k <= xkb_keymap_max_keycode(_keymap); ++k) {
            const xkb_keysym_t *syms = nullptr;
            if (xkb_keymap_key_get_syms_by_level(_keymap, k, 0, 0, &syms) > 0 && syms[0] == wanted)
                return static_cast<std::uint8_t>(k);
        }
        return std::nullopt;
    }

    // Presses the keys in order and releases them in reverse, as one chord.
    void chord(const std::vector<std::uint8_t> &keys)
    {
        for (auto k : keys)
            xcb_test_fake_input(_c, XCB_KEY_PRESS, k, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        for (auto k = keys.rbegin(); k != keys.rend(); ++k)
            xcb_test_fake_input(_c, XCB_KEY_RELEASE, *k, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        xcb_flush(_c);
    }

private:
    xcb_connection_t *_c;
    xkb_keymap *_keymap = nullptr;
};

// Waits until `done` holds for a sample of the screen; the time it took, or nothing after 3 s.
template<typename Predicate>
std::optional<double> watch(const FrameBuffer &screen, Clock::time_point start, Predicate done)
{
    while (Clock::now() - start < 3s) {
        if (done(screen.sample()))
            return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        std::this_thread::sleep_for(500us);
    }
    return std::nullopt;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const auto n = values.size();
    return n == 0 ? 0 : n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

} // namespace

int main(int argc, char **argv)
{
    const int runs = argc > 1 ? std::atoi(argv[1]) : 20;
    const char *path = std::getenv("TARNVIK_FRAMEBUFFER");
    FrameBuffer screen(path ? path : "");
    Keyboard keyboard;
    const auto shift = keyboard.valid() ? keyboard.key(XKB_KEY_Shift_L) : std::nullopt;
    const auto super = keyboard.valid() ? keyboard.key(XKB_KEY_Super_L) : std::nullopt;
    const auto space = keyboard.valid() ? keyboard.key(XKB_KEY_space) : std::nullopt;
    const auto escape = keyboard.valid() ? keyboard.key(XKB_KEY_Escape) : std::nullopt;
    if (!screen.valid() || !shift || !super || !space || !escape) {
        std::fputs(
            "tarnvik_click_latency: needs a virtual desktop (DISPLAY, TARNVIK_FRAMEBUFFER)\n",
            stderr);
        return 2;
    }

    std::vector<double> shown, yellow;
    for (int run = 0; run < runs; ++run) {
        // Points that keep still for 300 ms: the application's own animations are left out.
        const auto before = screen.sample();
        std::vector<bool> still(before.size(), true);
        for (auto end = Clock::now() + 300ms; Clock::now() < end;) {
            const auto now = screen.sample();
            for (std::size_t i = 0; i < now.size(); ++i)
                still[i] = still[i] && now[i] == before[i];
            std::this_thread::sleep_for(5ms);
        }
        std::size_t yellowBefore = 0;
        for (auto p : before)
            yellowBefore += isLabelYellow(p);
        const auto changed = [&](const std::vector<std::uint32_t> &now) {
            std::size_t n = 0;
            for (std::size_t i = 0; i < now.size(); ++i)
                n += still[i] && now[i] != before[i];
            return n;
        };

        const auto start = Clock::now();
        keyboard.chord({*shift, *super, *space});
        const auto first =
            watch(screen, start, [&](const auto &now) { return changed(now) >= 50; });
        const auto full = watch(screen, start, [&](const auto &now) {
            return std::size_t(std::count_if(now.begin(), now.end(), isLabelYellow))
                >= yellowBefore + 50;
        });
        keyboard.chord({*escape});
        if (!first || !full) {
            std::fprintf(stderr, "run %d: no labels within 3 s\n", run + 1);
            return 1;
        }
        std::printf("run %2d: overlay shown %6.1f ms, labels yellow %6.1f ms\n", run + 1, *first,
                    *full);
        shown.push_back(*first);
        yellow.push_back(*full);
        const auto gone =
            watch(screen, Clock::now(), [&](const auto &now) { return changed(now) < 50; });
        if (!gone) {
            std::fputs("the overlay stayed after Escape\n", stderr);
            return 1;
        }
        std::this_thread::sleep_for(200ms);
    }
    std::printf(
        "runs %d: median overlay shown %.1f ms (min %.1f, max %.1f), labels yellow %.1f ms\n", runs,
        median(shown), *std::min_element(shown.begin(), shown.end()),
        *std::max_element(shown.begin(), shown.end()), median(yellow));
    return 0;
}
