#pragma once

#include "platform/KeyEvents.h"
#include "platform/Scheduler.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>

namespace tarnvik {

class RecordingSlot;

// Caps Lock as the Hyperkey: held, it is the private modifier ⌃⌥⇧⌘ of the mode shortcuts; the
// lock it would toggle stays off; a tap alone runs `onHyperkeyOnly`. It alters no key of other
// applications: the shortcut logic asks it whether it is held. While a control records, a key
// pressed with it carries the four modifiers, and the key alone records them.
class CapsLockController
{
public:
    static constexpr std::uint64_t hyperFlags = 0x1E0000;
    // How long after a press the lock is looked at again: the desktop may toggle it late.
    static constexpr double lockRecheckSeconds = 0.1;

    struct Services
    {
        CapsLockKey &key;
        Scheduler &scheduler;
        RecordingSlot &recordingSlot;
    };

    explicit CapsLockController(Services services);
    ~CapsLockController();
    CapsLockController(const CapsLockController &) = delete;
    CapsLockController &operator=(const CapsLockController &) = delete;

    bool isHyperKeyActive() const;
    // A key pressed in a recording control: true when it carries the four modifiers, the
    // Hyperkey being held.
    bool recordingKeyDown();

    // Called on the main queue after a release with no key recorded since the press.
    std::function<void()> onHyperkeyOnly;

private:
    void pressed();
    void released();
    void turnLockOff();

    Services _services;
    mutable std::mutex _mutex;
    bool _isHyperKeyActive = false;
    bool _keyPressedDuringHyperkey = false;
    std::optional<Scheduler::TimerId> _recheck;
};

} // namespace tarnvik
