// What the overlay costs on a search keystroke: a new result of 500 labels made, laid out and
// drawn (the window rendered into an image, as the screen would get it), and the labels of one
// result drawn again (a typed letter marking prefixes).
#include "accessibility/UITrees.h"
#include "click/LabelMaker.h"
#include "click/TargetsView.h"
#include "click/views/QtTargetsWindow.h"
#include "labels/LabelLayer.h"
#include "labels/LabelTheme.h"
#include "platform/fake/FakePreferenceStore.h"
#include "preferences/Preferences.h"

#include <QApplication>
#include <QImage>
#include <QWidget>

#include <benchmark/benchmark.h>

namespace tarnvik {
namespace {

constexpr int count = 500;

// 500 elements in a grid over a 1920 by 1080 screen.
struct Result
{
    Result()
    {
        auto root = std::make_shared<UIElement>(std::nullopt, "AXWindow", CGPoint {0, 0},
                                                CGSize {1920, 1080});
        auto tree = UITree::make(root);
        for (int i = 0; i < count; ++i) {
            auto e = std::make_shared<UIElement>(
                std::nullopt, "AXButton",
                CGPoint {double(40 + (i % 25) * 74), double(40 + (i / 25) * 50)}, CGSize {60, 24});
            tree->add(e, root->id);
            elements.push_back(e);
        }
        trees.frontmostWindowUiTree = tree;
        fake::FakePreferenceStore store;
        labels = LabelMaker::makeLabels(LabelMaker::labelCharacters(Preferences(store)), count);
    }
    std::vector<UIElementPtr> elements;
    UITrees trees;
    std::vector<std::string> labels;
};

// The overlay of a 1920 by 1080 screen, drawn into an image as the screen would get it.
struct Overlay
{
    explicit Overlay(bool hasCompositor = true)
        : pool(OverlayOptions {hasCompositor, [] { return true; }, {}})
    { }

    void draw()
    {
        image.fill(Qt::transparent);
        window.widget()->render(&image);
        benchmark::DoNotOptimize(image.constBits());
    }

    Result result;
    OverlayPool pool;
    QtTargetsWindow window {
        pool, QRectF(0, 0, 1920, 1080),
        std::make_shared<LabelImageCache>(labelColors("original", false), 10, 1)};
    QImage image {1920, 1080, QImage::Format_ARGB32_Premultiplied};
};

void newResults(benchmark::State &state, bool hasCompositor)
{
    Overlay overlay(hasCompositor);
    const Result &result = overlay.result;
    for (auto _ : state) {
        TargetsView view(result.elements, result.trees, result.labels, false);
        overlay.window.show(view);
        overlay.draw();
    }
}

void BM_NewResultOf500Labels(benchmark::State &state)
{
    newResults(state, true);
}
BENCHMARK(BM_NewResultOf500Labels)->Unit(benchmark::kMillisecond);

// The same without a compositor: the window shaped to its labels, as on a bare X server.
void BM_NewResultOf500LabelsShaped(benchmark::State &state)
{
    newResults(state, false);
}
BENCHMARK(BM_NewResultOf500LabelsShaped)->Unit(benchmark::kMillisecond);

void BM_RedrawOf500Labels(benchmark::State &state)
{
    Overlay overlay;
    const Result &result = overlay.result;
    TargetsView view(result.elements, result.trees, result.labels, false);
    overlay.window.show(view);
    overlay.draw();
    bool marked = false;
    for (auto _ : state) {
        marked = !marked;
        view.setLabelQuery(marked ? "S" : "");
        overlay.window.update();
        overlay.draw();
    }
}
BENCHMARK(BM_RedrawOf500Labels)->Unit(benchmark::kMillisecond);

// What a new result costs before its first visible frame: each label shaped, laid out and
// rendered into its image once (the overlay's first paint runs at opacity 0 and skips this).
void BM_500LabelImages(benchmark::State &state)
{
    Result result;
    const auto colors = labelColors("original", false);
    for (auto _ : state) {
        for (const auto &label : result.labels) {
            LabelLayer layer(label, colors, 10, 1);
            layer.layoutLabel();
            benchmark::DoNotOptimize(layer.image().constBits());
        }
    }
}
BENCHMARK(BM_500LabelImages)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tarnvik

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
