#include "click/views/QtModeViews.h"

#include "click/views/QtSearchBar.h"
#include "click/views/QtTargetsWindow.h"
#include "preferences/Preferences.h"

namespace tarnvik {

std::unique_ptr<TargetsWindow> QtModeViews::createTargetsWindow(const Screen &screen)
{
    const CGRect frame = flippedRect(screen.frame, _environment.firstScreenHeight());
    const QRectF geometry(frame.origin.x, frame.origin.y, frame.size.width, frame.size.height);
    const auto colors = labelColors(_preferences.themeId(), _environment.highContrast());
    const double textSize = _preferences.doubleForKey(Preferences::Keys::labelFontSize);
    const double zoom = _environment.labelZoom ? _environment.labelZoom() : 1.0;
    // Kept from session to session until a setting changes how labels look.
    if (!_labelImages || !_labelImages->draws(colors, textSize, screen.scaleFactor, zoom))
        _labelImages =
            std::make_shared<LabelImageCache>(colors, textSize, screen.scaleFactor, zoom);
    return std::make_unique<QtTargetsWindow>(_overlays, geometry, _labelImages);
}

std::unique_ptr<SearchBarWindow> QtModeViews::createSearchBar()
{
    return std::make_unique<QtSearchBar>(_environment.firstScreenHeight);
}

} // namespace tarnvik
