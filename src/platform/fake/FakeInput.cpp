#include "platform/fake/FakeInput.h"

#include "platform/KeyCodes.h"

namespace tarnvik::fake {

bool FakeInput::type(std::uint16_t keyCode, std::uint64_t flags, int eventType,
                     std::string charactersIgnoringModifiers)
{
    if (charactersIgnoringModifiers.empty())
        if (auto c = asciiCharacter(keyCode)) {
            const bool upper = (flags & ModifierFlag::shift) && *c >= 'a' && *c <= 'z';
            charactersIgnoringModifiers = std::string(1, upper ? static_cast<char>(*c - 32) : *c);
        }
    return type(KeyEvent {eventType, keyCode, flags | keyPositionFlags(keyCode),
                          charactersIgnoringModifiers, charactersIgnoringModifiers});
}

bool FakeInput::type(const KeyEvent &event)
{
    // A copy: the handler may stop the capture while it runs.
    if (auto capture = _capture; capture && capture(event) == KeyDisposition::swallow)
        return false;
    const auto modifiers = event.flags & ModifierFlag::deviceIndependent;
    for (const auto &[id, key] : _hotKeys)
        if (key.first == event.keyCode && key.second == modifiers && _hotKeyHandler) {
            _hotKeyHandler(id, event.type);
            return false;
        }
    return true;
}

void FakeInput::pressButton()
{
    if (_presses)
        _presses();
}

void FakeInput::moveMouse()
{
    if (_motion)
        _motion();
}

bool FakeInput::start(KeyboardCapture::Handler handler)
{
    if (_refuseCapture)
        return false;
    _capture = std::move(handler);
    return true;
}

std::string FakeInput::translate(std::uint16_t keyCode)
{
    const auto c = asciiCharacter(keyCode);
    return c ? std::string(1, *c) : std::string();
}

bool FakeInput::registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifierFlags)
{
    _hotKeys[id] = {keyCode, modifierFlags};
    return true;
}

void FakeInput::postMouseMoved(CGPoint position)
{
    _mouse.push_back({-1, false, position, 0, 0});
}

void FakeInput::postMouseButton(int button, bool down, CGPoint position, std::uint64_t flags,
                                int clickState)
{
    _mouse.push_back({button, down, position, flags, clickState});
}

} // namespace tarnvik::fake
