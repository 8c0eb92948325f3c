#include "accessibility/BuildUITree.h"

#include "platform/AXNames.h"
#include "platform/fake/FakeDesktop.h"
#include "support/CaptureDiagnostics.h"
#include "support/TreeBuilding.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using fake::FakeElement;
using test::names;
using Names = std::vector<std::string>;

class BuildUITreeTest : public ::testing::Test
{
protected:
    fake::FakeApplication &makeApp(pid_t pid, std::optional<std::string> bundle)
    {
        return desktop.addApplication({.processIdentifier = pid, .bundleIdentifier = bundle});
    }

    std::shared_ptr<UITree> walk(const FakeElement &root, bool searchAttributes = false,
                                 bool predicate = true)
    {
        BuildUITree builder({desktop, desktop, desktop}, searchAttributes, predicate);
        const auto owner = desktop.application(root.pid()).info();
        return builder.build(UIElement::fullElement(desktop, root.ref()), owner);
    }

    static Names all(const std::shared_ptr<UITree> &tree) { return names(tree->elementsInOrder()); }

    fake::FakeDesktop desktop;
    fake::FakeApplication &app = makeApp(10, "org.example.editor");
    FakeElement window = app.addWindow(makeRect(0, 0, 400, 300), "Main");
};

TEST_F(BuildUITreeTest, WalksDepthFirstInDocumentOrderAndSkipsWhatCannotBeSeen)
{
    auto toolbar = window.add("AXToolbar", makeRect(0, 0, 400, 30));
    toolbar.add("AXButton", makeRect(0, 0, 30, 30)).title("Back");
    auto icon = toolbar.add("AXImage", makeRect(40, 0, 30, 30));
    auto insideImage = icon.add("AXButton", makeRect(40, 0, 10, 10)).title("Hidden");
    auto scroll = window.add("AXScrollArea", makeRect(0, 30, 400, 100));
    auto offscreen = scroll.add("AXGroup", makeRect(0, 500, 400, 100));
    auto belowFold = offscreen.add("AXButton", makeRect(0, 500, 50, 20)).title("Below");
    scroll.add("AXButton", makeRect(0, 40, 50, 20)).title("Visible");

    auto tree = walk(window, true);

    EXPECT_EQ(all(tree),
              (Names {"AXWindow Main", "AXToolbar", "AXButton Back", "AXImage", "AXScrollArea",
                      "AXGroup", "AXButton Visible"}));
    EXPECT_EQ(insideImage.calls(), 0) << "an image is never entered";
    EXPECT_EQ(belowFold.calls(), 0) << "an invisible element costs one element, no subtree";
    EXPECT_EQ(offscreen.calls(), 1) << "one light batch: no texts, no children, no action names";
    EXPECT_EQ(all(walk(window)),
              (Names {"AXWindow Main", "AXToolbar", "AXButton", "AXImage", "AXScrollArea",
                      "AXGroup", "AXButton"}))
        << "no texts unless asked for";
}

TEST_F(BuildUITreeTest, ACycleKeepsTheFirstOccurrenceAndPrintsOnce)
{
    auto group = window.add("AXGroup", makeRect(0, 0, 100, 100));
    auto button = group.add("AXButton", makeRect(0, 0, 10, 10)).title("Twice");
    window.appendChild(button); // a second parent
    group.appendChild(window); // an ancestor below its descendant

    tarnvik::test::captureDiagnostics();
    auto tree = walk(window, true);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "UITree#add: cycle detected\nUITree#add: cycle detected\n");
    EXPECT_EQ(all(tree), (Names {"AXWindow Main", "AXGroup", "AXButton Twice"}));
    EXPECT_EQ(tree->parent(tree->childIds(tree->rootId())->at(0))->role, "AXWindow");
}

TEST_F(BuildUITreeTest, ATableGivesItsVisibleRowsEvenWhenThatListIsEmpty)
{
    auto table = window.add("AXTable", makeRect(0, 0, 400, 100));
    table.add("AXRow", makeRect(0, 0, 400, 20)).title("Row");
    table.childList(NSAccessibilityVisibleRowsAttribute, {});
    EXPECT_EQ(all(walk(window, true)), (Names {"AXWindow Main", "AXTable"}));
}

TEST_F(BuildUITreeTest, ChildrenAreCappedAndFailuresEndTheDescentQuietly)
{
    auto many = window.add("AXGroup", makeRect(0, 0, 400, 300));
    for (int i = 0; i < 1200; ++i)
        many.add("AXButton", makeRect(0, 0, 10, 10));
    auto broken = window.add("AXGroup", makeRect(0, 0, 10, 10));
    broken.add("AXButton", makeRect(0, 0, 10, 10));
    broken.fail(NSAccessibilityChildrenAttribute, AXError::CannotComplete);
    auto odd = window.add("AXGroup", makeRect(0, 0, 10, 10));
    odd.add("AXButton", makeRect(0, 0, 10, 10));
    odd.set(AXChildrenInNavigationOrderAttribute, ValueArray {Value("not an element")});

    auto tree = walk(window);
    const auto manyId = tree->childIds(tree->rootId())->at(0);
    EXPECT_EQ(tree->children(manyId)->size(), 1000u);
    EXPECT_EQ(tree->size(), 1u + 3u + 1000u) << "the broken and the odd group have no children";
}

