// What a keystroke costs the core: choosing the targets of the trees and searching them, and
// making the labels. Trees come from generated windows read through the real walk.
#include "accessibility/BuildUITree.h"
#include "accessibility/UITrees.h"
#include "click/LabelMaker.h"
#include "platform/fake/FakePreferenceStore.h"
#include "platform/fake/FakeWindowGenerator.h"
#include "preferences/Preferences.h"

#include <benchmark/benchmark.h>

namespace tarnvik {
namespace {

// A walked window tree of about `elements` elements, with search attributes, as search mode
// builds it.
struct Fixture
{
    explicit Fixture(std::size_t elements)
    {
        // The walk leaves out what is scrolled out, so generate more until the tree is the size.
        std::size_t generated = elements;
        for (pid_t pid = 1; pid < 10 && (!tree || tree->size() < elements * 98 / 100); ++pid) {
            if (tree)
                generated = generated * elements / tree->size() + 1;
            auto &app = desktop.addApplication({.processIdentifier = pid});
            auto window = fake::generateWindow(app, generated, 7).window;
            BuildUITree builder({desktop, desktop, desktop}, true, true);
            tree = builder.build(UIElement::fullElement(desktop, window.ref()), app.info());
        }
        trees.frontmostWindowUiTree = tree;
    }

    fake::FakeDesktop desktop;
    std::shared_ptr<UITree> tree;
    fake::FakePreferenceStore store;
    Preferences preferences {store};
    UITrees trees;
};

Fixture &fixture(std::size_t elements)
{
    static std::map<std::size_t, std::unique_ptr<Fixture>> fixtures;
    auto &f = fixtures[elements];
    if (!f)
        f = std::make_unique<Fixture>(elements);
    return *f;
}

void setCounters(benchmark::State &state, const Fixture &f, std::size_t results)
{
    state.counters["tree"] = static_cast<double>(f.trees.frontmostWindowUiTree->size());
    state.counters["results"] = static_cast<double>(results);
}

void BM_Targets(benchmark::State &state)
{
    auto &f = fixture(static_cast<std::size_t>(state.range(0)));
    std::size_t n = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(n = f.trees.frontmostWindowUiTree->targets(false).size());
    setCounters(state, f, n);
}

// One search keystroke: the targets of every tree, filtered by the query; "*" is label mode,
// where every target is shown and no text compared.
template<const char *query>
void BM_TargetsAndSearch(benchmark::State &state)
{
    auto &f = fixture(static_cast<std::size_t>(state.range(0)));
    std::size_t n = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(n = f.trees.matchingElements(query, false, f.preferences).size());
    setCounters(state, f, n);
}

constexpr char searchQuery[] = "sav";
constexpr char showAll[] = "*";

void BM_MakeLabels(benchmark::State &state)
{
    fake::FakePreferenceStore store;
    const auto alphabet = LabelMaker::labelCharacters(Preferences(store));
    for (auto _ : state)
        benchmark::DoNotOptimize(LabelMaker::makeLabels(alphabet, state.range(0)));
}

BENCHMARK(BM_Targets)->Arg(1000)->Arg(5000)->Arg(20000)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_TargetsAndSearch, searchQuery)
    ->Arg(1000)
    ->Arg(5000)
    ->Arg(20000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_TargetsAndSearch, showAll)
    ->Arg(1000)
    ->Arg(5000)
    ->Arg(20000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MakeLabels)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace tarnvik

BENCHMARK_MAIN();
