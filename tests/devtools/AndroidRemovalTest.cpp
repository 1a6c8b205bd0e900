#include "devtools/AndroidCatalog.h"
#include "devtools/AndroidStores.h"
#include "platform/KeepStore.h"
#include "platform/TrashService.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;
using test::android::AndroidStore;

namespace {

const QString imageRel = s("system-images/android-36/google_apis_playstore/arm64-v8a");

TEST(AndroidRemovalTest, MovesPackagesAndAVDsWithTheirRegistrationToTheTrash) {
    AndroidStore store;
    const QString platform =
        store.package(s("platforms/android-34"), "AndroidVersion.ApiLevel=34\n");
    store.package(imageRel, test::android::playImageProperties);
    const QString avd = store.avd(s("Pixel_8"), imageRel);
    const QString elsewhere = test::makeTempDir(s("external"));
    const QString outside = store.avd(s("Outside"), imageRel, false, elsewhere);
    const AndroidInventory inventory = AndroidCatalog::inventory();
    const QStringList trashedBefore = AndroidStore::trashed();

    const AndroidRemovalResult result = AndroidCatalog::remove(
        {*store.component(inventory, platform)},
        {*store.avdNamed(inventory, s("Pixel_8")), *store.avdNamed(inventory, s("Outside"))});

    EXPECT_TRUE(result.failures.isEmpty()) << result.failures.value(0).message.toStdString();
    EXPECT_EQ(result.removed, (QStringList{platform, avd, outside}));
    EXPECT_EQ(result.freedBytes, store.component(inventory, platform)->sizeBytes +
                                     store.avdNamed(inventory, s("Pixel_8"))->sizeBytes +
                                     store.avdNamed(inventory, s("Outside"))->sizeBytes);
    for (const QString& gone : {platform, avd, outside, store.avdHome + s("/Pixel_8.ini"),
                                store.avdHome + s("/Outside.ini")})
        EXPECT_FALSE(QFileInfo::exists(gone)) << gone.toStdString();
    // One recognisable folder per place the items were staged, holding them by name.
    const QStringList added = [&] {
        QStringList now = AndroidStore::trashed();
        for (const QString& name : trashedBefore)
            now.removeOne(name);
        return now;
    }();
    ASSERT_EQ(added.size(), 3);
    const QString trash = qEnvironmentVariable("XDG_DATA_HOME") + s("/Trash/files/");
    QStringList contents;
    for (const QString& folder : added) {
        EXPECT_TRUE(folder.startsWith(s("Android items removed by Corvane Clean ")))
            << folder.toStdString();
        contents += QDir(trash + folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }
    contents.sort();
    EXPECT_EQ(contents, (QStringList{s("Android 34"), s("Outside.avd"), s("Outside.ini"),
                                     s("Pixel_8.avd"), s("Pixel_8.ini")}));
    // No staging folder stays behind, and the image its AVDs used is free now.
    EXPECT_TRUE(
        QDir(store.sdk).entryList({s(".android-trash-*")}, QDir::Dirs | QDir::Hidden).isEmpty());
    EXPECT_TRUE(QDir(store.avdHome)
                    .entryList({s(".android-trash-*")}, QDir::Dirs | QDir::Hidden)
                    .isEmpty());
    EXPECT_TRUE(store.component(AndroidCatalog::inventory(), store.sdk + u'/' + imageRel)
                    ->avdNames.isEmpty());
}

TEST(AndroidRemovalTest, GuardsRefuseWhatWouldBreakAndroidStudio) {
    AndroidStore store;
    const QString image = store.package(imageRel, test::android::playImageProperties);
    const QString emulator = store.package(s("emulator"), "Pkg.Revision=36.3.10\n");
    const QString tools = store.package(s("platform-tools"), "Pkg.Revision=35.0.2\n");
    store.avd(s("Pixel_8"), imageRel);
    store.avd(s("Tablet"), imageRel, true);
    const AndroidInventory inventory = AndroidCatalog::inventory();
    AndroidComponent outside = *store.component(inventory, image);
    outside.url = test::makeTempDir(s("not-sdk"));
    outside.kind = AndroidComponentKind::platform;
    AndroidComponent vanished = *store.component(inventory, tools);
    vanished.url = store.sdk + s("/platforms/android-99");

    const AndroidRemovalResult result = AndroidCatalog::remove(
        {*store.component(inventory, image), *store.component(inventory, emulator),
         *store.component(inventory, tools), outside, vanished},
        {});

    EXPECT_TRUE(result.removed.isEmpty());
    QStringList messages;
    for (const AndroidRemovalFailure& failure : result.failures)
        messages.append(failure.message);
    EXPECT_EQ(
        messages,
        (QStringList{s("This system image is used by AVDs: Pixel_8, Tablet"),
                     s("Android Emulator 36.3.10 is required and cannot be removed."),
                     s("Platform Tools 35.0.2 is required and cannot be removed."),
                     s("Android item no longer exists or its registration changed: ") + outside.url,
                     s("Android item no longer exists or its registration changed: ") +
                         vanished.url}));
    EXPECT_TRUE(QFileInfo::exists(image));
    EXPECT_TRUE(QFileInfo::exists(emulator));
    EXPECT_EQ(AndroidCatalog::removalBlockedReason(*store.component(inventory, emulator)),
              s("Android Emulator 36.3.10 is required and cannot be removed."));
}

TEST(AndroidRemovalTest, RefusesLocationsOutsideTheSdkAndTheAVDHome) {
    AndroidStore store;
    const QString platform =
        store.package(s("platforms/android-34"), "AndroidVersion.ApiLevel=34\n");
    // A registration pointing at a folder that is not an AVD (here, the home folder's projects).
    const QString projects = test::makeTempDir(s("projects"));
    test::writeFile(projects + s("/config.ini"), "target=android-34\n");
    test::writeFile(store.avdHome + s("/Rogue.ini"), "path=" + projects.toUtf8() + '\n');
    const AndroidInventory inventory = AndroidCatalog::inventory();
    const AndroidComponent listed = *store.component(inventory, platform);

    // The SDK root moved under the listing: the listed package now lies outside it.
    const test::ScopedEnvironment otherSdk("ANDROID_HOME", test::makeTempDir(s("other-sdk")));
    AndroidRemovalResult result = AndroidCatalog::remove({listed}, {});
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].message,
              s("Android item no longer exists or its registration changed: ") + platform);

