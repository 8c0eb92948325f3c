#include "scroll/views/QtScrollViews.h"

#include "click/views/QtTargetsWindow.h"
#include "preferences/Preferences.h"

#include <QPainter>
#include <QPainterPath>

namespace tarnvik {

namespace {

constexpr double borderWidth = 3.0;
constexpr double borderRadius = 10.0;
constexpr double labelRadius = 4.0;
// The label's top left corner stands this far inside the area's.
constexpr double labelInset = 8.0;
const QColor borderTop = QColor::fromRgbF(0.49F, 0.66F, 1.0F);

QPainterPath rounded(const QRectF &rect, double radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

QRegion regionOf(const QPainterPath &path)
{
    QRegion region;
    for (const auto &polygon : path.toFillPolygons())
        region += QRegion(polygon.toPolygon());
    return region;
}

QFont numberFont(const ScrollModeView::Style &style)
{
    QFont font;
    font.setBold(true);
    font.setPixelSize(static_cast<int>(std::lround(style.fontSize * style.zoom)));
    return font;
}

} // namespace

std::vector<ScrollArea> scrollAreas(const ScrollState &state, bool showNumbers, QPointF origin)
{
    std::vector<ScrollArea> areas;
    const auto &elements = state.scrollableElements;
    for (std::size_t i = 0; elements && state.uiTree && i < elements->size(); ++i) {
        const auto visible = state.uiTree->visibleFrame((*elements)[i]->id);
        if (!visible)
            continue;
        const bool chosen = state.index == i;
        const int number = static_cast<int>(i) + 1;
        if (!chosen && (number > 9 || !showNumbers))
            continue;
        const QRectF frame(visible->origin.x - origin.x(), visible->origin.y - origin.y(),
                           visible->size.width, visible->size.height);
        areas.push_back({frame, chosen, number});
    }
    return areas;
}

QRectF numberFrame(const ScrollArea &area, const QFont &font, double zoom)
{
    const QFontMetricsF metrics(font);
    const QSizeF size(metrics.horizontalAdvance(QString::number(area.number)) + 10 * zoom,
                      metrics.height() + 2 * zoom);
    return {area.frame.topLeft() + QPointF(labelInset * zoom, labelInset * zoom), size};
}

ScrollModeView::ScrollModeView(QRect geometry, Style style, bool hasCompositor)
    : _style(std::move(style))
    , _hasCompositor(hasCompositor)
{
    makeOverlayWindow(*this, "Tarnvik Scrolling", geometry, hasCompositor);
    _font = numberFont(_style);
}

void ScrollModeView::orderFront()
{
    _ordered = true;
    updateMask();
}

void ScrollModeView::close()
{
    _ordered = false;
    hide();
}

void ScrollModeView::show(const ScrollState &state)
{
    _areas = scrollAreas(state, _style.showNumbers, QPointF(x(), y()));
    updateMask();
    update();
}

QRectF ScrollModeView::labelFrame(const ScrollArea &area) const
{
    return numberFrame(area, _font, _style.zoom);
}

void ScrollModeView::updateMask()
{
    if (!_ordered)
        return;
    if (_hasCompositor)
        return QWidget::show();
    QRegion region;
    for (const auto &area : _areas) {
        if (area.chosen) {
            const double border = px(borderWidth);
            const QRectF inner = area.frame.adjusted(border, border, -border, -border);
            region += regionOf(rounded(area.frame, px(borderRadius))
                               - rounded(inner, px(borderRadius - borderWidth)));
        } else {
            region += regionOf(rounded(labelFrame(area), px(labelRadius)));
        }
    }
    // An empty shape is no shape at all, but a window over the whole screen.
    if (region.isEmpty())
        return hide();
    setMask(region);
    QWidget::show();
}

void ScrollModeView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(_font);
    for (const auto &area : _areas) {
        if (area.chosen) {
            QLinearGradient paint(area.frame.topLeft(), area.frame.bottomLeft());
            paint.setColorAt(0, borderTop);
            paint.setColorAt(1, systemBlue());
            QPen pen(QBrush(paint), px(borderWidth));
            pen.setJoinStyle(Qt::MiterJoin);
            pen.setMiterLimit(10);
            painter.setPen(pen);
            painter.setBrush(Qt::NoBrush);
            const double half = px(borderWidth) / 2;
            painter.drawRoundedRect(area.frame.adjusted(half, half, -half, -half), px(borderRadius),
                                    px(borderRadius));
            continue;
        }
        const QRectF frame = labelFrame(area);
        QLinearGradient background(frame.topLeft(), frame.bottomLeft());
        background.setColorAt(0, _style.theme.bgColor1);
        background.setColorAt(0.5, _style.theme.bgColor2);
        background.setColorAt(1, _style.theme.bgColor3);
        painter.setPen(Qt::NoPen);
        painter.setBrush(background);
        painter.drawRoundedRect(frame, px(labelRadius), px(labelRadius));
        painter.setPen(QPen(systemDarkGrey(), px(1)));
        painter.setBrush(Qt::NoBrush);
        const double half = px(1) / 2;
        painter.drawRoundedRect(frame.adjusted(half, half, -half, -half), px(labelRadius),
                                px(labelRadius));
        painter.setPen(_style.theme.textColor);
        painter.drawText(frame, Qt::AlignCenter, QString::number(area.number));
    }
}

ShellScrollWindow::ShellScrollWindow(Overview &shell, ScrollModeView::Style style)
    : _shell(shell)
    , _style(std::move(style))
    , _font(numberFont(_style))
{ }

void ShellScrollWindow::show(const ScrollState &state)
{
    std::vector<OverviewLabel> drawn;
    const double zoom = _style.zoom;
    for (const auto &area : scrollAreas(state, _style.showNumbers, {})) {
        if (area.chosen) {
            const QRectF &f = area.frame;
            drawn.push_back({.frame = makeRect(f.x(), f.y(), f.width(), f.height()),
                             .borderColor = colorText(systemBlue()),
                             .borderWidth = borderWidth * zoom,
                             .cornerRadius = borderRadius * zoom});
            continue;
        }
        const QRectF f = numberFrame(area, _font, zoom);
        drawn.push_back({.text = std::to_string(area.number),
                         .frame = makeRect(f.x(), f.y(), f.width(), f.height()),
                         .textColor = colorText(_style.theme.textColor),
                         .backgroundColor = colorText(_style.theme.bgColor2),
                         .borderColor = colorText(systemDarkGrey()),
                         .fontSize = _style.fontSize * zoom,
                         .borderWidth = zoom,
                         .cornerRadius = labelRadius * zoom});
    }
    _shell.showLabels(drawn);
}

std::unique_ptr<ScrollWindow> QtScrollViews::createScrollWindow(const Screen &screen)
{
    const CGRect frame = flippedRect(screen.frame, _environment.firstScreenHeight());
    ScrollModeView::Style style {
        LabelTheme::withId(_preferences.themeId()).value_or(LabelTheme::defaultTheme()),
        _preferences.doubleForKey(Preferences::Keys::labelFontSize) + 4.0,
        _preferences.boolForKey(Preferences::Keys::scrollShowNumbers),
        _environment.zoom ? _environment.zoom() : 1.0};
    if (_environment.shell)
        return std::make_unique<ShellScrollWindow>(*_environment.shell, std::move(style));
    const QRect geometry(static_cast<int>(frame.origin.x), static_cast<int>(frame.origin.y),
                         static_cast<int>(frame.size.width), static_cast<int>(frame.size.height));
    return std::make_unique<ScrollModeView>(geometry, std::move(style), _environment.hasCompositor);
}

} // namespace tarnvik
