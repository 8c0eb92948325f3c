#include "click/views/QtTargetsWindow.h"

#include "labels/LabelTheme.h"

#include <QBackingStore>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QRegion>
#include <QTimer>
#include <QTransform>
#include <QVariantAnimation>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace tarnvik {

QRegion ringOf(QRectF frame)
{
    const QRect outer = frame.toAlignedRect();
    return QRegion(outer).subtracted(QRegion(outer.adjusted(2, 2, -2, -2)));
}

namespace {

QRectF toQt(const CGRect &r)
{
    return {r.origin.x, r.origin.y, r.size.width, r.size.height};
}

constexpr double fadeInMilliseconds = 100;
constexpr int frameMilliseconds = 16;

// The union of many rectangles, halves first: added one by one, each union walks all the
// bands made so far (500 labels' shape took about a millisecond more).
QRegion unionOf(const std::vector<QRect> &rects, std::size_t begin, std::size_t end)
{
    if (end - begin == 1)
        return QRegion(rects[begin]);
    const std::size_t middle = begin + (end - begin) / 2;
    return unionOf(rects, begin, middle).united(unionOf(rects, middle, end));
}

} // namespace

const LabelLayer &LabelImageCache::layer(const std::string &label, int matchedPrefix)
{
    const std::string key = label + '\0' + std::to_string(matchedPrefix);
    auto it = _layers.find(key);
    if (it == _layers.end()) {
        LabelLayer layer(label, _colors, _textSize, _scale * _zoom);
        layer.layoutLabel();
        layer.setMatchedPrefix(matchedPrefix);
        layer.screenImage();
        it = _layers.emplace(key, std::move(layer)).first;
    }
    return it->second;
}

void makeOverlayWindow(QWidget &widget, const QString &title, QRect geometry, bool hasCompositor)
{
    widget.setWindowFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                          | Qt::X11BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus
                          | Qt::WindowTransparentForInput | Qt::Tool);
    widget.setAttribute(Qt::WA_ShowWithoutActivating);
    widget.setAttribute(Qt::WA_X11DoNotAcceptFocus);
    widget.setAttribute(Qt::WA_TranslucentBackground, hasCompositor);
    widget.setAttribute(Qt::WA_NoSystemBackground, hasCompositor);
    widget.setWindowTitle(title);
    widget.setGeometry(geometry);
}

OverlayWidget::OverlayWidget(QRectF geometry, OverlayOptions options,
                             std::shared_ptr<LabelImageCache> cache)
    : _options(std::move(options))
    , _cache(std::move(cache))
{
    makeOverlayWindow(*this, "Tarnvik Labels", geometry.toRect(), _options.hasCompositor);
    // Without a compositor only the shape shows: nothing outside the labels is painted, not
    // even the background.
    setAttribute(Qt::WA_NoSystemBackground);
    _reduceMotion = _options.reduceMotion && _options.reduceMotion();
}

void OverlayWidget::reset(QRectF geometry, std::shared_ptr<LabelImageCache> cache)
{
    _cache = std::move(cache);
    setGeometry(geometry.toRect());
    _reduceMotion = _options.reduceMotion && _options.reduceMotion();
}

void OverlayWidget::prepare()
{
    winId();
    QBackingStore *store = backingStore();
    if (!store)
        return;
    store->resize(size());
    const QRegion all(rect());
    store->beginPaint(all);
    {
        // What is painted doesn't matter: every paint covers the whole window.
        QPainter painter(store->paintDevice());
        painter.fillRect(rect(), Qt::white);
    }
    store->endPaint();
}

void OverlayWidget::end()
{
    hide();
    // A flash cut short completes for no one. Not deleted here: this may run inside its signal.
    if (_flashAnimation) {
        QObject::disconnect(_flashAnimation, nullptr, this, nullptr);
        _flashAnimation->stop();
    }
    _flashFrame.reset();
    _ordered = false;
    _view = nullptr;
    _layers.clear();
    _newLabels = false;
}

CGRect OverlayWidget::screenFrame() const
{
    const QRect g = geometry();
    return makeRect(g.x(), g.y(), g.width(), g.height());
}

