#pragma once

#include "platform/KeyEvents.h"

#include <memory>

class QSocketNotifier;

namespace tarnvik::linux {

// Watches every key of the session without taking any, over a connection of its own whose
// events are read on the main thread: XInput 2's raw key events from the master keyboards (every
// physical keyboard feeds its master, and raw events reach the root whoever holds the
// keyboard), and XKB's state changes for the modifiers.
//
// The Caps Lock key, while a handler has it, is the program's: X's keymap gives its key no
// symbol, so it neither locks nor shifts letters while held (giving the lock back after each
// press, as the Hyperkey first did, still left letters shifted while it was held, since the
// key's action sets Lock among the modifiers held; measured in docs/linux-backend.md). Its
// symbol comes back when the handler goes, and when the program ends normally.
class X11KeyWatch final : public KeyEventMonitor, public CapsLockKey
{
public:
    // Nothing when the display, its XKB extension or XInput 2.2 is missing.
    static std::unique_ptr<X11KeyWatch> connect();
    ~X11KeyWatch() override;

    void setMonitorHandler(KeyEventMonitor::Handler handler) override;
    void setCapsLockHandler(CapsLockKey::Handler handler) override;
    bool isCapsLockOn() override;
    void setCapsLock(bool on) override;

private:
    class Connection;
    explicit X11KeyWatch(std::unique_ptr<Connection> connection);

    void readEvents();
    void rawKey(bool press, std::uint8_t keycode);
    void stateChanged(std::uint16_t effectiveMods, std::uint16_t lockedMods);
    void selectEvents();
    void claimCapsLockKey(bool claim);

    std::unique_ptr<Connection> _x;
    std::unique_ptr<QSocketNotifier> _events;
    KeyEventMonitor::Handler _monitor;
    CapsLockKey::Handler _capsLock;
    // The modifiers as last told, the Caps Lock bit among them.
    std::uint64_t _flags = 0;
};

} // namespace tarnvik::linux
