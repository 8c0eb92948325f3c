#include "accessibility/TreeMirror.h"

#include "accessibility/BuildUITrees.h"
#include "platform/KeyCodes.h"
#include "support/ModeSession.h"

#include <cctype>
#include <gtest/gtest.h>

namespace tarnvik {
namespace {

// What the labels of some trees stand for: each element's title and frame, in label order.
using Labelled = std::vector<std::pair<std::string, CGRect>>;

class TreeMirrorTest : public test::ModeTest
{
protected:
    TreeMirrorTest()
    {
        otherWindow.add("AXButton", makeRect(5, 5, 50, 20));
        treeQueue.hold = true;
    }

    Labelled labelled(const UITrees &trees)
    {
        Labelled result;
        for (const auto &element : trees.matchingElements("*", false, preferences))
            result.emplace_back(element->title.value_or(""), element->frame());
        return result;
    }

    // What a session's read finds now.
    Labelled freshRead()
    {
        auto app = *desktop.frontmostApplication();
        BuildUITrees builder({{desktop, desktop, desktop}, preferences, scheduler}, app,
                             UIElement::focusedWindow(desktop, app.processIdentifier),
                             desktop.menuBarOwningApplication(), nullptr, true);
        return labelled(*builder.build({}));
    }

    // The session's own read, once it is due behind the mirror's labels.
    void readBehind()
    {
        scheduler.advance(Seconds(0.05));
        treeQueue.runAll();
        scheduler.runPending();
    }

    Labelled mirrored()
    {
        auto m = mirror.current(1);
        return m ? labelled(m->trees) : Labelled {};
    }

    // Lets the mirror's reads run as they come due, for `time`.
    void runFor(Seconds time)
    {
        for (Seconds t {0}; t < time; t += Seconds(0.05)) {
            scheduler.advance(Seconds(0.05));
            treeQueue.runAll();
            scheduler.runPending();
        }
    }

    // The window's children changed, or what `kind` says of `source`.
    void change(AccessibilityChange kind = AccessibilityChange::children,
                std::optional<fake::FakeElement> source = std::nullopt)
    {
        desktop.reportChange(source.value_or(window), kind);
        scheduler.runPending();
    }

