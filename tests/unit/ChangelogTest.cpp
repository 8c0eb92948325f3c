#include "app/Changelog.h"

#include <QLocale>

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace tarnvik {
namespace {

using Section = ChangelogSection;

std::string feed(const std::string &items)
{
    return "<?xml version=\"1.0\"?><rss xmlns:sparkle=\"http://www.andymatuschak.org/"
           "xml-namespaces/sparkle\"><channel><title>Feed</title><description><![CDATA[<li>not "
           "an item</li>]]></description>"
        + items + "</channel></rss>";
}

TEST(Changelog, AnItemNeedsAVersionAndItsDateIsShownAsTheLocaleWritesIt)
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
    const auto entries = Changelog::parse(feed(
        "<item><title>no version</title><pubDate>Mon, 23 Nov 2026 12:00:00 +0000</pubDate></item>"
        "<item><sparkle:shortVersionString> 0.2.0\n</sparkle:shortVersionString>"
        "<pubDate>Wed, 25 Nov 2026 12:00:00 +0000</pubDate></item>"
        "<item><sparkle:shortVersionString>0.1.0</sparkle:shortVersionString>"
        "<pubDate> last Tuesday </pubDate></item>"));
    ASSERT_EQ(entries.size(), 2u) << "the feed's own description and the versionless item";
    EXPECT_EQ(entries[0].version, "0.2.0");
    EXPECT_EQ(entries[0].date, "25 Nov 2026");
    EXPECT_EQ(entries[1].date, "last Tuesday") << "a date that doesn't parse, as written";
    EXPECT_TRUE(entries[0].sections.empty());

    const auto dateIn = [](QLocale locale) {
        QLocale::setDefault(locale);
        return Changelog::parse(feed("<item><sparkle:shortVersionString>1</"
                                     "sparkle:shortVersionString><pubDate>Wed, 25 Nov 2026 "
                                     "12:00:00 +0000</pubDate></item>"))
            .front()
            .date;
    };
    EXPECT_EQ(dateIn(QLocale(QLocale::English, QLocale::UnitedStates)), "Nov 25, 2026");
    EXPECT_EQ(dateIn(QLocale(QLocale::Japanese, QLocale::Japan)), "2026年11月25日");
    QLocale::setDefault(before);
}

TEST(Changelog, HeadingsOpenSectionsOfTheListItemsAfterThem)
{
    EXPECT_EQ(Changelog::sections("<ul><li>one</li><LI class=\"x\"> <b>two</b> </LI></ul>"),
              (std::vector<Section> {{std::nullopt, {"one", "two"}}}));
    EXPECT_EQ(Changelog::sections("<h4>New</h4><li>a</li><h4>Empty</h4><H4> Fixed </H4>"
                                  "<li><i></i></li><li>b</li>"),
              (std::vector<Section> {{"New", {"a"}}, {"Fixed", {"b"}}}))
        << "a heading without items, and an item of tags alone, are left out";
    EXPECT_TRUE(Changelog::sections("<p>no list</p>").empty());
}

TEST(Changelog, ADescriptionInCdataOrInEscapedTextReadsTheSame)
{
    const auto cdata = Changelog::parse(
        feed("<item><sparkle:shortVersionString>1</sparkle:shortVersionString><description>"
             "<![CDATA[<h4>New</h4><li>a &amp; b</li>]]></description></item>"));
    const auto text = Changelog::parse(
        feed("<item><sparkle:shortVersionString>1</sparkle:shortVersionString><description>"
             "&lt;h4&gt;New&lt;/h4&gt;&lt;li&gt;a &amp;amp; b&lt;/li&gt;</description></item>"));
    ASSERT_EQ(cdata.size(), 1u);
    ASSERT_EQ(text.size(), 1u);
    EXPECT_EQ(cdata[0].sections, text[0].sections);
    EXPECT_EQ(cdata[0].sections, (std::vector<Section> {{"New", {"a &amp; b"}}}));
}

TEST(Changelog, TheShippedHistoryReads)
{
    const auto entries = Changelog::load(TARNVIK_APPCAST);
    ASSERT_GE(entries.size(), 2u);
    EXPECT_EQ(entries.back().version, "0.1.0");
    // Every item the file holds is read: one written across lines would be lost.
    std::ifstream file(TARNVIK_APPCAST);
    std::stringstream text;
    text << file.rdbuf();
    std::size_t written = 0;
    for (auto at = text.str().find("<li>"); at != std::string::npos;
         at = text.str().find("<li>", at + 1))
        ++written;
    std::size_t read = 0;
    for (const auto &entry : entries)
        for (const auto &section : entry.sections)
            read += section.items.size();
    EXPECT_EQ(read, written);
    EXPECT_TRUE(Changelog::load("/nonexistent/appcast.xml").empty());
}

} // namespace
} // namespace tarnvik
