#include "click/LabelMaker.h"

#include "platform/Diagnostics.h"
#include "preferences/Preferences.h"

#include <QString>
#include <QTextBoundaryFinder>

#include <unordered_set>

namespace tarnvik {

namespace {

std::vector<std::string> characters(const QString &text)
{
    std::vector<std::string> result;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype start = 0;
    for (qsizetype end = finder.toNextBoundary(); end != -1; end = finder.toNextBoundary()) {
        result.push_back(text.mid(start, end - start).toStdString());
        start = end;
    }
    return result;
}

const std::vector<std::string> &defaultAlphabet()
{
    static const std::vector<std::string> alphabet =
        characters(QString::fromLatin1(Preferences::defaultLabelCharacters));
    return alphabet;
}

} // namespace

std::vector<std::string> LabelMaker::labelCharacters(const Preferences &preferences)
{
    const auto stored = preferences.stringForKey(Preferences::Keys::labelCharacters);
    if (!stored)
        return defaultAlphabet();
    const auto all = characters(QString::fromStdString(*stored).toUpper());
    // The set's own order, not the order the user typed.
    const std::unordered_set<std::string> unique(all.begin(), all.end());
    if (unique.size() > 3)
        return {unique.begin(), unique.end()};
    return defaultAlphabet();
}

std::vector<std::string> LabelMaker::makeLabels(const std::vector<std::string> &characters,
                                                long count)
{
    if (count < 0 || (count > 0 && characters.empty()))
        fatal("LabelMaker: unexpected input");
    if (count == 0)
        return {};
    const auto wanted = static_cast<std::size_t>(count);
    // A queue of prefixes, expanded front first: each expansion replaces one label by its
    // children at the end, so shorter labels stay in front and none is a prefix of another.
    std::vector<std::string> queue {std::string()};
    queue.reserve(wanted + characters.size() + 1);
    std::size_t head = 0;
    while (queue.size() - head < wanted || queue.size() - head == 1) {
        const std::string prefix = std::move(queue[head++]);
        for (const auto &c : characters)
            queue.push_back(prefix + c);
    }
    return {std::make_move_iterator(queue.begin() + static_cast<std::ptrdiff_t>(head)),
            std::make_move_iterator(queue.begin() + static_cast<std::ptrdiff_t>(head + wanted))};
}

} // namespace tarnvik
