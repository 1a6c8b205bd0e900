#include "apps/LinuxLeftovers.h"

#include "apps/AppInventoryLoader.h"
#include "apps/AppRemover.h"
#include "apps/LinuxHome.h"
#include "platform/KeepStore.h"
#include "platform/Paths.h"
#include "platform/PutBackService.h"
#include "platform/TrashService.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// Every leftover as "identifier: path, path", paths relative to the fixture or "~".
QStringList shown(const AppInventory& inventory, const QString& dir) {
    QStringList lines;
    for (const OrphanedAppData& orphan : inventory.orphans) {
        QStringList paths;
        for (const AppDataItem& item : orphan.items)
            paths.append(QString(item.url)
                             .replace(dir + u'/', QString())
                             .replace(test::fakeHome() + u'/', s("~/")));
        lines.append(orphan.bundleIdentifier + s(": ") + paths.join(s(", ")));
    }
    return lines;
}

AppRemover remover(const CleanupHistory& history = CleanupHistory()) {
    return AppRemover(
        BrewService(), PlatformTrash::system(), [](const InstalledApp&) { return false; }, history);
}

class LinuxLeftoversTest : public testing::Test {
protected:
    test::LinuxHome home;
    const QString& dir = home.dir;
};

} // namespace

TEST_F(LinuxLeftoversTest, OnlyTheFoldersRecordedWithASeenAppThatIsGoneAreLeftovers) {
    // The first listing only records: a tool's folder that matches no app is never a leftover,
    // and no app was seen before.
    EXPECT_TRUE(AppInventoryLoader::load().orphans.isEmpty());
    ASSERT_TRUE(QFileInfo::exists(SeenApps::defaultPath()));

    // Obsidian is deleted outside this system; a folder of its name appears afterwards.
    ASSERT_TRUE(QFile::remove(home.obsidian));
    ASSERT_TRUE(QFile::remove(home.user + s("/appimagekit-obsidian.desktop")));
    test::writeFile(dir + s("/.local/share/obsidian/vault-cache"), "x");
    ASSERT_TRUE(QDir(dir + s("/.cache/obsidian")).removeRecursively());

    const AppInventory inventory = AppInventoryLoader::load();
    // The cache folder is gone and so not offered; the data folder was never recorded with it.
    EXPECT_EQ(shown(inventory, dir),
              (QStringList{s("appimagekit-obsidian: .config/obsidian, .local/state/obsidian")}));
    ASSERT_EQ(inventory.orphans.size(), 1);
    EXPECT_EQ(inventory.orphans[0].gone->witness, AppGone::Witness::seenBefore);
    EXPECT_EQ(inventory.orphans[0].gone->appName, s("Obsidian"));
    EXPECT_TRUE(inventory.errors.isEmpty()) << inventory.errors.join(u'\n').toStdString();

    // Judged again at removal: a folder no gone app recorded, or a kept one, stays.
    const QString config = dir + s("/.config/obsidian");
    const QString state = dir + s("/.local/state/obsidian");
    ASSERT_TRUE(KeepStore().add(state).isEmpty());
    const AppDataItem configItem{AppDataItem::Kind::config, config, 100, true};
    const AppDataItem stateItem{AppDataItem::Kind::state, state, 100, true};
    const AppDataItem toolItem{AppDataItem::Kind::config, dir + s("/.config/ripgrep"), 100, true};
    AppRemover dryRun = remover();
    dryRun.setDryRun(true);
    EXPECT_EQ(dryRun.removeLeftovers({configItem}).trashedData, QList<AppDataItem>{configItem});
    EXPECT_TRUE(QFileInfo::exists(config));

    const CleanupHistory history(test::makeTempDir(s("history")) + s("/cleanup-history.json"));
    const AppRemovalOutcome outcome =
        remover(history).removeLeftovers({configItem, stateItem, toolItem});
    EXPECT_EQ(outcome.trashedData, QList<AppDataItem>{configItem});
    ASSERT_EQ(outcome.failures.size(), 2);
    EXPECT_TRUE(outcome.failures[0].startsWith(s("obsidian: ") + TrashService::keptMessage))
        << outcome.failures[0].toStdString();
    EXPECT_EQ(outcome.failures[1], s("ripgrep: Not found with an app that is gone, so it stays."));
    EXPECT_FALSE(QFileInfo::exists(config));
    EXPECT_TRUE(QFileInfo::exists(dir + s("/.config/ripgrep/config")));
    ASSERT_TRUE(outcome.cleanup.id);
    EXPECT_TRUE(PutBackService::putBack(history, *outcome.cleanup.id).failures.isEmpty());
    EXPECT_TRUE(QFileInfo::exists(config + s("/prefs.json")));
    ASSERT_TRUE(KeepStore().remove(state).isEmpty());

    // Another app that names the folders now (by its window class) makes them its own.
    test::LinuxHome::entry(home.user + s("/org.example.Sync.desktop"),
                           "Name=Sync\nExec=git\nStartupWMClass=obsidian\n");
    EXPECT_TRUE(AppInventoryLoader::load().orphans.isEmpty());
    EXPECT_EQ(
        remover().removeLeftovers({configItem}).failures,
        QStringList{s("obsidian: An installed app uses a folder of this name, so it stays.")});
    EXPECT_TRUE(QFileInfo::exists(config));
}

