#include "apps/AppRemover.h"
#include "apps/LinuxApps.h"
#include "apps/LinuxHome.h"
#include "apps/SystemPackages.h"
#include "platform/OpenFileGuard.h"
#include "platform/PutBackService.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

QString readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

class LinuxRemovalTest : public testing::Test {
protected:
    InstalledApp app(const QString& name) const {
        for (const InstalledApp& listed : LinuxApps::find(SnapApps::list()))
            if (listed.name == name)
                return listed;
        ADD_FAILURE() << "no app " << name.toStdString();
        return {};
    }
    AppRemover remover(bool root) const {
        AppRemover made(
            BrewService(), PlatformTrash::system(), [](const InstalledApp&) { return false; },
            history);
        made.setActsAsRoot(root);
        return made;
    }

    test::LinuxHome home;
    const QString& dir = home.dir;
    CleanupHistory history{test::makeTempDir(s("history")) + s("/cleanup-history.json")};
};

} // namespace

TEST(SystemPackagesTest, ReadsTheOnePackageDpkgOrRpmNamesForExactlyTheFile) {
    const QString file = s("/usr/share/applications/org.gnome.gedit.desktop");
    const QList<std::pair<QByteArray, std::optional<QString>>> dpkg{
        {"gedit: /usr/share/applications/org.gnome.gedit.desktop\n", s("gedit")},
        {"libfoo1:amd64: /usr/share/applications/org.gnome.gedit.desktop\n", s("libfoo1:amd64")},
        {"diversion by local from: /usr/share/applications/org.gnome.gedit.desktop\n"
         "gedit: /usr/share/applications/org.gnome.gedit.desktop\n",
         s("gedit")},
        // Shared by two packages: neither alone removes it.
        {"gedit, gedit-common: /usr/share/applications/org.gnome.gedit.desktop\n", std::nullopt},
        // Another file's owner, or a name dpkg never gives.
        {"gedit: /usr/share/applications/org.gnome.gedit.desktop.old\n", std::nullopt},
        {"-rf: /usr/share/applications/org.gnome.gedit.desktop\n", std::nullopt},
        {"", std::nullopt}};
    for (const auto& [output, expected] : dpkg)
        EXPECT_EQ(SystemPackages::packageFromDpkg(output, file), expected) << output.toStdString();
    EXPECT_EQ(SystemPackages::packageFromRpm("gedit\n"), s("gedit"));
    EXPECT_EQ(SystemPackages::packageFromRpm("gedit\ngedit-plugins\n"), std::nullopt);
    EXPECT_EQ(SystemPackages::packageFromRpm("file /x is not owned by any package\n"),
              std::nullopt);
}

TEST_F(LinuxRemovalTest, APackageNamedByRpmWhereThereIsNoDpkgAndNothingRunsToRemoveIt) {
    const QString rpm = dir + s("/rpm");
    const QString dnf = dir + s("/dnf");
    test::writeScript(rpm, "printf '%s\\n' \"$@\" >> \"$0-arguments\"\necho editor\n");
    test::writeScript(dnf, "echo dnf ran >> \"$0-arguments\"\nexit 1\n");
    const test::ScopedEnvironment noDpkg("CORVANE_TOOL_DPKG", dir + s("/no-dpkg"));
    const test::ScopedEnvironment rpmTool("CORVANE_TOOL_RPM", rpm);
    const test::ScopedEnvironment dnfTool("CORVANE_TOOL_DNF", dnf);
    const InstalledApp editor = app(s("Editor"));
    AppRemovalOutcome outcome = remover(true).remove(editor, editor.data);
    EXPECT_EQ(outcome.terminalCommand, s("sudo dnf remove editor"));
    EXPECT_EQ(readAll(rpm + s("-arguments")),
              s("-qf\n--queryformat\n%{NAME}\\n\n--\n") + *editor.desktopEntry + u'\n');
    EXPECT_FALSE(QFileInfo::exists(dnf + s("-arguments")));

    // Owned by no package: no command is made up.
    test::writeScript(rpm, "echo \"file $5 is not owned by any package\"\nexit 1\n");
    outcome = remover(true).remove(editor, editor.data);
    EXPECT_EQ(outcome.terminalCommand, std::nullopt);
    ASSERT_EQ(outcome.failures.size(), 1);
    EXPECT_TRUE(outcome.failures[0].contains(s("is not owned by any package")))
        << outcome.failures[0].toStdString();
    EXPECT_TRUE(outcome.trashedData.isEmpty());
}

