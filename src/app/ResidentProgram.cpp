#include "app/ResidentProgram.h"

#include "app/DesktopSession.h"
#include "app/IgnoredApps.h"
#include "app/MenubarFrame.h"
#include "app/ShellStatusItem.h"
#include "platform/Diagnostics.h"
#include "platform/linux/DesktopEntries.h"
#include "platform/linux/X11Keys.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QScreen>
#include <QStyleHints>
#include <QSystemTrayIcon>
#include <QUrl>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace tarnvik {

namespace {

// The program's own files stand under the prefix it was installed to (PREFIX/bin/tarnvik,
// PREFIX/share/tarnvik), and the build tree is laid out the same way.
std::string installedPath(const char *relative)
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../" + relative)
        .toStdString();
}

// The program's own pages, installed beside it; a page that isn't there opens nothing.
void openPage(const char *name)
{
    const QString path =
        QString::fromStdString(installedPath((std::string("share/doc/tarnvik/") + name).c_str()));
    if (QFileInfo::exists(path))
        QDesktopServices::openUrl(QUrl::fromLocalFile(path));
    else
        std::fprintf(stderr, "tarnvik: %s is not installed\n", qPrintable(path));
}

// Where feedback goes, opened by the desktop's own browser and mail program: nothing is sent
// unless the user sends it from there.
constexpr const char *issuesPage = "https://github.com/ostrelline/tarnvik/issues";
constexpr const char *supportMail = "tarnvik@ostrelline.com";

void openAddress(const QUrl &url)
{
    if (!QDesktopServices::openUrl(url))
        std::fprintf(stderr, "tarnvik: no program on this desktop opens %s\n",
                     qPrintable(url.toString()));
}

// What the Ignored Apps page offers: the installed applications' desktop entries.
std::vector<ListedApplication> installedApplications()
{
    std::vector<ListedApplication> found;
    std::vector<std::string> ids;
    for (auto &entry : linux::installedApplications(linux::applicationFolders())) {
        found.push_back({*entry.name, entry.path, entry.icon});
        ids.push_back(entry.id);
    }
    return IgnoredApps::listing(std::move(found), ids);
}

} // namespace

void TimedHotKeys::setHandler(Handler handler)
{
    _keys.setHandler([this, handler = std::move(handler)](HotKeyId id, int eventType) {
        if (eventType == EventType::keyDown)
            pressed = std::chrono::steady_clock::now();
        if (handler)
            handler(id, eventType);
    });
}

std::optional<ResidentProgram::Connections> ResidentProgram::connect()
{
    Connections c;
    c.scheduler = std::make_unique<QtScheduler>();
    c.shell = std::make_unique<gnome::TarnvikGnomeExtension>();
    c.desktop = connectDesktop(*c.shell);
    if (!c.desktop)
        return std::nullopt;
    wireMenubarFrame(*c.desktop);
    auto doubleClickInterval = [] {
        return QApplication::styleHints()->mouseDoubleClickInterval() / 1000.0;
    };
    auto &desktop = *c.desktop;
    const auto scrollsByPage = [&desktop] {
        const auto front = desktop.windows().frontmostApplication();
        return front && desktop.accessibility().scrollsByPage(front->processIdentifier);
    };
    if (c.desktop->x11()) {
        c.input = connectX11Input(*c.shell, *c.scheduler, doubleClickInterval);
    } else if (!onGnomeWayland()) {
#if TARNVIK_LAYER_SHELL
        c.input = connectLayerShellInput(desktop.windows(), doubleClickInterval, scrollsByPage);
#else
        std::fputs("Tarnvik: this build has no layer shell (Qt 6's LayerShellQt, packaged from "
                   "Debian 13 on): on sway and KWin only `tarnvik targets` and `tarnvik tree` "
                   "work\n",
                   stderr);
        return std::nullopt;
#endif
    } else {
        // The shell hands over keys and posts input only to the registered program, from now on.
        c.shell->keepRegistered();
        c.shellDraws = true;
        c.input = connectGnomeInput(*c.shell, *c.scheduler, doubleClickInterval, scrollsByPage);
    }
    if (!c.input)
        return std::nullopt;
    return c;
}

namespace {

// TARNVIK_MIRROR=off: sessions read after the key only, the mirror read as ever; the baseline
// its benchmark measures against in the same run.
bool mirrorServes()
{
    const char *setting = std::getenv("TARNVIK_MIRROR");
    return !setting || std::string_view(setting) != "off";
}

double refreshPeriod()
{
    return 1.0 / QGuiApplication::primaryScreen()->refreshRate();
}

// Labels are as large as the desktop's other text: Xft.dpi is the scale X applications follow,
// and Qt reads it for the screen's logical resolution.
std::function<double()> desktopScale(double qtScaleFactor)
{
    return [qtScaleFactor] {
        return qtScaleFactor * QGuiApplication::primaryScreen()->logicalDotsPerInch() / 96.0;
    };
}

} // namespace

