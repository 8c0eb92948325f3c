#pragma once

#include "click/ModeViews.h"
#include "labels/LabelLayer.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QRegion>
#include <QWidget>

#include <memory>
#include <unordered_map>
#include <vector>

class QVariantAnimation;

namespace tarnvik {

// How the overlay shows itself on this desktop.
struct OverlayOptions
{
    // Without a compositor a translucent window turns black: the overlay then shapes itself to
    // its labels instead.
    bool hasCompositor = false;
    // Labels appear at once rather than fading in; asked at each session, as the desktop's
    // setting may change while the program runs.
    std::function<bool()> reduceMotion;
    // Told when a new set of labels first reached the screen; for measuring.
    std::function<void(std::size_t labels)> labelsPainted;
};

// Makes `widget` an overlay: above all other windows, passed over by the window manager, never
// taking the focus, letting the mouse through; translucent only with a compositor, since a
// translucent window turns black without one.
void makeOverlayWindow(QWidget &widget, const QString &title, QRect geometry, bool hasCompositor);
// A highlight's 2-point border, as a window's shape where no compositor draws translucency: what
// it marks shows through.
QRegion ringOf(QRectF frame);
// The focused element's highlight where a compositor blends it: a tinted box with a border.
void paintTranslucentHighlight(QPainter &painter, QRectF frame, double opacity);

// Every label rendered once for each typed prefix: a search result relabels from the start,
// a typed letter marks the same labels again, and the next session shows the same labels, so
// the same images come back on every keystroke and every shortcut. Labels stand `zoom` times
// their size in points, rendered sharp for that.
class LabelImageCache
{
public:
    LabelImageCache(LabelColors colors, double textSize, double scale, double zoom = 1)
        : _colors(std::move(colors))
        , _textSize(textSize)
        , _scale(scale)
        , _zoom(zoom)
    { }
    // Whether its images are drawn as these settings would draw them.
    bool draws(const LabelColors &colors, double textSize, double scale, double zoom) const
    {
        return _colors == colors && _textSize == textSize && _scale == scale && _zoom == zoom;
    }
    // A copy shares the rendered image.
    const LabelLayer &layer(const std::string &label, int matchedPrefix);
    double zoom() const { return _zoom; }
    // The screen's pixels per unit of its space.
    double scale() const { return _scale; }
    // A label's size as it stands on screen, zoomed.
    CGSize shownSize(const LabelLayer &layer) const
    {
        return {layer.size().width() * _zoom, layer.size().height() * _zoom};
    }

private:
    const LabelColors _colors;
    const double _textSize;
    const double _scale;
    const double _zoom;
    std::unordered_map<std::string, LabelLayer> _layers;
};

// The overlay: a window above all others that the mouse passes through and that never takes
// the keyboard, drawing the labels of a TargetsView, its focus highlight and the click flash.
class OverlayWidget final : public QWidget
{
public:
    OverlayWidget(QRectF geometry, OverlayOptions options, std::shared_ptr<LabelImageCache> cache);

    // Hidden, empty, not to be shown and with no flash running.
    void end();
    // Ready for a new session at `geometry`, drawing from `cache`; after `end`.
    void reset(QRectF geometry, std::shared_ptr<LabelImageCache> cache);
    // Makes the X window and the image it is drawn in, and touches every page of that image,
    // without showing anything.
    void prepare();
    // Shown from now on whenever there is something to show.
    void orderFront();
    // Draws the view's labels from now on, laying them out first.
    void setLabels(TargetsView &view);
    void refresh();
    void flash(std::function<void()> completion);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void paintHighlight(QPainter &painter, QRectF frame, double opacity) const;
    // Where the flash stands now: it grows as it fades.
    QRectF flashFrame() const;
    void updateMask();
    // The shown labels' frames in the window, in whole pixels.
    std::vector<QRect> shownLabelRects() const;
    // Where the window stands, in the accessibility space.
    CGRect screenFrame() const;

    const OverlayOptions _options;
    std::shared_ptr<LabelImageCache> _cache;
    bool _newLabels = false;
    bool _ordered = false;
    TargetsView *_view = nullptr;
    std::vector<LabelLayer> _layers;
    QElapsedTimer _fadeStart;
    bool _reduceMotion = false;
    // The flash of a click: the highlight growing by 5 points on each side and fading out.
    std::optional<QRectF> _flashFrame;
    double _flashProgress = 0;
    QPointer<QVariantAnimation> _flashAnimation;
};

// Overlay windows kept for the next session once closed: before a new window's first frame
// reaches the screen, the X window is made and a shared-memory image of the whole screen is
// allocated and touched page by page, tens of milliseconds on a virtual machine.
class OverlayPool
{
public:
    explicit OverlayPool(OverlayOptions options)
        : _options(std::move(options))
    { }
    // A closed window made ready for a new session, or a new one.
    std::unique_ptr<OverlayWidget> take(QRectF geometry, std::shared_ptr<LabelImageCache> cache);
    // A window prepared for the first session, unless one is kept already.
    void prepare(QRectF geometry, std::shared_ptr<LabelImageCache> cache);
    // Hidden and kept.
    void giveBack(std::unique_ptr<OverlayWidget> widget);

private:
    const OverlayOptions _options;
    std::vector<std::unique_ptr<OverlayWidget>> _closed;
};

class QtTargetsWindow final : public TargetsWindow
{
public:
    QtTargetsWindow(OverlayPool &pool, QRectF geometry, std::shared_ptr<LabelImageCache> cache);
    ~QtTargetsWindow() override;

    void orderFront() override;
    void close() override;
    void show(TargetsView &view) override;
    void update() override;
    void setLabelsVisible(bool visible) override;
    void playClickAnimation(std::function<void()> completion) override;
    // The window itself, for measuring its drawing.
    QWidget *widget() const { return _widget.get(); }

private:
    OverlayPool &_pool;
    std::unique_ptr<OverlayWidget> _widget;
};

} // namespace tarnvik
