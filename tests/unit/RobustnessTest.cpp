#include "accessibility/BuildUITree.h"
#include "accessibility/UITrees.h"
#include "platform/AXNames.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakePreferenceStore.h"
#include "preferences/Preferences.h"
#include "support/CaptureDiagnostics.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <set>

namespace tarnvik {
namespace {

using fake::FakeElement;

// Trees that a broken or hostile application might report: cycles, shared children, huge child
// lists, frames of NaN, infinity and negative size, values of the wrong type, elements that die
// while they are read.
class HostileApplication
{
public:
    HostileApplication(fake::FakeDesktop &desktop, pid_t pid, std::uint32_t seed, int nodes)
        : app(
            desktop.addApplication({.processIdentifier = pid, .bundleIdentifier = bundleFor(seed)}))
        , random(seed)
    {
        window = app.addWindow(makeRect(0, 0, 1000, 800), "Hostile");
        all.push_back(window);
        while (static_cast<int>(all.size()) < nodes)
            grow();
        for (int i = 0; i < nodes / 10; ++i)
            linkOddly();
        for (int i = 0; i < nodes / 20; ++i)
            spoil(pick());
        edges += 1500;
        auto crowd = pick();
        for (int i = 0; i < 1500; ++i)
            all.push_back(crowd.add("AXButton", frame()));
    }

    fake::FakeApplication &app;
    FakeElement window {app.element()};
    std::vector<FakeElement> all;
    std::size_t edges = 0;

private:
    static std::optional<std::string> bundleFor(std::uint32_t seed)
    {
        // Some runs take the browser routes.
        return seed % 3 == 0 ? std::optional<std::string>("com.google.Chrome") : std::nullopt;
    }

    FakeElement pick() { return all[random() % all.size()]; }

    double coordinate()
    {
        switch (random() % 8) {
        case 0:
            return std::numeric_limits<double>::quiet_NaN();
        case 1:
            return std::numeric_limits<double>::infinity();
        case 2:
            return -1e308;
        case 3:
            return -static_cast<double>(random() % 500);
        default:
            return static_cast<double>(random() % 1200);
        }
    }

    CGRect frame() { return makeRect(coordinate(), coordinate(), coordinate(), coordinate()); }

    void grow()
    {
        static const char *roles[] = {"AXGroup", "AXButton",     "AXWebArea",  "AXScrollArea",
                                      "AXRow",   "AXStaticText", "AXImage",    "AXTable",
                                      "AXLink",  "AXCell",       "AXTextArea", "AXUnknown"};
        auto child = pick().add(roles[random() % std::size(roles)], frame());
        child.title("t" + std::to_string(all.size()));
        all.push_back(child);
        ++edges;
    }

    void linkOddly()
    {
        auto parent = pick();
        auto other = pick();
        switch (random() % 3) {
        case 0:
            parent.appendChild(other); // another parent, or an ancestor: a cycle
            break;
        case 1:
            parent.predicateResults({other, window, parent});
            break;
        default:
            parent.childList(AXChildrenInNavigationOrderAttribute, {other, parent});
            break;
        }
        edges += 3;
    }

    void spoil(const FakeElement &e)
    {
        switch (random() % 6) {
        case 0:
            e.set(NSAccessibilityRoleAttribute, 42);
            break;
        case 1:
            e.set(NSAccessibilityPositionAttribute, "here");
            break;
        case 2:
            e.rawActions({"AXPress", 3.5});
            break;
        case 3:
            e.set(NSAccessibilityChildrenAttribute, "children");
            break;
        case 4:
            e.set(NSAccessibilityValueAttribute, ValueArray {Value(true)});
            break;
        default:
            e.kill();
            break;
        }
    }

    std::mt19937 random;
};

class RobustnessTest : public ::testing::TestWithParam<std::uint32_t>
{ };

TEST_P(RobustnessTest, HostileTreesNeverCrashHangOrGrowBeyondWhatTheyGave)
{
    const std::uint32_t seed = GetParam();
    fake::FakeDesktop desktop;
    HostileApplication hostile(desktop, 100, seed, 400);
    if (seed % 4 == 1)
        hostile.app.dieAfterCalls(static_cast<int>(seed % 900));
    fake::FakePreferenceStore store;
    Preferences preferences(store);

    for (bool searchAttributes : {false, true}) {
        const int before = desktop.totalCalls();
        tarnvik::test::captureDiagnostics();
        BuildUITree builder({desktop, desktop, desktop}, searchAttributes, true);
        auto root = UIElement::fullElement(desktop, hostile.window.ref());
        if (!root) {
            ::testing::internal::GetCapturedStdout();
            continue;
        }
        auto tree = builder.build(root, hostile.app.info());
        ::testing::internal::GetCapturedStdout();

        // Each platform element at most once; the calls proportional to what was given.
        EXPECT_LE(tree->size(), hostile.all.size());
        const auto calls = static_cast<std::size_t>(desktop.totalCalls() - before);
        EXPECT_LE(calls, 8 * hostile.all.size() + 2 * (hostile.edges + 3 * hostile.all.size()));

        std::set<std::string> ids;
        for (const auto &e : tree->elementsInOrder())
            ids.insert(e->id);
        for (bool includeAll : {false, true}) {
            const auto targets = tree->targets(includeAll);
            std::set<std::string> seen;
            for (const auto &t : targets) {
                EXPECT_TRUE(ids.contains(t->id));
                EXPECT_TRUE(seen.insert(t->id).second) << "a target listed twice";
                EXPECT_TRUE(tree->visibleFrame(t->id));
            }
        }
        UITrees trees;
        trees.frontmostWindowUiTree = tree;
        for (const char *query : {"", "t1", "button", "*"})
            EXPECT_LE(trees.matchingElements(query, false, preferences).size(), tree->size());
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RobustnessTest, ::testing::Range(1u, 41u));

TEST(Robustness, AParentCycleAboveTheWindowCentreEndsTheClimb)
{
    fake::FakeDesktop desktop;
    auto &app = desktop.addApplication({.processIdentifier = 5, .bundleIdentifier = "notion.id"});
    auto window = app.addWindow(makeRect(0, 0, 100, 100), "Loop");
    auto a = window.add("AXGroup", makeRect(0, 0, 100, 100));
    auto b = a.add("AXGroup", makeRect(0, 0, 100, 100));
    a.set(NSAccessibilityParentAttribute, b.ref());
    BuildUITree builder({desktop, desktop, desktop}, false, false);
    auto tree = builder.build(UIElement::fullElement(desktop, window.ref()), app.info());
    EXPECT_EQ(tree->size(), 1u);
}

} // namespace
} // namespace tarnvik
