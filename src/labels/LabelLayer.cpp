#include "labels/LabelLayer.h"

#include "platform/Diagnostics.h"

#include <QFontDatabase>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QTextBoundaryFinder>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tarnvik {

namespace {

// Text is shaped at one large pixel size and scaled to the label's text size when drawn: QFont
// has only whole pixel sizes, and points would depend on the screen's dots per inch, while a
// label's text size is a fractional number of logical pixels.
constexpr int shapingPixelSize = 100;

// The blur of the shadow taken as a Gaussian whose radius reaches two standard deviations.
constexpr double shadowSigma = LabelLayer::shadowRadius / 2.0;
constexpr double shadowReach = 3.0 * shadowSigma;

// The share of a unit line from `from` to `to` that a Gaussian blur puts at `x`.
double blurredSpan(double x, double from, double to)
{
    const double scale = 1.0 / (shadowSigma * std::numbers::sqrt2);
    return 0.5 * (std::erf((x - from) * scale) - std::erf((x - to) * scale));
}

std::vector<int> characterBoundaries(const QString &text)
{
    std::vector<int> result {0};
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype end = finder.toNextBoundary(); end != -1; end = finder.toNextBoundary())
        if (end > 0)
            result.push_back(static_cast<int>(end));
    return result;
}

} // namespace

void addArcToPoint(QPainterPath &path, QPointF corner, QPointF towards, qreal radius)
{
    const QPointF in = path.currentPosition() - corner;
    const QPointF out = towards - corner;
    const double inLength = std::hypot(in.x(), in.y());
    const double outLength = std::hypot(out.x(), out.y());
    constexpr double epsilon = 1e-9;
    if (radius <= 0.0 || inLength < epsilon || outLength < epsilon) {
        path.lineTo(corner);
        return;
    }
    const QPointF inUnit = in / inLength;
    const QPointF outUnit = out / outLength;
    const double sine = inUnit.x() * outUnit.y() - inUnit.y() * outUnit.x();
    if (std::abs(sine) < epsilon) {
        path.lineTo(corner);
        return;
    }
    const double cosine = std::clamp(QPointF::dotProduct(inUnit, outUnit), -1.0, 1.0);
    const double halfAngle = std::acos(cosine) / 2.0;
    const QPointF start = corner + inUnit * (radius / std::tan(halfAngle));
    const QPointF end = corner + outUnit * (radius / std::tan(halfAngle));
    QPointF bisector = inUnit + outUnit;
    bisector /= std::hypot(bisector.x(), bisector.y());
    const QPointF centre = corner + bisector * (radius / std::sin(halfAngle));

    // QPainterPath measures angles counter-clockwise as seen on a y-down device.
    auto degrees = [&centre](QPointF p) {
        return std::atan2(centre.y() - p.y(), p.x() - centre.x()) * 180.0 / std::numbers::pi;
    };
    const double startAngle = degrees(start);
    double sweep = degrees(end) - startAngle;
    if (sweep > 180.0)
        sweep -= 360.0;
    else if (sweep < -180.0)
        sweep += 360.0;
    path.lineTo(start);
    path.arcTo(QRectF(centre.x() - radius, centre.y() - radius, 2.0 * radius, 2.0 * radius),
               startAngle, sweep);
}

LabelLayer::LabelLayer(std::string label, LabelColors colors, double textSize, double screenScale)
    : LabelLayer(std::move(label), std::move(colors), Geometry {.textSize = textSize}, screenScale)
{ }

LabelLayer::LabelLayer(std::string label, LabelColors colors, Geometry geometry, double screenScale)
    : _label(std::move(label))
    , _colors(std::move(colors))
    , _geometry(geometry)
    , _screenScale(screenScale)
    , _boundaries(characterBoundaries(QString::fromStdString(_label)))
{
    setMatchedPrefix(0);
}

void LabelLayer::setMatchedPrefix(int count)
{
    count = std::clamp(count, 0, characterCount());
    if (count == _matchedPrefix)
        return;
    _matchedPrefix = count;
    _image = QImage();
    _screenImage = QImage();
}

