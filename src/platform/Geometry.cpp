#include "platform/Geometry.h"

#include <algorithm>

namespace tarnvik {

CGRect CGRectStandardize(const CGRect &r)
{
    CGRect s = r;
    if (s.size.width < 0) {
        s.origin.x += s.size.width;
        s.size.width = -s.size.width;
    }
    if (s.size.height < 0) {
        s.origin.y += s.size.height;
        s.size.height = -s.size.height;
    }
    return s;
}

double CGRectGetMaxY(const CGRect &r)
{
    const CGRect s = CGRectStandardize(r);
    return s.origin.y + s.size.height;
}

bool CGRectIntersectsRect(const CGRect &a, const CGRect &b)
{
    const CGRect s = CGRectStandardize(a);
    const CGRect t = CGRectStandardize(b);
    // Written so that a NaN anywhere makes the rectangles not meet.
    return s.origin.x < t.origin.x + t.size.width && t.origin.x < s.origin.x + s.size.width
        && s.origin.y < t.origin.y + t.size.height && t.origin.y < s.origin.y + s.size.height
        && s.size.width > 0 && s.size.height > 0 && t.size.width > 0 && t.size.height > 0;
}

bool CGRectContainsPoint(const CGRect &r, const CGPoint &p)
{
    const CGRect s = CGRectStandardize(r);
    return p.x >= s.origin.x && p.x < s.origin.x + s.size.width && p.y >= s.origin.y
        && p.y < s.origin.y + s.size.height;
}

bool CGRectEqualToRect(const CGRect &a, const CGRect &b)
{
    return CGRectStandardize(a) == CGRectStandardize(b);
}

CGRect NSIntersectionRect(const CGRect &a, const CGRect &b)
{
    const double aMaxX = a.origin.x + a.size.width;
    const double aMaxY = a.origin.y + a.size.height;
    const double bMaxX = b.origin.x + b.size.width;
    const double bMaxY = b.origin.y + b.size.height;
    if (aMaxX <= b.origin.x || bMaxX <= a.origin.x || aMaxY <= b.origin.y || bMaxY <= a.origin.y)
        return CGRect {};
    const double x = std::max(a.origin.x, b.origin.x);
    const double y = std::max(a.origin.y, b.origin.y);
    return makeRect(x, y, std::min(aMaxX, bMaxX) - x, std::min(aMaxY, bMaxY) - y);
}

CGPoint centreOf(const CGRect &r)
{
    return CGPoint {r.origin.x + r.size.width / 2, r.origin.y + r.size.height / 2};
}

CGRect flippedRect(const CGRect &r, double firstScreenHeight)
{
    return makeRect(r.origin.x, firstScreenHeight - r.origin.y - r.size.height, r.size.width,
                    r.size.height);
}

std::size_t hashRect(const CGRect &r)
{
    std::size_t h = 0;
    for (double v : {r.origin.x, r.origin.y, r.size.width, r.size.height})
        h = h * 1000003u ^ std::hash<double> {}(v);
    return h;
}

} // namespace tarnvik
