#pragma once

#include "platform/HotKeys.h"
#include "platform/InputSources.h"
#include "platform/KeyEvents.h"
#include "platform/Pointer.h"
#include "platform/WorkQueue.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarnvik::fake {

// The keyboard, pointer and mouse of the fake desktop. Tests type keys and move the mouse;
// it records what the program posted, grabbed and hid.
class FakeInput final : public KeyboardCapture,
                        public KeyboardLayout,
                        public HotKeys,
                        public KeyEventMonitor,
                        public CapsLockKey,
                        public KeyboardInputSources,
                        public EventPosting,
                        public PointerVisibility,
                        public PointerMotion,
                        public ScrollPosting
{
public:
    // One posted scroll: positive vertical is up, positive horizontal left.
    struct Scroll
    {
        double vertical = 0;
        double horizontal = 0;
    };

    struct MouseEvent
    {
        int button = -1; // -1 for a move
        bool down = false;
        CGPoint position;
        std::uint64_t flags = 0;
        int clickState = 0;
    };

    // A key typed by the user: the capture decides first, then a hot key may take it. Answers
    // whether the frontmost application got it.
    bool type(std::uint16_t keyCode, std::uint64_t flags = 0, int eventType = EventType::keyDown,
              std::string charactersIgnoringModifiers = {});
    // The same, for an event made whole by the test.
    bool type(const KeyEvent &event);
    void moveMouse();
    void pressButton();

    bool captured() const { return static_cast<bool>(_capture); }
    void refuseCapture(bool refuse) { _refuseCapture = refuse; }
    // The keyboard given only when the test says, as a layer-shell compositor gives it once
    // it has mapped the surface: `giveKeyboard` answers those waiting for it.
    void giveKeyboardLater(bool later) { _givesLater = later; }
    void giveKeyboard(bool held)
    {
        if (auto then = std::exchange(_whenHeld, nullptr))
            then(held);
    }
    // Another program (an open menu) holds the keyboard.
    void holdElsewhere(bool held) { _heldElsewhere = held; }
    const std::vector<MouseEvent> &mouseEvents() const { return _mouse; }
    int beeps() const { return _beeps; }
    int hiddenLevel() const { return _hidden; }
    bool observingMotion() const { return static_cast<bool>(_motion); }
    std::size_t hotKeyCount() const { return _hotKeys.size(); }
    void setDoubleClickInterval(double seconds) { _doubleClickInterval = seconds; }

    bool start(KeyboardCapture::Handler handler) override;
    void stop() override
    {
        _capture = nullptr;
        _whenHeld = nullptr;
    }
    void whenHeld(std::function<void(bool held)> then) override
    {
        if (!_givesLater)
            return then(true);
        _whenHeld = std::move(then);
    }
    bool heldElsewhere() override { return _heldElsewhere; }
    std::string translate(std::uint16_t keyCode) override;
    void setHandler(HotKeys::Handler handler) override { _hotKeyHandler = std::move(handler); }
    bool registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifierFlags) override;
    bool unregisterHotKey(HotKeyId id) override { return _hotKeys.erase(id) > 0; }
    void postMouseMoved(CGPoint position) override;
    void postMouseButton(int button, bool down, CGPoint position, std::uint64_t flags,
                         int clickState) override;
    double doubleClickInterval() override { return _doubleClickInterval; }
    void beep() override { ++_beeps; }
    void hideCursor() override { ++_hidden; }
    void showCursor() override { --_hidden; }
    void observe(std::function<void()> observer) override { _motion = std::move(observer); }
    void observePresses(std::function<void()> observer) override { _presses = std::move(observer); }
    void postScroll(double verticalPx, double horizontalPx) override
    {
        _scrolls.push_back({verticalPx, horizontalPx});
    }
    const std::vector<Scroll> &scrolls() const { return _scrolls; }

    // The watch of every key: what the user's keys show it.
    void setMonitorHandler(KeyEventMonitor::Handler handler) override
    {
        _monitor = std::move(handler);
    }
    bool monitoring() const { return static_cast<bool>(_monitor); }
    void monitor(const KeyEvent &event)
    {
        if (_monitor)
            _monitor(event);
    }

    // The Caps Lock key: the user presses and releases it; the desktop may lock it.
    void setCapsLockHandler(CapsLockKey::Handler handler) override
    {
        _capsLock = std::move(handler);
    }
    bool capsLockTaken() const { return static_cast<bool>(_capsLock); }
    void pressCapsLock(bool down)
    {
        if (_capsLock)
            _capsLock(down);
    }
    bool isCapsLockOn() override { return _capsLockOn; }
    void setCapsLock(bool on) override { _capsLockOn = on; }

    // The desktop's layouts: `sources`, the first in use until one is selected.
    void setInputSources(std::vector<InputSource> sources)
    {
        _sources = std::move(sources);
        _current = _sources.empty() ? std::nullopt : std::optional(_sources.front());
    }
    std::vector<InputSource> inputSources() override { return _sources; }
    std::optional<InputSource> currentInputSource() override { return _current; }
    void selectInputSource(const InputSource &source) override
    {
        _current = source;
        _selected.push_back(source.id);
    }
    // The ids selected, in order.
    const std::vector<std::string> &selectedInputSources() const { return _selected; }

private:
    KeyEventMonitor::Handler _monitor;
    CapsLockKey::Handler _capsLock;
    bool _capsLockOn = false;
    std::vector<InputSource> _sources;
    std::optional<InputSource> _current;
    std::vector<std::string> _selected;
    KeyboardCapture::Handler _capture;
    bool _refuseCapture = false;
    bool _givesLater = false;
    std::function<void(bool)> _whenHeld;
    bool _heldElsewhere = false;
    HotKeys::Handler _hotKeyHandler;
    std::map<HotKeyId, std::pair<std::uint16_t, std::uint64_t>> _hotKeys;
    std::vector<MouseEvent> _mouse;
    std::vector<Scroll> _scrolls;
    std::function<void()> _motion;
    std::function<void()> _presses;
    int _beeps = 0;
    int _hidden = 0;
    double _doubleClickInterval = 0.5;
};

// Runs work at once, on the calling thread: the queues of tests.
class InlineWorkQueue final : public WorkQueue
{
public:
    void async(std::function<void()> work) override { work(); }
};

} // namespace tarnvik::fake
