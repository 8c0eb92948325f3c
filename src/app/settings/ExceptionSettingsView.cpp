// The Ignored Apps page: the applications in which Tarnvik stays away, as chips, and a side
// sheet to choose them from the installed ones.
#include "app/IgnoredApps.h"
#include "app/settings/SettingsControls.h"
#include "app/settings/SettingsPages.h"
#include "app/settings/SettingsWindow.h"
#include "preferences/Preferences.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QThread>
#include <QToolButton>
#include <QVBoxLayout>

#include <set>

namespace tarnvik {

namespace {

QIcon iconOf(const ListedApplication &app)
{
    if (!app.icon)
        return QIcon::fromTheme("application-x-executable");
    const QString icon = QString::fromStdString(*app.icon);
    if (QFileInfo(icon).isAbsolute())
        return QIcon(icon);
    return QIcon::fromTheme(icon, QIcon::fromTheme("application-x-executable"));
}

class ExceptionSettingsView : public QWidget
{
public:
    static constexpr int chipsPerRow = 3;

    ExceptionSettingsView(SettingsServices &services, PreferenceBindings &bindings)
        : _services(services)
        , _preferences(services.preferences)
    {
        auto *column = new QVBoxLayout(this);
        column->setContentsMargins(20, 20, 20, 20);
        auto *title = new QLabel("Ignored Applications", this);
        QFont big = title->font();
        big.setPointSizeF(big.pointSizeF() * 1.4);
        big.setBold(true);
        title->setFont(big);
        column->addWidget(title);
        column->addWidget(new QLabel("Ignored apps won't show Tarnvik labels", this));

        _chips = new QWidget(this);
        _chipGrid = new QGridLayout(_chips);
        // Chips as wide as their names, three to a row, from the left.
        _chipGrid->setColumnStretch(chipsPerRow, 1);
        column->addWidget(_chips);
        _empty = new QLabel("No apps ignored", this);
        _empty->setAlignment(Qt::AlignCenter);
        column->addWidget(_empty);

        auto *select = new QPushButton(QIcon::fromTheme("list-add"), "Select Apps", this);
        connect(select, &QPushButton::clicked, this, [this] { showSheet(); });
        column->addWidget(select, 0, Qt::AlignLeft);
        column->addStretch(1);

        makeSheet();
        bindings.onReload([this] { selectStored(); });
        list();
    }

protected:
    void resizeEvent(QResizeEvent *event) override
    {
        QWidget::resizeEvent(event);
        if (_sheet->isVisible())
            _sheet->setGeometry(sheetFrame());
    }

private:
    // The listing touches the disk: it runs on a thread of its own, once, and comes back here.
    void list()
    {
        QPointer<ExceptionSettingsView> self(this);
        auto *thread = QThread::create([self, find = _services.applications] {
            auto found = find();
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [self, found = std::move(found)]() mutable {
                    if (self)
                        self->listed(std::move(found));
                },
                Qt::QueuedConnection);
        });
        connect(thread, &QThread::finished, thread, &QObject::deleteLater);
        thread->start();
    }

    void listed(std::vector<ListedApplication> applications)
    {
        _applications = std::move(applications);
        _sheetList->clear();
        for (const auto &app : _applications) {
            auto *item = new QListWidgetItem(iconOf(app), QString::fromStdString(app.name));
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable | Qt::ItemIsSelectable);
            _sheetList->addItem(item);
        }
        selectStored();
    }

    void selectStored()
    {
        _selected = IgnoredApps::selection(_applications, _preferences.disabledBundlePaths());
        show(_selected);
    }

    // Every change of the selection writes the whole list.
    void select(std::set<std::size_t> selected)
    {
        _selected = std::move(selected);
        _preferences.setDisabledBundlePaths(IgnoredApps::paths(_applications, _selected));
        show(_selected);
    }

    void show(const std::set<std::size_t> &selected)
    {
        // Later: the chip whose remove button runs this is still in its click.
        while (auto *item = _chipGrid->takeAt(0)) {
            item->widget()->hide();
            item->widget()->deleteLater();
            delete item;
        }
        int n = 0;
        for (const auto i : selected) {
            _chipGrid->addWidget(chip(i), n / chipsPerRow, n % chipsPerRow);
            ++n;
        }
        _empty->setVisible(selected.empty());
        _chips->setVisible(!selected.empty());
        const QSignalBlocker quiet(_sheetList);
        for (int row = 0; row < _sheetList->count(); ++row)
            _sheetList->item(row)->setCheckState(
                selected.contains(static_cast<std::size_t>(row)) ? Qt::Checked : Qt::Unchecked);
    }

