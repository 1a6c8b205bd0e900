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
    return MoveToApplications::destination(bundle, home, options, suppressed);
}

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