// The desktop's appearance and its scale are read at each session.
ResidentProgram::ResidentProgram(Connections connections, double qtScaleFactor)
    : _c(std::move(connections))
    , _windows(_c.desktop->windows())
    , _accessibility(_c.desktop->accessibility(), _ownAccessibility)
    , _preferences(_store)
    , _scheduler(*_c.scheduler)
    , _sounds(_player, _preferences, installedPath("share/tarnvik/sounds"))
    , _hotKeys(_c.input->hotKeys())
    , _shortcuts(_hotKeys)
    , _inputSources(_c.input->inputSources())
    , _cursor(_c.input->cursor())
    , _doubleClick(_scheduler, _shortcuts)
    , _overview(*_c.shell, _accessibility)
    , _overviewKeys(*_c.shell, _c.input->layout())
    , _views(_preferences,
             {.firstScreenHeight = [this] { return firstScreenHeight(); },
              .overlay = {.hasCompositor = _windows.hasCompositor(),
                          .reduceMotion = [this] { return _windows.appearance().reduceMotion; },
                          .labelsPainted = labelsPaintedTrace()},
              .highContrast = [this] { return _windows.appearance().highContrast; },
              .labelZoom = desktopScale(qtScaleFactor),
              .overview = _overview,
              .onlyTheShellDraws = _c.shellDraws})
    , _tutorViews({.firstScreenHeight = [this] { return firstScreenHeight(); },
                   .hasCompositor = _windows.hasCompositor(),
                   .shell = _c.shellDraws ? &_overview : nullptr})
    , _tutorMode({.views = _tutorViews,
                  .focusedElement = [this] { return _mode.focusedElement(); },
                  .firstScreenHeight =
                      [this] {
                          return firstScreenHeight();
                      }})
    , _mirror({.platform = {_accessibility, _windows, _windows},
               .events = _c.desktop->events(),
               .preferences = _preferences,
               .scheduler = _scheduler,
               .queue = _treeQueue},
              {}, mirrorServes())
    , _mode({.platform = {_accessibility, _windows, _windows},
             .screens = _windows,
             .preferences = _preferences,
             .scheduler = _scheduler,
             .keyboard = _c.input->keyboard(),
             .keyboardLayout = _c.input->layout(),
             .pointerMotion = _c.input->pointerMotion(),
             .cursor = _cursor,
             .events = _c.input->events(),
             .sounds = _sounds,
             .views = _views,
             .doubleClick = _doubleClick,
             .treeQueue = _treeQueue,
             .searchQueue = _searchQueue,
             .inputSources = _inputSources,
             .tutorMode = _tutorMode,
             .overview = _overview,
             .overviewKeyboard = _overviewKeys,
             .reduceMotion = [this] { return _windows.appearance().reduceMotion; },
             .mirror = &_mirror})
    , _frameClock(refreshPeriod)
    , _scroller(_frameClock, _c.input->scrolling())
    , _scrollViews(_preferences,
                   {.firstScreenHeight = [this] { return firstScreenHeight(); },
                    .hasCompositor = _windows.hasCompositor(),
                    .zoom = desktopScale(qtScaleFactor),
                    .shell = _c.shellDraws ? &_overview : nullptr})
    , _scrollMode({.platform = {_accessibility, _windows, _windows},
                   .screens = _windows,
                   .preferences = _preferences,
                   .scheduler = _scheduler,
                   .keyboard = _c.input->keyboard(),
                   .events = _c.input->events(),
                   .cursor = _cursor,
                   .scroller = _scroller,
                   .views = _scrollViews,
                   .treeQueue = _scrollTreeQueue,
                   .inputSources = _inputSources})
    , _missionControlObserver(
          {.overview = _overview,
           .preferences = _preferences,
           .scheduler = _scheduler,
           .isInMode = [this] { return _mode.active() || _scrollMode.active(); },
           .activateClickMode =
               [this] {
                   _mode.activate(true);
               }})
    , _wiring({.preferences = _preferences,
               .shortcuts = _shortcuts,
               .mode = _mode,
               .scrollMode = _scrollMode,
               .keyMonitor = _c.input->keyMonitor(),
               .capsLockKey = _c.input->capsLock(),
               .scheduler = _scheduler,
               .recordingSlot = _recordingSlot})
    , _accessibilitySwitch(_c.desktop->bus(), _windows)
    , _loginItem(QCoreApplication::applicationFilePath(), "--at-login")
    , _shellViews(
          {.switchOn = [this] { _accessibilitySwitch.switchOn(); },
           .applicationsToRestart = [this] { return _accessibilitySwitch.applicationsToRestart(); },
           .quit =
               [] {
                   QCoreApplication::quit();
               }},
          {.preferences = _preferences,
           .shortcuts = _shortcuts,
           .loginItem = _loginItem,
           .keyCodeOfScanCode = linux::virtualKeyCode,
           .rewireShortcuts = [this] { _wiring.wireShortcuts(); },
           .recordingSlot = _recordingSlot,
           .hyperKeyDown =
               [this] {
                   auto *hyperKey = _wiring.capsLockController();
                   return hyperKey && hyperKey->recordingKeyDown();
               },
           .statusItemChanged = [this] { _delegate.preferencesChanged(); },
           .playClick = [this] { _sounds.playClick(); },
           .applications = installedApplications,
           .inputSources =
               [this] {
                   std::vector<std::pair<std::string, std::string>> sources;
                   for (const auto &source : _inputSources.list())
                       sources.emplace_back(source.id, source.name);
                   return sources;
               },
           .openPage = [](const std::string &page) { openPage(page.c_str()); },
           .openLabelDesigner = [this] { _delegate.openLabelDesigner(); },
           .hasTray = [this] { return _shellViews.showsStatusItem(); },
           .quit = QCoreApplication::quit,
           .version = TARNVIK_VERSION,
           .appcastPath = installedPath("share/tarnvik/appcast.xml")},
          [this](ShellViews::MenuBuilder menu) -> std::unique_ptr<StatusItemView> {
              return ShellStatusItem::make(*_c.shell, std::move(menu));
          })
    , _delegate({.preferences = _preferences,
                 .ax = _accessibility,
                 .workspace = _windows,
                 .scheduler = _scheduler,
                 .views = _shellViews,
                 .loginItem = _loginItem,
                 .inputSources = _inputSources,
                 .readAhead =
                     [this] {
                         _views.prepare(_windows.screens().front());
                         _mirror.start();
                         printRunning();
                     },
                 .wireShortcuts = [this] { _wiring.wireShortcuts(); },
                 .startMissionControlObserver = [this] { _missionControlObserver.start(); },
                 .deactivateModes = [this] { deactivateModes(); },
                 .menuActions = {.openGithubIssues = [] { openAddress(QUrl(issuesPage)); },
                                 .openSupportMail =
                                     [] {
                                         openAddress(QUrl(QString("mailto:%1?subject=Tarnvik %2")
                                                              .arg(supportMail, TARNVIK_VERSION)));
                                     },
                                 .openUserGuide = [] { openPage("README.md"); },
                                 .quit =
                                     [] {
                                         QCoreApplication::quit();
                                     }}})
    , _preferenceFile(_store, [this] {
        _wiring.preferencesChanged();
        _delegate.preferencesChanged();
    })
{
    _mode.setMissionControlObserver(&_missionControlObserver);
    _c.input->onNamedShortcut([this](const std::string &name) {
        if (!activateAction(name))
            tellUser("Tarnvik: a key binding asks for \"" + name
                     + "\": the modes are click, search and scroll");
    });
    if (tracing())
        _c.shell->onLabelsDrawn(
            [](std::uint32_t count, double sinceShortcut, double sinceAsked, double building) {
                char line[160];
                if (sinceShortcut >= 0)
                    std::snprintf(line, sizeof line,
                                  "shell drew %u labels %.1f ms after the shortcut (made in "
                                  "%.1f ms)",
                                  count, sinceShortcut, building);
                else
                    std::snprintf(line, sizeof line,
                                  "shell drew %u labels %.1f ms after they were sent (made in "
                                  "%.1f ms)",
                                  count, sinceAsked, building);
                trace(line);
            });
}