TEST_F(BuildUITreeTest, BrowsersReadWebAreasByPredicateUnlessTurnedOff)
{
    auto &chrome = makeApp(20, "com.google.Chrome");
    auto browser = chrome.addWindow(makeRect(0, 0, 800, 600), "Chrome");
    browser.add("AXButton", makeRect(0, 0, 30, 30)).title("Reload");
    auto page = browser.add("AXWebArea", makeRect(0, 40, 800, 560));
    auto section = page.add("AXGroup", makeRect(0, 40, 800, 100));
    auto link = section.add("AXLink", makeRect(10, 50, 100, 20)).title("News");
    auto below = link.add("AXStaticText", makeRect(10, 50, 100, 20)).value("News");
    page.predicateResults({link, link});

    tarnvik::test::captureDiagnostics();
    auto fast = walk(browser, true, true);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "UITree#add: cycle detected\n");
    EXPECT_EQ(all(fast),
              (Names {"AXWindow Chrome", "AXButton Reload", "AXWebArea", "AXLink News"}));
    EXPECT_EQ(fast->parent(fast->elementsInOrder().back()->id)->role, "AXWebArea");
    EXPECT_EQ(below.calls(), 0) << "what the query returns is not walked";

    EXPECT_EQ(all(walk(browser, true, false)),
              (Names {"AXWindow Chrome", "AXButton Reload", "AXWebArea", "AXGroup", "AXLink News",
                      "AXStaticText News"}));

    page.fail(AXUIElementsForSearchPredicateAttribute, AXError::Failure);
    EXPECT_EQ(all(walk(browser, true, true)),
              (Names {"AXWindow Chrome", "AXButton Reload", "AXWebArea"}))
        << "a failed query leaves the page empty; there is no fallback walk";
}

TEST_F(BuildUITreeTest, WindowCentreAppsReadTheButtonsAndThePageAtTheCentre)
{
    auto &notion = makeApp(40, "notion.id");
    auto frame = makeRect(0, 0, 800, 600);
    auto win = notion.addWindow(frame, "Notion");
    auto close = win.add("AXButton", makeRect(5, 5, 12, 12)).subrole("AXCloseButton");
    win.set(NSAccessibilityCloseButtonAttribute, close.ref());
    win.set(NSAccessibilityMinimizeButtonAttribute, "not a button");
    auto page = win.add("AXWebArea", makeRect(0, 30, 800, 570));
    auto block = page.add("AXGroup", makeRect(0, 30, 800, 570));
    auto text = block.add("AXStaticText", makeRect(300, 280, 200, 40));
    auto link = block.add("AXLink", makeRect(10, 100, 50, 20)).title("Page");
    page.predicateResults({link});

    EXPECT_EQ(all(walk(win, true, false)),
              (Names {"AXWindow Notion", "AXButton", "AXWebArea", "AXLink Page"}))
        << "whatever useSearchPredicate says";
    EXPECT_EQ(text.calls(), 2) << "the text at the centre, then its parent";

    notion.setHitTestResult(page);
    EXPECT_EQ(all(walk(win, false, true)),
              (Names {"AXWindow Notion", "AXButton", "AXWebArea", "AXLink"}))
        << "light results without search attributes";

    auto native = win.add("AXGroup", makeRect(0, 30, 800, 570));
    notion.setHitTestResult(native);
    EXPECT_EQ(all(walk(win)), (Names {"AXWindow Notion", "AXButton"}))
        << "a native view at the centre leaves the buttons alone";
}

TEST_F(BuildUITreeTest, FlatBuildersReadTheMenuBarAndTheDock)
{
    BuildUITree builder({desktop, desktop, desktop}, true, false);
    EXPECT_FALSE(builder.buildMenubar(app.element().ref()));
    EXPECT_FALSE(builder.buildDock()) << "no Dock running";

    auto bar = app.addMenuBar(makeRect(0, 0, 1440, 24));
    auto file = bar.add("AXMenuBarItem", makeRect(40, 0, 40, 24)).title("File");
    auto edit = bar.add("AXMenuBarItem", makeRect(80, 0, 40, 24)).title("Edit");
    bar.add("AXMenuBarItem", makeRect(120, 0, 40, 24)).title("Not visible");
    bar.childList(NSAccessibilityVisibleChildrenAttribute, {file, edit});
    file.add("AXMenu", makeRect(40, 24, 200, 300));
    auto menubar = builder.buildMenubar(app.element().ref());
    ASSERT_TRUE(menubar);
    EXPECT_EQ(all(menubar), (Names {"AXMenuBar", "AXMenuBarItem File", "AXMenuBarItem Edit"}));

    auto &dock = makeApp(50, "com.apple.dock");
    dock.element().add("AXGroup");
    EXPECT_FALSE(builder.buildDock()) << "a Dock without a list";
    auto list = dock.element().add("AXList", makeRect(0, 850, 1440, 50));
    list.add("AXDockItem", makeRect(0, 850, 50, 50)).title("Finder");
    list.add("AXDockItem", makeRect(50, 850, 50, 50)).title("Mail");
    auto tree = builder.buildDock();
    ASSERT_TRUE(tree);
    EXPECT_EQ(all(tree), (Names {"AXList", "AXDockItem Finder", "AXDockItem Mail"}));
}

} // namespace
} // namespace tarnvik
