#include "apps/LinuxApps.h"

#include "apps/AppInventoryLoader.h"
#include "apps/AppRemover.h"
#include "apps/LinuxHome.h"
#include "platform/InputLimits.h"
#include "platform/PlatformWords.h"
#include "platform/PutBackService.h"
#include "platform/SizeCalculator.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

const InstalledApp* find(const QList<InstalledApp>& apps, const QString& name) {
    for (const InstalledApp& app : apps)
        if (app.name == name)
            return &app;
    return nullptr;
}

// "kind path", the path relative to the fixture's XDG homes, or to "~" in the home.
QStringList dataPaths(const InstalledApp& app, const QString& xdg) {
    QStringList paths;
    for (const AppDataItem& item : app.data)
        paths.append(caseName(item.kind) + u' ' +
                     QString(item.url)
                         .replace(xdg + u'/', QString())
                         .replace(test::fakeHome() + u'/', s("~/")));
    return paths;
}

class LinuxAppsTest : public testing::Test {
protected:
    test::LinuxHome home;
    const QString& dir = home.dir;
    const QString& user = home.user;
    const QString& obsidian = home.obsidian;
};

} // namespace

TEST(DesktopEntryTest, ReadsTheProgramOfExecAndOnlyApplicationEntries) {
    EXPECT_EQ(DesktopEntry::programOf(s("env A=1 B=\"two words\" /opt/x/run --flag %U")),
              s("/opt/x/run"));
    EXPECT_EQ(DesktopEntry::programOf(s("\"/home/ann/My Apps/a.AppImage\" %f")),
              s("/home/ann/My Apps/a.AppImage"));
    EXPECT_EQ(DesktopEntry::programOf(s("/opt/with\\ space/bin")), s("/opt/with space/bin"));
    EXPECT_EQ(DesktopEntry::programOf(s("")), QString());

    const auto parse = [](const QByteArray& text) {
        return DesktopEntry::parse(text, s("/x.desktop"), s("x"));
    };
    EXPECT_FALSE(parse("[Desktop Entry]\nType=Link\nName=Site\nURL=https://x\n"));
    EXPECT_FALSE(parse("[Desktop Entry]\nType=Application\nExec=x\n"));
    EXPECT_FALSE(parse("[Other Group]\nType=Application\nName=X\n"));
    const std::optional<DesktopEntry> entry =
        parse("[Desktop Entry]\nName=Text\\sEditor\nName[fr]=Texte\nType=Application\n"
              "[Desktop Action New]\nName=Window\nIcon=other\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->name, s("Text Editor"));
    EXPECT_EQ(entry->icon, QString());
    EXPECT_TRUE(parse("[Desktop Entry]\nHidden=true\n")->hidden);
}

TEST_F(LinuxAppsTest, ListsEveryKindOfAppWithItsInstallerAndOnlyItsExactlyNamedData) {
    const QList<InstalledApp> apps = LinuxApps::find(SnapApps::list());
    QStringList names;
    for (const InstalledApp& app : apps)
        names.append(app.name + u' ' + caseName(app.source));
    // Flatpak's own listing brings GIMP; Quiet is not in the menus and Removed is hidden by the
    // user's entry; core22 is a base, not an app.
    EXPECT_EQ(names, (QStringList{s("Obsidian appImage"), s("Editor packageManager"),
                                  s("Firefox snap"), s("hello snap"), s("Tool appImage")}));

    const InstalledApp* editor = find(apps, s("Editor"));
    EXPECT_EQ(editor->iconName, s("org.example.Editor"));
    EXPECT_EQ(editor->bundleIdentifier, s("org.example.Editor"));
    EXPECT_GT(editor->sizeBytes, 0);
    // Found by the desktop file id and StartupWMClass; "~/.config/Editor" only looks like it.
    EXPECT_EQ(dataPaths(*editor, dir), (QStringList{s("config .config/org.example.Editor"),
                                                    s("caches .cache/editor-window")}));

    const InstalledApp* obsidianApp = find(apps, s("Obsidian"));
    EXPECT_EQ(obsidianApp->url, obsidian);
    EXPECT_EQ(obsidianApp->version, s("1.4.16"));
    EXPECT_EQ(obsidianApp->sizeBytes, SizeCalculator::size(obsidian));
    EXPECT_EQ(dataPaths(*obsidianApp, dir),
              (QStringList{s("config .config/obsidian"), s("caches .cache/obsidian"),
                           s("state .local/state/obsidian")}));

    const InstalledApp* firefox = find(apps, s("Firefox"));
    EXPECT_EQ(firefox->version, s("123.0-2"));
    EXPECT_EQ(dataPaths(*firefox, dir), QStringList{s("data ~/snap/firefox")});
    EXPECT_TRUE(find(apps, s("Tool"))->data.isEmpty());

    // The tool's configuration belongs to no app: it is never listed, whoever asks.
    for (const InstalledApp& app : apps)
        for (const AppDataItem& item : app.data)
            EXPECT_FALSE(item.url.contains(s("ripgrep")) || item.url.endsWith(s("/Editor")))
                << item.url.toStdString();
    const AppInventory inventory = AppInventoryLoader::load();
    for (const OrphanedAppData& orphan : inventory.orphans)
        EXPECT_FALSE(orphan.bundleIdentifier.contains(s("ripgrep")));
    QFile arguments(dir + s("/snap-arguments"));
    ASSERT_TRUE(arguments.open(QIODevice::ReadOnly));
    EXPECT_EQ(arguments.readAll(), "list\nlist\n");
}

TEST_F(LinuxAppsTest,
       AnAppImageGoesWithItsEntryAndTickedDataWhilePackagesAndSnapsNameTheirCommand) {
    const QList<InstalledApp> apps = LinuxApps::find(SnapApps::list());
    const CleanupHistory history(test::makeTempDir(s("history")) + s("/cleanup-history.json"));
    AppRemover remover(
        BrewService(), PlatformTrash::system(), [](const InstalledApp&) { return false; }, history);
    remover.setActsAsRoot(false);

    const InstalledApp obsidianApp = *find(apps, s("Obsidian"));
    QList<AppDataItem> ticked;
    for (const AppDataItem& item : obsidianApp.data)
        if (item.kind == AppDataItem::Kind::caches)
            ticked.append(item);
    AppRemover dryRun(
        BrewService(), PlatformTrash::system(), [](const InstalledApp&) { return false; }, history);
    dryRun.setDryRun(true);
    EXPECT_TRUE(dryRun.remove(obsidianApp, ticked).failures.isEmpty());
    ASSERT_TRUE(QFileInfo::exists(obsidian));

    const AppRemovalOutcome removed = remover.remove(obsidianApp, ticked);
    EXPECT_EQ(removed.failures, QStringList());
    EXPECT_EQ(removed.appMethod, AppRemovalOutcome::Method::trash);
    EXPECT_FALSE(QFileInfo::exists(obsidian));
    EXPECT_FALSE(QFileInfo::exists(user + s("/appimagekit-obsidian.desktop")));
    EXPECT_FALSE(QFileInfo::exists(dir + s("/.cache/obsidian")));
    EXPECT_TRUE(QFileInfo::exists(dir + s("/.config/obsidian/prefs.json")));
    ASSERT_TRUE(removed.cleanup.id);
    const PutBackOutcome back = PutBackService::putBack(history, *removed.cleanup.id);
    EXPECT_TRUE(back.failures.isEmpty());
    EXPECT_TRUE(QFileInfo::exists(obsidian));
    EXPECT_TRUE(QFileInfo::exists(user + s("/appimagekit-obsidian.desktop")));

    // Data that is not directly in an XDG home, or not the app's, is never taken with it.
    InstalledApp tool = *find(apps, s("Tool"));
    const AppDataItem deep{AppDataItem::Kind::config, dir + s("/.config/ripgrep/config"), 100,
                           true};
    const AppDataItem other{AppDataItem::Kind::config, dir + s("/.config/ripgrep"), 100, true};
    tool.data.append(deep);
    EXPECT_EQ(remover.remove(tool, {deep, other}).failures,
              (QStringList{s("config: ") + AppRemover::outsideLibraryText,
                           s("ripgrep: This data does not belong to Tool")}));
    EXPECT_TRUE(QFileInfo::exists(dir + s("/.config/ripgrep/config")));

    // The package is looked up and its command named; neither dpkg's nor snap's removal runs.
    const InstalledApp editor = *find(apps, s("Editor"));
    const AppRemovalOutcome package = remover.remove(editor, editor.data);
    EXPECT_EQ(package.failures,
              QStringList{s("Editor came with the system's package manager (package "
                            "example-editor), which removes it. Run in ") +
                          PlatformWords::here().terminal + s(": sudo apt remove example-editor")});
    EXPECT_EQ(package.terminalCommand, s("sudo apt remove example-editor"));
    EXPECT_TRUE(package.trashedData.isEmpty());
    EXPECT_TRUE(QFileInfo::exists(dir + s("/.config/org.example.Editor")));
    QFile dpkgArguments(home.dpkgTool + s("-arguments"));
    ASSERT_TRUE(dpkgArguments.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(dpkgArguments.readAll()),
              s("-S\n--\n") + *editor.desktopEntry + u'\n');

    const AppRemovalOutcome snapped = remover.remove(*find(apps, s("Firefox")), {});
    EXPECT_EQ(snapped.terminalCommand, s("sudo snap remove firefox"));
    ASSERT_EQ(snapped.failures.size(), 1);
    EXPECT_TRUE(snapped.failures[0].endsWith(s(": sudo snap remove firefox")));
    EXPECT_FALSE(package.appMethod || snapped.appMethod);
    QFile arguments(dir + s("/snap-arguments"));
    ASSERT_TRUE(arguments.open(QIODevice::ReadOnly));
    EXPECT_EQ(arguments.readAll(), "list\n"); // snap was asked, never told to remove
}

// An entry too large to be one is named among the inventory's problems; the apps of the other
// entries are still listed, so the list is never taken for whole without saying so.
TEST_F(LinuxAppsTest, AnEntryThatCannotBeReadIsNamedAndTheOthersAreStillListed) {
    const QString huge = user + s("/huge.desktop");
    test::writeFile(huge, "[Desktop Entry]\nType=Application\nName=Huge\nExec=huge\n");
    ASSERT_TRUE(QFile(huge).resize(InputLimits::smallFileBytes + 1));

    const AppInventory inventory = AppInventoryLoader::load();
    EXPECT_TRUE(inventory.errors.contains(s("Could not read ") + huge +
                                          s(": it is larger than 1 MB, more than such a file "
                                            "can be")))
        << inventory.errors.join(u'\n').toStdString();
    EXPECT_TRUE(find(inventory.apps, s("Editor")));
}
