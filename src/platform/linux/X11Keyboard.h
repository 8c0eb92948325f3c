#pragma once

#include "platform/HotKeys.h"
#include "platform/KeyEvents.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

class QSocketNotifier;
class QTimer;

namespace tarnvik::linux {

// Keys and hot keys on X11, over a connection of its own whose events are read on the main
// thread.
//
// The capture is a set of passive grabs of every key on the root window in synchronous mode:
// each press freezes the keyboard until the handler has decided, and is then replayed to the
// focused window (pass) or kept (swallow). A combination that another client (the window
// manager) holds on the root is grabbed on the focused window instead, so that the other
// client's keys stay its own. Releases of kept keys come to the handler too, but can no longer
// reach the application.
//
// An open menu holds the whole keyboard with an active grab, and no passive grab fires while
// it does. Hot keys are then seen in XInput 2's raw key events, which reach the root whatever
// holds the keyboard, and a capture takes the keyboards themselves (their slave devices, which
// leave the menu's grab while we hold them): every key comes to the handler, none can be
// passed on, and the menu has the keyboard again when the capture ends. All grabs end with the
// connection, so a killed program leaves the keyboard working.
class X11Keyboard final : public KeyboardCapture, public KeyboardLayout, public HotKeys
{
public:
    // Nothing when the display or its XKB extension is missing.
    static std::unique_ptr<X11Keyboard> connect();
    ~X11Keyboard() override;

    // Answers after one round trip: the grabs are settled while the session starts.
    bool start(KeyboardCapture::Handler handler) override;
    void stop() override;
    bool heldElsewhere() override;
    std::string translate(std::uint16_t keyCode) override;

    void setHandler(HotKeys::Handler handler) override;
    bool registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifierFlags) override;
    bool unregisterHotKey(HotKeyId id) override;

private:
    class Connection;
    explicit X11Keyboard(std::unique_ptr<Connection> connection);

    void startPassive();
    void startExclusive();
    void grabKeyboards();
    void readEvents();
    void readQueuedEvents();
    void genericEvent(const void *event);
    void keyEvent(bool press, std::uint8_t keycode, std::uint16_t state, std::uint32_t time);
    void rawHotKeys();
    std::optional<HotKeyId> hotKeyFor(std::uint8_t keycode, std::uint16_t state) const;
    bool grabHotKey(std::uint8_t keycode, std::uint16_t modifiers);
    void ungrabHotKey(std::uint8_t keycode, std::uint16_t modifiers);
    void grabAnyKey(std::uint32_t window, std::uint16_t modifiers);
    void grabAroundOthers(std::uint32_t refused, std::uint16_t modifiers);

    std::unique_ptr<Connection> _x;
    std::unique_ptr<QSocketNotifier> _events;
    KeyboardCapture::Handler _capture;
    HotKeys::Handler _hotKeyHandler;
    // Per hot key its X key code and core modifier mask.
    std::map<HotKeyId, std::pair<std::uint8_t, std::uint16_t>> _hotKeys;
    // The capture's any-key grabs not yet answered, by request number, with their window and
    // modifiers.
    std::map<unsigned int, std::pair<std::uint32_t, std::uint16_t>> _anyKeyGrabs;
    // The window focused when the capture started, which holds the combinations that another
    // client holds on the root; none when the focus was on the root.
    std::uint32_t _focusWindow = 0;
    // Keys pressed and not yet released during captures: a press of one of them is a repeat.
    std::set<std::uint8_t> _keysDown;

    // The keyboards taken while another client holds the keyboard, by device id.
    std::vector<std::uint16_t> _grabbedKeyboards;
    // Keys held when such a capture started (the shortcut's own): the keyboards are taken once
    // these are released, or the menu would see them held for ever.
    std::set<std::uint8_t> _awaitingRelease;
    bool _exclusive = false;

    // Raw presses of hot keys' keys in the events just read, with their times, and the times of
    // the last hot key presses that came through a grab and through a raw event: one press
    // arrives both ways when nothing else holds the keyboard.
    std::vector<std::pair<std::uint8_t, std::uint32_t>> _rawPresses;
    std::uint32_t _lastGrabbedHotKey = 0;
    std::uint32_t _lastRawHotKey = 0;
};

} // namespace tarnvik::linux
