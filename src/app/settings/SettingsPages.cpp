// The General, Clicking and Scrolling pages: rows bound to their preferences.
#include "app/settings/SettingsPages.h"

#include "app/settings/LabelViews.h"
#include "app/settings/SettingsControls.h"
#include "app/settings/SettingsWindow.h"
#include "app/settings/ShortcutRecorderView.h"
#include "labels/LabelTheme.h"
#include "platform/LoginItem.h"
#include "preferences/Preferences.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>

namespace tarnvik {

namespace {

using Keys = Preferences::Keys;

// A slider between the two words or icons that say what its ends mean.
QWidget *between(const QString &low, QSlider *slider, const QString &high, int width = 250)
{
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    slider->setFixedWidth(width);
    slider->setParent(row);
    layout->addWidget(new QLabel(low, row));
    layout->addWidget(slider);
    layout->addWidget(new QLabel(high, row));
    return row;
}

ShortcutRecorderView *recorder(const char *key, SettingsServices &services,
                               PreferenceBindings &bindings)
{
    auto *view = new ShortcutRecorderView(key,
                                          {.preferences = services.preferences,
                                           .shortcuts = services.shortcuts,
                                           .keyCodeOfScanCode = services.keyCodeOfScanCode,
                                           .rewireShortcuts = services.rewireShortcuts,
                                           .recordingSlot = services.recordingSlot,
                                           .hyperKeyDown = services.hyperKeyDown});
    bindings.onReload([view] { view->reload(); });
    return view;
}

// The Appearance group's sample, two letters in the chosen theme and size, and what draws it
// again; the bindings draw it at every reload of the file.
std::pair<LabelSampleView *, std::function<void()>> sampleLabel(Preferences &preferences,
                                                                PreferenceBindings &bindings)
{
    auto *sample = new LabelSampleView;
    auto update = [sample, &preferences] {
        auto label =
            std::make_unique<LabelLayer>("AB", labelColors(preferences.themeId(), false),
                                         preferences.doubleForKey(Keys::labelFontSize), 1.0);
        label->opacity = 1.0;
        sample->setLabel(std::move(label));
    };
    update();
    bindings.onReload(update);
    return {sample, update};
}

} // namespace

QWidget *makeGeneralSettingsView(SettingsServices &services, PreferenceBindings &bindings)
{
    auto *page = new SettingsPage;
    auto &preferences = services.preferences;

    auto *appearance = page->addGroup("Appearance");
    auto [sample, redrawSample] = sampleLabel(preferences, bindings);
    std::vector<std::pair<QString, QString>> themes;
    for (const auto &theme : LabelTheme::themes())
        themes.emplace_back(QString::fromStdString(theme.name),
                            theme.id == LabelTheme::defaultTheme().id
                                ? QString()
                                : QString::fromStdString(theme.id));
    auto *themePicker = bindings.popUp(Keys::themeId, themes, QString(), redrawSample);
    for (std::size_t i = 0; i < LabelTheme::themes().size(); ++i)
        themePicker->setItemIcon(static_cast<int>(i), themeThumbnail(LabelTheme::themes()[i].id));
    appearance->addRow("Theme", themePicker);
    auto *size = bindings.slider(Keys::labelFontSize, 6.0, 16.0, 1.0);
    QObject::connect(size, &QSlider::valueChanged, sample, redrawSample);
    auto *sized = between("A", size, "A", 150);
    auto *large = sized->findChildren<QLabel *>().back();
    QFont font = large->font();
    font.setPointSizeF(font.pointSizeF() * 1.5);
    large->setFont(font);
    appearance->addRow("Label size", sized);
    appearance->addRow("Sample", sample);

    auto *application = page->addGroup("Application");
    application->addRow(
        "Launch on login",
        bindings.toggle(Keys::launchAtLogin,
                        [&services] {
                            services.loginItem.setEnabled(
                                services.preferences.boolForKey(Keys::launchAtLogin));
                        }),
        "If enabled, Tarnvik will start when you log in.");
    auto *trayIcon = bindings.toggle(Keys::showMenubarIcon, services.statusItemChanged);
    QString trayHelp = "If enabled, Tarnvik will be accessible from the tray of your panel. If "
                       "disabled, you will have to start Tarnvik again to display settings.";
    if (!services.hasTray()) {
        trayIcon->setEnabled(false);
        trayHelp = "This desktop shows no tray: start Tarnvik again to display settings, and "
                   "quit it with \"Quit Tarnvik\" below the tabs.";
    }
    application->addRow("Show tray icon", trayIcon, trayHelp);
    // The package manager that installed Tarnvik updates it: the two switches are kept, but
    // nothing here checks for updates.
    const QString updates = "Tarnvik is updated by the package manager that installed it.";
    auto *automatic = bindings.toggle(Keys::checkForUpdatesAutomatically);
    automatic->setEnabled(false);
    application->addRow("Check for updates automatically", automatic, updates);
    auto *beta = bindings.toggle(Keys::includeBetaUpdates);
    beta->setEnabled(false);
    application->addRow("Get beta updates", beta,
                        "If enabled, you'll receive early access to new features. Beta updates "
                        "may be less stable. "
                            + updates);

    auto *keyboard = page->addGroup("Keyboard");
    std::vector<std::pair<QString, QString>> sources {{"None", QString()}};
    for (const auto &[id, name] : services.inputSources())
        sources.emplace_back(QString::fromStdString(name), QString::fromStdString(id));
    auto *source = bindings.popUp(Keys::autoSwitchInputSourceId, sources, QString());
    source->setFixedWidth(150);
    keyboard->addRow("Input source", source,
                     "Tarnvik will automatically switch to the selected input layout when "
                     "activated.");
    keyboard->addRow("Hyperkey enabled",
                     bindings.toggle(Keys::enableHyperKey, services.rewireShortcuts),
                     "If enabled, your Caps Lock key will be re-mapped to a Hyperkey "
                     "(Ctrl+Alt+Shift+Super), this can then be used as the shortcut to activate "
                     "any of the three Tarnvik modes.");

    auto *sounds = page->addGroup("Sound Effects");
    sounds->addRow("Enable sound effects", bindings.toggle(Keys::enableSoundEffects));
    sounds->addRow(
        "Volume",
        between("Quiet",
                bindings.slider(Keys::soundEffectVolume, 0.1, 1.0, 0.1, services.playClick),
                "Loud"));
    return page;
}

QWidget *makeClickingSettingsView(SettingsServices &services, PreferenceBindings &bindings)
{
    auto *page = new SettingsPage;
    auto *clicking = page->addGroup("Clicking");
    clicking->addRow("Shortcut", recorder(Keys::nonSearchShortcut, services, bindings));
    clicking->addRow("Automatic click", bindings.toggle(Keys::isAutoClickEnabled),
                     "If enabled, will immediately click once a label is typed in, otherwise- "
                     "press 'Space' or 'Return' to click.");
    clicking->addRow("Chain clicks", bindings.toggle(Keys::chainClicks),
                     "If enabled, will continue to re-activate click mode after each click until "
                     "you hit Escape");
    clicking->addRow("Activities overview", bindings.toggle(Keys::autoActivateMissionControl),
                     "If enabled, will automatically activate click mode when the Activities "
                     "overview is opened");

    auto *labels = page->addGroup("Labels");
    labels->addRow("Label characters",
                   bindings.textField(Keys::labelCharacters, Preferences::defaultLabelCharacters));
    labels->addRow(
        "Browser labels",
        bindings.segmented(Keys::useSearchPredicate, {"Fast", true}, {"Exhaustive", false}),
        "Fast will give you fastest label results in browsers, exhaustive will give "
        "you every option.");

    auto *search = page->addGroup("Search");
    search->addRow("Search Shortcut", recorder(Keys::searchShortcut, services, bindings));
    search->addRow("Hide labels before search",
                   bindings.toggle(Keys::hideLabelsWhenNothingIsSearched),
                   "If enabled, will hide all labels when the search field is empty.");
    return page;
}

QWidget *makeScrollingSettingsView(SettingsServices &services, PreferenceBindings &bindings)
{
    auto *page = new SettingsPage;
    auto *scrolling = page->addGroup("Scrolling");
    scrolling->addRow("Shortcut", recorder(Keys::scrollShortcut, services, bindings));
    scrolling->addRow(
        "Arrow keys",
        bindings.segmented(Keys::mapArrowKeysToScroll, {"Select", false}, {"Scroll", true}),
        "If you choose 'Select' arrow keys will move the focus between the "
        "available scrollable areas. If you choose 'Scroll' they will scroll the "
        "active area.");
    scrolling->addRow("Show scroll area numbers", bindings.toggle(Keys::scrollShowNumbers),
                      "If enabled, scrolling areas will be labelled with a number");
    scrolling->addRow("Scroll keys", bindings.textField(Keys::scrollKeys, "HJKL"),
                      "Choose the keys that are mapped to scrolling functionality.\n\nBy default "
                      "this is HJKL (<left><down><up><right>)");
    scrolling->addRow("Scroll commands", bindings.toggle(Keys::isScrollShortcutsEnabled),
                      "If enabled, these keys will have the follow effects:\n\nd - Half page "
                      "down\nu - Half page up\nG - Go to bottom\ngg - Go to top");
    scrolling->addRow("Auto deactivation", bindings.toggle(Keys::autoDeactivateScrolling),
                      "If enabled, scrolling mode will be deactivated after a few seconds of no "
                      "activity");

    auto *speed = page->addGroup("Speed");
    speed->addRow("Scroll speed",
                  between("Slow", bindings.slider(Keys::scrollPxPerMs, 1.0, 5.0, 0.5), "Fast"));
    speed->addRow(
        "Dash speed",
        between("Slow", bindings.slider(Keys::dashSpeedMultiplier, 0.5, 5.5, 0.5), "Fast"),
        "Dash scrolling is activated by holding shift during scroll.\n\nAdjust this "
        "speed to make it faster or slower.");
    return page;
}

} // namespace tarnvik
