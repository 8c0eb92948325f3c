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
#include "platform/wlroots/WlrVirtualKeyboard.h"
#include "platform/wlroots/WlrVirtualPointer.h"

#include <cstdio>
#include <functional>
#include <iostream>
#include <linux/input-event-codes.h>
#include <memory>
#include <sstream>
#include <string>
#include <vector>
#include <xkbcommon/xkbcommon.h>

namespace {

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

} // namespace

int main()
{
    std::unique_ptr<tarnvik::linux::PointerDevice> pointer;
    std::unique_ptr<tarnvik::wlroots::WlrVirtualKeyboard> wlroots;
    Keyboard::Press press;
    bool onWlroots = false;
    if (auto wlr = tarnvik::wlroots::WlrVirtualPointer::connect()) {
        pointer = std::move(wlr);
        onWlroots = true;
        press = [&wlroots](std::uint32_t code, bool down) {
            wlroots->key(code, down);
        };
    } else if (auto kwin = tarnvik::kwin::KWinFakeInput::connect()) {
        press = [&kwin = *kwin](std::uint32_t code, bool down) {
            kwin.key(code, down);
        };
        pointer = std::move(kwin);
    }
    Keyboard keyboard(press);
    if (onWlroots)
        wlroots = tarnvik::wlroots::WlrVirtualKeyboard::connect(keyboard.keymap());
    if (!pointer || (onWlroots && !wlroots)) {
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
