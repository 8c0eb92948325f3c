// Click mode over the desktop's window overview: the observer that starts it, the previews read
// from the shell's tree, and the labels that hide while the previews move.
#include "overview/MissionControlObserver.h"
#include "overview/MissionControlUITree.h"
#include "platform/KeyCodes.h"
#include "support/ModeSession.h"

namespace tarnvik::test {
namespace {

constexpr std::uint16_t keyS = 1;

class OverviewTest : public ModeTest
{
protected:
    OverviewTest()
    {
        // The shell's stage: the dash's launcher is named by itself, each window preview only
        // through its hidden caption, deeper down.
        auto shown = stage.add("AXGroup", makeRect(0, 0, 1440, 900));
        shown.add("AXButton", makeRect(600, 820, 80, 80)).title("Firefox");
        auto workspace = shown.add("AXGroup", makeRect(100, 100, 1240, 700));
        auto caption =
            workspace.add("AXStaticText", makeRect(0, 0, 0, 0)).title("notes.txt - Editor");
        workspace.add("AXButton", editorPreview)
            .set(NSAccessibilityTitleUIElementAttribute, caption.ref());
        auto other = workspace.add("AXStaticText").value("Terminal");
        workspace.add("AXButton", terminalPreview)
            .set(NSAccessibilityTitleUIElementAttribute, other.ref());

        // The editor has a window on screen: its icon goes with the preview of that title.
        desktop.addApplication({.processIdentifier = 2, .localizedName = "Editor"})
            .addWindow(makeRect(0, 0, 500, 400), "notes.txt");
        overview.shownWindows = {editorWindow(7)};

        overview.root = stage.ref();
        overview.frames = {{"1", editorPreview}, {"2", terminalPreview}};
        mode.setMissionControlObserver(&observer);
        observer.start();
    }

    // The shell reports the overview open, and the work it queued runs.
    void report()
    {
        overview.report();
        scheduler.runPending();
    }

    void openOverview()
    {
        overview.open = true;
        report();
    }

    // One tick of the preview watch, the previews standing at `dx` from where they started.
    void tick(double dx)
    {
        overview.frames["1"] = makeRect(editorPreview.origin.x + dx, editorPreview.origin.y,
                                        editorPreview.size.width, editorPreview.size.height);
        scheduler.advance(Seconds(0.03));
    }

    static OverviewWindow editorWindow(std::uint64_t number)
    {
        return {.number = number,
                .pid = 2,
                .title = "notes.txt",
                .applicationName = "Editor",
                .icon = "org.example.Editor"};
    }

