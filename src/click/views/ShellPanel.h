#pragma once

#include "platform/Overview.h"

#include <QPoint>

#include <string>

class QImage;
class QWidget;

namespace tarnvik {

// Panels handed to the shell where no window of this program may stand over the others (GNOME
// on Wayland): images drawn here by the same code as the windows, placed in the screen space
// with its origin at the top left.

// `image` shown over `frame`.
OverviewImage shellPanel(std::string key, const QImage &image, CGRect frame);
// `widget` as its window would show it, with its top left at `topLeft`; it need never be shown.
OverviewImage shellPanel(std::string key, QWidget &widget, QPoint topLeft);
// The translucent box that marks an element, at `scale` pixels a unit.
OverviewImage highlightPanel(std::string key, CGRect frame, double scale);

} // namespace tarnvik
