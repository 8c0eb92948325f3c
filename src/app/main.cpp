// The program: the composition root that chooses the Linux backend, and either runs resident
// or runs one command.
#include "accessibility/AXEnablerService.h"
#include "accessibility/AttributeReaders.h"
#include "app/AppDelegate.h"
#include "app/FirstReads.h"
#include "app/QuitOnSignals.h"
#include "app/TargetsCommand.h"
#include "click/CursorManager.h"
#include "click/DoubleClickManager.h"
#include "click/Mode.h"
#include "click/views/QtModeViews.h"
#include "platform/AXNames.h"
#include "platform/Diagnostics.h"
#include "platform/WorkQueue.h"
#include "platform/linux/LinuxDesktop.h"
#include "platform/linux/TimerFrameClock.h"
#include "platform/linux/WheelScrolling.h"
#include "platform/linux/X11Keyboard.h"
#include "platform/linux/X11Pointer.h"
#include "platform/qt/PreferenceFileWatcher.h"
#include "platform/qt/QSettingsPreferenceStore.h"
#include "platform/qt/QtScheduler.h"
#include "platform/qt/QtSoundPlayer.h"
#include "preferences/Preferences.h"
#include "scroll/BufferAndRateScroller.h"
#include "scroll/ScrollMode.h"
#include "scroll/views/QtScrollViews.h"
#include "sounds/SoundEffectManager.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QScreen>
#include <QStyleHints>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>

namespace {

using namespace tarnvik;

// The menu bar counts as on screen while the frontmost application shows one.
void wireMenubarFrame(linux::LinuxDesktop &d)
{
    auto &x = d.desktop();
    auto &ax = d.accessibility();
    x.setMenubarFrame([&x, &ax]() -> std::optional<CGRect> {
        auto app = x.frontmostApplication();
        if (!app)
            return std::nullopt;
        auto bar = elementAttribute(ax, NSAccessibilityMenuBarAttribute,
                                    ax.createApplication(app->processIdentifier));
        if (!bar.ok() || !bar.value())
            return std::nullopt;
        auto frame = batchAttributes(
            ax, {NSAccessibilityPositionAttribute, NSAccessibilitySizeAttribute}, *bar.value());
        if (!frame.ok())
            return std::nullopt;
        const auto *position = frame.value()[0].get<CGPoint>();
        const auto *size = frame.value()[1].get<CGSize>();
        if (!position || !size)
            return std::nullopt;
        return CGRect {*position, *size};
    });
}

int runTargets(const QStringList &arguments, bool tree)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        tree ? "Prints the trees of the frontmost window as a click would read them."
             : "Prints what gets a label in the frontmost window, and how long reading took.");
    parser.addHelpOption();
    QCommandLineOption json("json", "One JSON object: {\"buildMs\", \"targets\": [...]}.");
    QCommandLineOption search("search", "Read as search mode does, and search for TEXT.", "TEXT");
    QCommandLineOption repeat("repeat", "Read N times, timing each on standard error.", "N", "1");
    parser.addOptions({json, search, repeat});
    parser.process(arguments);

    TargetsCommand::Options options;
    options.json = parser.isSet(json);
    options.tree = tree;
    options.repeat = parser.value(repeat).toInt();
    if (parser.isSet(search))
        options.search = parser.value(search).toStdString();
    if (options.json)
        sendDiagnosticsToStandardError();

    auto desktop = linux::LinuxDesktop::connect();
    if (!desktop)
        return 2;
    wireMenubarFrame(*desktop);
    QSettingsPreferenceStore store;
    Preferences preferences(store);
    QtScheduler scheduler;
    auto &x = desktop->desktop();
    TargetsCommand command({.platform = {desktop->accessibility(), x, x},
                            .screens = x,
                            .preferences = preferences,
                            .scheduler = scheduler});
    return command.run(options);
}

