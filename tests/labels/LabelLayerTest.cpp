#include "labels/LabelLayer.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace tarnvik {
namespace {

constexpr double tolerance = 0.02;

void expectNear(QPointF actual, QPointF expected)
{
    EXPECT_NEAR(actual.x(), expected.x(), tolerance);
    EXPECT_NEAR(actual.y(), expected.y(), tolerance);
}

double distance(QPointF a, QPointF b)
{
    return std::hypot(a.x() - b.x(), a.y() - b.y());
}

// Every point of the path from `from` (a fraction of its length) on stays `radius` from `centre`.
void expectArc(const QPainterPath &path, double from, QPointF centre, double radius)
{
    for (int i = 0; i <= 20; ++i) {
        const double t = from + (1.0 - from) * i / 20.0;
        EXPECT_NEAR(distance(path.pointAtPercent(t), centre), radius, tolerance) << t;
    }
}

TEST(AddArcToPoint, RoundsARightAngleTurningEitherWay)
{
    QPainterPath right;
    right.moveTo(0, 0);
    addArcToPoint(right, {10, 0}, {10, 10}, 3);
    expectNear(right.currentPosition(), {10, 3});
    ASSERT_GE(right.elementCount(), 3);
    expectNear(right.elementAt(1), {7, 0});
    // The line takes 7 of the path's 7 + 3π/2 length.
    expectArc(right, 7.0 / (7.0 + 1.5 * std::numbers::pi) + 0.01, {7, 3}, 3);

    QPainterPath left;
    left.moveTo(0, 0);
    addArcToPoint(left, {10, 0}, {10, -10}, 3);
    expectNear(left.currentPosition(), {10, -3});
    expectArc(left, 7.0 / (7.0 + 1.5 * std::numbers::pi) + 0.01, {7, -3}, 3);
}

TEST(AddArcToPoint, DegenerateCornersBecomeLines)
{
    QPainterPath straight;
    straight.moveTo(0, 0);
    addArcToPoint(straight, {5, 0}, {10, 0}, 2);
    expectNear(straight.currentPosition(), {5, 0});
    EXPECT_EQ(straight.elementCount(), 2);

    QPainterPath sharp;
    sharp.moveTo(0, 0);
    addArcToPoint(sharp, {5, 0}, {5, 5}, 0);
    expectNear(sharp.currentPosition(), {5, 0});

    QPainterPath coincident;
    coincident.moveTo(3, 3);
    addArcToPoint(coincident, {3, 3}, {8, 3}, 2);
    expectNear(coincident.currentPosition(), {3, 3});
}

LabelColors themeColors(const std::string &id)
{
    return labelColors(id, false);
}

TEST(LabelLayer, AnEmptyLabelKeepsTheMinimumBodyAndWideTextWidensItCentred)
{
    LabelLayer layer("", themeColors("original"), 10.0, 1.0);
    layer.layoutLabel();
    const double th = layer.textRect().height();
    EXPECT_GT(th, 8.0);
    EXPECT_LT(th, 16.0);
    EXPECT_EQ(layer.size(), QSizeF(15.0, 1.0 + th + 2.0 + 4.0));
    EXPECT_EQ(layer.bodyRect(), QRectF(0.5, 4.5, 14.0, th + 2.0));

    LabelLayer wide("WWWWWW", themeColors("original"), 10.0, 1.0);
    wide.layoutLabel();
    const QRectF text = wide.textRect();
    EXPECT_GT(text.width(), 9.0);
    EXPECT_EQ(wide.size().width(), 1.0 + 2 * 3.0 + text.width());
    expectNear(text.center(), wide.bodyRect().center());
    EXPECT_GT(wide.bodyRect().center().y(), wide.size().height() / 2) << "nub left out";
}

TEST(LabelLayer, SpacingFollowsEveryCharacterButTheLast)
{
    auto textWidth = [](const std::string &label, double spacing) {
        LabelLayer layer(label, themeColors("original"), {.charSpacing = spacing}, 1.0);
        layer.layoutLabel();
        return layer.textRect().width();
    };
    EXPECT_EQ(textWidth("A", 2.0), textWidth("A", 0.0));
    EXPECT_EQ(textWidth("AB", 2.0), textWidth("AB", 0.0) + 2.0);
    EXPECT_EQ(textWidth("ABC", 3.0), textWidth("ABC", 0.0) + 6.0);
    EXPECT_EQ(textWidth("E\u0301A", 2.0), textWidth("E\u0301A", 0.0) + 2.0)
        << "an accent belongs to its letter";
}

// Samples the rendered label at a point of its own coordinates.
QRgb pixelAt(LabelLayer &layer, QPointF point)
{
    const QImage &image = layer.image();
    const QMarginsF margins = layer.shadowMargins();
    const double ratio = layer.devicePixelRatio();
    return image.pixel(static_cast<int>((point.x() + margins.left()) * ratio),
                       static_cast<int>((point.y() + margins.top()) * ratio));
}

// The brightest and darkest pixel of each half of the text.
struct Halves
{
    int leftMax = 0, rightMax = 0, leftMin = 255, rightMin = 255;
};

Halves sampleText(LabelLayer &layer)
{
    Halves h;
    const QRectF text = layer.textRect();
    for (double y = text.top(); y < text.bottom(); y += 0.5) {
        for (double x = text.left(); x < text.right(); x += 0.5) {
            const int gray = qGray(pixelAt(layer, {x, y}));
            const bool left = x < text.center().x();
            (left ? h.leftMax : h.rightMax) = std::max(left ? h.leftMax : h.rightMax, gray);
            (left ? h.leftMin : h.rightMin) = std::min(left ? h.leftMin : h.rightMin, gray);
        }
    }
    return h;
}

TEST(LabelLayer, TypedCharactersFadeToDarkInADarkThemeAndToGreyInALightOne)
{
    LabelLayer layer("MM", themeColors("dark"), 10.0, 1.0);
    layer.layoutLabel();
    Halves none = sampleText(layer);
    EXPECT_GT(none.leftMax, 200);
    EXPECT_GT(none.rightMax, 200);

    layer.setMatchedPrefix(1);
    Halves one = sampleText(layer);
    EXPECT_LT(one.leftMax, 100) << "black at 0.4 even on a dark label";
    EXPECT_GT(one.rightMax, 200);

    layer.setMatchedPrefix(7);
    EXPECT_EQ(layer.matchedPrefix(), 2) << "no more than the label has";
    Halves all = sampleText(layer);
    EXPECT_LT(all.leftMax, 100);
    EXPECT_LT(all.rightMax, 100);

    LabelLayer light("MM", themeColors("original"), 10.0, 1.0);
    light.setMatchedPrefix(1);
    light.layoutLabel();
    Halves h = sampleText(light);
    EXPECT_GT(h.leftMin, 100);
    EXPECT_LT(h.rightMin, 60);
}

TEST(LabelLayer, RendersOnceUntilThePrefixChanges)
{
    LabelLayer layer("AB", themeColors("original"), 10.0, 1.5);
    layer.layoutLabel();
    const qint64 first = layer.image().cacheKey();
    layer.setMatchedPrefix(0);
    EXPECT_EQ(layer.image().cacheKey(), first);
    layer.setMatchedPrefix(1);
    const qint64 second = layer.image().cacheKey();
    EXPECT_NE(second, first);
}

TEST(LabelLayer, PaintsAtItsPlaceOnlyWhenShown)
{
    LabelLayer layer("AB", themeColors("original"), 10.0, 1.0);
    layer.layoutLabel();
    QImage canvas(80, 60, QImage::Format_ARGB32_Premultiplied);
    auto paint = [&] {
        canvas.fill(Qt::white);
        QPainter painter(&canvas);
        painter.setOpacity(0.99);
        layer.paint(painter, {20, 10});
        EXPECT_EQ(painter.opacity(), 0.99) << "the painter is left as it was";
        EXPECT_FALSE(painter.testRenderHint(QPainter::SmoothPixmapTransform));
    };
    const QPoint inside = QPointF(20.0 + 2.0, 10.0 + layer.size().height() - 2.5).toPoint();
    const QPoint outside = QPointF(20.0 + layer.size().width() + 8.0, 12.0).toPoint();

    paint();
    EXPECT_EQ(canvas.pixel(inside), qRgb(255, 255, 255)) << "transparent at creation";

    layer.opacity = 1.0;
    paint();
    EXPECT_LT(qBlue(canvas.pixel(inside)), 150) << "the yellow fill";
    EXPECT_EQ(canvas.pixel(outside), qRgb(255, 255, 255));

    layer.hidden = true;
    paint();
    EXPECT_EQ(canvas.pixel(inside), qRgb(255, 255, 255));
}

} // namespace
} // namespace tarnvik
