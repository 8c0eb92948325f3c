#include "preferences/Preferences.h"

#include "platform/fake/FakePreferenceStore.h"
#include "platform/qt/QSettingsPreferenceStore.h"

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