double LabelLayer::textScale() const
{
    return std::max(0.0, _geometry.textSize) / shapingPixelSize;
}

void LabelLayer::shapeText(QTextLayout &layout) const
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    // The heavy weight, one step below black.
    font.setWeight(QFont::ExtraBold);
    font.setPixelSize(shapingPixelSize);
    font.setStyleStrategy(QFont::PreferAntialias);
    layout.setFont(font);
    layout.setText(QString::fromStdString(_label));

    const int matchedEnd = _boundaries[static_cast<std::size_t>(_matchedPrefix)];
    const int count = characterCount();
    // No spacing trails the last character, so a single one has none at all.
    const int spacedEnd = count >= 2 ? _boundaries[static_cast<std::size_t>(count - 1)] : 0;
    std::vector<int> cuts {0, matchedEnd, spacedEnd, _boundaries.back()};
    std::sort(cuts.begin(), cuts.end());
    cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());

    QList<QTextLayout::FormatRange> formats;
    for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
        QTextLayout::FormatRange range;
        range.start = cuts[i];
        range.length = cuts[i + 1] - cuts[i];
        // The fade doesn't follow the theme: typed letters are dark even on dark labels.
        range.format.setForeground(cuts[i] < matchedEnd ? QColor::fromRgbF(0.0f, 0.0f, 0.0f, 0.4f)
                                                        : _colors.text);
        if (cuts[i] < spacedEnd) {
            range.format.setFontLetterSpacingType(QFont::AbsoluteSpacing);
            range.format.setFontLetterSpacing(
                textScale() > 0.0 ? _geometry.charSpacing / textScale() : 0.0);
        }
        formats.append(range);
    }
    layout.setFormats(formats);

    QTextOption option;
    option.setWrapMode(QTextOption::NoWrap);
    layout.setTextOption(option);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLineWidth(1e6);
    line.setPosition({0.0, 0.0});
    layout.endLayout();
}

void LabelLayer::layoutLabel()
{
    QTextLayout layout;
    shapeText(layout);
    const QTextLine line = layout.lineAt(0);
    // Whole pixels keep the body's edges, and so its border, on the pixel grid.
    _textSize = QSizeF(std::ceil(line.naturalTextWidth() * textScale()),
                       std::ceil(line.height() * textScale()));

    const auto &g = _geometry;
    const double bodyWidth = std::max(g.nubWidth + 6.0 + 3.0, 2.0 * g.xPadding + _textSize.width());
    _size = QSizeF(g.borderWidth + bodyWidth,
                   g.borderWidth + _textSize.height() + 2.0 * g.yPadding + g.nubHeight);
    // Centred on the body alone, the nub left out.
    const QRectF body = bodyRect();
    _textOrigin = QPointF(body.center().x() - _textSize.width() * 0.5,
                          body.center().y() - _textSize.height() * 0.5);
    _image = QImage();
    _screenImage = QImage();
}

QRectF LabelLayer::bodyRect() const
{
    const double b = _geometry.borderWidth;
    return {b * 0.5, _geometry.nubHeight + b * 0.5, _size.width() - b,
            _size.height() - _geometry.nubHeight - b};
}

QMarginsF LabelLayer::shadowMargins() const
{
    return {shadowReach, std::max(0.0, shadowReach - shadowOffset), shadowReach,
            shadowReach + shadowOffset};
}

const QImage &LabelLayer::image()
{
    if (_image.isNull())
        render();
    return _image;
}

const QImage &LabelLayer::screenImage()
{
    if (_screenImage.isNull()) {
        const QImage &rendered = image();
        _screenImage =
            rendered.scaled(rendered.size() / 2, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        _screenImage.setDevicePixelRatio(_screenScale);
    }
    return _screenImage;
}

void LabelLayer::paint(QPainter &painter, QPointF topLeft)
{
    if (hidden || opacity <= 0.0)
        return;
    // Filtered once, to the screen's pixels: a few hundred labels filtered at each paint take
    // milliseconds a frame.
    const QImage &rendered = screenImage();
    const QMarginsF margins = shadowMargins();
    const double previous = painter.opacity();
    const bool smooth = painter.testRenderHint(QPainter::SmoothPixmapTransform);
    painter.setOpacity(previous * opacity);
    // The image has more pixels than the screen: filtered, the text stays smooth.
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(topLeft - QPointF(margins.left(), margins.top()), rendered);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, smooth);
    painter.setOpacity(previous);
}

