// The overlay's window outlives its session, kept for the next one: nothing of one session may
// show or run in the next.
#include "click/TargetsView.h"
#include "click/views/QtTargetsWindow.h"
#include "labels/LabelTheme.h"

#include <QAbstractAnimation>
#include <QCoreApplication>
#include <QImage>

#include <algorithm>
#include <gtest/gtest.h>
#include <list>

namespace tarnvik {
namespace {

// Qt's animations advanced by hand instead of by the clock.
class ManualAnimationClock final : public QAnimationDriver
{
public:
    ManualAnimationClock() { install(); }
    ~ManualAnimationClock() override { uninstall(); }
    qint64 elapsed() const override { return _now; }
    void advanceBy(qint64 milliseconds)
    {
        // Starting an animation is itself posted.
        QCoreApplication::processEvents();
        _now += milliseconds;
        advance();
    }

private:
    qint64 _now = 0;
};

// The darkest channel drawn over a white ground: 255 where it draws nothing (no compositor: the
// window is shaped instead); labels' text is near black at full opacity.
int darkest(QWidget *widget)
{
    QImage image(widget->size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    widget->render(&image);
    int result = 255;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QRgb p = image.pixel(x, y);
            result = std::min({result, qRed(p), qGreen(p), qBlue(p)});
        }
    return result;
}

// A button labelled "A", as a session shows it.
class OverlayPoolTest : public testing::Test
{
protected:
    OverlayPoolTest()
    {
        auto root = std::make_shared<UIElement>(std::nullopt, "AXWindow", CGPoint {0, 0},
                                                CGSize {800, 600});
        auto tree = UITree::make(root);
        button = std::make_shared<UIElement>(std::nullopt, "AXButton", CGPoint {100, 100},
                                             CGSize {80, 30});
        tree->add(button, root->id);
        trees.frontmostWindowUiTree = tree;
    }

    // The window brought to the front with the session's label, focused unless told otherwise.
    void show(QtTargetsWindow &window, bool focusFirst = true)
    {
        window.orderFront();
        window.show(views.emplace_back(std::vector {button}, trees, std::vector<std::string> {"A"},
                                       focusFirst));
    }

    bool reduceMotion = true;
    OverlayPool pool {OverlayOptions {false, [this] { return reduceMotion; }, {}}};
    std::shared_ptr<LabelImageCache> labels =
        std::make_shared<LabelImageCache>(labelColors("original", false), 10, 1);
    UIElementPtr button;
    UITrees trees;
    std::list<TargetsView> views; // a window draws the view it was shown for as long as it lives
};

TEST_F(OverlayPoolTest, TheNextSessionGetsTheClosedWindowHiddenAndEmpty)
{
    QWidget *first = nullptr;
    {
        QtTargetsWindow window(pool, QRectF(0, 0, 800, 600), labels);
        show(window);
        first = window.widget();
        EXPECT_TRUE(first->isVisible());
        EXPECT_LT(darkest(first), 255);
    }
    EXPECT_FALSE(first->isVisible());

    QtTargetsWindow next(pool, QRectF(0, 0, 640, 480), labels);
    ASSERT_EQ(next.widget(), first);
    EXPECT_EQ(first->geometry(), QRect(0, 0, 640, 480));
    next.orderFront();
    EXPECT_FALSE(first->isVisible()) << "nothing to show before the new labels";
    EXPECT_EQ(darkest(first), 255) << "the last session's labels are gone";

    QtTargetsWindow alongside(pool, QRectF(0, 0, 640, 480), labels);
    EXPECT_NE(alongside.widget(), first) << "a window in use is not handed out twice";
}

TEST_F(OverlayPoolTest, AFlashCutShortByClosingCompletesForNoOne)
{
    ManualAnimationClock clock;
    int completed = 0;
    {
        QtTargetsWindow window(pool, QRectF(0, 0, 800, 600), labels);
        show(window);
        window.playClickAnimation([&completed] { ++completed; });
        clock.advanceBy(100);
    }
    clock.advanceBy(300);
    EXPECT_EQ(completed, 0);

    QtTargetsWindow next(pool, QRectF(0, 0, 800, 600), labels);
    show(next);
    next.playClickAnimation([&completed] { ++completed; });
    clock.advanceBy(100);
    EXPECT_EQ(completed, 0);
    clock.advanceBy(150);
    EXPECT_EQ(completed, 1) << "a flash left to run completes";
}

TEST_F(OverlayPoolTest, TheDesktopsReducedMotionIsAskedAtEachSession)
{
    reduceMotion = false;
    const auto firstFrame = [&] {
        QtTargetsWindow window(pool, QRectF(0, 0, 800, 600), labels);
        show(window, false); // the focused label hides behind its highlight
        return darkest(window.widget());
    };
    EXPECT_GT(firstFrame(), 200) << "labels fade in from nothing";
    reduceMotion = true;
    EXPECT_LT(firstFrame(), 100) << "switched off while the program runs: labels at once";
}

} // namespace
} // namespace tarnvik
