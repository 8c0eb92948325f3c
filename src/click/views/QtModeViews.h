#pragma once

#include "click/ModeViews.h"
#include "click/views/QtTargetsWindow.h"
#include "platform/Overview.h"

#include <functional>

namespace tarnvik {

class Preferences;

// The windows of a session in Qt Widgets.
class QtModeViews final : public ModeViews
{
public:
    struct Environment
    {
        // Height of the first screen: converts the screen space to Qt's, whose y runs down.
        std::function<double()> firstScreenHeight;
        OverlayOptions overlay;
        // The desktop asks for high-contrast colours.
        std::function<bool()> highContrast;
        // How many of the screen space's units a label's point takes: the desktop's scale
        // where that space counts pixels, as on X. One when absent.
        std::function<double()> labelZoom;
        // Where the labels of a session over the desktop's overview go.
        Overview &overview;
        // Every session's labels go there: where no window of this program may stand over the
        // others (GNOME on Wayland).
        bool onlyTheShellDraws = false;
    };

    QtModeViews(const Preferences &preferences, Environment environment)
        : _preferences(preferences)
        , _environment(std::move(environment))
        , _overlays(_environment.overlay)
    { }

    std::unique_ptr<TargetsWindow> createTargetsWindow(const Screen &screen,
                                                       bool overOverview) override;
    std::unique_ptr<SearchBarWindow> createSearchBar() override;
    // Does at start-up what the first session would otherwise wait for: the label images of
    // the usual windows are drawn, which loads the font, and an overlay window is made.
    void prepare(const Screen &screen);

private:
    QRectF geometryOf(const Screen &screen) const;
    void useLabelImagesFor(const Screen &screen);

    const Preferences &_preferences;
    Environment _environment;
    std::shared_ptr<LabelImageCache> _labelImages;
    OverlayPool _overlays;
};

} // namespace tarnvik
