#include "accessibility/Text.h"

#include <QString>
#include <QTextBoundaryFinder>

namespace tarnvik {

namespace {

bool isAscii(std::string_view text)
{
    for (char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    }
    return true;
}

} // namespace

void appendNormalized(std::string_view text, std::string &out)
{
    if (isAscii(text)) {
        // The common case, without a round trip through UTF-16.
        for (char c : text) {
            if (c == ' ' || c == '-')
                continue;
            out.push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
        }
        return;
    }
    QString lowered = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).toLower();
    lowered.remove(QChar(u' ')).remove(QChar(u'\u2011')).remove(QChar(u'-'));
    out += lowered.toStdString();
}

std::string normalize(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    appendNormalized(text, out);
    return out;
}

std::size_t characterCount(std::string_view text)
{
    if (isAscii(text))
        return text.size();
    const QString s = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, s);
    std::size_t count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

} // namespace tarnvik
