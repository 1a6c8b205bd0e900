#include "apps/FlatpakApps.h"

#include "AppFixtures.h"
#include "apps/AppInventoryLoader.h"
#include "platform/InputLimits.h"
#include "support/GitFixture.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::s;

namespace {

class FlatpakAppsTest : public ::testing::Test {
protected:
    void SetUp() override {
        QDir(FlatpakApps::dataRoot()).removeRecursively();
        QDir(test::library()).removeRecursively();
    }

    // A stand-in flatpak that records its arguments and prints `output`.
    void fakeFlatpak(const QByteArray& output, int exitCode = 0) {
        test::writeFile(dir + s("/output"), output);
        test::writeScript(tool, "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + dir.toUtf8() +
                                    "/arguments'\ncat '" + dir.toUtf8() + "/output'\nexit " +
                                    QByteArray::number(exitCode) + "\n");
    }
    QStringList recordedArguments() const {
        QFile file(dir + s("/arguments"));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    QString dir = test::makeTempDir(s("flatpak"));
    QString tool = dir + s("/flatpak");
    test::ScopedEnvironment toolPath{"CORVANE_TOOL_FLATPAK", tool};
    test::ScopedEnvironment noBundles{"CORVANE_APPLICATIONS_DIR", test::makeTempDir(s("none"))};
};

TEST_F(FlatpakAppsTest, ParsesTabSeparatedColumnsAndRefusesWhatItCannotRead) {
    const FlatpakListing listed =
        FlatpakApps::parse("org.gimp.GIMP\tGNU Image Manipulation Program\t2.10.38\tsystem\n"
                           "\n"
                           "com.example.Bare\t\t\tuser\n");
    EXPECT_EQ(listed.error, std::nullopt);
    EXPECT_EQ(listed.apps,
              (QList<FlatpakApp>{{s("org.gimp.GIMP"), s("GNU Image Manipulation Program"),
                                  s("2.10.38"), s("system")},
                                 {s("com.example.Bare"), s("com.example.Bare"), {}, s("user")}}));
    // Anything but a full line of an app id makes the whole list unknown, never shorter.
    for (const QByteArray& output :
         {QByteArray("org.gimp.GIMP\tGIMP\t2.10\tsystem\nerror: No remote refs found\n"),
          QByteArray("org.gimp.GIMP\tGIMP\t2.10\n"), QByteArray("-rf\tx\t1\tuser\n"),
          QByteArray(""), QByteArray("\n\n")}) {
        const FlatpakListing parsed = FlatpakApps::parse(output);
        EXPECT_TRUE(parsed.error) << output.toStdString();
        EXPECT_TRUE(parsed.apps.isEmpty()) << output.toStdString();
    }

    // A line is read up to its limit; one byte more and the whole list is refused, named.
    const QByteArray app = "org.gimp.GIMP\t";
    const QByteArray rest = "\t2.10\tsystem";
    const QByteArray longest =
        app + QByteArray(InputLimits::lineBytes - app.size() - rest.size(), 'G') + rest;
    EXPECT_EQ(FlatpakApps::parse(longest + '\n').apps.size(), 1);
    const FlatpakListing refused =
        FlatpakApps::parse("org.x.Y\tY\t1\tuser\n" + app + 'G' + longest.mid(app.size()) + '\n');
    EXPECT_EQ(refused.error, s("Could not read flatpak list: a line is longer than 1 MB, more "
                               "than such a line can be"));
    EXPECT_TRUE(refused.apps.isEmpty());
}

TEST_F(FlatpakAppsTest, InstalledAppsOwnTheirVarAppFolderAndOthersAreLeftovers) {
    fakeFlatpak("org.gimp.GIMP\tGIMP\t2.10.38\tsystem\ncom.example.Notes\tNotes\t1.0\tuser\n");
    const QString gimpData = FlatpakApps::dataRoot() + s("/org.gimp.GIMP");
    test::writeFile(gimpData + s("/config/gimprc"), QByteArray(8000, 'g'));
    const QString gone = FlatpakApps::dataRoot() + s("/org.example.Gone");
    test::writeFile(gone + s("/cache/x"), "x");
    // Ids are case-sensitive: this is not GIMP's folder.
    const QString otherCase = FlatpakApps::dataRoot() + s("/org.gimp.gimp");
    test::writeFile(otherCase + s("/x"), "x");

    const AppInventory inventory = AppInventoryLoader::load();
    EXPECT_EQ(
        recordedArguments(),
        (QStringList{s("list"), s("--app"), s("--columns=application,name,version,installation")}));
    ASSERT_EQ(inventory.apps.size(), 2);
    const InstalledApp& gimp = inventory.apps[0];
    EXPECT_EQ(gimp.name, s("GIMP"));
    EXPECT_EQ(gimp.bundleIdentifier, s("org.gimp.GIMP"));
    EXPECT_EQ(gimp.version, s("2.10.38"));
    EXPECT_EQ(gimp.flatpakInstallation, s("system"));
    EXPECT_EQ(gimp.url, s("/var/lib/flatpak/app/org.gimp.GIMP"));
    ASSERT_EQ(gimp.data.size(), 1);
    EXPECT_EQ(gimp.data[0].url, gimpData);
    EXPECT_TRUE(gimp.data[0].isExactMatch);
    EXPECT_GE(gimp.data[0].sizeBytes, 8000);
    EXPECT_EQ(inventory.apps[1].flatpakInstallation, s("user"));
    EXPECT_TRUE(inventory.apps[1].data.isEmpty());

    QStringList orphans;
    for (const OrphanedAppData& orphan : inventory.orphans)
        orphans.append(orphan.items.first().url);
    orphans.sort();
    EXPECT_EQ(orphans, (QStringList{gone, otherCase}));
}

TEST_F(FlatpakAppsTest, AnEmptyFailingOrUnreadableListIsAnErrorAndMakesNoDataALeftover) {
    test::writeFile(FlatpakApps::dataRoot() + s("/org.gimp.GIMP/x"), "x");
    const QList<QPair<QByteArray, int>> answers{
        {"error: something broke\n", 1}, {"", 0}, {"Usage: flatpak list\n", 0}};
    for (const auto& [output, exitCode] : answers) {
        fakeFlatpak(output, exitCode);
        const AppInventory inventory = AppInventoryLoader::load();
        EXPECT_TRUE(inventory.orphans.isEmpty()) << output.toStdString();
        ASSERT_EQ(inventory.errors.size(), 1) << output.toStdString();
        EXPECT_TRUE(inventory.errors[0].startsWith(s("flatpak list"))) << output.toStdString();
    }
    QFile::remove(tool);
    EXPECT_FALSE(FlatpakApps::isInstalled());
    const AppInventory without = AppInventoryLoader::load();
    EXPECT_TRUE(without.orphans.isEmpty());
    EXPECT_TRUE(without.errors.isEmpty());
}

} // namespace
