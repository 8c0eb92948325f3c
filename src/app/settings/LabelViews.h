#pragma once

#include "labels/LabelLayer.h"

#include <QIcon>
#include <QWidget>

#include <map>
#include <memory>
#include <optional>
#include <string>

class QGridLayout;
class QLineEdit;
class QSlider;

namespace tarnvik {

// One label drawn in the middle of the widget, as the overlay draws it.
class LabelSampleView : public QWidget
{
public:
    explicit LabelSampleView(QWidget *parent = nullptr);
    void setLabel(std::unique_ptr<LabelLayer> label);
    QSize sizeHint() const override { return {64, 40}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    std::unique_ptr<LabelLayer> _label;
};

// A theme as the theme pop-up shows it: a label of two letters in its colours.
QIcon themeThumbnail(const std::string &themeId);

// A tool for trying a label's geometry and colours on a light and a dark background. What it
// shows is stored nowhere.
class LabelDesignerWindow : public QWidget
{
public:
    explicit LabelDesignerWindow(QWidget *parent = nullptr);

    // Draws both previews anew from the sliders and the colours.
    void renderLabels();

private:
    // A slider that stops anywhere, or on its tick marks only.
    enum class Stops { anywhere, onTicks };
    struct Range
    {
        double minimum;
        double maximum;
        int ticks;
        Stops stops;
    };

    QSlider *addSlider(const QString &title, Range range, double start);
    QLineEdit *addColorField(const QString &title, QColor &color);
    double valueOf(const QSlider *slider) const;

    std::map<const QSlider *, Range> _ranges;
    QGridLayout *_rows = nullptr;
    LabelSampleView *_lightPreview = nullptr;
    LabelSampleView *_darkPreview = nullptr;
    QSlider *_borderWidthSlider = nullptr;
    QSlider *_xPaddingSlider = nullptr;
    QSlider *_yPaddingSlider = nullptr;
    QSlider *_charSpacingSlider = nullptr;
    QSlider *_textSizeSlider = nullptr;
    QSlider *_nubWidthSlider = nullptr;
    QSlider *_nubHeightSlider = nullptr;
    QColor _backgroundColor1;
    QColor _backgroundColor2;
    QColor _borderColor;
};

} // namespace tarnvik
