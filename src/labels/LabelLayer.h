#pragma once

#include "labels/LabelTheme.h"

#include <QImage>
#include <QMarginsF>
#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <string>
#include <vector>

class QPainter;
class QPainterPath;
class QTextLayout;

namespace tarnvik {

// From the path's current point, a line towards `corner` that turns into an arc of `radius`
// tangent to both the line in and the line from `corner` to `towards`; the path ends where the
// arc meets the second line. Coincident or collinear points give a plain line to `corner`.
void addArcToPoint(QPainterPath &path, QPointF corner, QPointF towards, qreal radius);

// The tag with a nub drawn over an element. Coordinates are logical pixels, y down; the nub sits
// on top, pointing up at the element. Hundreds stand on screen and are redrawn on every key, so
// each renders once into an image of its own and painting it is a single image copy; the image
// is made again only when the matched prefix or the layout changes.
class LabelLayer
{
public:
    struct Geometry
    {
        double xPadding = 3.0;
        double yPadding = 1.0;
        double nubWidth = 5.0;
        double nubHeight = 4.0;
        double textSize = 10.0;
        double charSpacing = 0.0;
        double borderWidth = 1.0;
    };
    static constexpr double nubRadius = 1.5;
    static constexpr double nubTipRadius = 1.0;
    static constexpr double borderRadius = 3.0;
    static constexpr double shadowOpacity = 0.15;
    static constexpr double shadowRadius = 4.0;
    static constexpr double shadowOffset = 2.0;

    // `screenScale` is the device pixel ratio of the screen the label goes on; the image holds
    // twice as many pixels so that it stays sharp when the overlay is scaled.
    LabelLayer(std::string label, LabelColors colors, double textSize, double screenScale);
    LabelLayer(std::string label, LabelColors colors, Geometry geometry, double screenScale);

    const std::string &label() const { return _label; }
    const Geometry &geometry() const { return _geometry; }
    const LabelColors &colors() const { return _colors; }
    int characterCount() const { return static_cast<int>(_boundaries.size()) - 1; }

    // The first `count` characters, those already typed, fade to black at alpha 0.4 in every
    // theme; the rest keep the text colour. Characters are user-perceived ones.
    void setMatchedPrefix(int count);
    int matchedPrefix() const { return _matchedPrefix; }

    // Sizes the label from its text. Until then its bounds are empty, and drawing it warns.
    void layoutLabel();
    // Body and nub together; the element's anchor is the top centre.
    QSizeF size() const { return _size; }
    QRectF bodyRect() const;
    QRectF textRect() const { return {_textOrigin, _textSize}; }
    // How far the image reaches beyond the bounds, for the shadow.
    QMarginsF shadowMargins() const;
    double devicePixelRatio() const { return 2.0 * _screenScale; }

    // The rendered label with its shadow; the bounds start at (left, top) of shadowMargins().
    const QImage &image();
    const QImage &screenImage();
    // Draws the image with the label's bounds at `topLeft`, unless hidden or fully transparent.
    void paint(QPainter &painter, QPointF topLeft);

    bool hidden = false;
    // Labels appear transparent; the overlay raises this when it shows them.
    double opacity = 0.0;

private:
    // From the pixels of the shaped text to logical pixels.
    double textScale() const;
    void shapeText(QTextLayout &layout) const;
    void render();
    void renderShadow(QImage &image) const;
    void drawBody(QPainter &painter) const;

    std::string _label;
    LabelColors _colors;
    Geometry _geometry;
    double _screenScale;
    // UTF-16 offsets of the character boundaries, both ends included.
    std::vector<int> _boundaries;
    int _matchedPrefix = -1;
    QSizeF _size {0.0, 0.0};
    QPointF _textOrigin;
    QSizeF _textSize {0.0, 0.0};
    QImage _image;
    // The image at the screen's own pixel ratio.
    QImage _screenImage;
};

} // namespace tarnvik
