// The tests' hands on sway and KWin, whose headless seats have neither pointer nor keyboard of
// their own. On sway: Tarnvik's own virtual pointer, and a virtual keyboard with the usual US
// keymap, whose key codes are a real keyboard's (a keyboard that makes up its keymap, as wtype
// does, gives codes no real keyboard has). Both are made once and kept, since a client learns
// of the seat's new devices only after they are made and misses what comes before. On KWin:
// KWin's fake input, as Tarnvik uses it, for both (KWin's keymap is US too); KWin offers it only
// to a program its desktop entry allows. Reads lines from standard input and answers each with
// "ok":
//   click X Y LAYOUT_WIDTH LAYOUT_HEIGHT
//   keys KEY...       each a key's name (a, Escape, Return), or modifiers joined to it: shift+a
//   down KEY, up KEY  a key pressed and left down, and let go
#include "platform/kwin/KWinFakeInput.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wlroots/WlrVirtualPointer.h"
#include "virtual-keyboard-unstable-v1-client-protocol.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <linux/input-event-codes.h>
#include <memory>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

namespace {

std::uint32_t now()
{
    using namespace std::chrono;
    return static_cast<std::uint32_t>(
        duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

// The US keymap's keys, pressed through `press` by their Linux input event codes.
class Keyboard
{
public:
    using Press = std::function<void(std::uint32_t code, bool down)>;

    explicit Keyboard(Press press)
        : _press(std::move(press))
    {
        _context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
        const xkb_rule_names names {.rules = "evdev",
                                    .model = "pc105",
                                    .layout = "us",
                                    .variant = nullptr,
                                    .options = nullptr};
        _keymap = xkb_keymap_new_from_names(_context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    }

    bool hold(const std::string &name, bool down)
    {
        const auto key = keyOf(name);
        if (key)
            _press(key, down);
        return key != 0;
    }

    // The keys of a chord, the last one typed while the ones before are held.
    bool type(const std::string &chord)
    {
        std::vector<std::uint32_t> keys;
        std::istringstream parts(chord);
        std::string name;
        while (std::getline(parts, name, '+')) {
            const auto key = keyOf(name);
            if (!key)
                return false;
            keys.push_back(key);
        }
        for (const auto key : keys)
            _press(key, true);
        for (auto key = keys.rbegin(); key != keys.rend(); ++key)
            _press(*key, false);
        return true;
    }

    xkb_keymap *keymap() const { return _keymap; }

private:
    // The evdev code of the key that gives the keysym so named, without Shift or with it.
    std::uint32_t keyOf(const std::string &name)
    {
        const std::string known = name == "shift" ? "Shift_L"
            : name == "control"                   ? "Control_L"
            : name == "alt"                       ? "Alt_L"
            : name == "super"                     ? "Super_L"
                                                  : name;
        const xkb_keysym_t wanted = xkb_keysym_from_name(known.c_str(), XKB_KEYSYM_NO_FLAGS);
        for (xkb_keycode_t code = xkb_keymap_min_keycode(_keymap);
             code <= xkb_keymap_max_keycode(_keymap); ++code) {
            for (xkb_level_index_t level = 0; level < 2; ++level) {
                const xkb_keysym_t *syms = nullptr;
                const int count = xkb_keymap_key_get_syms_by_level(_keymap, code, 0, level, &syms);
                if (count > 0 && syms[0] == wanted)
                    return code - 8;
            }
        }
        return 0;
    }

    Press _press;
    xkb_context *_context = nullptr;
    xkb_keymap *_keymap = nullptr;
};

// wlroots' virtual keyboard, given the keymap its codes are read in. A virtual keyboard tells the
// compositor its modifiers itself, as a real keyboard's driver would.
class VirtualKeyboard
{
public:
    ~VirtualKeyboard()
    {
        if (_state)
            xkb_state_unref(_state);
    }

    bool connect(xkb_keymap *keymap)
    {
        _connection = tarnvik::wayland::WaylandConnection::connect();
        if (!keymap || !_connection)
            return false;
        _seat = static_cast<wl_seat *>(_connection->bind(wl_seat_interface, 1));
        _manager = static_cast<zwp_virtual_keyboard_manager_v1 *>(
            _connection->bind(zwp_virtual_keyboard_manager_v1_interface, 1));
        if (!_manager || !_seat)
            return false;
        _keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(_manager, _seat);
        std::unique_ptr<char, decltype(&std::free)> text(
            xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1), &std::free);
        const std::size_t size = std::strlen(text.get()) + 1;
        const int fd = memfd_create("tarnvik-keymap", MFD_CLOEXEC);
        if (fd < 0 || write(fd, text.get(), size) != static_cast<ssize_t>(size))
            return false;
        zwp_virtual_keyboard_v1_keymap(_keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd,
                                       static_cast<std::uint32_t>(size));
        close(fd);
        _state = xkb_state_new(keymap);
        return _connection->roundtrip();
    }

    void press(std::uint32_t key, bool down)
    {
        zwp_virtual_keyboard_v1_key(_keyboard, now(), key,
                                    down ? WL_KEYBOARD_KEY_STATE_PRESSED
                                         : WL_KEYBOARD_KEY_STATE_RELEASED);
        // Evdev codes are XKB's less eight.
        xkb_state_update_key(_state, key + 8, down ? XKB_KEY_DOWN : XKB_KEY_UP);
        zwp_virtual_keyboard_v1_modifiers(
            _keyboard, xkb_state_serialize_mods(_state, XKB_STATE_MODS_DEPRESSED),
            xkb_state_serialize_mods(_state, XKB_STATE_MODS_LATCHED),
            xkb_state_serialize_mods(_state, XKB_STATE_MODS_LOCKED),
            xkb_state_serialize_layout(_state, XKB_STATE_LAYOUT_EFFECTIVE));
        _connection->roundtrip();
    }

private:
    std::unique_ptr<tarnvik::wayland::WaylandConnection> _connection;
    wl_seat *_seat = nullptr;
    zwp_virtual_keyboard_manager_v1 *_manager = nullptr;
    zwp_virtual_keyboard_v1 *_keyboard = nullptr;
    xkb_state *_state = nullptr;
};

} // namespace

int main()
{
    std::unique_ptr<tarnvik::linux::PointerDevice> pointer;
    std::unique_ptr<VirtualKeyboard> wlroots;
    Keyboard::Press press;
    if (auto wlr = tarnvik::wlroots::WlrVirtualPointer::connect()) {
        pointer = std::move(wlr);
        wlroots = std::make_unique<VirtualKeyboard>();
        press = [&wlroots](std::uint32_t code, bool down) {
            wlroots->press(code, down);
        };
    } else if (auto kwin = tarnvik::kwin::KWinFakeInput::connect()) {
        press = [&kwin = *kwin](std::uint32_t code, bool down) {
            kwin.key(code, down);
        };
        pointer = std::move(kwin);
    }
    Keyboard keyboard(press);
    if (!pointer || (wlroots && !wlroots->connect(keyboard.keymap()))) {
        std::fputs("tarnvik-wayland-input: the compositor offers no virtual pointer or keyboard, "
                   "nor fake input to this program\n",
                   stderr);
        return 1;
    }
    std::cout << "ready" << std::endl;
    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream words(line);
        std::string command;
        words >> command;
        bool done = false;
        if (command == "click") {
            double x = 0, y = 0, width = 0, height = 0;
            if (words >> x >> y >> width >> height) {
                pointer->moveTo({x, y}, tarnvik::makeRect(0, 0, width, height));
                pointer->press(BTN_LEFT, true);
                pointer->press(BTN_LEFT, false);
                done = true;
            }
        } else if (command == "down" || command == "up") {
            std::string name;
            done = words >> name && keyboard.hold(name, command == "down");
        } else if (command == "keys") {
            std::string chord;
            done = true;
            while (done && words >> chord)
                done = keyboard.type(chord);
        }
        std::cout << (done ? "ok" : "not understood: " + line) << std::endl;
    }
    return 0;
}