    QWidget *chip(std::size_t index)
    {
        const auto &app = _applications[index];
        const QString name = QString::fromStdString(app.name);
        auto *chip = new QFrame(_chips);
        chip->setFrameShape(QFrame::StyledPanel);
        auto *row = new QHBoxLayout(chip);
        auto *icon = new QLabel(chip);
        icon->setPixmap(iconOf(app).pixmap(24, 24));
        row->addWidget(icon);
        row->addWidget(new QLabel(name, chip));
        // Shown always rather than on hover, so that it can be reached from the keyboard.
        auto *remove = new QToolButton(chip);
        remove->setText("×");
        remove->setAccessibleName("Remove " + name);
        connect(remove, &QToolButton::clicked, this, [this, index] {
            auto selected = _selected;
            selected.erase(index);
            select(std::move(selected));
        });
        row->addWidget(remove);
        return chip;
    }

    void makeSheet()
    {
        _sheet = new QFrame(this);
        _sheet->setFrameShape(QFrame::StyledPanel);
        _sheet->setAutoFillBackground(true);
        auto *column = new QVBoxLayout(_sheet);
        auto *search = new QLineEdit(_sheet);
        search->setPlaceholderText("Search apps...");
        search->setAccessibleName("Search apps");
        search->addAction(QIcon::fromTheme("edit-find"), QLineEdit::LeadingPosition)
            ->setText("Search");
        column->addWidget(search);
        _sheetList = new QListWidget(_sheet);
        _sheetList->setAccessibleName("Applications");
        column->addWidget(_sheetList);
        auto *done = new QPushButton("Done", _sheet);
        column->addWidget(done, 0, Qt::AlignRight);
        _sheet->hide();

        connect(search, &QLineEdit::textChanged, this, [this](const QString &query) {
            for (int row = 0; row < _sheetList->count(); ++row) {
                auto *item = _sheetList->item(row);
                item->setHidden(!query.isEmpty()
                                && !item->text().contains(query, Qt::CaseInsensitive));
            }
        });
        connect(_sheetList, &QListWidget::itemChanged, this, [this](QListWidgetItem *item) {
            const auto index = static_cast<std::size_t>(_sheetList->row(item));
            auto selected = _selected;
            if (item->checkState() == Qt::Checked)
                selected.insert(index);
            else
                selected.erase(index);
            select(std::move(selected));
        });
        // A click anywhere on a row ticks it, as it does on a check box's text: a click that
        // the tick mark itself took already is left alone.
        connect(_sheetList, &QListWidget::itemPressed, this,
                [this](QListWidgetItem *item) { _pressedState = item->checkState(); });
        connect(_sheetList, &QListWidget::itemClicked, this, [this](QListWidgetItem *item) {
            if (item->checkState() == _pressedState)
                item->setCheckState(_pressedState == Qt::Checked ? Qt::Unchecked : Qt::Checked);
        });
        connect(done, &QPushButton::clicked, _sheet, &QWidget::hide);
    }

    QRect sheetFrame() const
    {
        const int sheetWidth = std::min(320, width());
        return {width() - sheetWidth, 0, sheetWidth, height()};
    }

    // The sheet slides in from the side, over the page.
    void showSheet()
    {
        const QRect frame = sheetFrame();
        _sheet->setGeometry(frame.translated(frame.width(), 0));
        _sheet->show();
        _sheet->raise();
        auto *slide = new QPropertyAnimation(_sheet, "geometry", _sheet);
        slide->setDuration(200);
        slide->setEndValue(frame);
        slide->start(QAbstractAnimation::DeleteWhenStopped);
        _sheet->findChild<QLineEdit *>()->setFocus();
    }

    SettingsServices &_services;
    Preferences &_preferences;
    std::vector<ListedApplication> _applications;
    std::set<std::size_t> _selected;
    QWidget *_chips;
    QGridLayout *_chipGrid;
    QLabel *_empty;
    QFrame *_sheet = nullptr;
    QListWidget *_sheetList = nullptr;
    Qt::CheckState _pressedState = Qt::Unchecked;
};

} // namespace

QWidget *makeExceptionSettingsView(SettingsServices &services, PreferenceBindings &bindings)
{
    return new ExceptionSettingsView(services, bindings);
}

} // namespace tarnvik
