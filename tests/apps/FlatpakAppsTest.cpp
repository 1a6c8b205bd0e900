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

    // A stand-in flatpak that records its arguments and prints `output`; `info` runs `info`, by
    // default flatpak's answer for an app that is not installed.
    void
    fakeFlatpak(const QByteArray& output, int exitCode = 0,
                const QByteArray& info =
                    "echo \"error: $3/*unspecified*/*unspecified* not installed\" >&2; exit 1") {
        test::writeFile(dir + s("/output"), output);
        test::writeScript(tool, "printf '%s\\n' \"$@\" >> '" + dir.toUtf8() +
                                    "/arguments'\nif [ \"$1\" = info ]; then " + info +
                                    "; fi\ncat '" + dir.toUtf8() + "/output'\nexit " +
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
          QByteArray("org.gimp.GIMP\tGIMP\t2.10\n"), QByteArray("-rf\tx\t1\tuser\n")}) {
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
    // Each folder the list leaves out is asked about, after "--".
    EXPECT_EQ(recordedArguments(),
              (QStringList{s("list"), s("--app"),
                           s("--columns=application,name,version,installation"), s("info"), s("--"),
                           s("org.example.Gone"), s("info"), s("--"), s("org.gimp.gimp")}));
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

// Waits a second for a child, where the real runner waits a minute.
class ImpatientRunner : public ProcessRunner {
protected:
    ProcessResult execute(const Call& call) const override {
        return ProcessRunner::system().run(call.executable, call.arguments, call.stdinData,
                                           call.environmentOverrides, 1.0, call.cancellation);
    }
};

TEST_F(FlatpakAppsTest, DataIsALeftoverOnlyWhenFlatpakSaysItsAppIsNotInstalled) {
    const QString data = FlatpakApps::dataRoot() + s("/org.gimp.GIMP");
    test::writeFile(data + s("/x"), "x");
    // No app listed at all: the folder is asked about, and flatpak says it is gone.
    fakeFlatpak("", 0);
    AppInventory inventory = AppInventoryLoader::load();
    ASSERT_EQ(inventory.orphans.size(), 1);
    EXPECT_EQ(inventory.orphans[0].items[0].url, data);
    EXPECT_EQ(inventory.orphans[0].gone->witness, AppGone::Witness::flatpak);

    // A list that fails or cannot be read, or an answer to `info` that is not "not installed",
    // a failure or a hang, makes nothing a leftover; what went wrong is said.
    const QList<std::tuple<QByteArray, int, QByteArray>> answers{
        {"error: something broke\n", 1, "exit 1"},
        {"Usage: flatpak list\n", 0, "exit 1"},
        {"", 0, "echo 'error: org.gimp.GIMP/x86_64/stable installed twice' >&2; exit 1"},
        {"", 0, "echo 'error: Could not connect to the system bus' >&2; exit 1"},
        {"", 0, "echo 'Ref: app/org.gimp.GIMP/x86_64/stable'; exit 0"},
        {"", 0, "exec sleep 30"}};
    for (const auto& [list, exitCode, info] : answers) {
        fakeFlatpak(list, exitCode, info);
        inventory = AppInventoryLoader::load({}, {}, ImpatientRunner());
        EXPECT_TRUE(inventory.orphans.isEmpty()) << info.toStdString();
        EXPECT_EQ(inventory.errors.size(), info.contains("exit 0") ? 0 : 1) << info.toStdString();
    }
    QFile::remove(tool);
    const AppInventory without = AppInventoryLoader::load();
    EXPECT_TRUE(without.orphans.isEmpty());
    EXPECT_TRUE(without.errors.isEmpty());
}

} // namespace
