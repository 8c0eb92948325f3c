#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace tarnvik {

// Event types and modifier bits in the vocabulary of the core, whatever the backend.
namespace EventType {
constexpr int keyDown = 10;
constexpr int keyUp = 11;
constexpr int flagsChanged = 12;
} // namespace EventType

namespace ModifierFlag {
constexpr std::uint64_t capsLock = 0x10000;
constexpr std::uint64_t shift = 0x20000;
constexpr std::uint64_t control = 0x40000;
constexpr std::uint64_t option = 0x80000;
constexpr std::uint64_t command = 0x100000;
constexpr std::uint64_t numericPad = 0x200000;
constexpr std::uint64_t function = 0x800000;
// The four that a shortcut or a click can carry.
constexpr std::uint64_t deviceIndependent = shift | control | option | command;
} // namespace ModifierFlag

// One key press or release, with the key given by its virtual key code (ANSI positions).
struct KeyEvent
{
    int type = EventType::keyDown;
    std::uint16_t keyCode = 0;
    std::uint64_t flags = 0;
    // The text the key gives with its modifiers, and without them, in the current layout.
    std::string characters;
    std::string charactersIgnoringModifiers;
    // A press that the keyboard repeated while the key stayed down.
    bool isARepeat = false;
};

enum class KeyDisposition { pass, swallow };

// Takes every key of the session before the focused application sees it, and lets a handler
// decide per event whether that application gets it. The modifiers' own keys are not among
// them: their state comes with the keys that follow. Events reach the handler on the main
// thread, one at a time, in order; the keyboard waits for each answer, so handlers must only
// decide and post their work.
class KeyboardCapture
{
public:
    using Handler = std::function<KeyDisposition(const KeyEvent &)>;

    virtual ~KeyboardCapture() = default;

    // False when the keyboard can't be taken (another program holds it). A second start
    // replaces the handler.
    virtual bool start(Handler handler) = 0;
    // Gives the keyboard back at once; harmless when not started.
    virtual void stop() = 0;
    // Runs `then` once the keys typed reach the handler: with true at once where start() takes
    // the keyboard before it returns, later where the desktop gives it when it is ready (a
    // layer-shell compositor, once it has mapped the surface that asks for it); with false
    // where the desktop did not give it in its time. Never after stop().
    virtual void whenHeld(std::function<void(bool held)> then) { then(true); }
    // Whether another program holds the whole keyboard now, as an open menu does, or shows a
    // menu that taking the keyboard would close. A capture started then still takes every key,
    // but can pass none on.
    virtual bool heldElsewhere() = 0;
};

// Every key of the session as it goes by, taking nothing from the focused application: key
// presses (keyDown, with the modifiers held) and changes of the modifiers (flagsChanged, with
// the modifiers now held and the Caps Lock bit while it is locked). Events reach the handler on
// the main thread.
class KeyEventMonitor
{
public:
    using Handler = std::function<void(const KeyEvent &)>;

    virtual ~KeyEventMonitor() = default;
    // An empty handler ends the watch.
    virtual void setMonitorHandler(Handler handler) = 0;
};

// The Caps Lock key of every keyboard, as one key, and the lock state it toggles.
class CapsLockKey
{
public:
    // True for a press, false for a release; on the main thread.
    using Handler = std::function<void(bool pressed)>;

    virtual ~CapsLockKey() = default;
    // While a handler is set the key is the program's: it neither locks nor changes letters for
    // the desktop, and its presses still come here. An empty handler gives it back.
    virtual void setCapsLockHandler(Handler handler) = 0;
    virtual bool isCapsLockOn() = 0;
    virtual void setCapsLock(bool on) = 0;
};

// The text of a key by position, as the ASCII-capable layout prints it with no modifiers.
class KeyboardLayout
{
public:
    virtual ~KeyboardLayout() = default;
    // Empty when the key gives no text.
    virtual std::string translate(std::uint16_t keyCode) = 0;
};

} // namespace tarnvik
