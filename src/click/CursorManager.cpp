#include "click/CursorManager.h"

#include "platform/Pointer.h"

namespace tarnvik {

void CursorManager::hide()
{
    _pointer.hideCursor();
    ++_hideCursorCount;
}

void CursorManager::restore()
{
    while (_hideCursorCount < 0)
        hide();
    while (_hideCursorCount > 0) {
        _pointer.showCursor();
        --_hideCursorCount;
    }
}

} // namespace tarnvik