    const test::ScopedEnvironment backToSdk("ANDROID_HOME", store.sdk);
    result = AndroidCatalog::remove({}, {*store.avdNamed(inventory, s("Rogue"))});
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].message, s("Refused unsafe Android location: ") + projects);
    EXPECT_TRUE(QFileInfo::exists(projects + s("/config.ini")));

    // A package folder reached through a link that leads out of the SDK.
    const QString external = test::makeTempDir(s("linked-platforms"));
    test::writeFile(external + s("/android-35/source.properties"), "AndroidVersion.ApiLevel=35\n");
    ASSERT_TRUE(QFile::link(external, store.sdk + s("/sources")));
    const QString linked = store.sdk + s("/sources/android-35");
    result = AndroidCatalog::remove({*store.component(AndroidCatalog::inventory(), linked)}, {});
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].message, s("Refused unsafe Android location: ") + linked);
    EXPECT_TRUE(QFileInfo::exists(external + s("/android-35/source.properties")));
}

TEST(AndroidRemovalTest, ATrashThatRefusesLeavesEveryItemWhereItWas) {
    AndroidStore store;
    const QString platform =
        store.package(s("platforms/android-34"), "AndroidVersion.ApiLevel=34\n");
    const QString buildTools = store.package(s("build-tools/34.0.0"), "Pkg.Revision=34.0.0\n");
    const QString avd = store.avd(s("Pixel_8"), s("system-images/android-30/default/x86_64"));
    const AndroidInventory inventory = AndroidCatalog::inventory();
    const test::android::RefusingTrash refusing;

    const AndroidRemovalResult result = AndroidCatalog::remove(
        {*store.component(inventory, platform), *store.component(inventory, buildTools)},
        {*store.avdNamed(inventory, s("Pixel_8"))}, ProcessRunner::system(), refusing);

    EXPECT_TRUE(result.removed.isEmpty());
    EXPECT_EQ(result.freedBytes, 0);
    ASSERT_EQ(result.failures.size(), 3);
    for (const AndroidRemovalFailure& failure : result.failures)
        EXPECT_EQ(failure.message,
                  s("Could not move Android items to the Trash: The volume is read-only."));
    for (const QString& kept : {platform + s("/source.properties"), buildTools + s("/payload.bin"),
                                avd + s("/userdata-qemu.img"), store.avdHome + s("/Pixel_8.ini")})
        EXPECT_TRUE(QFileInfo::exists(kept)) << kept.toStdString();
    EXPECT_EQ(AndroidCatalog::inventory(), inventory);
    EXPECT_TRUE(QDir(store.sdk)
                    .entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot)
                    .filter(s("Corvane"))
                    .isEmpty());
    EXPECT_TRUE(
        QDir(store.sdk).entryList({s(".android-trash-*")}, QDir::Dirs | QDir::Hidden).isEmpty());
}

} // namespace

// Items are staged aside before the trash step sees them, so a kept package or emulator must be
// refused before staging, under any spelling of its path and in a dry run too.
TEST(AndroidRemovalTest, KeptItemsStayInADryRunAndForRealWhateverPathTheMarkUses) {
    AndroidStore store;
    const QString platform =
        store.package(s("platforms/android-34"), "AndroidVersion.ApiLevel=34\n");
    store.package(imageRel, test::android::playImageProperties);
    const QString avd = store.avd(s("Pixel_8"), imageRel);
    const QString linkedSdk = test::makeTempDir(s("links")) + s("/sdk");
    ASSERT_TRUE(QFile::link(store.sdk, linkedSdk));
    const KeepStore marks;
    ASSERT_EQ(marks.add(linkedSdk + s("/platforms/android-34")), QString());
    ASSERT_EQ(marks.add(avd), QString());
    const AndroidInventory inventory = AndroidCatalog::inventory();

    for (const bool dryRun : {true, false}) {
        const AndroidRemovalResult result = AndroidCatalog::remove(
            {*store.component(inventory, platform)}, {*store.avdNamed(inventory, s("Pixel_8"))},
            ProcessRunner::system(), PlatformTrash::system(), dryRun);
        EXPECT_TRUE(result.removed.isEmpty()) << dryRun;
        ASSERT_EQ(result.failures.size(), 2) << dryRun;
        for (const AndroidRemovalFailure& failure : result.failures)
            EXPECT_EQ(failure.message, TrashService::keptMessage);
    }
    EXPECT_TRUE(QFileInfo::exists(platform));
    EXPECT_TRUE(QFileInfo::exists(avd));
    EXPECT_TRUE(QFileInfo::exists(store.avdHome + s("/Pixel_8.ini")));
    EXPECT_EQ(marks.remove(linkedSdk + s("/platforms/android-34")), QString());
    EXPECT_EQ(marks.remove(avd), QString());
}
