#pragma once

#include "platform/HotKeys.h"
#include "platform/KeyEvents.h"
#include "platform/linux/KeyboardGrant.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

class QSocketNotifier;

namespace tarnvik::linux {

// Keys and hot keys on X11, over a connection of its own whose events are read on the main
// thread.
//
// Hot keys are passive grabs of the physical keyboards (XInput 2's slave devices), not of the
// core keyboard: a grab of the core keyboard, even a passive one while it fires, takes the focus
// from the focused window, and Firefox closes its open menus when that happens. A grab of a slave
// keyboard detaches it from its master while it lasts, so the master would never see the
// shortcut's modifiers released; the grab is let go as soon as its press has come, and the rest
// of the keyboard's events take their usual way. It also fires while a menu holds the core
// keyboard.
//
// The capture is a set of passive grabs of every key on the root window in synchronous mode:
// each press freezes the keyboard until the handler has decided, and is then replayed to the
// focused window (pass) or kept (swallow). A combination that another client (the window
// manager) holds on the root is grabbed on the focused window instead, so that the other
// client's keys stay its own. Releases of kept keys come to the handler too, but can no longer
// reach the application.
//
// While a menu is open, whether it holds the keyboard or only closes when its window loses the
// focus, the capture takes the slave keyboards themselves instead: every key comes to the
// handler, none can be passed on, and the menu has the keyboard again when the capture ends.
// All grabs end with the connection, so a killed program leaves the keyboard working.
class X11Keyboard final : public KeyboardCapture, public KeyboardLayout, public HotKeys
{
public:
    // Nothing when the display, its XKB extension or XInput 2.2 is missing.
    static std::unique_ptr<X11Keyboard> connect();
    ~X11Keyboard() override;

    // Answers after one round trip: the grabs are settled while the session starts.
    bool start(KeyboardCapture::Handler handler) override;
    void stop() override;
    // At once where the capture grabs keys as the session starts; where another client holds
    // the keyboard, once the held keys are released and the keyboards taken.
    void whenHeld(std::function<void(bool held)> then) override;
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
    void keyEvent(bool press, std::uint8_t keycode, std::uint16_t state);
    void hotKeyPressed(std::uint16_t device, std::uint8_t keycode, std::uint16_t state);
    void watchReleases();
    std::optional<HotKeyId> hotKeyFor(std::uint8_t keycode, std::uint16_t state) const;
    bool heldByOthers(std::uint8_t keycode, std::uint16_t modifiers);
    void grabHotKey(std::uint8_t keycode, std::uint16_t modifiers, bool grab);
    void grabHotKeys();
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
    // Keys pressed and not yet released during captures, each with the text its press gave: a
    // press of one of them is a repeat.
    std::map<std::uint8_t, std::pair<std::string, std::string>> _keysDown;

    // The keyboards taken while another client holds the keyboard, by device id.
    std::vector<std::uint16_t> _grabbedKeyboards;
    // Keys held when such a capture started (the shortcut's own): the keyboards are taken once
    // these are released, or the menu would see them held for ever.
    std::set<std::uint8_t> _awaitingRelease;
    bool _exclusive = false;
    // Answers whoever waits for the keyboards taken: a key that stays down, or keyboards that
    // can't be taken, would leave the session's labels on the screen with the keys typed going
    // to the menu.
    KeyboardGrant _grant;

    // The hot key whose key is down, with that key: its release is seen in the raw events.
    std::optional<std::pair<HotKeyId, std::uint8_t>> _heldHotKey;
    // Whether XInput 2's raw key releases are asked for: while a hot key is held, and while a
    // capture waits for the held keys' releases to take the keyboards.
    bool _watchingReleases = false;
};

} // namespace tarnvik::linux
