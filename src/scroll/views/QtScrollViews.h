#pragma once

#include "labels/LabelTheme.h"
#include "platform/Overview.h"
#include "scroll/ScrollViews.h"

#include <QWidget>

#include <functional>

namespace tarnvik {

class Preferences;

// An area of the scroll overlay: the chosen one gets the border, the first nine others their
// number.
struct ScrollArea
{
    QRectF frame;
    bool chosen = false;
    int number = 0;
};

// What the overlay shows of `state`, in coordinates from `origin`.
std::vector<ScrollArea> scrollAreas(const ScrollState &state, bool showNumbers, QPointF origin);
// Where an area's number stands, in `font`.
QRectF numberFrame(const ScrollArea &area, const QFont &font, double zoom);

// The scroll overlay: a window over the screen that the mouse passes through and that never
// takes the keyboard, with a blue border round the chosen area and a number in the corner of
// each of the first nine others.
class ScrollModeView final : public QWidget, public ScrollWindow
{
public:
    struct Style
    {
        LabelTheme theme;
        double fontSize = 14;
        bool showNumbers = true;
        // Screen pixels per point: the desktop's scale, as the labels have it.
        double zoom = 1;
    };

    // `geometry` in the accessibility space. Without a compositor the window is shaped to what
    // it draws, since a translucent window would turn black.
    ScrollModeView(QRect geometry, Style style, bool hasCompositor);

    void orderFront() override;
    void close() override;
    void show(const ScrollState &state) override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QRectF labelFrame(const ScrollArea &area) const;
    double px(double points) const { return points * _style.zoom; }
    void updateMask();

    const Style _style;
    const bool _hasCompositor;
    QFont _font;
    std::vector<ScrollArea> _areas;
    bool _ordered = false;
};

// The scroll overlay drawn by the desktop's shell: where no window of this program may stand
// over the others (GNOME on Wayland).
class ShellScrollWindow final : public ScrollWindow
{
public:
    ShellScrollWindow(Overview &shell, ScrollModeView::Style style);

    void orderFront() override { }
    void close() override { _shell.clearLabels(); }
    void show(const ScrollState &state) override;

private:
    Overview &_shell;
    const ScrollModeView::Style _style;
    QFont _font;
};

class QtScrollViews final : public ScrollViews
{
public:
    struct Environment
    {
        // Height of the first screen: converts the screen space to Qt's, whose y runs down.
        std::function<double()> firstScreenHeight;
        bool hasCompositor = false;
        // Screen pixels per point, read at each session. One when absent.
        std::function<double()> zoom;
        // Where the shell draws the overlay (GNOME on Wayland); nothing where this program's
        // own window does.
        Overview *shell = nullptr;
    };

    QtScrollViews(const Preferences &preferences, Environment environment)
        : _preferences(preferences)
        , _environment(std::move(environment))
    { }

    std::unique_ptr<ScrollWindow> createScrollWindow(const Screen &screen) override;

private:
    const Preferences &_preferences;
    const Environment _environment;
};

} // namespace tarnvik
