#pragma once

#include "click/ModeViews.h"
#include "platform/Overview.h"

#include <memory>

namespace tarnvik {

class LabelImageCache;

// The labels of a session over the desktop's window overview, which no window of this program
// can cover: the overview's own shell draws them, sized and placed here as the overlay would
// place them, with the icon of each window's application at its preview's lower right corner.
class OverviewTargetsWindow final : public TargetsWindow
{
public:
    // `screen` is the overview's screen in Qt's space, whose y runs down. With `asImages` the
    // labels go as this program draws them, whole, in place of what the shell would draw.
    OverviewTargetsWindow(Overview &overview, std::shared_ptr<LabelImageCache> labels,
                          CGRect screen, bool asImages = false);

    void orderFront() override { }
    void close() override;
    void show(TargetsView &view) override;
    void update() override;
    void setLabelsVisible(bool visible) override { _overview.setLabelsVisible(visible); }
    // The overview closes as its window comes to the front: no flash to see.
    void playClickAnimation(std::function<void()> completion) override;

private:
    void showImages();
    void showFocus();
    void hideFocus();

    Overview &_overview;
    std::shared_ptr<LabelImageCache> _labels;
    const CGRect _screen;
    const bool _asImages;
    TargetsView *_view = nullptr;
    // The highlight the shell shows, in the screen space.
    std::optional<CGRect> _focusShown;
};

} // namespace tarnvik
