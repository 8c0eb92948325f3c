#include "click/views/QtModeViews.h"

#include "click/views/QtSearchBar.h"
#include "click/views/QtTargetsWindow.h"
#include "preferences/Preferences.h"

namespace tarnvik {

std::unique_ptr<TargetsWindow> QtModeViews::createTargetsWindow(const Screen &screen)
{
    const CGRect frame = flippedRect(screen.frame, _environment.firstScreenHeight());
    const QRectF geometry(frame.origin.x, frame.origin.y, frame.size.width, frame.size.height);
    return std::make_unique<QtTargetsWindow>(
        geometry, labelColors(_preferences.themeId(), _environment.highContrast()),
        _preferences.doubleForKey(Preferences::Keys::labelFontSize), screen.scaleFactor,
        _environment.overlay);
}

std::unique_ptr<SearchBarWindow> QtModeViews::createSearchBar()
{
    return std::make_unique<QtSearchBar>(_environment.firstScreenHeight);
}

} // namespace tarnvik
