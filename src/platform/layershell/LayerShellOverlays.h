#pragma once

#include <QObject>

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

} // namespace tarnvik::layershell