TEST_F(LinuxRemovalTest, ASnapIsRemovedBySnapOnlyAsRootAndItsTickedDataGoesToTheTrash) {
    const InstalledApp firefox = app(s("Firefox"));
    ASSERT_EQ(firefox.data.size(), 1);
    const QString data = firefox.data[0].url;
    const QString arguments = dir + s("/snap-arguments");

    EXPECT_EQ(remover(false).remove(firefox, firefox.data).terminalCommand,
              s("sudo snap remove firefox"));
    AppRemover dryRun = remover(true);
    dryRun.setDryRun(true);
    const AppRemovalOutcome planned = dryRun.remove(firefox, firefox.data);
    EXPECT_EQ(planned.appMethod, AppRemovalOutcome::Method::snap);
    EXPECT_EQ(planned.trashedData, firefox.data);
    EXPECT_FALSE(readAll(arguments).contains(s("remove"))) << "neither asked for nor dry run";
    EXPECT_TRUE(QFileInfo::exists(data));

    const AppRemovalOutcome removed = remover(true).remove(firefox, firefox.data);
    EXPECT_EQ(removed.failures, QStringList());
    EXPECT_EQ(removed.appMethod, AppRemovalOutcome::Method::snap);
    EXPECT_TRUE(readAll(arguments).endsWith(s("remove\n--\nfirefox\n")))
        << readAll(arguments).toStdString();
    EXPECT_FALSE(QFileInfo::exists(data));
    ASSERT_TRUE(removed.cleanup.id);
    EXPECT_TRUE(PutBackService::putBack(history, *removed.cleanup.id).failures.isEmpty());
    EXPECT_TRUE(QFileInfo::exists(data + s("/common/profile")));

    // snap refuses: the app stays, and so does its data.
    test::writeScript(
        home.snapTool,
        "echo 'error: cannot remove \"firefox\": snap has running apps' >&2\nexit 1\n");
    const AppRemovalOutcome refused = remover(true).remove(firefox, firefox.data);
    EXPECT_EQ(refused.failures,
              QStringList{s("Firefox could not be removed (snap said: error: cannot remove "
                            "\"firefox\": snap has running apps). Its data was left alone.")});
    EXPECT_FALSE(refused.appMethod);
    EXPECT_TRUE(QFileInfo::exists(data));
}

TEST_F(LinuxRemovalTest, DataAProgramHasOpenStaysWhileTheAppGoes) {
    const InstalledApp obsidian = app(s("Obsidian"));
    const QString prefs = dir + s("/.config/obsidian/prefs.json");
    QProcess holder;
    holder.start(s("/bin/sh"), {s("-c"), s("exec 3<\"$0\"; exec sleep 30"), prefs});
    ASSERT_TRUE(holder.waitForStarted());
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return !OpenFileGuard::holders({prefs}).processNames.isEmpty(); }, 30'000))
        << "lsof never saw the file open";

    QList<AppDataItem> config;
    for (const AppDataItem& item : obsidian.data)
        if (item.kind == AppDataItem::Kind::config)
            config.append(item);
    const AppRemovalOutcome outcome = remover(false).remove(obsidian, config);
    EXPECT_EQ(outcome.appMethod, AppRemovalOutcome::Method::trash);
    EXPECT_EQ(outcome.failures, QStringList{s("obsidian: sleep has it open. Quit it first.")});
    EXPECT_TRUE(QFileInfo::exists(prefs));
    holder.kill();
    holder.waitForFinished();
}
