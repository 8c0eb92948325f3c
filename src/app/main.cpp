// The program: the composition root that chooses the Linux backend, and either runs resident
// or runs one command.
#include "app/DesktopSession.h"
#include "app/MenubarFrame.h"
#include "app/QuitOnSignals.h"
#include "app/ResidentProgram.h"
#include "app/TargetsCommand.h"
#include "platform/Diagnostics.h"
#include "platform/gnome/TarnvikGnomeExtension.h"
#include "platform/linux/LinuxDesktop.h"
#include "platform/qt/QSettingsPreferenceStore.h"
#include "platform/qt/QtScheduler.h"
#include "platform/qt/SingleInstance.h"
#include "preferences/Preferences.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <memory>

namespace {

using namespace tarnvik;

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
    // Showing what a read meets is these commands' job.
    showDiagnostics();
    if (options.json)
        sendDiagnosticsToStandardError();

    gnome::TarnvikGnomeExtension shell;
    const auto connected = connectDesktop(shell);
    if (!connected)
        return 2;
    auto &desktop = *connected;
    wireMenubarFrame(desktop);
    QSettingsPreferenceStore store;
    Preferences preferences(store);
    QtScheduler scheduler;
    auto &windows = desktop.windows();
    TargetsCommand command({.platform = {desktop.accessibility(), windows, windows},
                            .screens = windows,
                            .preferences = preferences,
                            .scheduler = scheduler});
    return command.run(options);
}

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

// Runs until quit: the shortcuts start and end sessions of the frontmost window. A second start
// in the session only asks the first to reopen.
int runResident(double qtScaleFactor, bool startedAtLogin)
{
    QApplication::setQuitOnLastWindowClosed(false);
    std::unique_ptr<ResidentProgram> program;
    SingleInstance instance({.reopen =
                                 [&program] {
                                     if (program)
                                         program->reopen();
                                 },
                             .activate =
                                 [&program](const std::string &name) {
                                     return program && program->activateAction(name);
                                 }});
    if (instance.claim() == SingleInstance::Claim::Reopened)
        return 0;
    auto connections = ResidentProgram::connect();
    if (!connections)
        return 2;
    program = std::make_unique<ResidentProgram>(std::move(*connections), qtScaleFactor);
    program->launch(startedAtLogin);
    QuitOnSignals quitOnSignals({SIGTERM, SIGINT, SIGHUP});
    const int status = QApplication::exec();
    program.reset();
    return status;
}

int usage()
{
    std::fputs("usage: tarnvik [--at-login]    run resident: the shortcuts show the labels; at\n"
               "                               login without opening the settings\n"
               "       tarnvik targets [--json] [--search TEXT] [--repeat N]\n"
               "       tarnvik tree [--search TEXT]\n"
               "       tarnvik activate click|search|scroll\n"
               "                               start or end that mode in the running Tarnvik, as\n"
               "                               its shortcut does\n",
               stderr);
    return 2;
}

} // namespace

int main(int argc, char *argv[])
{
    // At the end of a session the buses go while the program ends, and a library may then make
    // a call on a connection that has gone. libdbus aborts the process on such a call unless
    // told otherwise, and the desktop would report a crash at every logout: a warning line is
    // what it gets instead.
    if (!qEnvironmentVariableIsSet("DBUS_FATAL_WARNINGS"))
        qputenv("DBUS_FATAL_WARNINGS", "0");
    const QString command = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    if (command.isEmpty() || command == "--at-login") {
        const double qtScaleFactor = keepQtFromScaling();
        // The program speaks X, and so do its windows (to Xwayland in a Wayland session other
        // than GNOME's, sway's and KWin's); on GNOME's Wayland session the shell does all that X
        // would do, on sway and KWin their protocols do, where this build has the layer shell.
        const bool wayland = onGnomeWayland() || (TARNVIK_LAYER_SHELL && (onSway() || onKWin()));
        qputenv("QT_QPA_PLATFORM", wayland ? "wayland" : "xcb");
        QApplication app(argc, argv);
        QApplication::setApplicationName("tarnvik");
        QApplication::setApplicationDisplayName("Tarnvik");
        return runResident(qtScaleFactor, command == "--at-login");
    }
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("tarnvik");
    QStringList rest = QCoreApplication::arguments();
    rest.removeAt(1);
    if (command == "targets" || command == "tree")
        return runTargets(rest, command == "tree");
    if (command == "activate" && rest.size() == 2) {
        const auto refused = SingleInstance::activateAction(rest[1].toStdString());
        if (refused)
            std::fprintf(stderr, "tarnvik: %s\n", refused->c_str());
        return refused ? 1 : 0;
    }
    return usage();
}
