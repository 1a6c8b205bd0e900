#include "devtools/AndroidCatalog.h"

#include "devtools/AndroidStores.h"
#include "platform/InputLimits.h"
#include "platform/Paths.h"

#include <QFile>
#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;
using test::android::AndroidStore;

namespace {

const QString imageRel = s("system-images/android-36/google_apis_playstore/arm64-v8a");

// A runner that answers for lsof itself and hands ps to the real one.
class ScriptedLsof : public ProcessRunner {
public:
    explicit ScriptedLsof(ProcessResult answer)
        : answer_(std::move(answer)) {}

protected:
    ProcessResult execute(const Call& call) const override {
        if (call.executable.endsWith(s("lsof")))
            return answer_;
        return ProcessRunner::execute(call);
    }

private:
    ProcessResult answer_;
};

QString runningCheckError(const QString& folder, const ProcessRunner& runner) {
    try {
        AndroidCatalog::isRunning(folder, runner);
    } catch (const AndroidCatalogError& error) {
        return error.message();
    }
    return {};
}

TEST(AndroidLocationsTest, AndroidHomeWinsThenSdkRootThenThePlatformDefault) {
    const test::ScopedEnvironment home("ANDROID_HOME", s("/opt/android-home"));
    const test::ScopedEnvironment root("ANDROID_SDK_ROOT", s("/opt/sdk-root/"));
    EXPECT_EQ(AndroidCatalog::sdkRoot(), s("/opt/android-home"));
    {
        const test::ScopedEnvironment unset("ANDROID_HOME", QString());
        EXPECT_EQ(AndroidCatalog::sdkRoot(), s("/opt/sdk-root"));
        const test::ScopedEnvironment unsetToo("ANDROID_SDK_ROOT", QString());
        EXPECT_EQ(AndroidCatalog::sdkRoot(),
                  Locations::homeDir() +
                      (Locations::isMac() ? s("/Library/Android/sdk") : s("/Android/Sdk")));
    }
    const test::ScopedEnvironment avd("ANDROID_AVD_HOME", s("/opt/avds"));
    EXPECT_EQ(AndroidCatalog::avdHome(), s("/opt/avds"));
    const test::ScopedEnvironment noAvd("ANDROID_AVD_HOME", QString());
    EXPECT_EQ(AndroidCatalog::avdHome(), Locations::homeDir() + s("/.android/avd"));
}

TEST(AndroidInventoryTest, ListsPackagesByKindWithNamesFromTheirProperties) {
    AndroidStore store;
    store.package(imageRel, test::android::playImageProperties);
    store.package(s("system-images/android-36.1/google_apis/x86_64"),
                  "Pkg.Revision=2\nSystemImage.Abi=x86_64\n"); // no Pkg.Desc, no ApiLevel
    store.package(s("platforms/android-34"), "Pkg.Revision=3\nAndroidVersion.ApiLevel=34\n");
    store.package(s("build-tools/34.0.0"), "Pkg.Revision=34.0.0\n");
    store.package(s("build-tools/9.0.0"), "Pkg.Revision=9.0.0\n");
    store.package(s("ndk/28.0.12433566"),
                  "Pkg.Desc = Android NDK\nPkg.Revision = 28.0.12433566-beta1\n");
    store.package(s("emulator"), "# comment\nPkg.Path=emulator\nPkg.Revision=36.3.10\n");
    store.package(s("platform-tools"), "Pkg.Revision=35.0.2\n");
    store.package(s("sources/android-34"), "AndroidVersion.ApiLevel=34\n");
    store.package(s("cmake/3.22.1"), "Pkg.Revision=3.22.1\n");
    QDir().mkpath(store.sdk + s("/.android-trash-leftover/x"));

    const AndroidInventory inventory = AndroidCatalog::inventory();
    QStringList names;
    for (const AndroidComponent& item : inventory.components)
        names.append(item.displayName);
    EXPECT_EQ(names, (QStringList{s("System Image Android 36 Google Play arm64-v8a"),
                                  s("System Image Android 36.1 Google APIs x86_64"),
                                  s("Android 34"), s("Build Tools 9.0.0"), s("Build Tools 34.0.0"),
                                  s("NDK 28.0.12433566-beta1"), s("Sources for Android 34"),
                                  s("CMake 3.22.1"), s("Android Emulator 36.3.10"),
                                  s("Platform Tools 35.0.2")}));
    const AndroidComponent* image = store.component(inventory, store.sdk + u'/' + imageRel);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->version, s("7"));
    EXPECT_GE(image->sizeBytes, 4096);
    EXPECT_TRUE(image->modifiedAt.has_value());
}

