#pragma once

#include "platform/Geometry.h"

#include <vector>

namespace tarnvik {

struct Screen
{
    // In the screen space (origin at the first screen's bottom left), as windows are placed.
    CGRect frame;
    CGRect visibleFrame;
    double scaleFactor = 1;
    double refreshPeriodSeconds = 1.0 / 60;
};

class Screens
{
public:
    virtual ~Screens() = default;
    // The first screen is the one whose height converts between the two coordinate spaces.
    virtual std::vector<Screen> screens() = 0;
};

} // namespace tarnvik
