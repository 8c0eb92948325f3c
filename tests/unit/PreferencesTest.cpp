#include "preferences/Preferences.h"

#include "platform/fake/FakePreferenceStore.h"
#include "platform/qt/QSettingsPreferenceStore.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using Keys = Preferences::Keys;

TEST(Preferences, StoredValuesWinAndWronglyTypedOnesCountAsAbsent)
{
    fake::FakePreferenceStore store;
    Preferences p(store);
    p.setBool(Keys::mapArrowKeysToScroll, true);
    EXPECT_TRUE(p.boolForKey(Keys::mapArrowKeysToScroll));
    store.setString(Keys::useSearchPredicate, "no");
    EXPECT_TRUE(p.boolForKey(Keys::useSearchPredicate)) << "falls back to the default";
    store.setString(Keys::isExperimentalSupportEnabled, "true");
    EXPECT_FALSE(p.isExperimentalSupportEnabled());
    p.setBool(Keys::isExperimentalSupportEnabled, true);
    EXPECT_TRUE(p.isExperimentalSupportEnabled());

    p.setString(Keys::scrollKeys, "äsdf");
    EXPECT_EQ(p.scrollKeys(), "äsdf");

    p.setDisabledBundlePaths({"/b.app", "/a.app", "/b.app"});
    EXPECT_EQ(p.disabledBundlePaths(), (std::vector<std::string> {"/a.app", "/b.app"}));
    p.removeObjectForKey(Keys::mapArrowKeysToScroll);
    EXPECT_FALSE(p.boolForKey(Keys::mapArrowKeysToScroll));
}

// Numbers out of their range are the real store's test below, report and all; the ends of a
// range are the user's to choose: no scrolling, silence.
TEST(Preferences, TheEndsOfARangeAreUsable)
{
    fake::FakePreferenceStore store;
    Preferences p(store);
    store.setDouble(Keys::scrollPxPerMs, 0);
    store.setDouble(Keys::soundEffectVolume, 1);
    EXPECT_EQ(p.doubleForKey(Keys::scrollPxPerMs), 0.0);
    EXPECT_EQ(p.floatForKey(Keys::soundEffectVolume), 1.0f);
    EXPECT_TRUE(store.reports().empty());
}

// A settings file of the given text, in a folder of its own.
QString settingsFile(const QTemporaryDir &dir, const QByteArray &text)
{
    const QString path = dir.filePath("tarnvik.conf");
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
    return path;
}

TEST(QSettingsPreferenceStore, AHandEditedFileOfUnusableNumbersIsReportedOnceAndKeptAsItIs)
{
    QTemporaryDir dir;
    const QByteArray written = "[General]\nscroll-px-per-ms=nan\ndash-speed-multiplier=inf\n"
                               "label-font-size=-5\nsoundEffectVolume=1e308\n";
    const QString path = settingsFile(dir, written);
    QSettingsPreferenceStore store(path.toStdString());
    Preferences p(store);
    testing::internal::CaptureStderr();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(p.doubleForKey(Keys::scrollPxPerMs), 1.0);
        EXPECT_EQ(p.doubleForKey(Keys::dashSpeedMultiplier), 1.5);
        EXPECT_EQ(p.doubleForKey(Keys::labelFontSize), 10.0);
        EXPECT_EQ(p.doubleForKey(Keys::soundEffectVolume), 0.6);
    }
    const std::string lines = testing::internal::GetCapturedStderr();
    EXPECT_EQ(lines,
              "tarnvik: scroll-px-per-ms=nan in " + path.toStdString()
                  + " is not a number from 0 to 100; its default stands\n"
                  + "tarnvik: dash-speed-multiplier=inf in " + path.toStdString()
                  + " is not a number from 0 to 100; its default stands\n"
                  + "tarnvik: label-font-size=-5 in " + path.toStdString()
                  + " is not a number from 4 to 72; its default stands\n"
                  + "tarnvik: soundEffectVolume=1e308 in " + path.toStdString()
                  + " is not a number from 0 to 1; its default stands\n");
    store.reload();
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), written) << "nothing rewritten";
}

