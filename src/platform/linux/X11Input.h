#pragma once

#include "platform/HotKeys.h"
#include "platform/KeyEvents.h"
#include "platform/Pointer.h"

#include <functional>
#include <map>
#include <memory>
#include <set>

class QSocketNotifier;
class QTimer;

namespace tarnvik::linux {

// Keys, hot keys, synthesised mouse input and the pointer's visibility on X11, over a
// connection of its own whose events are read on the main thread.
//
// The capture is a set of passive grabs of every key on the root window in synchronous mode:
// each press freezes the keyboard until the handler has decided, and is then replayed to the
// focused window (pass) or kept (swallow). A combination that another client (the window
// manager) holds on the root is grabbed on the focused window instead, so that the other
// client's keys stay its own. Releases of kept keys come to the handler too, but
// can no longer reach the application. Hot keys are grabs of their own combinations; while the
// capture runs they are matched before the handler sees the key. All grabs end with the
// connection, so a killed program leaves the keyboard working.
class X11Input final : public KeyboardCapture,
                       public KeyboardLayout,
                       public HotKeys,
                       public EventPosting,
                       public PointerVisibility,
                       public PointerMotion
{
public:
    // Nothing when the display or its XTEST or XKB extension is missing.
    static std::unique_ptr<X11Input> connect(std::function<double()> doubleClickInterval);
    ~X11Input() override;

    // Answers after one round trip, for the focus: the grabs are settled while the session
    // starts.
    bool start(KeyboardCapture::Handler handler) override;
    void stop() override;
    std::string translate(std::uint16_t keyCode) override;

    void setHandler(HotKeys::Handler handler) override;
    bool registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifierFlags) override;
    bool unregisterHotKey(HotKeyId id) override;

    void postMouseMoved(CGPoint position) override;
    void postMouseButton(int button, bool down, CGPoint position, std::uint64_t flags,
                         int clickState) override;
    double doubleClickInterval() override { return _doubleClickInterval(); }
    void beep() override;

    void hideCursor() override;
    void showCursor() override;
    void observe(std::function<void()> observer) override;

private:
    class Connection;
    X11Input(std::unique_ptr<Connection> connection, std::function<double()> doubleClickInterval);

    void readEvents();
    void readQueuedEvents();
    void keyEvent(bool press, std::uint8_t keycode, std::uint16_t state);
    std::optional<HotKeyId> hotKeyFor(std::uint8_t keycode, std::uint16_t state) const;
    bool grabHotKey(std::uint8_t keycode, std::uint16_t modifiers);
    void ungrabHotKey(std::uint8_t keycode, std::uint16_t modifiers);
    void grabAnyKey(std::uint32_t window, std::uint16_t modifiers);
    void grabAroundOthers(std::uint32_t refused, std::uint16_t modifiers);
    void pollPointer();

    std::unique_ptr<Connection> _x;
    std::function<double()> _doubleClickInterval;
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
    std::function<void()> _motion;
    std::unique_ptr<QTimer> _motionPoll;
    std::pair<int, int> _lastPointer {-1, -1};
    // Keys pressed and not yet released during captures: a press of one of them is a repeat.
    std::set<std::uint8_t> _keysDown;
};

} // namespace tarnvik::linux