ResidentProgram::~ResidentProgram()
{
    deactivateModes();
    _doubleClick.reset(true);
}

double ResidentProgram::firstScreenHeight()
{
    return _windows.screens().front().frame.size.height;
}

bool ResidentProgram::activateAction(const std::string &name)
{
    std::function<void()> toggle;
    if (name == "click")
        toggle = [this] {
            _wiring.clickToggle(true);
        };
    else if (name == "search")
        toggle = [this] {
            _wiring.clickToggle(false);
        };
    else if (name == "scroll")
        toggle = [this] {
            _wiring.scrollToggle();
        };
    else
        return false;
    _hotKeys.pressed = std::chrono::steady_clock::now();
    _scheduler.postToMain(std::move(toggle));
    return true;
}

void ResidentProgram::deactivateModes()
{
    _mode.deactivate(true);
    _scrollMode.deactivate();
}

std::function<void(std::size_t)> ResidentProgram::labelsPaintedTrace()
{
    if (!tracing())
        return nullptr;
    return [this](std::size_t count) {
        const std::chrono::duration<double, std::milli> elapsed =
            std::chrono::steady_clock::now() - _hotKeys.pressed;
        char line[96];
        std::snprintf(line, sizeof line, "labels drawn: %zu labels, %.1f ms after the shortcut",
                      count, elapsed.count());
        trace(line);
    };
}

void ResidentProgram::printRunning()
{
    tellUser("Tarnvik: running; the click shortcut is "
             + _preferences.stringForKey(Preferences::Keys::nonSearchShortcut).value_or("unset")
             + ", the scroll shortcut "
             + _preferences.stringForKey(Preferences::Keys::scrollShortcut).value_or("unset")
             + "; scrolling by " + _c.input->scrollingName() + ", "
             + std::to_string(std::lround(1 / refreshPeriod())) + " frames a second");
}

} // namespace tarnvik
