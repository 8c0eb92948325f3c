#pragma once

#include "platform/KeyEvents.h"

#include <cstdint>
#include <memory>
#include <string>

struct xkb_context;
struct xkb_keymap;

namespace tarnvik::linux {

// The text of a key (an X key code) in the keymap's first layout whose A key types an ASCII
// letter, the one labels are typed on, with no modifiers; empty when it gives none.
std::string asciiKeyText(xkb_keymap *keymap, std::uint8_t key);

// The keys' texts in the keymap XKB's names give (the XKB_DEFAULT_* variables, else XKB's
// defaults): where no X server says which keymap is in use.
class NamedKeymapLayout final : public KeyboardLayout
{
public:
    // Nothing when XKB can't make the keymap.
    static std::unique_ptr<NamedKeymapLayout> make();
    ~NamedKeymapLayout() override;

    std::string translate(std::uint16_t keyCode) override;
    // The keymap, for a keyboard of this program's own that presses keys in it.
    xkb_keymap *keymap() const { return _keymap; }

private:
    NamedKeymapLayout(xkb_context *context, xkb_keymap *keymap)
        : _context(context)
        , _keymap(keymap)
    { }

    xkb_context *_context;
    xkb_keymap *_keymap;
};

} // namespace tarnvik::linux