TEST(AndroidInventoryTest, PropertiesOverTheirLimitAreNamedAndTheRestIsListed) {
    AndroidStore store;
    // A comment pads the file to exactly the limit: it is read whole.
    const QByteArray revision = "\nPkg.Revision=34.0.0\n";
    store.package(s("build-tools/34.0.0"),
                  '#' + QByteArray(InputLimits::smallFileBytes - revision.size() - 1, 'x') +
                      revision);
    // One byte over: the package is listed by its folder, and the file named.
    const QString over = store.package(s("build-tools/35.0.0"), {}) + s("/source.properties");
    ASSERT_TRUE(QFile(over).resize(InputLimits::smallFileBytes + 1));
    store.avd(s("Pixel"), imageRel);
    const QString registration = store.avdHome + s("/Pixel.ini");
    ASSERT_TRUE(QFile(registration).resize(InputLimits::smallFileBytes + 1));

    const AndroidInventory inventory = AndroidCatalog::inventory();
    QStringList names;
    for (const AndroidComponent& item : inventory.components)
        names.append(item.displayName);
    EXPECT_EQ(names, (QStringList{s("Build Tools 34.0.0"), s("Build Tools 35.0.0")}));
    EXPECT_EQ(store.component(inventory, Paths::parentPath(over))->version, std::nullopt);
    // An AVD whose registration cannot be read has no known folder: it is not listed.
    EXPECT_TRUE(inventory.avds.isEmpty());
    const QString tooLarge = s(": it is larger than 1 MB, more than such a file can be");
    EXPECT_EQ(inventory.problems, (QStringList{s("Could not read ") + over + tooLarge,
                                               s("Could not read ") + registration + tooLarge}));
}

TEST(AndroidInventoryTest, FindsAVDsByAbsolutePathRelativePathAndOutsideTheHome) {
    AndroidStore store;
    const QString image = store.package(imageRel, test::android::playImageProperties);
    const QString absolute = store.avd(s("Pixel_8_API_36"), imageRel);
    const QString relative = store.avd(s("Relative_Only"), imageRel, true);
    const QString elsewhere = test::makeTempDir(s("external"));
    const QString outside = store.avd(s("On_Other_Disk"), imageRel, false, elsewhere);
    // A stale absolute path, as after a migration, falls back to path.rel.
    const QString stale = store.avd(s("Migrated"), s("system-images/android-99/default/x86"));
    test::writeFile(store.avdHome + s("/Migrated.ini"),
                    "path=/Users/gone/.android/avd/Migrated.avd\npath.rel=avd/Migrated.avd\n");
    test::writeFile(store.avdHome + s("/Dangling.ini"), "path.rel=avd/Dangling.avd\n");

    const AndroidInventory inventory = AndroidCatalog::inventory();
    ASSERT_EQ(inventory.avds.size(), 5);
    const AndroidAVD* pixel = store.avdNamed(inventory, s("Pixel_8_API_36"));
    ASSERT_TRUE(pixel);
    EXPECT_EQ(pixel->url, absolute);
    EXPECT_EQ(pixel->iniURL, store.avdHome + s("/Pixel_8_API_36.ini"));
    EXPECT_EQ(pixel->deviceName, s("pixel_8"));
    EXPECT_EQ(pixel->target, s("android-36"));
    EXPECT_EQ(pixel->systemImageURL, image);
    EXPECT_TRUE(pixel->isRemovable);
    EXPECT_FALSE(pixel->isRunning);
    EXPECT_GE(pixel->sizeBytes, 8192);
    EXPECT_EQ(store.avdNamed(inventory, s("Relative_Only"))->url, relative);
    EXPECT_EQ(store.avdNamed(inventory, s("On_Other_Disk"))->url, outside);
    EXPECT_EQ(store.avdNamed(inventory, s("Migrated"))->url, stale);
    const AndroidAVD* dangling = store.avdNamed(inventory, s("Dangling"));
    ASSERT_TRUE(dangling);
    EXPECT_FALSE(dangling->isRemovable);
    EXPECT_EQ(AndroidCatalog::removalBlockedReason(*dangling), androidAVDNotRemovableText);

    EXPECT_EQ(store.component(inventory, image)->avdNames,
              (QStringList{s("On_Other_Disk"), s("Pixel_8_API_36"), s("Relative_Only")}));
}

TEST(AndroidRunningCheckTest, AnEmulatorHoldingTheDiskImageBlocksRemoval) {
    AndroidStore store;
    store.package(imageRel, test::android::playImageProperties);
    const QString folder = store.avd(s("Busy"), imageRel);
    const AndroidInventory before = AndroidCatalog::inventory();
    const AndroidAVD listed = *store.avdNamed(before, s("Busy"));
    EXPECT_FALSE(AndroidCatalog::isRunning(folder));

    const test::android::FakeEmulator emulator(test::makeTempDir(s("bin")),
                                               folder + s("/userdata-qemu.img"));
    // The shell holds the file for a moment before it becomes the emulator.
    EXPECT_TRUE(QTest::qWaitFor([&] { return AndroidCatalog::isRunning(folder); }, 10000));
    const AndroidInventory during = AndroidCatalog::inventory();
    const AndroidAVD* seen = store.avdNamed(during, s("Busy"));
    ASSERT_TRUE(seen);
    EXPECT_TRUE(seen->isRunning);
    EXPECT_EQ(AndroidCatalog::removalBlockedReason(*seen),
              s("AVD Busy is running. Stop it before removing it."));

    const AndroidRemovalResult result = AndroidCatalog::remove({}, {listed});
    EXPECT_TRUE(result.removed.isEmpty());
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].message, s("AVD Busy is running. Stop it before removing it."));
    EXPECT_TRUE(QFileInfo::exists(folder));
    EXPECT_TRUE(QFileInfo::exists(store.avdHome + s("/Busy.ini")));
}

