#include "app/settings/LabelViews.h"

#include "labels/LabelTheme.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QSlider>
#include <QVBoxLayout>

#include <cmath>

namespace tarnvik {

namespace {

QColor parsed(const char *text)
{
    return colorFromRGBA(parseColorText(text).value());
}

// Continuous sliders move in thousandths of their range, the others from tick to tick.
constexpr int continuousSteps = 1000;

} // namespace

LabelSampleView::LabelSampleView(QWidget *parent)
    : QWidget(parent)
{ }

void LabelSampleView::setLabel(std::unique_ptr<LabelLayer> label)
{
    _label = std::move(label);
    if (_label)
        _label->layoutLabel();
    update();
}

void LabelSampleView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().window());
    painter.drawRoundedRect(rect(), 10.0, 10.0);
    if (!_label)
        return;
    const QSizeF size = _label->size();
    _label->paint(painter,
                  QPointF(std::round((width() - size.width()) / 2),
                          std::round((height() - size.height()) / 2)));
}

QIcon themeThumbnail(const std::string &themeId)
{
    LabelLayer label("AB", labelColors(themeId, false), 12.0, 1.0);
    label.layoutLabel();
    label.opacity = 1.0;
    QPixmap pixmap((label.size() + QSizeF(8, 8)).toSize());
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    label.paint(painter, QPointF(4, 4));
    return QIcon(pixmap);
}

LabelDesignerWindow::LabelDesignerWindow(QWidget *parent)
    : QWidget(parent, Qt::Window)
    , _backgroundColor1(parsed("F9E68C"))
    , _backgroundColor2(parsed("F7CE00"))
    , _borderColor(parsed("8d761f"))
{
    setWindowTitle("Label Designer");
    auto *root = new QVBoxLayout(this);
    root->setContentsMargins(20, 20, 20, 20);

    auto *previews = new QHBoxLayout;
    previews->setSpacing(20);
    _lightPreview = new LabelSampleView(this);
    _darkPreview = new LabelSampleView(this);
    for (auto *preview : {_lightPreview, _darkPreview}) {
        preview->setFixedSize(100, 100);
        preview->setAutoFillBackground(false);
        previews->addWidget(preview);
    }
    _lightPreview->setPalette(QPalette(Qt::white));
    _darkPreview->setPalette(QPalette(systemDarkGrey()));
    _lightPreview->setAccessibleName("Preview on light");
    _darkPreview->setAccessibleName("Preview on dark");
    root->addLayout(previews);

    _rows = new QGridLayout;
    _rows->setVerticalSpacing(10);
    _rows->setHorizontalSpacing(10);
    root->addLayout(_rows);

    using enum Stops;
    _borderWidthSlider = addSlider("Border Width:", {0.0, 2.0, 3, anywhere}, 1.0);
    _xPaddingSlider = addSlider("X Padding:", {0.0, 5.0, 6, anywhere}, 3.0);
    _yPaddingSlider = addSlider("Y Padding:", {0.0, 5.0, 6, anywhere}, 1.0);
    _charSpacingSlider = addSlider("Char Spacing:", {0.0, 1.0, 11, onTicks}, 0.5);
    // The start is the size of the system's small text.
    _textSizeSlider = addSlider("Text Size:", {10.0, 20.0, 11, onTicks}, 11.0);
    _nubWidthSlider = addSlider("Nub Width:", {0.0, 10.0, 11, anywhere}, 5.0);
    _nubHeightSlider = addSlider("Nub Height:", {0.0, 10.0, 11, anywhere}, 4.0);
    addColorField("Background Color 1:", _backgroundColor1);
    addColorField("Background Color 2:", _backgroundColor2);
    addColorField("Border Color:", _borderColor);
    renderLabels();
}

QSlider *LabelDesignerWindow::addSlider(const QString &title, Range range, double start)
{
    auto *slider = new QSlider(Qt::Horizontal, this);
    const int steps = range.stops == Stops::onTicks ? range.ticks - 1 : continuousSteps;
    slider->setRange(0, steps);
    slider->setTickPosition(QSlider::TicksBelow);
    slider->setTickInterval(std::max(1, steps / std::max(1, range.ticks - 1)));
    _ranges[slider] = range;
    slider->setValue(static_cast<int>(
        std::lround((start - range.minimum) / (range.maximum - range.minimum) * steps)));
    slider->setAccessibleName(QString(title).remove(':'));
    connect(slider, &QSlider::valueChanged, this, [this] { renderLabels(); });
    const int row = _rows->rowCount();
    _rows->addWidget(new QLabel(title, this), row, 0, Qt::AlignRight);
    _rows->addWidget(slider, row, 1);
    return slider;
}

double LabelDesignerWindow::valueOf(const QSlider *slider) const
{
    const Range &range = _ranges.at(slider);
    return range.minimum + (range.maximum - range.minimum) * slider->value() / slider->maximum();
}

QLineEdit *LabelDesignerWindow::addColorField(const QString &title, QColor &color)
{
    auto *field = new QLineEdit(QString::fromStdString(colorText(color)), this);
    field->setAccessibleName(QString(title).remove(':'));
    // A colour typed half-way leaves the last good one.
    connect(field, &QLineEdit::textEdited, this, [this, &color](const QString &text) {
        if (auto rgba = parseColorText(text.toStdString())) {
            color = colorFromRGBA(*rgba);
            renderLabels();
        }
    });
    const int row = _rows->rowCount();
    _rows->addWidget(new QLabel(title, this), row, 0, Qt::AlignRight);
    _rows->addWidget(field, row, 1);
    return field;
}

void LabelDesignerWindow::renderLabels()
{
    const LabelLayer::Geometry geometry {.xPadding = valueOf(_xPaddingSlider),
                                         .yPadding = valueOf(_yPaddingSlider),
                                         .nubWidth = valueOf(_nubWidthSlider),
                                         .nubHeight = valueOf(_nubHeightSlider),
                                         .textSize = valueOf(_textSizeSlider),
                                         .charSpacing = valueOf(_charSpacingSlider),
                                         .borderWidth = valueOf(_borderWidthSlider)};
    const LabelColors colors {.text = Qt::black,
                              .background1 = _backgroundColor1,
                              .background2 = _backgroundColor2,
                              .background3 = LabelTheme::defaultTheme().bgColor3,
                              .border = _borderColor};
    // The labels keep the transparency they are made with, as the tool always has: nothing
    // raises it on this path, so the previews stay empty.
    for (auto *preview : {_lightPreview, _darkPreview})
        preview->setLabel(std::make_unique<LabelLayer>("AB", colors, geometry, 1.0));
}

} // namespace tarnvik