    const CGRect editorPreview = makeRect(150, 150, 600, 400);
    const CGRect terminalPreview = makeRect(800, 150, 500, 300);
    fake::FakeApplication &shell =
        desktop.addApplication({.processIdentifier = 50, .localizedName = "gnome-shell"});
    fake::FakeElement stage = shell.addWindow(makeRect(0, 0, 1440, 900));
    bool inScrollMode = false;
    MissionControlObserver observer {{.overview = overview,
                                      .preferences = preferences,
                                      .scheduler = scheduler,
                                      .isInMode = [this] { return mode.active() || inScrollMode; },
                                      .activateClickMode =
                                          [this] {
                                              mode.activate(true);
                                          }}};
};

TEST_F(OverviewTest, TheFirstReportLabelsThePreviewsAndLaterOnesShowTheHiddenLabels)
{
    openOverview();
    ASSERT_TRUE(mode.isMissionControlMode());
    EXPECT_TRUE(views.w.overOverview);
    ASSERT_NE(mode.targetsView(), nullptr);
    const auto &elements = mode.targetsView()->elements();
    ASSERT_EQ(elements.size(), 2u) << "the previews, not the dash's launcher";
    EXPECT_EQ(elements[0]->title, "notes.txt - Editor") << "titled through its caption";
    EXPECT_EQ(elements[1]->title, "Terminal");
    EXPECT_EQ(elements[0]->appIcon, "org.example.Editor");
    EXPECT_EQ(elements[1]->appIcon, std::nullopt);
    EXPECT_TRUE(input.captured()) << "the overview's keys come to the session";

    mode.hideLabelsForSpaceChange();
    EXPECT_FALSE(views.w.labelsVisible);
    report();
    EXPECT_TRUE(views.w.labelsVisible) << "a later report means fully open";
    EXPECT_EQ(views.w.targetsWindows, 1);

    press(KeyCode::escape);
    EXPECT_FALSE(mode.active());
    EXPECT_FALSE(observer.hasActivatedForCurrentSession());
    report();
    EXPECT_TRUE(mode.isMissionControlMode()) << "after a reset the next report activates again";
    EXPECT_EQ(views.w.targetsWindows, 2);
}

TEST_F(OverviewTest, NoSessionInAnotherModeWithTheOverviewClosedOrNoHelper)
{
    overview.open = true;
    inScrollMode = true;
    report();
    EXPECT_FALSE(mode.active());
    inScrollMode = false;

    overview.open = false;
    report();
    EXPECT_FALSE(observer.hasActivatedForCurrentSession());

    // Without the shell's helper the overview can't be labelled: the shortcut beeps.
    overview.open = true;
    overview.unavailableReason = "enable the extension";
    mode.activate(true);
    EXPECT_FALSE(mode.active());
    EXPECT_EQ(input.beeps(), 1);

    // An opening whose activation fails leaves the next opening to label: as when the user
    // enables the extension after Tarnvik started.
    report();
    EXPECT_FALSE(mode.active());
    EXPECT_EQ(input.beeps(), 2);
    overview.unavailableReason.reset();
    report();
    EXPECT_TRUE(mode.isMissionControlMode());
}

TEST_F(OverviewTest, MovingPreviewsHideTheLabelsAndFiveStillTicksLabelTheNewLayout)
{
    openOverview();
    tick(0);
    tick(2.0);
    EXPECT_TRUE(views.w.labelsVisible) << "2 points is no movement";
    tick(4.5);
    EXPECT_FALSE(views.w.labelsVisible);
    for (int i = 0; i < 4; ++i)
        tick(4.5);
    EXPECT_TRUE(mode.isMissionControlMode()) << "four still ticks are not enough";
    tick(4.5);
    EXPECT_FALSE(mode.active());
    scheduler.advance(Seconds(0.05));
    EXPECT_TRUE(mode.isMissionControlMode()) << "labelled again where the previews now stand";
    EXPECT_EQ(views.w.targetsWindows, 2);
    EXPECT_TRUE(views.w.labelsVisible);

    overview.open = false;
    scheduler.advance(Seconds(0.03));
    EXPECT_FALSE(mode.active()) << "the overview closed by itself";
}

TEST_F(OverviewTest, WithReducedMotionTheLabelsStayWhileThePreviewsMove)
{
    reduceMotion = true;
    openOverview();
    tick(0);
    tick(50);
    press(KeyCode::right, ModifierFlag::control);
    scheduler.advance(Seconds(0.05));
    EXPECT_TRUE(views.w.labelsVisible) << "nor does a change of workspace hide them";
    EXPECT_TRUE(mode.isMissionControlMode());
    overview.open = false;
    scheduler.advance(Seconds(0.05));
    EXPECT_FALSE(mode.active());
}

TEST_F(OverviewTest, ATypedLabelPicksItsWindowAndControlArrowsHideTheLabels)
{
    openOverview();
    EXPECT_TRUE(press(KeyCode::left, ModifierFlag::control)) << "the workspace changes";
    EXPECT_FALSE(views.w.labelsVisible);
    EXPECT_FALSE(press(keyS));
    EXPECT_FALSE(mode.active());
    ASSERT_EQ(overview.picks.size(), 1u);
    EXPECT_EQ(overview.picks[0], centreOf(editorPreview));
    EXPECT_TRUE(presses().empty()) << "the shell picks it, not a pointer click";
}

TEST_F(OverviewTest, IconsComeByTheWindowNumberInAnIdentifierOrByTitleThenApplicationName)
{
    overview.shownWindows = {editorWindow(12345), editorWindow(1234)};
    MissionControlUITree tree({.ax = desktop, .overview = overview});
    EXPECT_EQ(tree.iconForIdentifier("mc.windows.window.12345"), "org.example.Editor");
    EXPECT_EQ(tree.iconForIdentifier("win12-34"), "org.example.Editor") << "its digits, 1234";
    EXPECT_EQ(tree.iconForIdentifier("window.99"), std::nullopt);
    EXPECT_EQ(tree.iconForTitle("notes"), "org.example.Editor") << "part of a window's title";
    EXPECT_EQ(tree.iconForTitle("scratch - EDITOR"), "org.example.Editor")
        << "the application's name, in any case";
    EXPECT_EQ(tree.iconForTitle("Terminal"), std::nullopt);
}

} // namespace
} // namespace tarnvik::test