void LabelLayer::render()
{
    const QMarginsF margins = shadowMargins();
    const double ratio = devicePixelRatio();
    const QSizeF logical = QSizeF(_size).grownBy(margins);
    QImage image(std::max(1, static_cast<int>(std::ceil(logical.width() * ratio))),
                 std::max(1, static_cast<int>(std::ceil(logical.height() * ratio))),
                 QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    renderShadow(image);

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.translate(margins.left(), margins.top());
    drawBody(painter);
    if (textScale() > 0.0) {
        QTextLayout text;
        shapeText(text);
        painter.translate(_textOrigin);
        painter.scale(textScale(), textScale());
        text.draw(&painter, {0.0, 0.0});
    }
    painter.end();
    _image = std::move(image);
}

// The shadow falls from the plain bounds rectangle, nub and corners ignored, so it has a closed
// form: a Gaussian blur of a rectangle is the product of the blurs of its two sides.
void LabelLayer::renderShadow(QImage &image) const
{
    const QMarginsF margins = shadowMargins();
    const double ratio = devicePixelRatio();
    std::vector<double> columns(static_cast<std::size_t>(image.width()));
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const double x = (static_cast<double>(i) + 0.5) / ratio - margins.left();
        columns[i] = blurredSpan(x, 0.0, _size.width());
    }
    for (int row = 0; row < image.height(); ++row) {
        const double y = (row + 0.5) / ratio - margins.top();
        const double strength =
            shadowOpacity * 255.0 * blurredSpan(y, shadowOffset, _size.height() + shadowOffset);
        auto *pixels = reinterpret_cast<QRgb *>(image.scanLine(row));
        for (std::size_t i = 0; i < columns.size(); ++i)
            pixels[i] = qRgba(0, 0, 0, static_cast<int>(std::lround(strength * columns[i])));
    }
}

void LabelLayer::drawBody(QPainter &painter) const
{
    const QRectF body = bodyRect().normalized();
    const double minX = body.left();
    const double maxX = body.right();
    const double midX = body.center().x();
    const double top = body.top();
    const double bottom = body.bottom();
    const double nubLeft = midX - _geometry.nubWidth * 0.5;
    const double nubRight = midX + _geometry.nubWidth * 0.5;
    const double tip = top - _geometry.nubHeight;
    if (nubLeft <= minX + borderRadius)
        printLine("warning: LabelLayer " + _label + " - invalid nub width/radius parameters");

    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    path.moveTo(minX, body.center().y());
    addArcToPoint(path, {minX, top}, {maxX, top}, borderRadius);
    addArcToPoint(path, {nubLeft, top}, {midX, tip}, nubRadius);
    addArcToPoint(path, {midX, tip}, {nubRight, top}, nubTipRadius);
    addArcToPoint(path, {nubRight, top}, {maxX, top}, nubRadius);
    addArcToPoint(path, {maxX, top}, {maxX, bottom}, borderRadius);
    addArcToPoint(path, {maxX, bottom}, {minX, bottom}, borderRadius);
    addArcToPoint(path, {minX, bottom}, {minX, top}, borderRadius);
    path.lineTo(minX, body.center().y());
    path.closeSubpath();

    // Over the whole bounds, so the first colour alone fills the top fifth, nub included.
    QLinearGradient gradient(QPointF(_size.width() * 0.5, 0.0),
                             QPointF(_size.width() * 0.5, _size.height()));
    gradient.setColorAt(0.2, _colors.background1);
    gradient.setColorAt(0.6, _colors.background2);
    gradient.setColorAt(1.0, _colors.background3);
    painter.fillPath(path, gradient);
    // Stroked after the fill so that no clip cuts the outer half of the border.
    painter.strokePath(
        path,
        QPen(_colors.border, _geometry.borderWidth, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
}

} // namespace tarnvik
