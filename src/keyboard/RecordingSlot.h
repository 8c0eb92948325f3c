#pragma once

#include "keyboard/SRShortcut.h"

#include <mutex>

namespace tarnvik {

// A control that records a shortcut, as the Hyperkey reaches it.
class RecordingControl
{
public:
    virtual ~RecordingControl() = default;
    // A shortcut made elsewhere (the Hyperkey alone) becomes the recorded value, and the
    // recording ends.
    virtual void takeShortcut(const SRShortcut &shortcut) = 0;
};

// The one control recording at the moment, if any. The Hyperkey's lock, where both are taken,
// comes first.
class RecordingSlot
{
public:
    void begin(RecordingControl *control)
    {
        std::lock_guard lock(_mutex);
        _control = control;
    }
    // Only the control that holds the slot empties it.
    void end(RecordingControl *control)
    {
        std::lock_guard lock(_mutex);
        if (_control == control)
            _control = nullptr;
    }
    RecordingControl *recording() const
    {
        std::lock_guard lock(_mutex);
        return _control;
    }

private:
    mutable std::mutex _mutex;
    RecordingControl *_control = nullptr;
};

} // namespace tarnvik
