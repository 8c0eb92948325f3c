// The program: the composition root that chooses the Linux backend and runs a command.
#include "accessibility/AttributeReaders.h"
#include "app/TargetsCommand.h"
#include "platform/AXNames.h"
#include "platform/Diagnostics.h"
#include "platform/linux/LinuxDesktop.h"
#include "platform/qt/QSettingsPreferenceStore.h"
#include "platform/qt/QtScheduler.h"
#include "preferences/Preferences.h"

#include <QCommandLineParser>
#include <QCoreApplication>

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
    TargetsCommand command({{desktop->accessibility(), x, x}, x, preferences, scheduler});
    return command.run(options);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("tarnvik");
    const QStringList arguments = QCoreApplication::arguments();
    const QString command = arguments.value(1);
    QStringList rest = arguments;
    if (!command.isEmpty())
        rest.removeAt(1);
    if (command == "targets" || command == "tree")
        return runTargets(rest, command == "tree");
    std::fputs("usage: tarnvik targets [--json] [--search TEXT] [--repeat N]\n"
               "       tarnvik tree [--search TEXT]\n",
               stderr);
    return 2;
}
