#include "app/Changelog.h"

#include <QDateTime>
#include <QFile>
#include <QLocale>
#include <QRegularExpression>
#include <QXmlStreamReader>

namespace tarnvik::Changelog {

namespace {

std::vector<std::string> itemsOf(const QString &text)
{
    static const QRegularExpression item("<li[^>]*>(.*?)</li>",
                                         QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression tag("<[^>]+>");
    std::vector<std::string> items;
    for (auto it = item.globalMatch(text); it.hasNext();) {
        const QString plain = it.next().captured(1).remove(tag).trimmed();
        if (!plain.isEmpty())
            items.push_back(plain.toStdString());
    }
    return items;
}

// The locale's date of middle length, as a desktop program's About page shows it ("25 Nov 2026",
// "Nov 25, 2026"): Qt knows a short and a long form only, so the long one without its weekday
// and with the month's short name.
QString mediumDateFormat(const QLocale &locale)
{
    QString format = locale.dateFormat(QLocale::LongFormat);
    static const QRegularExpression weekday(QStringLiteral("d{4}[,.]?\\s*"));
    format.remove(weekday);
    format.replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
    return format.trimmed();
}

// The feed writes RFC 2822 dates; the page shows the day as the user's language writes it.
std::string formattedDate(const QString &text)
{
    const QDateTime date = QDateTime::fromString(text, Qt::RFC2822Date);
    if (!date.isValid())
        return text.toStdString();
    const QLocale locale;
    return locale.toString(date.date(), mediumDateFormat(locale)).toStdString();
}

// The state of one walk through the feed, event by event.
struct Reading
{
    QString currentElement;
    QString currentVersion;
    QString currentDate;
    QString currentDescription;
    bool inItem = false;
    std::vector<ChangelogEntry> entries;

    void started(const QString &name)
    {
        currentElement = name;
        if (name != "item")
            return;
        inItem = true;
        currentVersion.clear();
        currentDate.clear();
        currentDescription.clear();
    }

    void characters(const QString &text, bool cdata)
    {
        if (!inItem)
            return;
        // Only the description holds markup, in CDATA or escaped.
        if (currentElement == "description")
            currentDescription += text;
        else if (cdata)
            return;
        else if (currentElement == "sparkle:shortVersionString")
            currentVersion += text;
        else if (currentElement == "pubDate")
            currentDate += text;
    }

    void ended(const QString &name)
    {
        if (name != "item")
            return;
        inItem = false;
        const QString version = currentVersion.trimmed();
        const std::string date = formattedDate(currentDate.trimmed());
        auto parts = sections(currentDescription.toStdString());
        if (!version.isEmpty())
            entries.push_back({version.toStdString(), date, std::move(parts)});
    }
};

} // namespace

std::vector<ChangelogSection> sections(const std::string &description)
{
    static const QRegularExpression heading("<h4[^>]*>(.*?)</h4>",
                                            QRegularExpression::CaseInsensitiveOption);
    const QString text = QString::fromStdString(description);
    std::vector<QRegularExpressionMatch> headings;
    for (auto it = heading.globalMatch(text); it.hasNext();)
        headings.push_back(it.next());
    if (headings.empty()) {
        auto items = itemsOf(text);
        if (items.empty())
            return {};
        return {{std::nullopt, std::move(items)}};
    }
    std::vector<ChangelogSection> result;
    for (std::size_t i = 0; i < headings.size(); ++i) {
        const auto begin = headings[i].capturedEnd();
        const auto end = i + 1 < headings.size() ? headings[i + 1].capturedStart() : text.size();
        auto items = itemsOf(text.mid(begin, end - begin));
        if (!items.empty())
            result.push_back({headings[i].captured(1).trimmed().toStdString(), std::move(items)});
    }
    return result;
}

std::vector<ChangelogEntry> parse(const std::string &appcast)
{
    QXmlStreamReader xml(QByteArray::fromStdString(appcast));
    // Namespaces are left unprocessed, so the version element keeps its prefixed name.
    xml.setNamespaceProcessing(false);
    Reading reading;
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement:
            reading.started(xml.qualifiedName().toString());
            break;
        case QXmlStreamReader::Characters:
            reading.characters(xml.text().toString(), xml.isCDATA());
            break;
        case QXmlStreamReader::EndElement:
            reading.ended(xml.qualifiedName().toString());
            break;
        default:
            break;
        }
    }
    return std::move(reading.entries);
}

std::vector<ChangelogEntry> load(const std::string &path)
{
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return parse(file.readAll().toStdString());
}

} // namespace tarnvik::Changelog
