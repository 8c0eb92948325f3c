#pragma once

#include "platform/Geometry.h"

#include <memory>
#include <string>
#include <vector>

namespace tarnvik {

// One row of the tutor's popover: a property and what the element holds in it.
struct TutorRow
{
    std::string key;
    std::string value;

    friend bool operator==(const TutorRow &, const TutorRow &) = default;
};

// The tutor's panel: a window that never takes the keyboard or the mouse, exactly over one
// element, with the popover of the element's searchable properties below it.
class TutorWindow
{
public:
    virtual ~TutorWindow() = default;

    virtual void orderFront() = 0;
    virtual void close() = 0;
    // Collapses the panel and takes its box and popover away.
    virtual void clear() = 0;
    // `frame` in the screen space (origin at the first screen's bottom left). The blue box shows
    // unless `boxHidden`: the overlay's focus frame marks that element already.
    virtual void show(CGRect frame, bool boxHidden, const std::vector<TutorRow> &rows) = 0;
};

class TutorViews
{
public:
    virtual ~TutorViews() = default;
    virtual std::unique_ptr<TutorWindow> createTutorWindow() = 0;
};

} // namespace tarnvik
