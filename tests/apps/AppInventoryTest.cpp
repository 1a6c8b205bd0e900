#include "AppFixtures.h"
#include "apps/AppBundle.h"
#include "apps/AppInventoryLoader.h"
#include "platform/InputLimits.h"
#include "support/GitFixture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringEncoder>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::s;
using Kind = AppDataItem::Kind;

namespace {

class AppInventoryTest : public ::testing::Test {
protected:
    void SetUp() override {
        QDir(test::library()).removeRecursively();
        QDir(test::fakeHome() + s("/Applications")).removeRecursively();
    }

    QString apps = test::makeTempDir(s("apps"));
    test::ScopedEnvironment appsDir{"CORVANE_APPLICATIONS_DIR", apps};
    // No flatpak here, whatever the machine has.
    test::ScopedEnvironment noFlatpak{"CORVANE_TOOL_FLATPAK", s("/nonexistent/flatpak")};
};

const InstalledApp* find(const AppInventory& inventory, const QString& name) {
    for (const InstalledApp& app : inventory.apps)
        if (app.name == name)
            return &app;
    return nullptr;
}

TEST_F(AppInventoryTest, AppsCarryTheirMeasuredDataAndLeftoversAreGroupedApart) {
    const QString notely =
        test::makeBundle(apps, s("Notely.app"),
                         test::binaryPlist(test::appKeys(s("com.example.notely"), s("Notely"))),
                         QByteArray(50'000, 'n'));
    test::makeBundle(apps, s("Safari.app"),
                     test::xmlPlist(test::appKeys(s("com.apple.Safari"), s("Safari"))));
    test::writeFile(apps + s("/Broken.app/Contents/MacOS/Broken"), "x");

    const QString prefs = test::libraryFile(s("Preferences/com.example.notely.plist"), 3000);
    const QString state =
        test::libraryFolderWith(s("Saved Application State/com.example.notely.savedState"), 5000);
    const QString byHost = test::libraryFile(
        s("Preferences/ByHost/com.example.notely.27074F01-7A93-5859-BAF3-0EB138E001D3.plist"));
    const QString named = test::libraryFolderWith(s("Application Support/Notely"), 7000);
    const QString cookies =
        test::libraryFile(s("HTTPStorages/com.example.gone.binarycookies"), 100);
    const QString storage = test::libraryFolderWith(s("HTTPStorages/com.example.gone"), 9000);
    const QString goneCache = test::libraryFolderWith(s("Logs/com.example.gone"), 20000);
    // The ByHost file of an app whose identifier extends Notely's is a leftover of its own.
    const QString notelyx = test::libraryFile(
        s("Preferences/ByHost/com.example.notelyx.27074F01-7A93-5859-BAF3-0EB138E001D3.plist"));
    test::libraryFolderWith(s("Caches/com.apple.Safari"));
    test::libraryFolderWith(s("Caches/com.apple.gone.daemon"));
    test::libraryFolderWith(s("Group Containers/group.com.apple.notes"));

    const AppInventory inventory = AppInventoryLoader::load();
    ASSERT_EQ(inventory.apps.size(), 2);
    const InstalledApp* app = find(inventory, s("Notely"));
    ASSERT_TRUE(app);
    EXPECT_EQ(app->url, QFileInfo(notely).canonicalFilePath());
    EXPECT_GE(app->sizeBytes, 50'000);
    QList<QPair<QString, bool>> data;
    for (const AppDataItem& item : app->data) {
        data.append({item.url, item.isExactMatch});
        EXPECT_GT(item.sizeBytes, 0) << item.url.toStdString();
    }
    EXPECT_EQ(data, (QList<QPair<QString, bool>>{
                        {named, false}, {byHost, true}, {prefs, true}, {state, true}}));
    EXPECT_GE(app->data[0].sizeBytes, 7000);
    EXPECT_EQ(find(inventory, s("Safari"))->source, AppSource::apple);

    ASSERT_EQ(inventory.orphans.size(), 2);
    const OrphanedAppData& gone = inventory.orphans[0];
    EXPECT_EQ(gone.bundleIdentifier, s("com.example.gone"));
    QStringList goneUrls;
    for (const AppDataItem& item : gone.items)
        goneUrls.append(item.url);
    EXPECT_EQ(goneUrls, (QStringList{goneCache, storage, cookies}));
    EXPECT_GE(gone.sizeBytes(), 29'100);
    EXPECT_EQ(inventory.orphans[1].bundleIdentifier, s("com.example.notelyx"));
    EXPECT_EQ(inventory.orphans[1].items.first().url, notelyx);
}

TEST_F(AppInventoryTest, AnInfoPlistOverItsLimitIsNamedAndOneAtTheLimitIsRead) {
    const qsizetype limit = InputLimits::smallFileBytes;
    test::makeBundle(apps, s("Big.app"),
                     test::xmlPlistOfSize(test::appKeys(s("com.example.big"), s("Big")), limit));
    const QString over = test::makeBundle(
        apps, s("Bigger.app"),
        test::xmlPlistOfSize(test::appKeys(s("com.example.bigger"), s("Bigger")), limit + 1));
    ASSERT_EQ(QFileInfo(over + s("/Contents/Info.plist")).size(), limit + 1);

    const AppInventory inventory = AppInventoryLoader::load();
    const InstalledApp* big = find(inventory, s("Big"));
    ASSERT_TRUE(big);
    EXPECT_EQ(big->bundleIdentifier, s("com.example.big"));
    EXPECT_FALSE(find(inventory, s("Bigger")));
    EXPECT_TRUE(inventory.errors.contains(s("Could not read ") + over +
                                          s("/Contents/Info.plist: it is larger than 1 MB, more "
                                            "than such a file can be")))
        << inventory.errors.join(u'\n').toStdString();

    // A file that is no property list is named too, with what it is not.
    QString problem;
    const QString garbage = test::makeBundle(apps, s("Garbage.app"), "not a property list");
    EXPECT_EQ(AppBundle::read(garbage, {}, &problem), std::nullopt);
    EXPECT_EQ(problem, s("Could not read ") + garbage +
                           s("/Contents/Info.plist: it is not a property list of an app"));
}

TEST_F(AppInventoryTest, AppsAreOrderedByAppAndDataTogether) {
    // Small bundle with much data beats a larger bundle with none.
    test::makeBundle(apps, s("Big.app"),
                     test::xmlPlist(test::appKeys(s("com.example.big"), s("Big"))),
                     QByteArray(100'000, 'b'));
    test::makeBundle(apps, s("Small.app"),
                     test::xmlPlist(test::appKeys(s("com.example.small"), s("Small"))), "s");
    test::makeBundle(apps, s("Middle.app"),
                     test::xmlPlist(test::appKeys(s("com.example.middle"), s("Middle"))),
                     QByteArray(60'000, 'm'));
    test::libraryFolderWith(s("Caches/com.example.small"), 300'000);

    const AppInventory inventory = AppInventoryLoader::load();
    QStringList names;
    for (const InstalledApp& app : inventory.apps)
        names.append(app.name);
    EXPECT_EQ(names, (QStringList{s("Small"), s("Big"), s("Middle")}));
}

TEST(AppInventoryOrder, ThingsOfOneSizeGoInTheOrderOfTheirNamesNumbersByValue) {
    AppInventory inventory;
    for (const QString& name : {s("Tool 10"), s("tool 9"), s("Editor")}) {
        InstalledApp app;
        app.name = name;
        app.sizeBytes = 4096;
        inventory.apps.append(app);
    }
    for (const QString& identifier :
         {s("com.example.gone10"), s("com.example.gone2"), s("com.example.gone1")}) {
        OrphanedAppData orphan;
        orphan.bundleIdentifier = identifier;
        orphan.items.append(AppDataItem{.url = s("/data/") + identifier, .sizeBytes = 25'000});
        inventory.orphans.append(orphan);
    }
    AppInventoryLoader::sort(inventory);

    QStringList names;
    for (const InstalledApp& app : inventory.apps)
        names.append(app.name);
    EXPECT_EQ(names, (QStringList{s("Editor"), s("tool 9"), s("Tool 10")}));
    QStringList identifiers;
    for (const OrphanedAppData& orphan : inventory.orphans)
        identifiers.append(orphan.bundleIdentifier);
    EXPECT_EQ(identifiers, (QStringList{s("com.example.gone1"), s("com.example.gone2"),
                                        s("com.example.gone10")}));
}

TEST_F(AppInventoryTest, HomebrewCasksAreNamedAndACancelledLoadStops) {
    test::makeBundle(apps, s("ChatGPT.app"),
                     test::xmlPlist(test::appKeys(s("com.openai.chat"), s("ChatGPT"))));
    const AppInventory inventory =
        AppInventoryLoader::load({{apps + s("/ChatGPT.app"), s("chatgpt")}});
    ASSERT_EQ(inventory.apps.size(), 1);
    EXPECT_EQ(inventory.apps[0].caskToken, s("chatgpt"));
    EXPECT_EQ(inventory.apps[0].source, AppSource::homebrew);

    CancellationToken cancelled;
    cancelled.cancel();
    EXPECT_THROW(AppInventoryLoader::load({}, cancelled), CancelledError);
}

} // namespace

namespace {

QByteArray utf16Plist(const test::PlistKeys& keys) {
    const QString text = QString::fromUtf8(test::xmlPlist(keys)).replace(s("UTF-8"), s("UTF-16"));
    QStringEncoder encode(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom);
    return encode(text);
}

QStringList identifiersOf(const QList<OrphanedAppData>& data) {
    QStringList ids;
    for (const OrphanedAppData& record : data)
        ids.append(record.bundleIdentifier);
    ids.sort();
    return ids;
}

TEST_F(AppInventoryTest, DataAnInstalledAppUsesIsNeverALeftover) {
    // A helper nested deep in a bundle, with an identifier of its own.
    const QString suite = test::makeBundle(
        apps, s("Suite.app"), test::xmlPlist(test::appKeys(s("com.vendor.suite"), s("Suite"))));
    test::makeBundle(suite + s("/Contents/Frameworks/Kit.framework/Versions/A/Helpers"),
                     s("Agent.app"), test::xmlPlist(test::appKeys(s("net.agentco.agent"), s("A"))));
    test::makeBundle(suite + s("/Contents/PlugIns"), s("Share.appex"),
                     test::binaryPlist(test::appKeys(s("org.sharing.ext"), s("Share"))));
    // Apps two folders deep, in a folder linked from elsewhere, and with UTF-16, byte-order-marked
    // and binary Info.plists.
    test::makeBundle(apps + s("/Vendor/Tools"), s("Deep.app"),
                     test::xmlPlist(test::appKeys(s("org.deep.tool"), s("Deep"))));
    const QString shared = test::makeTempDir(s("shared-apps"));
    test::makeBundle(shared, s("Linked.app"),
                     test::xmlPlist(test::appKeys(s("org.linked.app"), s("Linked"))));
    ASSERT_TRUE(QFile::link(shared, apps + s("/Shared")));
    test::makeBundle(apps, s("Wide.app"), utf16Plist(test::appKeys(s("org.wide.app"), s("Wide"))));
    test::makeBundle(apps, s("Marked.app"),
                     "\xEF\xBB\xBF" + test::xmlPlist(test::appKeys(s("org.marked.app"), s("M"))));
    test::makeBundle(apps, s("Packed.app"),
                     test::binaryPlist(test::appKeys(s("org.packed.app"), s("Packed"))));
    // A bundle that cannot be read: data that may be its own is unknown.
    test::makeBundle(apps, s("Mystery Box.app"), "\x00\x01garbage");

    for (const char* used :
         {"Application Support/net.agentco.agent", "Containers/org.sharing.ext",
          "Caches/org.deep.tool", "Preferences/org.linked.app.plist", "Containers/org.wide.app",
          "Saved Application State/org.marked.app.savedState", "Logs/org.packed.app",
          // The vendor's launch agent and cache, while one of its apps is installed.
          "LaunchAgents/com.vendor.updater.plist", "Caches/com.vendor.crashreporter"})
        test::libraryFolderWith(s(used));
    test::libraryFolderWith(s("Caches/com.mysterybox.app"));
    test::libraryFolderWith(s("Preferences/org.gone.app.plist"));

    const AppInventory inventory = AppInventoryLoader::load();
    EXPECT_EQ(identifiersOf(inventory.orphans), QStringList{s("org.gone.app")});
    ASSERT_EQ(inventory.unknownData.size(), 1);
    EXPECT_EQ(inventory.unknownData[0].bundleIdentifier, s("com.mysterybox.app"));
    EXPECT_EQ(inventory.unknownData[0].unreadableBundle,
              QFileInfo(apps + s("/Mystery Box.app")).canonicalFilePath());
    QStringList names;
    for (const InstalledApp& app : inventory.apps)
        names.append(app.name);
    names.sort();
    EXPECT_EQ(names,
              (QStringList{s("Deep"), s("Linked"), s("M"), s("Packed"), s("Suite"), s("Wide")}));
}

} // namespace
