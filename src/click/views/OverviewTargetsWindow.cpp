#include "click/views/OverviewTargetsWindow.h"

#include "click/views/QtTargetsWindow.h"
#include "click/views/ShellPanel.h"
#include "labels/LabelTheme.h"

namespace tarnvik {

namespace {

constexpr double iconSize = 48.0;
constexpr double iconInset = 8.0;
const char *const focusPanel = "focus";

} // namespace

OverviewTargetsWindow::OverviewTargetsWindow(Overview &overview,
                                             std::shared_ptr<LabelImageCache> labels, CGRect screen,
                                             bool asImages)
    : _overview(overview)
    , _labels(std::move(labels))
    , _screen(screen)
    , _asImages(asImages)
{ }

void OverviewTargetsWindow::close()
{
    _view = nullptr;
    _overview.clearLabels();
    hideFocus();
}

void OverviewTargetsWindow::hideFocus()
{
    if (_focusShown)
        _overview.hidePanel(focusPanel);
    _focusShown.reset();
}

void OverviewTargetsWindow::show(TargetsView &view)
{
    std::vector<CGSize> sizes;
    for (const auto &label : view.labels())
        sizes.push_back(_labels->shownSize(_labels->layer(label, 0)));
    view.layoutLabels(sizes, _screen);
    _view = &view;
    update();
}

void OverviewTargetsWindow::update()
{
    if (!_view)
        return;
    if (_asImages)
        return showImages();
    const double zoom = _labels->zoom();
    std::vector<OverviewLabel> drawn;
    for (std::size_t i = 0; i < _view->labels().size(); ++i) {
        if (_view->isLabelHidden(i))
            continue;
        const auto &layer = _labels->layer(_view->labels()[i], 0);
        const auto frame = _view->labelFrames()[i];
        // The shell draws the body; the nub above it points at nothing it could see.
        const auto body = layer.bodyRect();
        OverviewLabel label {
            .text = _view->labels()[i],
            .frame = makeRect(_screen.origin.x + frame.origin.x + body.x() * zoom,
                              _screen.origin.y + frame.origin.y + body.y() * zoom,
                              body.width() * zoom, body.height() * zoom),
            .typed = _view->matchedPrefixes()[i],
            .textColor = colorText(layer.colors().text),
            .backgroundColor = colorText(layer.colors().background1),
            .borderColor = colorText(layer.colors().border),
            .fontSize = layer.geometry().textSize * zoom,
        };
        const auto &element = *_view->elements()[i];
        if (element.appIcon) {
            label.icon = element.appIcon;
            const auto target = element.frame();
            label.iconFrame = makeRect(target.origin.x + target.size.width - iconSize - iconInset,
                                       target.origin.y + target.size.height - iconSize - iconInset,
                                       iconSize, iconSize);
        }
        drawn.push_back(std::move(label));
    }
    _overview.showLabels(drawn);
}

void OverviewTargetsWindow::showImages()
{
    const double zoom = _labels->zoom();
    std::vector<OverviewImage> shown;
    for (std::size_t i = 0; i < _view->labels().size(); ++i) {
        if (_view->isLabelHidden(i))
            continue;
        const int typed = _view->matchedPrefixes()[i];
        LabelLayer layer = _labels->layer(_view->labels()[i], typed);
        const QImage &image = layer.image();
        const auto margins = layer.shadowMargins();
        const auto frame = _view->labelFrames()[i];
        OverviewImage drawn {
            // The shell names the image by what comes before the first slash.
            .key = _view->labels()[i] + '/' + std::to_string(typed) + '/'
                + std::to_string(image.cacheKey()),
            .frame = makeRect(_screen.origin.x + frame.origin.x - margins.left() * zoom,
                              _screen.origin.y + frame.origin.y - margins.top() * zoom,
                              (layer.size().width() + margins.left() + margins.right()) * zoom,
                              (layer.size().height() + margins.top() + margins.bottom()) * zoom),
            .width = image.width(),
            .height = image.height(),
            .stride = static_cast<int>(image.bytesPerLine()),
        };
        if (!_overview.hasImage(drawn.key))
            drawn.pixels.assign(image.constBits(), image.constBits() + image.sizeInBytes());
        shown.push_back(std::move(drawn));
    }
    _overview.showImages(shown);
    showFocus();
}

// Below the labels on the overlay, above them here: the shell keeps its panels over its labels.
// The highlight is the size of an element, not of the screen, so it goes whole on each change.
void OverviewTargetsWindow::showFocus()
{
    const auto focus = _view->focusFrame(_screen);
    if (!focus)
        return hideFocus();
    const CGRect frame =
        makeRect(_screen.origin.x + focus->origin.x, _screen.origin.y + focus->origin.y,
                 focus->size.width, focus->size.height);
    if (_focusShown == frame)
        return;
    _overview.showPanel(highlightPanel(focusPanel, frame, _labels->scale()));
    _focusShown = frame;
}

void OverviewTargetsWindow::playClickAnimation(std::function<void()> completion)
{
    if (completion && _view && _view->focusedElement())
        completion();
}

} // namespace tarnvik
