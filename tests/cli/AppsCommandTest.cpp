#include "cli/AppsCommand.h"

#include "apps/AppFixtures.h"
#include "apps/LinuxHome.h"
#include "cli/Command.h"
#include "platform/PlatformWords.h"
#include "platform/ProcessRunner.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

ProcessResult runCorvane(const QStringList& arguments) {
    return ProcessRunner::system().run(s(CORVANE_EXECUTABLE), arguments, {}, {}, 60);
}

} // namespace

TEST(AppsCommand, ListsAppsWithTheirDataAndRemovesOnlyExactMatchesAfterTheApp) {
    QDir(test::library()).removeRecursively();
    const QString apps = test::makeTempDir(s("apps"));
    const test::ScopedEnvironment appsDir("CORVANE_APPLICATIONS_DIR", apps);
    const test::ScopedEnvironment noFlatpak("CORVANE_TOOL_FLATPAK", s("/nonexistent/flatpak"));
    const test::ScopedEnvironment noBrew("CORVANE_TOOL_BREW", s("/nonexistent/brew"));
    const QString bundle = test::makeBundle(
        apps, s("Notely.app"), test::xmlPlist(test::appKeys(s("com.example.notely"), s("Notely"))));
    const QString caches = test::libraryFolderWith(s("Caches/com.example.notely"), 20'000);
    const QString related = test::libraryFolderWith(s("Application Support/Notely"), 5'000);
    const QString gone = test::libraryFolderWith(s("Logs/com.example.gone"), 1'000);

    const ProcessResult listed = runCorvane({s("apps"), s("--json")});
    ASSERT_EQ(listed.exitCode, cli::exitOk) << listed.standardError.toStdString();
    const QJsonObject inventory = QJsonDocument::fromJson(listed.standardOutput).object();
    const QJsonObject app = inventory[u"apps"][0].toObject();
    EXPECT_EQ(app[u"bundleIdentifier"].toString(), s("com.example.notely"));
    EXPECT_EQ(app[u"source"].toString(), s("other"));
    EXPECT_EQ(app[u"data"].toArray().size(), 2);
    EXPECT_EQ(inventory[u"orphans"][0][u"bundleIdentifier"].toString(), s("com.example.gone"));

    // A folder only named like the app is not the app's to remove: refused before anything moves.
    EXPECT_EQ(runCorvane({s("apps"), s("remove"), s("Notely"), s("--data"), related, s("--yes")})
                  .exitCode,
              cli::exitRefusedOrBadArguments);
    EXPECT_TRUE(QFileInfo::exists(bundle));
    EXPECT_EQ(runCorvane({s("apps"), s("remove"), s("Notely"), s("--default-data")}).exitCode,
              cli::exitRefusedOrBadArguments)
        << "nothing without --yes off a terminal";

    const ProcessResult dryRun =
        runCorvane({s("apps"), s("remove"), bundle, s("--default-data"), s("--dry-run")});
    EXPECT_EQ(dryRun.exitCode, cli::exitOk) << dryRun.standardOutput.toStdString();
    EXPECT_TRUE(dryRun.standardOutput.startsWith("Dry run: would remove Notely"));
    EXPECT_TRUE(QFileInfo::exists(bundle));
    EXPECT_TRUE(QFileInfo::exists(caches));

    const ProcessResult removed =
        runCorvane({s("apps"), s("remove"), bundle, s("--default-data"), s("--yes"), s("--json")});
    ASSERT_EQ(removed.exitCode, cli::exitOk) << removed.standardOutput.toStdString();
    const QJsonObject outcome = QJsonDocument::fromJson(removed.standardOutput).object();
    EXPECT_EQ(outcome[u"appMethod"].toString(), s("trash"));
    EXPECT_EQ(outcome[u"trashedData"].toArray().first().toString(), caches);
    EXPECT_FALSE(QFileInfo::exists(bundle));
    EXPECT_FALSE(QFileInfo::exists(caches));
    EXPECT_TRUE(QFileInfo::exists(related));

    const ProcessResult leftovers = runCorvane(
        {s("apps"), s("leftovers"), s("remove"), s("com.example.gone"), s("--yes"), s("--json")});
    ASSERT_EQ(leftovers.exitCode, cli::exitOk) << leftovers.standardOutput.toStdString();
    EXPECT_FALSE(QJsonDocument::fromJson(leftovers.standardOutput).object().contains(u"appMethod"));
    EXPECT_FALSE(QFileInfo::exists(gone));

    EXPECT_EQ(runCorvane({s("brew"), s("outdated")}).exitCode, cli::exitSomeFailed)
        << "Homebrew is not installed here";
}

TEST(AppsCommand, SeveralAppsOfOneNameAreNeverGuessedBetweenAndDryRunsRunEveryGuard) {
    QDir(test::library()).removeRecursively();
    const QString apps = test::makeTempDir(s("apps"));
    const test::ScopedEnvironment appsDir("CORVANE_APPLICATIONS_DIR", apps);
    const test::ScopedEnvironment noFlatpak("CORVANE_TOOL_FLATPAK", s("/nonexistent/flatpak"));
    const test::ScopedEnvironment noBrew("CORVANE_TOOL_BREW", s("/nonexistent/brew"));
    const QByteArray plist = test::xmlPlist(test::appKeys(s("com.example.notely"), s("Notely")));
    const QString first =
        QFileInfo(test::makeBundle(apps, s("Notely.app"), plist)).canonicalFilePath();
    const QString second =
        QFileInfo(test::makeBundle(test::fakeHome() + s("/Applications"), s("Notely.app"), plist))
            .canonicalFilePath();
    const QString caches = test::libraryFolderWith(s("Caches/com.example.notely"));
    QString out;
    QString err;
    cli::Console console(&out, &err);

    cli::AppsRemoveOptions byName;
    byName.targets = {"Notely"};
    byName.yes = true;
    EXPECT_EQ(cli::runAppsRemove(byName, console), cli::exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(first)) << err.toStdString();
    EXPECT_TRUE(err.contains(second)) << err.toStdString();
    EXPECT_TRUE(QFileInfo::exists(first));
    EXPECT_TRUE(QFileInfo::exists(second));

    // The question names the bundle by its path.
    cli::AppsRemoveOptions byPath;
    byPath.targets = {second.toStdString()};
    byPath.defaultData = true;
    QString asked;
    console.canAsk = true;
    console.ask = [&asked](const QString& question) {
        asked = question;
        return false;
    };
    EXPECT_EQ(cli::runAppsRemove(byPath, console), cli::exitOk);
    EXPECT_TRUE(asked.contains(second)) << asked.toStdString();

    // A dry run refuses the other copy's cache just as the real removal would.
    out.clear();
    byPath.dryRun = true;
    EXPECT_EQ(cli::runAppsRemove(byPath, console), cli::exitSomeFailed);
    EXPECT_TRUE(out.contains(s("Dry run: would remove Notely and 0 items"))) << out.toStdString();
    EXPECT_TRUE(
        out.contains(s("com.example.notely: %1 is installed and uses this data.").arg(first)))
        << out.toStdString();
    EXPECT_TRUE(QFileInfo::exists(second));
    EXPECT_TRUE(QFileInfo::exists(caches));
    QDir(test::fakeHome() + s("/Applications")).removeRecursively();
}

TEST(AppsCommand, OnLinuxAPackageGetsItsCommandAndLeftoversSayHowTheAppIsKnownToBeGone) {
    const test::LinuxHome home;
    const test::ScopedEnvironment appsDir("CORVANE_APPLICATIONS_DIR", home.dir);
    const test::ScopedEnvironment noBrew("CORVANE_TOOL_BREW", s("/nonexistent/brew"));
    ASSERT_EQ(runCorvane({s("apps"), s("--json")}).exitCode, cli::exitOk);
    ASSERT_TRUE(QFile::remove(home.obsidian));
    ASSERT_TRUE(QFile::remove(home.user + s("/appimagekit-obsidian.desktop")));

    const ProcessResult table = runCorvane({s("apps")});
    EXPECT_EQ(table.exitCode, cli::exitOk) << table.standardError.toStdString();
    EXPECT_TRUE(table.standardOutput.contains("\n  appimagekit-obsidian  "));
    EXPECT_TRUE(table.standardOutput.contains("    Obsidian was listed here until "));
    const QJsonObject listed =
        QJsonDocument::fromJson(runCorvane({s("apps"), s("--json")}).standardOutput).object();
    const QJsonObject gone = listed[u"orphans"][0][u"gone"].toObject();
    EXPECT_EQ(gone[u"witness"].toString(), s("seenBefore"));
    EXPECT_EQ(gone[u"appName"].toString(), s("Obsidian"));

    // Nothing is asked for a package, as nothing is removed: its command is printed.
    QString out;
    QString err;
    cli::Console console(&out, &err);
    cli::AppsRemoveOptions editor;
    editor.targets = {"Editor"};
    EXPECT_EQ(cli::runAppsRemove(editor, console), cli::exitSomeFailed) << err.toStdString();
    EXPECT_TRUE(out.contains(s("Run in ") + PlatformWords::here().terminal +
                             s(": sudo apt remove example-editor\n")))
        << out.toStdString();

    const QString config = home.dir + s("/.config/obsidian");
    const ProcessResult dryRun =
        runCorvane({s("apps"), s("leftovers"), s("remove"), s("appimagekit-obsidian"),
                    s("--dry-run"), s("--json")});
    EXPECT_EQ(dryRun.exitCode, cli::exitOk) << dryRun.standardOutput.toStdString();
    EXPECT_EQ(QJsonDocument::fromJson(dryRun.standardOutput)[u"trashedData"].toArray().size(), 3);
    EXPECT_TRUE(QFileInfo::exists(config));
    EXPECT_EQ(runCorvane({s("apps"), s("leftovers"), s("remove"), config, s("--yes")}).exitCode,
              cli::exitOk);
    EXPECT_FALSE(QFileInfo::exists(config));
    EXPECT_TRUE(QFileInfo::exists(home.dir + s("/.cache/obsidian")));
}
