#include "app/views/QtShellViews.h"

#include "app/settings/LabelViews.h"
#include "platform/Diagnostics.h"

#include <QApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QLabel>
#include <QMenu>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QStandardPaths>
#include <QSystemTrayIcon>
#include <QVBoxLayout>

namespace tarnvik {

namespace {

const char *const programName = "Tarnvik";

QString text(const std::string &s)
{
    return QString::fromStdString(s);
}

void fill(QMenu &menu, const std::vector<MenuEntry> &entries)
{
    for (const auto &entry : entries) {
        if (entry.isSeparator()) {
            menu.addSeparator();
            continue;
        }
        if (!entry.submenu.empty()) {
            fill(*menu.addMenu(text(entry.title)), entry.submenu);
            continue;
        }
        auto *action = menu.addAction(text(entry.title));
        if (!entry.keyEquivalent.empty())
            action->setShortcut(QKeySequence("Ctrl+" + text(entry.keyEquivalent).toUpper()));
        if (entry.action)
            QObject::connect(action, &QAction::triggered, action, [run = entry.action] { run(); });
        else
            action->setEnabled(false);
    }
}

// The desktop's own accessibility settings, where the desktop has a page for them.
QStringList accessibilitySettingsCommand()
{
    const QString desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP");
    const std::pair<const char *, QStringList> known[] = {
        {"GNOME", {"gnome-control-center", "universal-access"}},
        {"KDE", {"systemsettings", "kcm_access"}},
    };
    for (const auto &[name, command] : known)
        if (desktop.contains(name) && !QStandardPaths::findExecutable(command.front()).isEmpty())
            return command;
    return {};
}

QLabel *wrapped(const QString &s, QWidget *parent)
{
    auto *label = new QLabel(s, parent);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignCenter);
    return label;
}

} // namespace

QtStatusItem::QtStatusItem(ShellViews::MenuBuilder builder)
    : _builder(std::move(builder))
    , _menu(std::make_unique<QMenu>())
    , _icon(std::make_unique<QSystemTrayIcon>(QIcon(":/icons/tarnvik-symbolic.svg")))
{
    _icon->setToolTip(programName);
    // Made anew each time it opens, so that it names the application in front then.
    QObject::connect(_menu.get(), &QMenu::aboutToShow, _menu.get(), [this] { rebuild(); });
    rebuild();
    _icon->setContextMenu(_menu.get());
    // Qt speaks to a StatusNotifierItem host where a panel watches, to an XEmbed tray
    // otherwise; with neither, nothing shows that Tarnvik runs.
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        tellUser("Tarnvik: this desktop shows no tray; start tarnvik again to open its settings, "
                 "where \"Quit Tarnvik\" ends it");
}

QtStatusItem::~QtStatusItem() = default;

void QtStatusItem::rebuild()
{
    _menu->clear();
    fill(*_menu, _builder());
}

void QtStatusItem::setVisible(bool visible)
{
    _icon->setVisible(visible);
}

QtShellViews::~QtShellViews()
{
    delete _prompt;
}

void QtShellViews::showPermissionPrompt()
{
    if (_prompt)
        return;
    auto *window = new QWidget(nullptr, Qt::Dialog | Qt::WindowStaysOnTopHint);
    window->setWindowTitle(QString(programName) + " requires Accessibility permission");
    auto *layout = new QVBoxLayout(window);
    layout->setSpacing(10);
    auto *icon = new QLabel(window);
    icon->setPixmap(QIcon(":/icons/tarnvik.svg").pixmap(64, 64));
    icon->setAlignment(Qt::AlignCenter);
    layout->addWidget(icon);
    layout->addSpacing(20);
    layout->addWidget(wrapped(QString(programName) + " requires Accessibility permission", window));
    layout->addWidget(wrapped(
        QString(programName)
            + " needs the desktop's accessibility switched on to find & click on-screen UI "
              "elements.\n\nSwitch it on here, or in your desktop's accessibility settings.",
        window));
    const auto restart = _promptActions.applicationsToRestart();
    if (!restart.empty()) {
        QStringList names;
        for (const auto &name : restart)
            names << text(name);
        layout->addWidget(wrapped(
            "Started before accessibility was on, these applications get labels only after a "
            "restart: "
                + names.join(", "),
            window));
    }
    layout->addSpacing(30);
    auto *switchOn = new QPushButton("Switch On Accessibility", window);
    switchOn->setDefault(true);
    switchOn->setFixedWidth(240);
    QObject::connect(switchOn, &QPushButton::clicked, window,
                     [this] { _promptActions.switchOn(); });
    layout->addWidget(switchOn, 0, Qt::AlignHCenter);
    if (const auto command = accessibilitySettingsCommand(); !command.isEmpty()) {
        auto *open = new QPushButton("Open Accessibility Settings", window);
        open->setFixedWidth(240);
        QObject::connect(open, &QPushButton::clicked, window,
                         [command] { QProcess::startDetached(command.front(), command.mid(1)); });
        layout->addWidget(open, 0, Qt::AlignHCenter);
    }
    auto *quit = new QPushButton("Quit", window);
    QObject::connect(quit, &QPushButton::clicked, window, [this] { _promptActions.quit(); });
    layout->addWidget(quit, 0, Qt::AlignHCenter);
    window->setFixedWidth(420);
    window->show();
    window->raise();
    window->activateWindow();
    _prompt = window;
}

void QtShellViews::closePermissionPrompt()
{
    delete _prompt;
}

namespace {

// A window that opens stands whole in the middle of the screen the pointer is on, where the
// person who asked for it looks: left to itself, a window manager may put it back partly off
// screen, or on another screen.
void bringToFront(QWidget &window)
{
    if (!window.isVisible()) {
        const QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
        const QRect area =
            (screen ? screen : QGuiApplication::primaryScreen())->availableGeometry();
        if (!window.testAttribute(Qt::WA_WState_Created))
            window.adjustSize();
        const QSize size = window.frameGeometry().size().boundedTo(area.size());
        window.move(area.center() - QPoint(size.width() / 2, size.height() / 2));
    }
    window.show();
    window.raise();
    window.activateWindow();
}

} // namespace

void QtShellViews::openSettings(const std::string &tabId)
{
    if (!_settings)
        _settings = std::make_unique<SettingsWindow>(_settingsServices);
    if (!tabId.empty())
        _settings->selectTab(tabId);
    bringToFront(*_settings);
}

void QtShellViews::openLabelDesigner()
{
    if (!_labelDesigner) {
        _labelDesigner = std::make_unique<LabelDesignerWindow>();
    }
    bringToFront(*_labelDesigner);
}

void QtShellViews::preferencesChanged()
{
    if (_settings)
        _settings->preferencesChanged();
}

StatusItemView &QtShellViews::makeStatusItem(MenuBuilder menu)
{
    if (_desktopStatusItem)
        _statusItem = _desktopStatusItem(menu);
    _statusItemInDesktop = _statusItem != nullptr;
    if (!_statusItem)
        _statusItem = std::make_unique<QtStatusItem>(std::move(menu));
    return *_statusItem;
}

bool QtShellViews::showsStatusItem() const
{
    return _statusItemInDesktop || QSystemTrayIcon::isSystemTrayAvailable();
}

} // namespace tarnvik
