#pragma once

namespace tarnvik {

class PointerVisibility;

// Hides and restores the pointer for both modes, counting its own hides so that a restore
// always brings the system back to where this program found it.
class CursorManager
{
public:
    explicit CursorManager(PointerVisibility &pointer)
        : _pointer(pointer)
    { }

    void hide();
    void restore();
    int hideCursorCount() const { return _hideCursorCount; }

private:
    PointerVisibility &_pointer;
    int _hideCursorCount = 0;
};

} // namespace tarnvik
