#pragma once

#include <cstddef>
#include <functional>

// The two coordinate spaces and the rectangle helpers that the accessibility algorithms are
// written in. The accessibility space has its origin at the top left of the first screen with
// y growing downwards; the screen space has its origin at that screen's bottom left.
namespace tarnvik {

struct CGPoint
{
    double x = 0;
    double y = 0;
    friend bool operator==(const CGPoint &, const CGPoint &) = default;
};

struct CGSize
{
    double width = 0;
    double height = 0;
    friend bool operator==(const CGSize &, const CGSize &) = default;
};

struct CGRect
{
    CGPoint origin;
    CGSize size;
    // Exact member equality, as a set of frames compares them.
    friend bool operator==(const CGRect &, const CGRect &) = default;
};

struct CFRange
{
    long location = 0;
    long length = 0;
    friend bool operator==(const CFRange &, const CFRange &) = default;
};

constexpr CGRect makeRect(double x, double y, double width, double height)
{
    return CGRect {CGPoint {x, y}, CGSize {width, height}};
}

// A rectangle with its size made non-negative, as the Core Graphics predicates see it.
CGRect CGRectStandardize(const CGRect &r);
double CGRectGetMaxY(const CGRect &r);
bool CGRectIntersectsRect(const CGRect &a, const CGRect &b);
// Half-open: the minimum edges are inside, the maximum edges are not.
bool CGRectContainsPoint(const CGRect &r, const CGPoint &p);
bool CGRectEqualToRect(const CGRect &a, const CGRect &b);
// The intersection, or the empty rectangle at the origin when the two don't meet.
CGRect NSIntersectionRect(const CGRect &a, const CGRect &b);

CGPoint centreOf(const CGRect &r);

// Accessibility space to screen space and back; `firstScreenHeight` is H in y' = H - y - h.
CGRect flippedRect(const CGRect &r, double firstScreenHeight);

std::size_t hashRect(const CGRect &r);

} // namespace tarnvik

template<>
struct std::hash<tarnvik::CGRect>
{
    std::size_t operator()(const tarnvik::CGRect &r) const noexcept { return tarnvik::hashRect(r); }
};