// Hot keys as the X backend gives them, with the time of the last press noted: with
// TARNVIK_TRACE set, the program prints how long each shortcut took to show its labels.
class TimedHotKeys final : public HotKeys
{
public:
    explicit TimedHotKeys(HotKeys &keys)
        : _keys(keys)
    { }
    void setHandler(Handler handler) override
    {
        _keys.setHandler([this, handler = std::move(handler)](HotKeyId id, int eventType) {
            if (eventType == EventType::keyDown)
                pressed = std::chrono::steady_clock::now();
            if (handler)
                handler(id, eventType);
        });
    }
    bool registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifiers) override
    {
        return _keys.registerHotKey(id, keyCode, modifiers);
    }
    bool unregisterHotKey(HotKeyId id) override { return _keys.unregisterHotKey(id); }

    std::chrono::steady_clock::time_point pressed;

private:
    HotKeys &_keys;
};

// Tarnvik's windows stand in the X server's pixels, the space the backend answers in, so Qt
// must not scale them by Xft.dpi or QT_SCALE_FACTOR as it scales an application's. Answers the
// factor QT_SCALE_FACTOR asked for, which the labels' size still follows.
double keepQtFromScaling()
{
    bool given = false;
    const double requested = qEnvironmentVariable("QT_SCALE_FACTOR").toDouble(&given);
    qputenv("QT_ENABLE_HIGHDPI_SCALING", "0");
    qunsetenv("QT_SCALE_FACTOR");
    qunsetenv("QT_SCREEN_SCALE_FACTORS");
    return given && requested > 0 ? requested : 1.0;
}

