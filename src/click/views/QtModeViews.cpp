#include "click/views/QtModeViews.h"

#include "click/LabelMaker.h"
#include "click/views/OverviewTargetsWindow.h"
#include "click/views/QtSearchBar.h"
#include "click/views/QtTargetsWindow.h"
#include "preferences/Preferences.h"

namespace tarnvik {

QRectF QtModeViews::geometryOf(const Screen &screen) const
{
    const CGRect frame = flippedRect(screen.frame, _environment.firstScreenHeight());
    return {frame.origin.x, frame.origin.y, frame.size.width, frame.size.height};
}

// Kept from session to session until a setting changes how labels look.
void QtModeViews::useLabelImagesFor(const Screen &screen)
{
    const auto colors = labelColors(_preferences.themeId(), _environment.highContrast());
    const double textSize = _preferences.doubleForKey(Preferences::Keys::labelFontSize);
    const double zoom = _environment.labelZoom ? _environment.labelZoom() : 1.0;
    if (!_labelImages || !_labelImages->draws(colors, textSize, screen.scaleFactor, zoom))
        _labelImages =
            std::make_shared<LabelImageCache>(colors, textSize, screen.scaleFactor, zoom);
}

std::unique_ptr<TargetsWindow> QtModeViews::createTargetsWindow(const Screen &screen,
                                                                bool overOverview)
{
    useLabelImagesFor(screen);
    if (overOverview || _environment.onlyTheShellDraws) {
        const QRectF g = geometryOf(screen);
        return std::make_unique<OverviewTargetsWindow>(
            _environment.overview, _labelImages, makeRect(g.x(), g.y(), g.width(), g.height()),
            !overOverview);
    }
    return std::make_unique<QtTargetsWindow>(_overlays, geometryOf(screen), _labelImages);
}

void QtModeViews::prepare(const Screen &screen)
{
    useLabelImagesFor(screen);
    // Every label of one and of two characters: those of any window with up to the alphabet's
    // square of targets.
    const auto characters = LabelMaker::labelCharacters(_preferences);
    for (const auto &c : characters)
        _labelImages->layer(c, 0);
    const auto squared = static_cast<long>(characters.size() * characters.size());
    for (const auto &label : LabelMaker::makeLabels(characters, squared))
        _labelImages->layer(label, 0);
    if (!_environment.onlyTheShellDraws)
        _overlays.prepare(geometryOf(screen), _labelImages);
}

std::unique_ptr<SearchBarWindow> QtModeViews::createSearchBar()
{
    return std::make_unique<QtSearchBar>(QtSearchBar::Environment {
        .firstScreenHeight = _environment.firstScreenHeight,
        .zoom = _environment.labelZoom ? _environment.labelZoom() : 1.0,
        .shell = _environment.onlyTheShellDraws ? &_environment.overview : nullptr,
    });
}

} // namespace tarnvik
