#include "keyboard/SRShortcut.h"

#include "platform/KeyCodes.h"
#include "platform/KeyEvents.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

namespace tarnvik {

namespace {

struct ModifierSymbol
{
    std::uint64_t flag;
    std::string_view symbol;
    std::string_view word;
};

// The written order of the symbols.
constexpr std::array<ModifierSymbol, 4> modifierSymbols {{
    {ModifierFlag::control, "\u2303", "Control-"},
    {ModifierFlag::option, "\u2325", "Option-"},
    {ModifierFlag::shift, "\u21E7", "Shift-"},
    {ModifierFlag::command, "\u2318", "Command-"},
}};

// Keys whose text is a name rather than the character they type; each name parses back.
constexpr std::array<std::pair<std::uint16_t, std::string_view>, 33> namedKeys {{
    {KeyCode::space, "Space"},
    {KeyCode::escape, "Escape"},
    {KeyCode::tab, "Tab"},
    {KeyCode::returnKey, "Enter"},
    {KeyCode::help, "Help"},
    {KeyCode::left, "Left"},
    {KeyCode::right, "Right"},
    {KeyCode::up, "Up"},
    {KeyCode::down, "Down"},
    {KeyCode::home, "Home"},
    {KeyCode::end, "End"},
    {KeyCode::pageUp, "PageUp"},
    {KeyCode::pageDown, "PageDown"},
    {KeyCode::deleteKey, "Delete"},
    {KeyCode::forwardDelete, "ForwardDelete"},
    {65, "KeypadDecimal"},
    {67, "KeypadMultiply"},
    {69, "KeypadPlus"},
    {71, "KeypadClear"},
    {75, "KeypadDivide"},
    {76, "KeypadEnter"},
    {78, "KeypadMinus"},
    {81, "KeypadEquals"},
    {82, "Keypad0"},
    {83, "Keypad1"},
    {84, "Keypad2"},
    {85, "Keypad3"},
    {86, "Keypad4"},
    {87, "Keypad5"},
    {88, "Keypad6"},
    {89, "Keypad7"},
    {91, "Keypad8"},
    {92, "Keypad9"},
}};

std::optional<std::string> keyLiteral(std::uint16_t keyCode)
{
    for (const auto &[code, name] : namedKeys)
        if (code == keyCode)
            return std::string(name);
    if (auto number = functionKeyNumber(keyCode))
        return "F" + std::to_string(*number);
    if (auto c = asciiCharacter(keyCode))
        return std::string(1, static_cast<char>(std::toupper(static_cast<unsigned char>(*c))));
    return std::nullopt;
}

std::string literalOrCode(std::uint16_t keyCode)
{
    return keyLiteral(keyCode).value_or("<" + std::to_string(keyCode) + ">");
}

std::optional<std::uint16_t> keyCodeForLiteral(std::string key)
{
    for (auto &c : key)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (key.size() == 1)
        return keyCodeForAsciiCharacter(key[0]);
    if (key[0] == 'f' && (key.size() == 2 || key.size() == 3)
        && std::isdigit(static_cast<unsigned char>(key[1]))
        && (key.size() == 2 || std::isdigit(static_cast<unsigned char>(key[2])))) {
        const int number = std::stoi(key.substr(1));
        if (key.size() == 3 && number < 10)
            return std::nullopt;
        return functionKeyCode(number);
    }
    if (key == "esc")
        return KeyCode::escape;
    for (const auto &[code, name] : namedKeys) {
        const bool same =
            std::equal(key.begin(), key.end(), name.begin(), name.end(), [](char a, char b) {
                return a == std::tolower(static_cast<unsigned char>(b));
            });
        if (same)
            return code;
    }
    // A key with neither a character nor a name is written by its code, which reads back.
    if (key.size() > 2 && key.front() == '<' && key.back() == '>'
        && std::all_of(key.begin() + 1, key.end() - 1,
                       [](char c) { return std::isdigit(static_cast<unsigned char>(c)); })
        && key.size() <= 7) {
        const int code = std::stoi(key.substr(1, key.size() - 2));
        if (code < KeyCode::none)
            return static_cast<std::uint16_t>(code);
    }
    return std::nullopt;
}

// The text a key gives with the shortcut's modifiers, where a shortcut needs it: letters and
// digits as typed, named keys by name, any other by its code. Never nothing: a key without
// characters would pass for a shortcut of modifiers alone.
std::string keyCharacters(std::uint16_t keyCode, std::uint64_t flags)
{
    if (auto c = asciiCharacter(keyCode)) {
        const bool upper = (flags & ModifierFlag::shift) != 0;
        return std::string(
            1, upper ? static_cast<char>(std::toupper(static_cast<unsigned char>(*c))) : *c);
    }
    return literalOrCode(keyCode);
}

} // namespace

SRShortcut SRShortcut::shortcutWithCode(std::uint16_t keyCode, std::uint64_t modifierFlags,
                                        std::optional<std::string> characters,
                                        std::optional<std::string> charactersIgnoringModifiers)
{
    SRShortcut s;
    s._keyCode = keyCode;
    s._modifierFlags = modifierFlags & modifierMask;
    s._characters = std::move(characters);
    s._charactersIgnoringModifiers = std::move(charactersIgnoringModifiers);
    if (keyCode != KeyCode::none) {
        if (!s._characters)
            s._characters = keyCharacters(keyCode, s._modifierFlags);
        if (!s._charactersIgnoringModifiers)
            s._charactersIgnoringModifiers = keyCharacters(keyCode, 0);
    }
    return s;
}

std::optional<SRShortcut> SRShortcut::shortcutWithKeyEquivalent(const std::string &text)
{
    std::uint64_t flags = 0;
    std::size_t at = 0;
    for (bool found = true; found;) {
        found = false;
        for (const auto &m : modifierSymbols) {
            if (text.compare(at, m.symbol.size(), m.symbol) != 0)
                continue;
            if (flags & m.flag)
                return std::nullopt;
            flags |= m.flag;
            at += m.symbol.size();
            found = true;
        }
    }
    const std::string key = text.substr(at);
    if (key.empty() && flags == 0)
        return std::nullopt;
    std::uint16_t keyCode = KeyCode::none;
    if (!key.empty()) {
        auto code = keyCodeForLiteral(key);
        if (!code)
            return std::nullopt;
        keyCode = *code;
    }
    return shortcutWithCode(keyCode, flags);
}

std::string SRShortcut::description() const
{
    std::string text;
    for (const auto &m : modifierSymbols)
        if (_modifierFlags & m.flag)
            text += m.symbol;
    if (_keyCode != KeyCode::none)
        text += literalOrCode(_keyCode);
    return text;
}

std::string SRShortcut::readableStringRepresentation() const
{
    std::string text;
    for (std::uint64_t flag :
         {ModifierFlag::command, ModifierFlag::option, ModifierFlag::control, ModifierFlag::shift})
        for (const auto &m : modifierSymbols)
            if (m.flag == flag && (_modifierFlags & flag))
                text += m.word;
    if (_keyCode != KeyCode::none)
        text += literalOrCode(_keyCode);
    return text;
}

} // namespace tarnvik