// Runs until quit: the shortcuts start and end sessions of the frontmost window.
int runResident(double qtScaleFactor)
{
    QApplication::setQuitOnLastWindowClosed(false);
    auto desktop = linux::LinuxDesktop::connect();
    if (!desktop)
        return 2;
    wireMenubarFrame(*desktop);
    auto keyboard = linux::X11Keyboard::connect();
    auto pointer = linux::X11Pointer::connect(
        [] { return QApplication::styleHints()->mouseDoubleClickInterval() / 1000.0; });
    if (!keyboard || !pointer) {
        std::fputs("tarnvik: the display lacks the XTEST or XKB extension\n", stderr);
        return 2;
    }
    auto &x = desktop->desktop();
    QSettingsPreferenceStore store;
    Preferences preferences(store);
    QtScheduler scheduler;
    QtSoundPlayer player;
    SoundEffectManager sounds(player, preferences, TARNVIK_SOUNDS_DIR);
    TimedHotKeys hotKeys(*keyboard);
    SRGlobalShortcutMonitor shortcuts(hotKeys);
    CursorManager cursor(*pointer);
    DoubleClickManager doubleClick(scheduler, shortcuts);
    // Declared before the mode, so that work in flight ends before what it uses goes away.
    SerialWorkQueue treeQueue;
    SerialWorkQueue searchQueue;
    std::function<void(std::size_t)> labelsPainted;
    if (qEnvironmentVariableIsSet("TARNVIK_TRACE"))
        labelsPainted = [&hotKeys](std::size_t count) {
            const std::chrono::duration<double, std::milli> elapsed =
                std::chrono::steady_clock::now() - hotKeys.pressed;
            std::fprintf(stderr, "labels drawn: %zu labels, %.1f ms after the shortcut\n", count,
                         elapsed.count());
        };
    // The desktop's appearance and its scale are read at each session. Labels are as large as
    // the desktop's other text: Xft.dpi is the scale X applications follow, and Qt reads it for
    // the screen's logical resolution.
    const auto firstScreenHeight = [&x] {
        return x.screens().front().frame.size.height;
    };
    const auto desktopScale = [qtScaleFactor] {
        return qtScaleFactor * QGuiApplication::primaryScreen()->logicalDotsPerInch() / 96.0;
    };
    QtModeViews views(preferences,
                      {.firstScreenHeight = firstScreenHeight,
                       .overlay = {.hasCompositor = x.hasCompositor(),
                                   .reduceMotion = [&x] { return x.appearance().reduceMotion; },
                                   .labelsPainted = labelsPainted},
                       .highContrast = [&x] { return x.appearance().highContrast; },
                       .labelZoom = desktopScale});
    Mode mode({.platform = {desktop->accessibility(), x, x},
               .screens = x,
               .preferences = preferences,
               .scheduler = scheduler,
               .keyboard = *keyboard,
               .keyboardLayout = *keyboard,
               .pointerMotion = *pointer,
               .cursor = cursor,
               .events = *pointer,
               .sounds = sounds,
               .views = views,
               .doubleClick = doubleClick,
               .treeQueue = treeQueue,
               .searchQueue = searchQueue});
    std::string scrolling;
    auto scrollPosting = linux::makeScrollPosting(scrolling);
    if (!scrollPosting) {
        std::fputs("tarnvik: no display to scroll\n", stderr);
        return 2;
    }
    const auto refreshPeriod = [] {
        return 1.0 / QGuiApplication::primaryScreen()->refreshRate();
    };
    linux::TimerFrameClock frameClock(refreshPeriod);
    BufferAndRateScroller scroller(frameClock, *scrollPosting);
    QtScrollViews scrollViews(preferences,
                              {.firstScreenHeight = firstScreenHeight,
                               .hasCompositor = x.hasCompositor(),
                               .zoom = desktopScale});
    SerialWorkQueue scrollTreeQueue;
    ScrollMode scrollMode({.platform = {desktop->accessibility(), x, x},
                           .screens = x,
                           .preferences = preferences,
                           .scheduler = scheduler,
                           .keyboard = *keyboard,
                           .events = *pointer,
                           .cursor = cursor,
                           .scroller = scroller,
                           .views = scrollViews,
                           .treeQueue = scrollTreeQueue});
    AppDelegate delegate(preferences, shortcuts, mode, scrollMode);
    delegate.wireShortcuts();
    PreferenceFileWatcher preferenceFile(store, [&delegate] { delegate.preferencesChanged(); });
    AXEnablerService enabler({desktop->accessibility(), x, scheduler, preferences, [&] {
                                  mode.deactivate(true);
                                  scrollMode.deactivate();
                              }});
    enabler.start();
    views.prepare(x.screens().front());
    FirstReads firstReads({.reading = {.platform = {desktop->accessibility(), x, x},
                                       .screens = x,
                                       .preferences = preferences,
                                       .scheduler = scheduler},
                           .queue = treeQueue});
    firstReads.start();
    printLine("Tarnvik: running; the click shortcut is "
              + preferences.stringForKey(Preferences::Keys::nonSearchShortcut).value_or("unset")
              + ", the scroll shortcut "
              + preferences.stringForKey(Preferences::Keys::scrollShortcut).value_or("unset")
              + "; scrolling by " + scrolling + ", "
              + std::to_string(std::lround(1 / refreshPeriod())) + " frames a second");
    QuitOnSignals quitOnSignals({SIGTERM, SIGINT, SIGHUP});
    const int status = QApplication::exec();
    mode.deactivate(true);
    scrollMode.deactivate();
    doubleClick.reset(true);
    return status;
}

int usage()
{
    std::fputs("usage: tarnvik                 run resident: the shortcuts show the labels\n"
               "       tarnvik targets [--json] [--search TEXT] [--repeat N]\n"
               "       tarnvik tree [--search TEXT]\n",
               stderr);
    return 2;
}

} // namespace

int main(int argc, char *argv[])
{
    const QString command = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    if (command.isEmpty()) {
        const double qtScaleFactor = keepQtFromScaling();
        QApplication app(argc, argv);
        QApplication::setApplicationName("tarnvik");
        QApplication::setApplicationDisplayName("Tarnvik");
        return runResident(qtScaleFactor);
    }
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("tarnvik");
    QStringList rest = QCoreApplication::arguments();
    rest.removeAt(1);
    if (command == "targets" || command == "tree")
        return runTargets(rest, command == "tree");
    return usage();
}
