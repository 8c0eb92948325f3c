#include "click/views/QtTargetsWindow.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QRegion>
#include <QVariantAnimation>

#include <algorithm>
#include <cmath>

namespace tarnvik {

namespace {

QRectF toQt(const CGRect &r)
{
    return {r.origin.x, r.origin.y, r.size.width, r.size.height};
}

// The highlight's blue, the platform's accent blue of the labels' design.
const QColor highlightBlue(10, 132, 255);

} // namespace

OverlayWidget::OverlayWidget(QRectF geometry, bool hasCompositor,
                             std::function<void(std::size_t)> labelsPainted)
    : _hasCompositor(hasCompositor)
    , _labelsPainted(std::move(labelsPainted))
{
    setWindowFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                   | Qt::X11BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus
                   | Qt::WindowTransparentForInput | Qt::Tool);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_X11DoNotAcceptFocus);
    setAttribute(Qt::WA_TranslucentBackground, hasCompositor);
    setAttribute(Qt::WA_NoSystemBackground, hasCompositor);
    setWindowTitle("Tarnvik Labels");
    setGeometry(geometry.toRect());
    if (!hasCompositor)
        setMask(QRegion());
}

CGRect OverlayWidget::screenFrame() const
{
    const QRect g = geometry();
    return makeRect(g.x(), g.y(), g.width(), g.height());
}

void OverlayWidget::setLabels(TargetsView *view, std::vector<LabelLayer> layers)
{
    _view = view;
    _layers = std::move(layers);
    _newLabels = !_layers.empty();
    _flashFrame.reset();
    _fade = 0;
    if (_fadeIn)
        _fadeIn->stop();
    _fadeIn = new QVariantAnimation(this);
    _fadeIn->setStartValue(0.0);
    _fadeIn->setEndValue(1.0);
    _fadeIn->setDuration(100);
    QObject::connect(_fadeIn, &QVariantAnimation::valueChanged, this, [this](const QVariant &v) {
        _fade = v.toDouble();
        QWidget::update();
    });
    _fadeIn->start(QAbstractAnimation::DeleteWhenStopped);
    refresh();
}

void OverlayWidget::refresh()
{
    if (_view)
        for (std::size_t i = 0; i < _layers.size(); ++i)
            _layers[i].setMatchedPrefix(_view->matchedPrefixes()[i]);
    updateMask();
    QWidget::update();
}

void OverlayWidget::updateMask()
{
    if (_hasCompositor)
        return;
    QRegion region;
    if (_view) {
        for (std::size_t i = 0; i < _layers.size(); ++i)
            if (!_view->isLabelHidden(i))
                region += toQt(_view->labelFrames()[i]).toAlignedRect();
        if (auto focus = _view->focusFrame(screenFrame()))
            region += toQt(*focus).adjusted(-6, -6, 6, 6).toAlignedRect();
    }
    if (_flashFrame)
        region += _flashFrame->adjusted(-6, -6, 6, 6).toAlignedRect();
    setMask(region);
}

void OverlayWidget::paintHighlight(QPainter &painter, QRectF frame, double opacity) const
{
    const double radius = std::min(std::min(frame.width(), frame.height()) * 0.5, 5.0);
    QColor fill = highlightBlue;
    fill.setAlphaF(0.4F);
    painter.setOpacity(opacity);
    painter.setPen(QPen(highlightBlue, 2.0));
    painter.setBrush(fill);
    painter.drawRoundedRect(frame.adjusted(1, 1, -1, -1), radius, radius);
    painter.setOpacity(1);
}

void OverlayWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    if (!_hasCompositor)
        painter.fillRect(rect(), Qt::white);
    else {
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(rect(), Qt::transparent);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }
    if (!_view)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    if (!_flashFrame)
        if (auto focus = _view->focusFrame(screenFrame()))
            paintHighlight(painter, toQt(*focus), 1.0);
    if (_flashFrame) {
        const double grow = 5 * _flashProgress;
        paintHighlight(painter, _flashFrame->adjusted(-grow, -grow, grow, grow),
                       1.0 - _flashProgress);
    }
    const auto &frames = _view->labelFrames();
    for (auto i : _view->drawingOrder()) {
        if (_view->isLabelHidden(i))
            continue;
        _layers[i].opacity = _fade;
        _layers[i].paint(painter, toQt(frames[i]).topLeft());
    }
    if (_newLabels && _labelsPainted)
        _labelsPainted(_layers.size());
    _newLabels = false;
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
    animation->setStartValue(0.0);
    animation->setEndValue(1.0);
    animation->setDuration(200);
    QObject::connect(animation, &QVariantAnimation::valueChanged, this, [this](const QVariant &v) {
        _flashProgress = v.toDouble();
        QWidget::update();
    });
    QObject::connect(animation, &QVariantAnimation::finished, this,
                     [completion = std::move(completion)] {
                         if (completion)
                             completion();
                     });
    animation->start(QAbstractAnimation::DeleteWhenStopped);
    refresh();
}

QtTargetsWindow::QtTargetsWindow(QRectF geometry, bool hasCompositor, LabelColors colors,
                                 double textSize, double scale,
                                 std::function<void(std::size_t)> labelsPainted)
    : _widget(new OverlayWidget(geometry, hasCompositor, std::move(labelsPainted)))
    , _geometry(geometry)
    , _colors(std::move(colors))
    , _textSize(textSize)
    , _scale(scale)
{ }

QtTargetsWindow::~QtTargetsWindow()
{
    close();
}

void QtTargetsWindow::orderFront()
{
    if (_widget)
        _widget->show();
}

void QtTargetsWindow::close()
{
    if (!_widget)
        return;
    _widget->hide();
    _widget->deleteLater();
    _widget.clear();
}

void QtTargetsWindow::show(TargetsView &view)
{
    std::vector<LabelLayer> layers;
    std::vector<CGSize> sizes;
    layers.reserve(view.labels().size());
    for (const auto &label : view.labels()) {
        auto &layer = layers.emplace_back(label, _colors, _textSize, _scale);
        layer.layoutLabel();
        sizes.push_back({layer.size().width(), layer.size().height()});
    }
    view.layoutLabels(sizes,
                      {{_geometry.x(), _geometry.y()}, {_geometry.width(), _geometry.height()}});
    if (_widget)
        _widget->setLabels(&view, std::move(layers));
}

void QtTargetsWindow::update()
{
    if (_widget)
        _widget->refresh();
}

void QtTargetsWindow::playClickAnimation(std::function<void()> completion)
{
    if (_widget)
        _widget->flash(std::move(completion));
}

} // namespace tarnvik
