#include "app/settings/SettingsWindow.h"

#include "app/settings/SettingsControls.h"
#include "app/settings/SettingsPages.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace tarnvik {

namespace {

// The tab's tile: its colour, with the theme's icon on it, or the tab's initial where the
// desktop's icon theme has none.
QIcon tile(const SettingsViewTab &tab)
{
    constexpr int size = 32;
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(tab.color));
    painter.drawRoundedRect(QRectF(0, 0, size, size), 7, 7);
    const QIcon themed = QIcon::fromTheme(tab.icon);
    if (!themed.isNull()) {
        themed.paint(&painter, QRect(6, 6, size - 12, size - 12));
    } else {
        painter.setPen(Qt::white);
        QFont font = painter.font();
        font.setBold(true);
        font.setPixelSize(16);
        painter.setFont(font);
        painter.drawText(QRect(0, 0, size, size), Qt::AlignCenter, QString(tab.name[0]));
    }
    return QIcon(pixmap);
}

} // namespace

const std::vector<SettingsViewTab> &SettingsWindow::tabs()
{
    // The system blue of Clicking and Scrolling is the labels' focus blue.
    static const std::vector<SettingsViewTab> list = {
        {"general", "General", "preferences-system", "#4A4A4A"},
        {"clicking", "Clicking", "input-mouse", "#0A84FF"},
        {"scrolling", "Scrolling", "go-down", "#0A84FF"},
        {"exceptions", "Ignored Apps", "action-unavailable", "#4A4A4A"},
        {"about", "About", "help-about", "#4A4A4A"},
    };
    return list;
}

SettingsWindow::SettingsWindow(SettingsServices services)
    : _services(std::move(services))
    , _bindings(std::make_unique<PreferenceBindings>(_services.preferences))
{
    setWindowTitle("Tarnvik Settings");
    setWindowIcon(QIcon(":/icons/tarnvik.svg"));
    resize(750, 642);

    auto *content = new QWidget(this);
    auto *row = new QHBoxLayout(content);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    _sidebar = new QListWidget(content);
    _sidebar->setAccessibleName("Settings");
    _sidebar->setIconSize(QSize(24, 24));
    _sidebar->setFixedWidth(180);
    _pages = new QStackedWidget(content);
    // Below the tabs, where it stays in reach: on a desktop without a tray this window is the
    // only way to quit.
    auto *side = new QVBoxLayout;
    side->setContentsMargins(0, 0, 0, 8);
    side->addWidget(_sidebar, 1);
    auto *quit = new QPushButton("Quit Tarnvik", content);
    quit->setFixedWidth(_sidebar->width() - 16);
    connect(quit, &QPushButton::clicked, this, [this] { _services.quit(); });
    side->addWidget(quit, 0, Qt::AlignHCenter);
    row->addLayout(side);
    row->addWidget(_pages, 1);
    setCentralWidget(content);

    auto &s = _services;
    auto &b = *_bindings;
    const std::vector<QWidget *> pages = {
        makeGeneralSettingsView(s, b), makeClickingSettingsView(s, b),
        makeScrollingSettingsView(s, b), makeExceptionSettingsView(s, b), makeAboutSettingsView(s)};
    for (std::size_t i = 0; i < pages.size(); ++i) {
        _sidebar->addItem(new QListWidgetItem(tile(tabs()[i]), tabs()[i].name));
        _pages->addWidget(pages[i]);
    }
    connect(_sidebar, &QListWidget::currentRowChanged, _pages, &QStackedWidget::setCurrentIndex);
    _sidebar->setCurrentRow(0);
}

SettingsWindow::~SettingsWindow() = default;

void SettingsWindow::selectTab(const std::string &id)
{
    for (std::size_t i = 0; i < tabs().size(); ++i) {
        if (id == tabs()[i].id)
            _sidebar->setCurrentRow(static_cast<int>(i));
    }
}

std::string SettingsWindow::selectedTabID() const
{
    const int row = _sidebar->currentRow();
    return row < 0 ? std::string() : tabs()[static_cast<std::size_t>(row)].id;
}

void SettingsWindow::preferencesChanged()
{
    _bindings->reload();
}

} // namespace tarnvik
