#include "platform/linux/XkbKeyText.h"

#include "platform/linux/X11Keys.h"

#include <cctype>
#include <xkbcommon/xkbcommon.h>

namespace tarnvik::linux {

namespace {

std::string utf8(xkb_keysym_t sym)
{
    char buffer[16] {};
    const int n = xkb_keysym_to_utf8(sym, buffer, sizeof buffer);
    return n > 1 ? std::string(buffer) : std::string();
}

// The symbol of a key at a level of a layout, as the keymap lists it.
xkb_keysym_t symbol(xkb_keymap *keymap, std::uint8_t key, xkb_layout_index_t layout)
{
    const xkb_keysym_t *syms = nullptr;
    const int n = xkb_keymap_key_get_syms_by_level(keymap, key, layout, 0, &syms);
    return n > 0 ? syms[0] : XKB_KEY_NoSymbol;
}

} // namespace

std::string asciiKeyText(xkb_keymap *keymap, std::uint8_t key)
{
    const auto layouts = xkb_keymap_num_layouts(keymap);
    xkb_layout_index_t ascii = 0;
    for (xkb_layout_index_t l = 0; l < layouts; ++l) {
        const auto a = utf8(symbol(keymap, 30 + 8, l));
        if (a.size() == 1 && std::isalpha(static_cast<unsigned char>(a[0]))) {
            ascii = l;
            break;
        }
    }
    return utf8(symbol(keymap, key, ascii));
}

std::unique_ptr<NamedKeymapLayout> NamedKeymapLayout::make()
{
    auto *context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    if (!context)
        return nullptr;
    auto *keymap = xkb_keymap_new_from_names(context, nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!keymap) {
        xkb_context_unref(context);
        return nullptr;
    }
    return std::unique_ptr<NamedKeymapLayout>(new NamedKeymapLayout(context, keymap));
}

NamedKeymapLayout::~NamedKeymapLayout()
{
    xkb_keymap_unref(_keymap);
    xkb_context_unref(_context);
}

std::string NamedKeymapLayout::translate(std::uint16_t keyCode)
{
    const auto key = xKeyCode(keyCode);
    return key ? asciiKeyText(_keymap, *key) : std::string();
}

} // namespace tarnvik::linux