TEST(QSettingsPreferenceStore, AFileThatIsNoSettingsIsKeptBeforeTheFirstChange)
{
    QTemporaryDir dir;
    const QByteArray written = "[General\nlabel-font-size=12\n";
    const QString path = settingsFile(dir, written);
    testing::internal::CaptureStderr();
    QSettingsPreferenceStore store(path.toStdString());
    Preferences p(store);
    EXPECT_EQ(p.doubleForKey(Keys::labelFontSize), 12.0) << "what can be read stands";
    p.setBool(Keys::chainClicks, true);
    EXPECT_TRUE(p.boolForKey(Keys::chainClicks)) << "the store still works";
    const std::string lines = testing::internal::GetCapturedStderr();
    EXPECT_NE(lines.find(path.toStdString() + " can't be read whole as settings"),
              std::string::npos)
        << lines;

    const QStringList copies = QDir(dir.path()).entryList({"tarnvik.conf.unparsable-*"});
    ASSERT_EQ(copies.size(), 1);
    QFile copy(dir.filePath(copies.front()));
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), written) << "the hand edit is kept whole";
    EXPECT_NE(lines.find(copies.front().toStdString()), std::string::npos);
}

TEST(QSettingsPreferenceStore, AFolderThatCantHoldTheFileGivesTheDefaultsAndSaysSo)
{
    QTemporaryDir dir;
    // A file where the folder should be: not even root reads or writes through it.
    QFile blocker(dir.filePath("tarnvik"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const std::string path = dir.filePath("tarnvik/tarnvik.conf").toStdString();
    testing::internal::CaptureStderr();
    QSettingsPreferenceStore store(path);
    Preferences p(store);
    EXPECT_EQ(p.stringForKey(Keys::nonSearchShortcut), "⇧⌘Space");
    p.setDouble(Keys::labelFontSize, 12);
    p.setDouble(Keys::scrollPxPerMs, 2);
    EXPECT_EQ(p.doubleForKey(Keys::labelFontSize), 12.0) << "changes last while it runs";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "tarnvik: " + path
                  + " can't be read or written; the defaults stand, and changes last until "
                    "Tarnvik quits\n");
}

TEST(QSettingsPreferenceStore, ValuesSurviveTheFileWithTheirTypes)
{
    QTemporaryDir dir;
    const std::string path = dir.filePath("settings.ini").toStdString();
    {
        QSettingsPreferenceStore store(path);
        store.setBool("b", true);
        store.setDouble("d", 1.25);
        store.setString("s", "⇧⌘Space");
        store.setStringList("one", {"/only.app"});
        store.setStringList("two", {"/a.app", "/b.app"});
    }
    // QSettings keeps what one process wrote in memory: a file it never opened reads as a new
    // process reads the written one.
    const std::string copy = dir.filePath("copy.ini").toStdString();
    ASSERT_TRUE(QFile::copy(QString::fromStdString(path), QString::fromStdString(copy)));
    QSettingsPreferenceStore store(copy);
    EXPECT_EQ(store.boolValue("b"), true);
    EXPECT_EQ(store.doubleValue("d"), 1.25);
    EXPECT_EQ(store.stringValue("s"), "⇧⌘Space");
    EXPECT_EQ(store.stringListValue("one"), (std::vector<std::string> {"/only.app"}));
    EXPECT_EQ(store.stringListValue("two"), (std::vector<std::string> {"/a.app", "/b.app"}));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(store.boolValue("s")) << "text that isn't a Boolean";
    EXPECT_FALSE(store.boolValue("s"));
    EXPECT_FALSE(store.doubleValue("s"));
    EXPECT_FALSE(store.stringValue("missing"));
    const std::string complaints = testing::internal::GetCapturedStderr();
    EXPECT_EQ(complaints,
              "tarnvik: s=⇧⌘Space in " + copy + " is not true or false; its default stands\n")
        << "one line for a value however often it is read, none for what is missing";
    store.remove("b");
    EXPECT_FALSE(store.boolValue("b"));
}

} // namespace
} // namespace tarnvik
