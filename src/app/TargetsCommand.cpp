#include "app/TargetsCommand.h"

#include "accessibility/AttributeReaders.h"
#include "click/LabelMaker.h"
#include "click/SessionGeometry.h"
#include "platform/AXNames.h"
#include "platform/Diagnostics.h"
#include "platform/Screens.h"
#include "preferences/Preferences.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <chrono>
#include <cstdio>

namespace tarnvik {

namespace {

struct Reading
{
    FrontmostReader::Reading read;
    double buildMs = 0;
};

QJsonValue jsonText(const std::optional<std::string> &s)
{
    return s ? QJsonValue(QString::fromStdString(*s)) : QJsonValue(QJsonValue::Null);
}

// Every element is printed with its action names, read now where the building didn't need them.
void printTree(Accessibility &ax, const UITree &tree, const std::string &id, int depth)
{
    UIElement e = *tree.element(id);
    if (!e.actions && e.ref)
        e.actions = UIElement::readActions(ax, *e.ref);
    std::printf("%*s%s%s\n", depth * 2, "", tree.isVisible(id) ? "" : "(hidden) ",
                e.debugDescription().c_str());
    for (const auto &child : tree.childIds(id).value_or(std::vector<std::string> {}))
        printTree(ax, tree, child, depth + 1);
}

// Label mode reads no titles or subroles: the printout reads them now, after the timed build,
// since they tell a person why an element is labelled.
UIElement described(Accessibility &ax, const UIElement &e)
{
    UIElement copy = e;
    if (!copy.ref)
        return copy;
    const auto read = [&](const std::string &name) -> std::optional<std::string> {
        auto value = stringAttribute(ax, name, *copy.ref);
        return value.ok() ? value.value() : std::nullopt;
    };
    if (!copy.title)
        copy.title = read(NSAccessibilityTitleAttribute);
    if (!copy.subrole)
        copy.subrole = read(NSAccessibilitySubroleAttribute);
    return copy;
}

} // namespace

int TargetsCommand::run(const Options &options)
{
    auto &ax = _services.platform.ax;
    const FrontmostReader reader(_services);
    std::optional<Reading> reading;
    for (int i = 0; i < std::max(1, options.repeat); ++i) {
        const auto start = std::chrono::steady_clock::now();
        auto read = reader.read(options.search.has_value());
        if (auto *failure = std::get_if<std::string>(&read)) {
            tellUser(*failure);
            return 1;
        }
        const std::chrono::duration<double, std::milli> elapsed =
            std::chrono::steady_clock::now() - start;
        reading = Reading {std::move(std::get<FrontmostReader::Reading>(read)), elapsed.count()};
        if (options.repeat > 1)
            std::fprintf(stderr, "build %d: %.2f ms\n", i + 1, reading->buildMs);
    }

    if (options.tree) {
        for (const auto &tree : reading->read.trees.allTrees())
            printTree(ax, *tree, tree->rootId(), 0);
        return 0;
    }

    const auto elements =
        elementsOnScreen(reading->read.trees.matchingElements(options.search.value_or("*"), false,
                                                              _services.preferences),
                         reading->read.screen, reading->read.firstScreenHeight);
    const auto labels = LabelMaker::makeLabels(LabelMaker::labelCharacters(_services.preferences),
                                               static_cast<long>(elements.size()));
    if (options.json) {
        QJsonArray targets;
        for (std::size_t i = 0; i < elements.size(); ++i) {
            const auto e = described(ax, *elements[i]);
            targets.append(QJsonObject {
                {"label", QString::fromStdString(labels[i])},
                {"role", QString::fromStdString(e.role)},
                {"subrole", jsonText(e.subrole)},
                {"title", jsonText(e.title)},
                {"frame", QJsonArray {e.position.x, e.position.y, e.size.width, e.size.height}},
            });
        }
        const QJsonObject result {{"buildMs", reading->buildMs}, {"targets", targets}};
        std::puts(QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
        return 0;
    }
    std::printf("build: %.2f ms, %zu targets\n", reading->buildMs, elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const auto e = described(ax, *elements[i]);
        std::printf("%-4s %-16s %-14s %-40s %s\n", labels[i].c_str(), e.role.c_str(),
                    e.subrole.value_or("").c_str(), e.title.value_or("").c_str(),
                    describe(e.frame()).c_str());
    }
    return 0;
}

} // namespace tarnvik
