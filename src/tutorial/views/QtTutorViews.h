#pragma once

#include "platform/Overview.h"
#include "tutorial/TutorViews.h"

#include <QWidget>

#include <functional>
#include <memory>

namespace tarnvik {

// The tutor in Qt Widgets: the panel over the element, which paints the blue box and lets every
// click through, and the popover below it. Neither takes the focus: the application keeps it,
// and the search bar the keyboard.
class QtTutorViews final : public TutorViews
{
public:
    struct Environment
    {
        // Height of the first screen: converts the screen space to Qt's, whose y runs down.
        std::function<double()> firstScreenHeight;
        // Without a compositor nothing is translucent: the panel is shaped to the box's border.
        bool hasCompositor = false;
        // Draws the box and the popover where no window of this program may stand over the
        // others (GNOME on Wayland): they are handed over as images, never shown as windows.
        Overview *shell = nullptr;
    };

    explicit QtTutorViews(Environment environment)
        : _environment(std::move(environment))
    { }

    std::unique_ptr<TutorWindow> createTutorWindow() override;

private:
    Environment _environment;
};

} // namespace tarnvik