void OverlayWidget::setLabels(TargetsView &view)
{
    _layers.clear();
    _layers.reserve(view.labels().size());
    std::vector<CGSize> sizes;
    for (const auto &label : view.labels()) {
        _layers.push_back(_cache->layer(label, 0));
        sizes.push_back(_cache->shownSize(_layers.back()));
    }
    view.layoutLabels(sizes, screenFrame());
    _view = &view;
    _newLabels = !_layers.empty();
    _flashFrame.reset();
    // The fade-in follows the clock, not a count of frames: whatever frame comes first shows the
    // labels as far faded in as the time since they arrived says.
    _fadeStart.start();
    refresh();
}

void OverlayWidget::refresh()
{
    if (_view)
        for (std::size_t i = 0; i < _layers.size(); ++i)
            if (const int typed = _view->matchedPrefixes()[i]; typed != _layers[i].matchedPrefix())
                _layers[i] = _cache->layer(_view->labels()[i], typed);
    updateMask();
    QWidget::update();
}

void OverlayWidget::updateMask()
{
    if (_options.hasCompositor)
        return;
    QRegion region;
    if (_view) {
        if (const auto rects = shownLabelRects(); !rects.empty())
            region = unionOf(rects, 0, rects.size());
        if (auto focus = _view->focusFrame(screenFrame()))
            region += ringOf(toQt(*focus));
    }
    if (_flashFrame)
        region += ringOf(flashFrame());
    // An empty shape would be no shape at all: a window over the whole screen. With nothing to
    // show the window stays unmapped instead.
    if (region.isEmpty()) {
        hide();
        return;
    }
    // The window's shape alone, not the widget's mask: that would clip every paint to the
    // region, and with hundreds of labels the clipping cost more than the painting.
    winId();
    windowHandle()->setMask(region);
    if (_ordered)
        show();
}

std::vector<QRect> OverlayWidget::shownLabelRects() const
{
    std::vector<QRect> rects;
    if (_view)
        for (std::size_t i = 0; i < _layers.size(); ++i)
            if (!_view->isLabelHidden(i))
                rects.push_back(toQt(_view->labelFrames()[i]).toAlignedRect());
    return rects;
}

void OverlayWidget::orderFront()
{
    _ordered = true;
    if (_options.hasCompositor)
        show();
    else
        updateMask();
}

QRectF OverlayWidget::flashFrame() const
{
    const double grow = 5 * _flashProgress;
    return _flashFrame->adjusted(-grow, -grow, grow, grow);
}

void OverlayWidget::paintHighlight(QPainter &painter, QRectF frame, double opacity) const
{
    // A shaped window is opaque: its shape is the border alone, so that the element shows
    // through where a compositor would have tinted it.
    if (!_options.hasCompositor) {
        painter.setOpacity(opacity);
        painter.setClipRegion(ringOf(frame));
        painter.fillRect(frame.toAlignedRect(), systemBlue());
        painter.setClipping(false);
        painter.setOpacity(1);
        return;
    }
    paintTranslucentHighlight(painter, frame, opacity);
}

void paintTranslucentHighlight(QPainter &painter, QRectF frame, double opacity)
{
    const double radius = std::min(std::min(frame.width(), frame.height()) * 0.5, 5.0);
    QColor fill = systemBlue();
    fill.setAlphaF(0.4F);
    painter.setOpacity(opacity);
    painter.setPen(QPen(systemBlue(), 2.0));
    painter.setBrush(fill);
    painter.drawRoundedRect(frame.adjusted(1, 1, -1, -1), radius, radius);
    painter.setOpacity(1);
}

void OverlayWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    if (!_options.hasCompositor) {
        // Only the shape shows: white under the labels, as they fade in over it.
        for (const auto &rect : shownLabelRects())
            painter.fillRect(rect, Qt::white);
    } else {
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(rect(), Qt::transparent);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }
    if (!_view)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    if (_flashFrame) {
        paintHighlight(painter, flashFrame(), 1.0 - _flashProgress);
    } else if (auto focus = _view->focusFrame(screenFrame())) {
        paintHighlight(painter, toQt(*focus), 1.0);
    }
    const double fade = _reduceMotion || !_fadeStart.isValid()
        ? 1.0
        : std::min(1.0, double(_fadeStart.nsecsElapsed()) / 1e6 / fadeInMilliseconds);
    if (fade < 1)
        QTimer::singleShot(frameMilliseconds, this, [this] { QWidget::update(); });
    const auto &frames = _view->labelFrames();
    const double zoom = _cache->zoom();
    for (auto i : _view->drawingOrder()) {
        if (_view->isLabelHidden(i))
            continue;
        _layers[i].opacity = fade;
        const QPointF at = toQt(frames[i]).topLeft();
        painter.setTransform(QTransform(zoom, 0, 0, zoom, at.x(), at.y()));
        _layers[i].paint(painter, {});
    }
    painter.resetTransform();
    // The first frame in which the labels can be seen: the fade-in's first paint has them at
    // opacity 0.
    if (_newLabels && fade > 0) {
        _newLabels = false;
        if (_options.labelsPainted)
            _options.labelsPainted(_layers.size());
    }
}

void OverlayWidget::flash(std::function<void()> completion)
{
    const auto focus = _view ? _view->focusFrame(screenFrame()) : std::nullopt;
    if (!focus) {
        refresh();
        return;
    }
    _flashFrame = toQt(*focus);
    auto *animation = new QVariantAnimation(this);
    _flashAnimation = animation;
    animation->setStartValue(0.0);
    animation->setEndValue(1.0);
    animation->setDuration(200);
    QObject::connect(animation, &QVariantAnimation::valueChanged, this, [this](const QVariant &v) {
        _flashProgress = v.toDouble();
        updateMask();
        QWidget::update();
    });
    // Faded out, the flash is nothing: a shaped window would keep its box, opaque, until the
    // window closed.
    QObject::connect(animation, &QVariantAnimation::finished, this,
                     [this, completion = std::move(completion)] {
                         _flashFrame.reset();
                         refresh();
                         if (completion)
                             completion();
                     });
    animation->start(QAbstractAnimation::DeleteWhenStopped);
    refresh();
}

std::unique_ptr<OverlayWidget> OverlayPool::take(QRectF geometry,
                                                 std::shared_ptr<LabelImageCache> cache)
{
    if (_closed.empty())
        return std::make_unique<OverlayWidget>(geometry, _options, std::move(cache));
    auto widget = std::move(_closed.back());
    _closed.pop_back();
    widget->reset(geometry, std::move(cache));
    return widget;
}

void OverlayPool::prepare(QRectF geometry, std::shared_ptr<LabelImageCache> cache)
{
    if (!_closed.empty())
        return;
    auto widget = std::make_unique<OverlayWidget>(geometry, _options, std::move(cache));
    widget->prepare();
    _closed.push_back(std::move(widget));
}

void OverlayPool::giveBack(std::unique_ptr<OverlayWidget> widget)
{
    widget->end();
    _closed.push_back(std::move(widget));
}

QtTargetsWindow::QtTargetsWindow(OverlayPool &pool, QRectF geometry,
                                 std::shared_ptr<LabelImageCache> cache)
    : _pool(pool)
    , _widget(pool.take(geometry, std::move(cache)))
{ }

QtTargetsWindow::~QtTargetsWindow()
{
    close();
}

void QtTargetsWindow::orderFront()
{
    if (_widget)
        _widget->orderFront();
}

// Not deleted: a flash's completion may close the window from inside the flash.
void QtTargetsWindow::close()
{
    if (_widget)
        _pool.giveBack(std::move(_widget));
}

void QtTargetsWindow::show(TargetsView &view)
{
    if (_widget)
        _widget->setLabels(view);
}

void QtTargetsWindow::update()
{
    if (_widget)
        _widget->refresh();
}

void QtTargetsWindow::setLabelsVisible(bool visible)
{
    if (!_widget)
        return;
    if (visible)
        _widget->orderFront();
    else
        _widget->hide();
}

void QtTargetsWindow::playClickAnimation(std::function<void()> completion)
{
    if (_widget)
        _widget->flash(std::move(completion));
}

} // namespace tarnvik
