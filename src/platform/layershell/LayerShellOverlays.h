#pragma once

#include <QObject>

class QWindow;

namespace tarnvik::layershell {

// Makes this program's overlay windows (the labels, the search field, scroll mode's areas, the
// tutor: the windows an X window manager passes over) layer-shell surfaces in the overlay layer,
// the one way a Wayland client's window stands above every other on the compositors that have
// it (sway, KWin). Placed where Qt places them, and moved with them; they never take the keyboard.
// Installed on the application, it sees every window shown.
class LayerShellOverlays final : public QObject
{
public:
    bool eventFilter(QObject *watched, QEvent *event) override;
};

// Makes `window`, before it first shows, a surface of the overlay layer anchored to its output's
// top left, whatever panels keep for themselves; `scope` names it to the compositor, and
// `takesKeys` asks for every key while it shows.
void putInOverlayLayer(QWindow &window, const char *scope, bool takesKeys);

} // namespace tarnvik::layershell
