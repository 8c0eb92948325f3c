#include "keyboard/CapsLockController.h"

#include "keyboard/RecordingSlot.h"
#include "platform/KeyCodes.h"

namespace tarnvik {

CapsLockController::CapsLockController(Services services)
    : _services(services)
{
    _services.key.setCapsLockHandler([this](bool down) {
        if (down)
            pressed();
        else
            released();
    });
}

CapsLockController::~CapsLockController()
{
    _services.key.setCapsLockHandler({});
    if (_recheck)
        _services.scheduler.cancel(*_recheck);
}

bool CapsLockController::isHyperKeyActive() const
{
    std::lock_guard lock(_mutex);
    return _isHyperKeyActive;
}

bool CapsLockController::recordingKeyDown()
{
    std::lock_guard lock(_mutex);
    if (!_isHyperKeyActive || !_services.recordingSlot.recording())
        return false;
    _keyPressedDuringHyperkey = true;
    return true;
}

void CapsLockController::turnLockOff()
{
    if (_services.key.isCapsLockOn())
        _services.key.setCapsLock(false);
}

void CapsLockController::pressed()
{
    turnLockOff();
    if (_recheck)
        _services.scheduler.cancel(*_recheck);
    _recheck = _services.scheduler.scheduleOnMain(Seconds(lockRecheckSeconds), [this] {
        _recheck.reset();
        turnLockOff();
    });
    std::lock_guard lock(_mutex);
    _isHyperKeyActive = true;
    _keyPressedDuringHyperkey = false;
}

void CapsLockController::released()
{
    bool keyPressed = false;
    bool recording = false;
    {
        std::lock_guard lock(_mutex);
        recording = _services.recordingSlot.recording() != nullptr;
        keyPressed = _keyPressedDuringHyperkey;
        _isHyperKeyActive = false;
        _keyPressedDuringHyperkey = false;
    }
    if (recording && !keyPressed) {
        // The Hyperkey alone is the recorded value, given to whichever control records then.
        _services.scheduler.postToMain([&slot = _services.recordingSlot] {
            if (auto *control = slot.recording())
                control->takeShortcut(SRShortcut::shortcutWithCode(KeyCode::none, hyperFlags));
        });
    } else if (!recording && !keyPressed && onHyperkeyOnly) {
        _services.scheduler.postToMain(onHyperkeyOnly);
    }
    // No flags-changed event with no flags is posted to clear what others took from the events:
    // on X no event was given the four modifiers.
}

} // namespace tarnvik
