#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarnvik {

// Virtual key codes by key position (ANSI), the vocabulary of shortcuts and key handling.
namespace KeyCode {
constexpr std::uint16_t none = 65535;
constexpr std::uint16_t returnKey = 36;
constexpr std::uint16_t tab = 48;
constexpr std::uint16_t space = 49;
constexpr std::uint16_t deleteKey = 51;
constexpr std::uint16_t escape = 53;
constexpr std::uint16_t capsLock = 57;
constexpr std::uint16_t help = 114;
constexpr std::uint16_t home = 115;
constexpr std::uint16_t pageUp = 116;
constexpr std::uint16_t forwardDelete = 117;
constexpr std::uint16_t end = 119;
constexpr std::uint16_t pageDown = 121;
constexpr std::uint16_t left = 123;
constexpr std::uint16_t right = 124;
constexpr std::uint16_t down = 125;
constexpr std::uint16_t up = 126;
constexpr std::uint16_t p = 35;
constexpr std::uint16_t n = 45;
} // namespace KeyCode

// The character a key gives on the ASCII-capable (US) layout with no modifiers, lower case;
// nothing for keys that give none.
std::optional<char> asciiCharacter(std::uint16_t keyCode);
// The key that gives `c` on that layout, either case.
std::optional<std::uint16_t> keyCodeForAsciiCharacter(char c);
// The flags a key carries by its position, whatever is held: the function bit of the arrows,
// the F-keys and the navigation keys, and the numeric-pad bit of the arrows and the keypad.
std::uint64_t keyPositionFlags(std::uint16_t keyCode);
// Command, Shift, Caps Lock, Option, Control and Function, left and right: keys that change the
// modifiers rather than type.
constexpr bool isModifierKey(std::uint16_t keyCode)
{
    return keyCode >= 54 && keyCode <= 63;
}
// The modifier flag a modifier's key holds down; 0 for Caps Lock, Function and other keys.
std::uint64_t modifierFlagOfKey(std::uint16_t keyCode);
// F1 to F20; nothing for other numbers.
std::optional<std::uint16_t> functionKeyCode(int number);
// 1 to 20 for F1 to F20.
std::optional<int> functionKeyNumber(std::uint16_t keyCode);

} // namespace tarnvik