TEST_F(LinuxLeftoversTest, ASnapsDataIsALeftoverOnlyWhenSnapSaysItIsNotInstalled) {
    const QString gone = SnapApps::dataFolder(s("spotify"));
    test::writeFile(gone + s("/common/cache"), QByteArray(50, 'x'));
    const AppInventory inventory = AppInventoryLoader::load();
    EXPECT_EQ(shown(inventory, dir), QStringList{s("spotify: ~/snap/spotify")});
    EXPECT_EQ(inventory.orphans[0].gone->witness, AppGone::Witness::snap);
    QFile arguments(dir + s("/snap-arguments"));
    ASSERT_TRUE(arguments.open(QIODevice::ReadOnly));
    EXPECT_EQ(arguments.readAll(), "list\nlist\n--\nspotify\n");

    // Installed again since: snap names it, so it stays.
    test::writeScript(home.snapTool, "echo 'Name     Version Rev Tracking       Publisher Notes'\n"
                                     "echo 'spotify  1.2     80  latest/stable  spotify✓  -'\n");
    EXPECT_EQ(remover().removeLeftovers({{AppDataItem::Kind::data, gone, 50, true}}).failures,
              QStringList{s("spotify: snap says the app is installed, so its data stays.")});

    // A snap that fails or is missing confirms nothing.
    test::writeScript(home.snapTool, "echo 'error: cannot communicate with server' >&2\nexit 1\n");
    EXPECT_TRUE(AppInventoryLoader::load().orphans.isEmpty());
    QFile::remove(home.snapTool);
    EXPECT_TRUE(AppInventoryLoader::load().orphans.isEmpty());
    EXPECT_TRUE(QFileInfo::exists(gone));
    QDir(SnapApps::dataRoot()).removeRecursively();
}

TEST_F(LinuxLeftoversTest, AnUnreadableRecordIsSetAsideAndReportedAndOffersNothing) {
    EXPECT_TRUE(AppInventoryLoader::load().orphans.isEmpty());
    ASSERT_TRUE(QFile::remove(home.obsidian));
    ASSERT_TRUE(QFile::remove(home.user + s("/appimagekit-obsidian.desktop")));
    test::writeFile(SeenApps::defaultPath(), "{\"apps\": [ cut short");

    const AppInventory inventory = AppInventoryLoader::load();
    EXPECT_TRUE(inventory.orphans.isEmpty());
    ASSERT_FALSE(inventory.errors.isEmpty());
    EXPECT_TRUE(inventory.errors.join(u' ').contains(s("The record of apps seen")))
        << inventory.errors.join(u'\n').toStdString();
    const QStringList aside = QDir(Paths::parentPath(SeenApps::defaultPath()))
                                  .entryList({s("seen-apps.unreadable-*.json")}, QDir::Files);
    EXPECT_EQ(aside.size(), 1);
    // Begun again with what is listed now: Obsidian was not seen in it, so nothing is offered.
    EXPECT_TRUE(AppInventoryLoader::load().orphans.isEmpty());
    EXPECT_FALSE(SeenApps().load().problem);
}

TEST(SeenAppsTest, KeepsAGoneAppOnlyWhileOneOfItsFoldersIsThere) {
    const QString dir = test::makeTempDir(s("seen"));
    const SeenApps seen(dir + s("/seen-apps.json"));
    InstalledApp app;
    app.name = s("Tool");
    app.url = dir + s("/Tool.AppImage");
    app.source = AppSource::appImage;
    app.identities = {s("tool")};
    const QString folder = dir + s("/config/tool");
    test::writeFile(folder + s("/x"), "x");
    app.data = {{AppDataItem::Kind::config, folder, 1, true},
                {AppDataItem::Kind::caches, dir + s("/cache/Tool"), 1, false}};
    EXPECT_EQ(seen.remember({app}), std::nullopt);
    const SeenApps::Read read = seen.load();
    ASSERT_EQ(read.apps.size(), 1);
    // Only exact matches are recorded: a folder only named like the app is never its data.
    EXPECT_EQ(read.apps[0].data, (QList<DataMatch>{{AppDataItem::Kind::config, folder, true}}));
    EXPECT_EQ(read.apps[0].key, s("file:") + app.url);

    EXPECT_EQ(seen.remember({}), std::nullopt);
    EXPECT_EQ(seen.load().apps.size(), 1);
    QDir(folder).removeRecursively();
    EXPECT_EQ(seen.remember({}), std::nullopt);
    EXPECT_TRUE(seen.load().apps.isEmpty());
}
