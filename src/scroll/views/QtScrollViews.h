#pragma once

#include "labels/LabelTheme.h"
#include "scroll/ScrollViews.h"

#include <QWidget>

#include <functional>

namespace tarnvik {

class Preferences;

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
    struct Area
    {
        QRectF frame;
        bool chosen = false;
        int number = 0;
    };

    QRectF labelFrame(const Area &area) const;
    double px(double points) const { return points * _style.zoom; }
    QString numberText(const Area &area) const { return QString::number(area.number); }
    void updateMask();

    const Style _style;
    const bool _hasCompositor;
    QFont _font;
    std::vector<Area> _areas;
    bool _ordered = false;
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