    fake::FakeApplication &other = desktop.addApplication(
        {.processIdentifier = 2, .bundlePath = "/usr/bin/other", .localizedName = "Other"});
    fake::FakeElement otherWindow = other.addWindow(makeRect(0, 0, 800, 600), "Other");
    TreeMirror mirror {{.platform = {desktop, desktop, desktop},
                        .events = desktop,
                        .preferences = preferences,
                        .scheduler = scheduler,
                        .queue = treeQueue},
                       {},
                       true};
    // A session over the mirror, on the same queue.
    Mode mirroredMode {[this] {
        auto s = services();
        s.mirror = &mirror;
        return s;
    }()};
};

TEST_F(TreeMirrorTest, ChangesAreReadOnceTheySettleAndTheMirrorThenMatchesAFreshRead)
{
    mirror.start();
    EXPECT_EQ(desktop.totalCalls(), 0) << "read on the queue, not at once";
    EXPECT_EQ(mirror.state(), TreeMirror::State::reading);
    runFor(Seconds(0.1));
    ASSERT_EQ(mirror.state(), TreeMirror::State::current);
    EXPECT_EQ(mirrored(), freshRead());
    EXPECT_EQ(mirrored().size(), 4u) << "the three buttons and the text field";

    // A child added, a subtree hidden, a frame moved: each reported, each read once settled.
    auto added = window.add("AXButton", makeRect(400, 300, 60, 20)).title("New");
    added.actions({AXPressAction});
    change();
    EXPECT_EQ(mirror.current(1), std::nullopt) << "nothing is given while a change is pending";
    runFor(Seconds(1.2));
    ASSERT_EQ(mirror.state(), TreeMirror::State::current);
    EXPECT_EQ(mirrored(), freshRead());
    EXPECT_EQ(mirrored().size(), 5u);

    added.frame(makeRect(0, 0, 0, 0));
    change(AccessibilityChange::visibility, added);
    runFor(Seconds(1.2));
    EXPECT_EQ(mirrored(), freshRead());
    EXPECT_EQ(mirrored().size(), 4u);

    added.frame(makeRect(500, 200, 60, 20));
    change(AccessibilityChange::bounds, added);
    runFor(Seconds(1.2));
    EXPECT_EQ(mirrored(), freshRead());
    EXPECT_EQ(mirrored().back().second, makeRect(500, 200, 60, 20));

    // Nothing that counts reported, nothing read: a minute of a spinner turning, which is
    // neither labelled nor holds a label, costs no call.
    auto spinner = window.add("AXBusyIndicator", makeRect(700, 20, 16, 16));
    change();
    runFor(Seconds(1.2));
    ASSERT_EQ(mirror.state(), TreeMirror::State::current);
    const int calls = desktop.totalCalls();
    for (int i = 0; i < 600; ++i) {
        desktop.reportChange(spinner, AccessibilityChange::bounds);
        desktop.reportChange(spinner, AccessibilityChange::value);
        runFor(Seconds(0.1));
    }
    EXPECT_EQ(desktop.totalCalls(), calls);
    EXPECT_EQ(mirror.state(), TreeMirror::State::current);
    // The same of a labelled button counts.
    desktop.reportChange(added, AccessibilityChange::name);
    runFor(Seconds(1.2));
    EXPECT_GT(desktop.totalCalls(), calls);
}

TEST_F(TreeMirrorTest, AFloodKeepsNothingUntilItStopsAndAReadOverlappedByAChangeIsDropped)
{
    mirror.start();
    runFor(Seconds(0.1));
    const auto button = window.add("AXButton", makeRect(400, 200, 60, 20)).title("Moving");
    button.actions({AXPressAction});
    change();
    runFor(Seconds(1.2));
    const int calls = desktop.totalCalls();
    // An animation: a labelled button moves every 50 ms for two seconds.
    for (int i = 0; i < 40; ++i) {
        button.frame(makeRect(400 + i, 200, 60, 20));
        change(AccessibilityChange::bounds, button);
        scheduler.advance(Seconds(0.05));
        treeQueue.runAll();
    }
    EXPECT_EQ(mirror.state(), TreeMirror::State::flooded);
    EXPECT_EQ(mirror.current(1), std::nullopt);
    EXPECT_EQ(desktop.totalCalls(), calls) << "nothing read while the changes keep coming";
    runFor(Seconds(0.2));
    EXPECT_EQ(mirror.state(), TreeMirror::State::current) << "read once they stop";

    // A change while the read is on its way: that read is not kept, the next one is.
    window.add("AXButton", makeRect(400, 300, 60, 20)).actions({AXPressAction});
    change();
    for (int i = 0; i < 40 && treeQueue.held.empty(); ++i) {
        scheduler.advance(Seconds(0.05));
        scheduler.runPending();
    }
    ASSERT_EQ(treeQueue.held.size(), 1u);
    change();
    treeQueue.runAll();
    scheduler.runPending();
    EXPECT_EQ(mirror.state(), TreeMirror::State::changed);
    runFor(Seconds(1.2));
    EXPECT_EQ(mirror.state(), TreeMirror::State::current);
    EXPECT_EQ(mirrored(), freshRead());

    // A change made while the read ran, whose report arrives only after it ended: nor is that
    // read kept.
    window.add("AXButton", makeRect(400, 350, 60, 20)).actions({AXPressAction});
    change();
    desktop.holdReports(true);
    runFor(Seconds(1.2));
    EXPECT_EQ(mirror.state(), TreeMirror::State::reading) << "the read waits for the reports";
    auto late = window.add("AXButton", makeRect(400, 380, 60, 20));
    late.actions({AXPressAction});
    change();
    desktop.holdReports(false);
    scheduler.runPending();
    EXPECT_EQ(mirror.state(), TreeMirror::State::changed);
    runFor(Seconds(1.2));
    EXPECT_EQ(mirror.state(), TreeMirror::State::current);
    EXPECT_EQ(mirrored(), freshRead());
}

TEST_F(TreeMirrorTest, OnlyTheFrontApplicationIsMirroredNeverAnIgnoredOneOrThisProgram)
{
    mirror.start();
    EXPECT_EQ(desktop.watched(), 1);
    desktop.setMenuBarOwner(2);
    desktop.activate(2);
    EXPECT_EQ(desktop.watched(), 2);
    EXPECT_EQ(mirror.pid(), 2);
    const int calls = window.calls();
    treeQueue.runAll();
    scheduler.runPending();
    EXPECT_EQ(window.calls(), calls) << "the read asked for the one before finds it left the front";
    EXPECT_GT(otherWindow.calls(), 0);
    EXPECT_EQ(mirror.state(), TreeMirror::State::current);
    EXPECT_NE(mirror.current(2), std::nullopt);
    EXPECT_EQ(mirror.current(1), std::nullopt);

    preferences.setDisabledBundlePaths({"/usr/bin/example"});
    desktop.setMenuBarOwner(1);
    desktop.activate(1);
    EXPECT_EQ(desktop.watched(), 0) << "ignored";
    EXPECT_EQ(mirror.state(), TreeMirror::State::none);
    auto &self = desktop.addApplication({.processIdentifier = 99, .localizedName = "Tarnvik"});
    self.addWindow(makeRect(0, 0, 400, 300), "Settings");
    desktop.activate(99);
    EXPECT_EQ(desktop.watched(), 0);
    EXPECT_TRUE(treeQueue.held.empty());

    // An application whose changes can't be heard is read, and nothing of it kept.
    desktop.refuseWatches(true);
    desktop.setMenuBarOwner(2);
    desktop.activate(2);
    treeQueue.runAll();
    scheduler.runPending();
    EXPECT_GT(otherWindow.calls(), 0);
    EXPECT_EQ(mirror.state(), TreeMirror::State::none);
    EXPECT_EQ(mirror.current(2), std::nullopt);

    // Once a session has read it, it is on the bus: heard from then on, and read.
    desktop.refuseWatches(false);
    mirroredMode.activate(true);
    treeQueue.runAll();
    scheduler.runPending();
    ASSERT_NE(mirroredMode.targetsView(), nullptr);
    EXPECT_EQ(desktop.watched(), 2);
    runFor(Seconds(1.2));
    EXPECT_EQ(mirror.state(), TreeMirror::State::current);
    EXPECT_NE(mirror.current(2), std::nullopt);
}

TEST_F(TreeMirrorTest, ASessionShowsTheMirrorAtOnceAndItsReadCorrectsWhatChangedUnreported)
{
    mirror.start();
    runFor(Seconds(0.1));
    mirroredMode.activate(true);
    scheduler.runPending();
    ASSERT_NE(mirroredMode.targetsView(), nullptr) << "labels before the session's read ran";
    EXPECT_EQ(mirroredMode.targetsView()->labels(),
              (std::vector<std::string> {"S", "A", "D", "F"}));
    EXPECT_TRUE(treeQueue.held.empty()) << "the session's read waits behind the labels";
    const int shows = views.w.shows;
    readBehind();
    EXPECT_EQ(views.w.shows, shows) << "the read found the same: the labels stay";
    mirroredMode.deactivate(true);

    // A button moved and nobody said so: the session's read puts its label where it now is.
    auto moved = window.add("AXButton", makeRect(400, 300, 60, 20)).title("Moved");
    moved.actions({AXPressAction});
    auto last = window.add("AXButton", makeRect(400, 400, 60, 20)).title("Last");
    last.actions({AXPressAction});
    change();
    runFor(Seconds(1.2));
    moved.frame(makeRect(600, 500, 60, 20));
    mirroredMode.activate(true);
    scheduler.runPending();
    ASSERT_EQ(mirroredMode.targetsView()->labels().size(), 6u);
    const auto &elements = mirroredMode.targetsView()->elements();
    EXPECT_EQ(elements[4]->frame(), makeRect(400, 300, 60, 20)) << "as the mirror has it";
    readBehind();
    EXPECT_EQ(views.w.shows, shows + 2) << "corrected in the next frame";
    EXPECT_EQ(mirroredMode.targetsView()->elements()[4]->frame(), makeRect(600, 500, 60, 20));
    constexpr std::uint16_t keyJ = 38;
    ASSERT_EQ(mirroredMode.targetsView()->labels()[4], "J");
    EXPECT_FALSE(press(keyJ));
    ASSERT_FALSE(presses().empty());
    EXPECT_EQ(presses().back().position, (CGPoint {630, 510})) << "where the button is now";

    // The last labelled element is asked where it stands before the mirror is used: moved, as
    // content that scrolled without a word, the session reads after the key.
    scheduler.advance(Seconds(1));
    last.frame(makeRect(400, 200, 60, 20));
    mirroredMode.activate(true);
    scheduler.runPending();
    EXPECT_EQ(mirroredMode.targetsView(), nullptr) << "no labels before the session's read";
    EXPECT_EQ(mirror.state(), TreeMirror::State::changed);
    treeQueue.runAll();
    scheduler.runPending();
    ASSERT_NE(mirroredMode.targetsView(), nullptr);
    EXPECT_EQ(mirroredMode.targetsView()->elements().back()->frame(), makeRect(400, 200, 60, 20));
}

TEST_F(TreeMirrorTest, ALabelBegunBeforeTheCorrectionIsFinishedWhereOnlyPlacesChanged)
{
    // Four characters make some labels two long.
    preferences.setString(Preferences::Keys::labelCharacters, "asdf");
    auto moved = window.add("AXButton", makeRect(400, 300, 60, 20)).title("Moved");
    moved.actions({AXPressAction});
    window.add("AXButton", makeRect(400, 400, 60, 20)).title("Last").actions({AXPressAction});
    mirror.start();
    runFor(Seconds(0.1));
    moved.frame(makeRect(600, 500, 60, 20));
    mirroredMode.activate(true);
    scheduler.runPending();
    ASSERT_NE(mirroredMode.targetsView(), nullptr);
    const auto labels = mirroredMode.targetsView()->labels();
    ASSERT_EQ(labels.size(), 6u);
    const std::string label = labels[4];
    ASSERT_EQ(label.size(), 2u);
    const auto key = [](char c) {
        return *keyCodeForAsciiCharacter(static_cast<char>(std::tolower(c)));
    };
    press(key(label[0]));

    readBehind();
    const auto *view = mirroredMode.targetsView();
    ASSERT_EQ(view->elements()[4]->frame(), makeRect(600, 500, 60, 20)) << "corrected";
    EXPECT_EQ(view->labels(), labels) << "the same elements in the same order";
    EXPECT_EQ(view->matchedPrefixes()[4], 1) << "the typed letter still marked";
    press(key(label[1]));
    ASSERT_EQ(presses().size(), 1u);
    EXPECT_EQ(presses().back().position, (CGPoint {630, 510})) << "where the button is now";
}

TEST_F(TreeMirrorTest, ASessionBegunWhileTheMirrorReadsShowsThatReadWhichEndsFirst)
{
    mirror.start();
    mirroredMode.activate(true);
    scheduler.runPending();
    EXPECT_EQ(mirroredMode.targetsView(), nullptr);
    ASSERT_EQ(treeQueue.held.size(), 2u) << "the mirror's read, then the session's";
    auto mirrorRead = std::move(treeQueue.held.front());
    treeQueue.held.erase(treeQueue.held.begin());
    mirrorRead();
    scheduler.runPending();
    ASSERT_NE(mirroredMode.targetsView(), nullptr);
    EXPECT_EQ(mirroredMode.targetsView()->labels(),
              (std::vector<std::string> {"S", "A", "D", "F"}));
    const int shows = views.w.shows;
    treeQueue.runAll();
    scheduler.runPending();
    EXPECT_EQ(views.w.shows, shows) << "the session's read found the same";
    EXPECT_EQ(mirror.state(), TreeMirror::State::current);
}

TEST_F(TreeMirrorTest, ASearchSessionsReadIsAdoptedOnlyWhenNothingChangedMeanwhile)
{
    mirror.start();
    runFor(Seconds(0.1));
    const auto before = mirror.current(1)->trees.frontmostWindowUiTree;
    mirroredMode.activate(false);
    readBehind();
    EXPECT_EQ(mirror.state(), TreeMirror::State::current);
    EXPECT_NE(mirror.current(1)->trees.frontmostWindowUiTree, before) << "the session's read";
    mirroredMode.deactivate(true);

    mirroredMode.activate(false);
    scheduler.runPending();
    window.add("AXButton", makeRect(400, 300, 60, 20)).actions({AXPressAction});
    change();
    readBehind();
    EXPECT_EQ(mirror.state(), TreeMirror::State::changed)
        << "a change came while the session read: its own read follows";
    runFor(Seconds(1.2));
    EXPECT_EQ(mirrored(), freshRead());
}

} // namespace
} // namespace tarnvik
