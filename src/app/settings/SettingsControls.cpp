#include "app/settings/SettingsControls.h"

#include "preferences/Preferences.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QSlider>
#include <QToolButton>
#include <QToolTip>
#include <QVBoxLayout>

#include <cmath>

namespace tarnvik {

namespace {

// The help of a row: a "?" that shows its text beside it until the next click.
QToolButton *helpButton(const QString &row, const QString &help, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setText("?");
    button->setAccessibleName("Help: " + row);
    button->setAccessibleDescription(help);
    button->setToolTip(help);
    QObject::connect(button, &QToolButton::clicked, button, [button, help] {
        QToolTip::showText(button->mapToGlobal(QPoint(button->width(), 0)), help, button);
    });
    return button;
}

} // namespace

SettingsGroup::SettingsGroup(const QString &title, QWidget *parent)
    : QFrame(parent)
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    auto *heading = new QLabel(title, this);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    column->addWidget(heading);

    auto *card = new QFrame(this);
    card->setFrameShape(QFrame::StyledPanel);
    card->setAutoFillBackground(true);
    card->setBackgroundRole(QPalette::Base);
    _rows = new QGridLayout(card);
    _rows->setColumnStretch(0, 1);
    column->addWidget(card);
}

void SettingsGroup::addRow(const QString &text, QWidget *control, const QString &help)
{
    const int row = _rows->rowCount();
    auto *label = new QLabel(text, this);
    label->setBuddy(control);
    control->setAccessibleName(text);
    // A slider between the words of its ends is the row's control.
    if (auto *slider = control->findChild<QSlider *>())
        slider->setAccessibleName(text);
    _rows->addWidget(label, row, 0);
    _rows->addWidget(control, row, 1, Qt::AlignRight);
    if (!help.isEmpty())
        _rows->addWidget(helpButton(text, help, this), row, 2);
}

SettingsPage::SettingsPage(QWidget *parent)
    : QWidget(parent)
{
    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto *scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto *content = new QWidget(scroll);
    _column = new QVBoxLayout(content);
    _column->setContentsMargins(20, 20, 20, 20);
    _column->setSpacing(16);
    _column->addStretch(1);
    scroll->setWidget(content);
    outer->addWidget(scroll);
}

SettingsGroup *SettingsPage::addGroup(const QString &title)
{
    auto *group = new SettingsGroup(title, this);
    addWidget(group);
    return group;
}

void SettingsPage::addWidget(QWidget *widget)
{
    // Before the closing stretch, so that the column stays at the top.
    _column->insertWidget(_column->count() - 1, widget);
}

QCheckBox *PreferenceBindings::toggle(const char *key, Changed changed)
{
    auto *box = new QCheckBox;
    bind([this, box, key] {
        const QSignalBlocker quiet(box);
        box->setChecked(_preferences.boolForKey(key));
    });
    QObject::connect(box, &QCheckBox::toggled, box, [this, key, changed](bool on) {
        _preferences.setBool(key, on);
        if (changed)
            changed();
    });
    return box;
}

QSlider *PreferenceBindings::slider(const char *key, double minimum, double maximum, double step,
                                    Changed released)
{
    auto *slider = new QSlider(Qt::Horizontal);
    slider->setRange(0, static_cast<int>(std::lround((maximum - minimum) / step)));
    slider->setPageStep(1);
    slider->setMinimumWidth(200);
    bind([this, slider, key, minimum, step] {
        const QSignalBlocker quiet(slider);
        slider->setValue(
            static_cast<int>(std::lround((_preferences.doubleForKey(key) - minimum) / step)));
    });
    QObject::connect(slider, &QSlider::valueChanged, slider,
                     [this, slider, key, minimum, step, released](int index) {
                         _preferences.setDouble(key, minimum + index * step);
                         if (released && !slider->isSliderDown())
                             released();
                     });
    if (released)
        QObject::connect(slider, &QSlider::sliderReleased, slider, released);
    return slider;
}

QWidget *PreferenceBindings::segmented(const char *key, std::pair<QString, bool> first,
                                       std::pair<QString, bool> second)
{
    auto *box = new QWidget;
    auto *row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    auto *group = new QButtonGroup(box);
    for (const auto &[title, value] : {first, second}) {
        auto *choice = new QRadioButton(title, box);
        row->addWidget(choice);
        group->addButton(choice, value ? 1 : 0);
    }
    bind([this, group, key] {
        const QSignalBlocker quiet(group);
        group->button(_preferences.boolForKey(key) ? 1 : 0)->setChecked(true);
    });
    QObject::connect(group, &QButtonGroup::idClicked, box,
                     [this, key](int id) { _preferences.setBool(key, id == 1); });
    return box;
}

QLineEdit *PreferenceBindings::textField(const char *key, const QString &placeholder)
{
    auto *field = new QLineEdit;
    field->setPlaceholderText(placeholder);
    // Its own writes come back as a change of the file: the text being typed stays as it is.
    bind([this, field, key] {
        const QString stored = QString::fromStdString(_preferences.stringForKey(key).value_or(""));
        if (field->text() == stored)
            return;
        const QSignalBlocker quiet(field);
        field->setText(stored);
    });
    QObject::connect(field, &QLineEdit::textEdited, field, [this, key](const QString &text) {
        _preferences.setString(key, text.toStdString());
    });
    return field;
}

QComboBox *PreferenceBindings::popUp(const char *key,
                                     const std::vector<std::pair<QString, QString>> &choices,
                                     const QString &fallback, Changed changed)
{
    auto *box = new QComboBox;
    for (const auto &[title, value] : choices)
        box->addItem(title, value);
    bind([this, box, key, fallback] {
        const QSignalBlocker quiet(box);
        const auto stored = _preferences.stringForKey(key);
        const int at = box->findData(stored ? QString::fromStdString(*stored) : fallback);
        box->setCurrentIndex(std::max(at, box->findData(fallback)));
    });
    QObject::connect(box, &QComboBox::activated, box, [this, box, key, changed](int index) {
        const QString value = box->itemData(index).toString();
        if (value.isEmpty())
            _preferences.removeObjectForKey(key);
        else
            _preferences.setString(key, value.toStdString());
        if (changed)
            changed();
    });
    return box;
}

void PreferenceBindings::reload()
{
    for (const auto &reader : _reloaders)
        reader();
}

} // namespace tarnvik
