#include "shell/MoveToApplications.h"

#include "shell/LaunchOptions.h"

#include <gtest/gtest.h>

using namespace corvane;

namespace {

const QString home = QStringLiteral("/Users/ada");
const QString app = QStringLiteral("Corvane Clean.app");

std::optional<QString> destination(const QString& bundle, const QStringList& switches = {},
                                   bool suppressed = false) {
    const LaunchOptions options =
        LaunchOptions::fromArguments(QStringList{QStringLiteral("app")} + switches);
    return MoveToApplications::destination(bundle, home, options, suppressed,
                                           MoveToApplications::isTranslocated(bundle));
}

// Where macOS runs a quarantined app from, as Finder's "Get Info" and `ps` show it.
const QString translocated =
    QStringLiteral("/private/var/folders/x7/k2m9rd3s1vq8_0lz4bnc6w2h0000gn/T/AppTranslocation/"
                   "6C1E8D3A-93F2-4B7E-A1D5-0E2F7C9B4A18/d/Corvane Clean.app");

} // namespace

TEST(MoveToApplicationsTest, ADiskImageOrDownloadsIsOfferedTheMoveIntoApplications) {
    EXPECT_EQ(destination(QStringLiteral("/Volumes/Corvane Clean/Corvane Clean.app")),
              QStringLiteral("/Applications/Corvane Clean.app"));
    EXPECT_EQ(destination(QStringLiteral("/Users/ada/Downloads/Corvane Clean.app/")),
              QStringLiteral("/Applications/Corvane Clean.app"));
    EXPECT_EQ(destination(QStringLiteral("/Users/ada/Downloads/unpacked/Corvane Clean.app")),
              QStringLiteral("/Applications/Corvane Clean.app"));
    // Mac volumes ignore case, and so does the comparison.
    EXPECT_TRUE(destination(QStringLiteral("/volumes/Corvane/") + app));
    EXPECT_TRUE(destination(QStringLiteral("/Users/ada/downloads/") + app));
}

TEST(MoveToApplicationsTest, TheReadOnlyCopyMacOSRunsADownloadFromIsRecognised) {
    using MoveToApplications::isTranslocated;
    EXPECT_TRUE(isTranslocated(translocated));
    EXPECT_TRUE(isTranslocated(QStringLiteral(
        "/var/folders/ab/cd/T/AppTranslocation/0A1B2C3D-0000-4000-8000-000000000001/d/X.app/")));
    EXPECT_TRUE(isTranslocated(
        QString(translocated)
            .replace(QStringLiteral("AppTranslocation"), QStringLiteral("apptranslocation"))));
    // A folder of that name needs the system's identifier folder below it, and a name that only
    // starts like it is another folder.
    EXPECT_FALSE(isTranslocated(QStringLiteral("/Users/ada/AppTranslocation/") + app));
    EXPECT_FALSE(isTranslocated(QStringLiteral("/Users/ada/AppTranslocationTools/a/b/") + app));
    EXPECT_FALSE(isTranslocated(QStringLiteral("/Users/ada/Downloads/") + app));
    EXPECT_FALSE(isTranslocated({}));

    // Wherever the original was, the read-only copy is offered the move under its own name.
    EXPECT_EQ(destination(translocated), QStringLiteral("/Applications/Corvane Clean.app"));
    EXPECT_FALSE(destination(translocated, {}, true));
    EXPECT_EQ(MoveToApplications::destination(QStringLiteral("/Users/ada/Desktop/") + app, home,
                                              LaunchOptions{}, false, true),
              QStringLiteral("/Applications/Corvane Clean.app"));
}

TEST(MoveToApplicationsTest, OnlyWhatLiesUnderVolumesIsOnAVolume) {
    using MoveToApplications::isOnVolume;
    EXPECT_TRUE(isOnVolume(QStringLiteral("/Volumes/Corvane Clean/") + app));
    EXPECT_TRUE(isOnVolume(QStringLiteral("/VOLUMES/Corvane Clean/") + app));
    EXPECT_FALSE(isOnVolume(QStringLiteral("/VolumesBackup/") + app));
    EXPECT_FALSE(isOnVolume(QStringLiteral("/Users/ada/Volumes/") + app));
}

TEST(MoveToApplicationsTest, NoOfferWhereTheAppAlreadyLivesOrWhenDeclinedForGood) {
    EXPECT_FALSE(destination(QStringLiteral("/Applications/") + app));
    EXPECT_FALSE(destination(QStringLiteral("/Users/ada/Applications/") + app));
    EXPECT_FALSE(destination(QStringLiteral("/Users/ada/Desktop/") + app));
    // A folder that merely starts like Downloads is not Downloads.
    EXPECT_FALSE(destination(QStringLiteral("/Users/ada/Downloads-old/") + app));
    EXPECT_FALSE(destination(QStringLiteral("/Users/bob/Downloads/") + app));
    EXPECT_FALSE(destination(QStringLiteral("/Volumes/Corvane/") + app, {}, true));
    // Not a bundle: a build folder's bare executable is never moved.
    EXPECT_FALSE(destination(QStringLiteral("/Volumes/Corvane/build/Corvane Clean")));
    EXPECT_FALSE(destination({}));
}

TEST(MoveToApplicationsTest, TheSwitchesForceTheOfferAndChooseTheDestination) {
    const QString built = QStringLiteral("/Users/ada/code/corvane/build/") + app;
    EXPECT_FALSE(destination(built));
    EXPECT_EQ(destination(built, {QStringLiteral("--installed-from-volume")}),
              QStringLiteral("/Applications/Corvane Clean.app"));
    EXPECT_EQ(
        destination(built, {QStringLiteral("--installed-from-volume"),
                            QStringLiteral("--move-destination"), QStringLiteral("/tmp/apps/")}),
        QStringLiteral("/tmp/apps/Corvane Clean.app"));
    // Already in the chosen destination: nothing to move, even under the switch.
    EXPECT_FALSE(destination(QStringLiteral("/tmp/apps/") + app,
                             {QStringLiteral("--installed-from-volume"),
                              QStringLiteral("--move-destination"), QStringLiteral("/tmp/apps")}));
    // Declining for good outranks the switch.
    EXPECT_FALSE(destination(built, {QStringLiteral("--installed-from-volume")}, true));
}

TEST(LaunchOptionsTest, ReadsTheMoveSwitchesAndTheFolderAfterTheDestinationSwitch) {
    LaunchOptions options = LaunchOptions::fromArguments(
        {QStringLiteral("app"), QStringLiteral("--move-destination"), QStringLiteral("/tmp/a b"),
         QStringLiteral("--installed-from-volume"), QStringLiteral("--docker-dry-run")});
    EXPECT_TRUE(options.installedFromVolume);
    EXPECT_TRUE(options.dockerDryRun);
    EXPECT_EQ(options.moveDestination, QStringLiteral("/tmp/a b"));

    options =
        LaunchOptions::fromArguments({QStringLiteral("app"), QStringLiteral("--move-destination"),
                                      QStringLiteral("--installed-from-volume")});
    EXPECT_TRUE(options.moveDestination.isEmpty());
    EXPECT_TRUE(options.installedFromVolume);
    EXPECT_TRUE(
        LaunchOptions::fromArguments({QStringLiteral("app"), QStringLiteral("--move-destination")})
            .moveDestination.isEmpty());
    // The program itself is never a switch.
    EXPECT_FALSE(LaunchOptions::fromArguments({QStringLiteral("--installed-from-volume")})
                     .installedFromVolume);
}