TEST(AndroidRunningCheckTest, UnclearLsofAnswersAreReportedNotIgnored) {
    AndroidStore store;
    const QString folder = store.avd(s("Checked"), imageRel);
    const QString prefix = s("Cannot verify whether the AVD is running: ");

    EXPECT_EQ(runningCheckError(folder, ScriptedLsof({2, {}, "lsof: internal error\n", 0})),
              prefix + AndroidCatalog::lsofIncompleteText);
    EXPECT_EQ(runningCheckError(folder, ScriptedLsof({0, "pabc\ncsleep\nn/x\n", {}, 0})),
              prefix + AndroidCatalog::invalidProcessIDText);
    EXPECT_EQ(runningCheckError(folder, ScriptedLsof({0, "p-4\n", {}, 0})),
              prefix + AndroidCatalog::invalidProcessIDText);
    // A holder that has gone by the time ps asks (the largest pid Linux allows is 2^22).
    EXPECT_EQ(runningCheckError(folder, ScriptedLsof({0, "p99999999\ncqemu\n", {}, 0})),
              prefix + AndroidCatalog::processChangedText);
    // Nobody holds the files: no output, exit 1, also when a named file went meanwhile.
    EXPECT_FALSE(AndroidCatalog::isRunning(folder, ScriptedLsof({1, {}, {}, 0})));
    EXPECT_FALSE(AndroidCatalog::isRunning(
        folder, ScriptedLsof({1, {}, "lsof: status error on x: No such file or directory\n", 0})));

    // Removal refuses when it cannot tell.
    const AndroidInventory inventory = AndroidCatalog::inventory();
    const AndroidAVD listed = *store.avdNamed(inventory, s("Checked"));
    const AndroidRemovalResult result =
        AndroidCatalog::remove({}, {listed}, ScriptedLsof({0, "p0\n", {}, 0}));
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].message, prefix + AndroidCatalog::invalidProcessIDText);
    EXPECT_TRUE(QFileInfo::exists(folder));
}

TEST(AndroidRunningCheckTest, AnEmulatorIsRunningWhileSomeOfItsFilesAreNotOpen) {
    // lsof exits 1 when some named files are not open (the snapshot here) and lists the ones that
    // are: that is an emulator at work, not a failed check.
    AndroidStore store;
    store.package(imageRel, test::android::playImageProperties);
    const QString folder = store.avd(s("Busy"), imageRel);
    test::writeFile(folder + s("/snapshots/default_boot/ram.bin"), "snapshot");
    const test::android::FakeEmulator emulator(test::makeTempDir(s("bin")),
                                               folder + s("/userdata-qemu.img"));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            const AndroidInventory now = AndroidCatalog::inventory();
            const AndroidAVD* avd = store.avdNamed(now, s("Busy"));
            return avd && avd->isRunning;
        },
        10000));
    EXPECT_TRUE(AndroidCatalog::isRunning(folder));

    // Refused also in a dry run, which then moves nothing either.
    const AndroidAVD listed = *store.avdNamed(AndroidCatalog::inventory(), s("Busy"));
    const AndroidRemovalResult dryRun = AndroidCatalog::remove(
        {}, {listed}, ProcessRunner::system(), PlatformTrash::system(), true);
    EXPECT_TRUE(dryRun.removed.isEmpty());
    ASSERT_EQ(dryRun.failures.size(), 1);
    EXPECT_EQ(dryRun.failures[0].message, s("AVD Busy is running. Stop it before removing it."));
    EXPECT_TRUE(QFileInfo::exists(folder));
}

TEST(AndroidInventoryTest, AnImageNamedThroughALinkedSdkIsStillInUse) {
    AndroidStore store;
    const QString image = store.package(imageRel, test::android::playImageProperties);
    // Android Studio reaches the SDK through a link; the AVD names its image by the real path.
    const QString linked = test::makeTempDir(s("sdk-link")) + s("/sdk");
    ASSERT_TRUE(QFile::link(store.sdk, linked));
    store.avd(s("Pixel_8"), store.sdk + u'/' + imageRel);
    const test::ScopedEnvironment throughLink("ANDROID_HOME", linked);

    const AndroidInventory inventory = AndroidCatalog::inventory();
    const QString listedImage = linked + u'/' + imageRel;
    const AndroidComponent* component = store.component(inventory, listedImage);
    ASSERT_TRUE(component);
    EXPECT_EQ(component->avdNames, QStringList{s("Pixel_8")});
    const AndroidRemovalResult result = AndroidCatalog::remove({*component}, {});
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].message, s("This system image is used by AVDs: Pixel_8"));
    EXPECT_TRUE(QFileInfo::exists(image + s("/source.properties")));
}

} // namespace
