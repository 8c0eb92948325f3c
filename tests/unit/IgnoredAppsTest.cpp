#include "app/IgnoredApps.h"

#include "platform/linux/DesktopEntries.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

class InstalledApplications : public ::testing::Test
{
protected:
    void write(const QString &path, const QByteArray &text)
    {
        const QString file = folders.path() + "/" + path;
        QDir().mkpath(QFileInfo(file).path());
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(text);
    }
    std::vector<std::string> roots()
    {
        return {(folders.path() + "/home/applications").toStdString(),
                (folders.path() + "/usr/applications").toStdString()};
    }

    QTemporaryDir folders;
};

TEST_F(InstalledApplications, TheMenusEntriesAreListedTheFirstFolderDecidingEachId)
{
    write(
        "usr/applications/org.gnome.gedit.desktop",
        "# a comment\n[Desktop Entry]\nType=Application\nName=Text\\sEditor\nName[de]=Texteditor\n"
        "Icon=org.gnome.gedit\nExec=gedit\n[Desktop Action new]\nName=New Window\n");
    write("usr/applications/kde4/okular.desktop",
          "[Desktop Entry]\nType=Application\nName=Okular\n");
    write("usr/applications/hidden.desktop",
          "[Desktop Entry]\nType=Application\nName=H\nNoDisplay=true\n");
    write("usr/applications/link.desktop", "[Desktop Entry]\nType=Link\nName=L\nURL=x\n");
    write("usr/applications/broken.desktop", "Name=no group\n");
    write("usr/applications/nameless.desktop", "[Desktop Entry]\nType=Application\n");
    // The user's own copy hides the system's: its Hidden=true wins.
    write("usr/applications/xterm.desktop", "[Desktop Entry]\nType=Application\nName=XTerm\n");
    write("home/applications/xterm.desktop",
          "[Desktop Entry]\nType=Application\nName=X\nHidden=true\n");
    write("home/applications/mine.desktop", "[Desktop Entry]\nName = Mine \nType=Application\n");

    std::map<std::string, std::string> found;
    for (const auto &entry : linux::installedApplications(roots()))
        found[entry.id] = *entry.name;
    EXPECT_EQ(found,
              (std::map<std::string, std::string> {{"kde4-okular.desktop", "Okular"},
                                                   {"mine.desktop", "Mine"},
                                                   {"org.gnome.gedit.desktop", "Text Editor"}}));
    EXPECT_FALSE(linux::readDesktopEntry((folders.path() + "/none.desktop").toStdString()));
}

TEST(IgnoredApps, CoreApplicationsComeLastAndTheSelectionIsStoredPercentEncoded)
{
    const auto listed = IgnoredApps::listing(
        {{"Files", "/usr/share/applications/org.gnome.Nautilus.desktop", {}},
         {"Firefox", "/usr/share/applications/firefox-esr.desktop", {}},
         {"Terminal", "/usr/share/applications/org.gnome.Terminal.desktop", {}},
         {"My App", "/home/u/.local/share/applications/my app.desktop", {}},
         {"Widget Factory", "/usr/share/applications/org.gtk.WidgetFactory4.desktop", {}},
         {"Widget Factory", "/usr/share/applications/gtk3-widget-factory.desktop", {}}},
        {"org.gnome.Nautilus.desktop", "firefox-esr.desktop", "org.gnome.Terminal.desktop",
         "my app.desktop", "org.gtk.WidgetFactory4.desktop", "gtk3-widget-factory.desktop"});
    ASSERT_EQ(listed.size(), 6u);
    EXPECT_EQ(listed[0].name, "Firefox");
    EXPECT_EQ(listed[1].name, "My App");
    EXPECT_EQ(listed[2].name, "Widget Factory (org.gtk.WidgetFactory4)");
    EXPECT_EQ(listed[3].name, "Widget Factory (gtk3-widget-factory)");
    EXPECT_EQ(listed[4].name, "Terminal") << "the terminal before the file manager";
    EXPECT_EQ(listed[5].name, "Files");

    EXPECT_EQ(IgnoredApps::storedPath("/a b/c.desktop/"), "/a%20b/c.desktop");
    const std::vector<std::string> stored = {"/usr/share/applications/firefox-esr.desktop",
                                             "/home/u/.local/share/applications/my app.desktop",
                                             "/opt/unlisted.desktop"};
    const auto selected = IgnoredApps::selection(listed, stored);
    EXPECT_EQ(selected, (std::set<std::size_t> {0})) << "the path with a blank is stored encoded";
    EXPECT_EQ(IgnoredApps::paths(listed, {0, 1}),
              (std::vector<std::string> {"/usr/share/applications/firefox-esr.desktop",
                                         "/home/u/.local/share/applications/my%20app.desktop"}))
        << "what the page doesn't list is not written back";
}

} // namespace
} // namespace tarnvik
