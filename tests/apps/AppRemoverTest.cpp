#include "apps/AppRemover.h"

#include "AppFixtures.h"
#include "apps/AppInventoryLoader.h"
#include "apps/RunningApps.h"
#include "platform/Paths.h"
#include "platform/PlatformWords.h"
#include "platform/PutBackService.h"
#include "platform/TrashService.h"
#include "support/GitFixture.h"
#include "support/KeepMarks.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>
#include <csignal>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

using namespace corvane;
using corvane::test::s;

namespace {

// Refuses every item, as a locked bundle would.
class RefusingTrash : public PlatformTrash {
public:
    TrashMove moveToTrash(const QString&) const override {
        return TrashMove::refused(s("The file is locked."));
    }
};

QString trashFiles() {
    return qEnvironmentVariable("XDG_DATA_HOME") + s("/Trash/files/");
}

QString readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

class AppRemoverTest : public ::testing::Test {
protected:
    AppRemoverTest()
        : applications_(test::makeTempDir(s("Applications")))
        , applicationsDir_("CORVANE_APPLICATIONS_DIR", applications_) {}

    InstalledApp makeApp(const QString& name, const QString& folder = {}) {
        InstalledApp app;
        app.name = name;
        app.url = (folder.isEmpty() ? applications_ : folder) + s("/") + name + s(".app");
        app.bundleIdentifier = s("com.example.") + name.toLower();
        app.sizeBytes = 1000;
        test::writeFile(app.url + s("/Contents/Info.plist"), "<plist/>");
        return app;
    }

    AppDataItem makeData(InstalledApp& app, const QString& folder, bool exact = true) {
        AppDataItem item;
        item.url = QDir::homePath() + s("/Library/") + folder + s("/") + *app.bundleIdentifier;
        item.sizeBytes = 200;
        item.isExactMatch = exact;
        test::writeFile(item.url + s("/state.json"), "{}");
        app.data.append(item);
        return item;
    }

    static AppRemover remover(bool running = false,
                              const PlatformTrash& trash = PlatformTrash::system()) {
        return AppRemover(BrewService(), trash, [running](const InstalledApp&) { return running; });
    }

    QString applications_;
    test::ScopedEnvironment applicationsDir_;
};

} // namespace

TEST_F(AppRemoverTest, AppGoesToTheTrashWithItsTickedData) {
    InstalledApp app = makeApp(s("Notes"));
    const AppDataItem support = makeData(app, s("Application Support"));
    const AppDataItem caches = makeData(app, s("Caches"));
    const AppRemovalOutcome outcome = remover().remove(app, {support});
    EXPECT_EQ(outcome.appMethod, AppRemovalOutcome::Method::trash);
    EXPECT_EQ(outcome.trashedData, QList<AppDataItem>{support});
    EXPECT_EQ(outcome.freedBytes, 1200);
    EXPECT_TRUE(outcome.failures.isEmpty()) << outcome.failures.join(s("|")).toStdString();
    EXPECT_FALSE(QFileInfo::exists(app.url));
    EXPECT_TRUE(QFileInfo::exists(trashFiles() + s("Notes.app")));
    EXPECT_FALSE(QFileInfo::exists(support.url));
    EXPECT_TRUE(QFileInfo::exists(caches.url)); // not ticked
}

TEST_F(AppRemoverTest, AnAppWithItsDataIsOneCleanupThatPutsBackWhereItWas) {
    const CleanupHistory history(test::makeTempDir(s("history")) + s("/cleanup-history.json"));
    const AppRemover recording(
        BrewService(), PlatformTrash::system(), [](const InstalledApp&) { return false; }, history);
    InstalledApp app = makeApp(s("Sketch Pad"));
    const AppDataItem support = makeData(app, s("Application Support"));
    const AppDataItem caches = makeData(app, s("Caches"));

    const AppRemovalOutcome removed = recording.remove(app, {support, caches});
    ASSERT_TRUE(removed.cleanup.id);
    ASSERT_EQ(removed.trashedData.size(), 2);
    Cleanup cleanup = history.load().cleanups.last();
    EXPECT_EQ(cleanup.id, *removed.cleanup.id);
    EXPECT_EQ(cleanup.area, s("apps"));
    ASSERT_EQ(cleanup.items.size(), 3);
    EXPECT_EQ(cleanup.items[0].originalPath, TrashService::canonicalPath(app.url));
    EXPECT_EQ(cleanup.bytes(), 1400);
    EXPECT_EQ(cleanup.itemsInTrash(), 3);

    // Leftovers of an app that is gone are a cleanup of their own.
    InstalledApp gone = makeApp(s("Gone"), test::makeTempDir(s("elsewhere")));
    const AppDataItem orphan = makeData(gone, s("Logs"));
    const AppRemovalOutcome leftovers = recording.removeLeftovers({orphan});
    ASSERT_TRUE(leftovers.cleanup.id);
    EXPECT_NE(*leftovers.cleanup.id, *removed.cleanup.id);
    EXPECT_FALSE(QFileInfo::exists(orphan.url));

    const PutBackOutcome back = PutBackService::putBack(history, *removed.cleanup.id);
    EXPECT_TRUE(back.failures.isEmpty());
    EXPECT_EQ(back.restored.size(), 3);
    EXPECT_EQ(readAll(app.url + s("/Contents/Info.plist")), s("<plist/>"));
    EXPECT_EQ(readAll(support.url + s("/state.json")), s("{}"));
    EXPECT_EQ(readAll(caches.url + s("/state.json")), s("{}"));
    EXPECT_FALSE(QFileInfo::exists(orphan.url)) << "another cleanup's item stays in the Trash";
}

TEST_F(AppRemoverTest, AppGuardsComeInOrderAndOnlyTheFirstIsShown) {
    InstalledApp safari = makeApp(s("Safari"));
    safari.source = AppSource::apple;
    EXPECT_EQ(remover(true).remove(safari, {}).failures, QStringList{AppRemover::appleText});

    const InstalledApp running = makeApp(s("Editor"));
    EXPECT_EQ(remover(true).remove(running, {}).failures,
              QStringList{s("Editor is running. Quit it first.")});
    EXPECT_TRUE(QFileInfo::exists(running.url));

    const InstalledApp elsewhere = makeApp(s("Stray"), test::makeTempDir(s("Downloads")));
    const AppRemovalOutcome outcome = remover().remove(elsewhere, {});
    EXPECT_EQ(outcome.failures, QStringList{AppRemover::outsideApplicationsText});
    EXPECT_FALSE(outcome.appMethod);
    EXPECT_TRUE(QFileInfo::exists(elsewhere.url));

    // One level down (Utilities) and ~/Applications count; a link out of the folder does not.
    EXPECT_FALSE(remover().appRefusal(makeApp(s("Tool"), applications_ + s("/Utilities"))));
    EXPECT_FALSE(remover().appRefusal(makeApp(s("Mine"), QDir::homePath() + s("/Applications"))));
    InstalledApp linked = elsewhere;
    linked.url = applications_ + s("/Linked.app");
    ASSERT_TRUE(QFile::link(elsewhere.url, linked.url));
    EXPECT_EQ(remover().appRefusal(linked), AppRemover::outsideApplicationsText);
}

TEST_F(AppRemoverTest, DataGuardsRefuseLinksOutOfTheLibraryAndLooseMatches) {
    InstalledApp app = makeApp(s("Mail"));
    const AppDataItem related = makeData(app, s("Caches"), false);
    const QString outside = test::makeTempDir(s("Documents"));
    test::writeFile(outside + s("/precious.txt"), "keep");
    AppDataItem escape;
    escape.url = QDir::homePath() + s("/Library/Containers/escape");
    escape.isExactMatch = true;
    QDir().mkpath(QDir::homePath() + s("/Library/Containers"));
    ASSERT_TRUE(QFile::link(outside, escape.url));
    app.data.append(escape);
    AppDataItem foreign;
    foreign.url = QDir::homePath() + s("/Library/Preferences/com.other.plist");
    foreign.isExactMatch = true;
    test::writeFile(foreign.url, "x");

    const AppRemovalOutcome outcome = remover().remove(app, {escape, related, foreign});
    EXPECT_EQ(outcome.appMethod, AppRemovalOutcome::Method::trash);
    EXPECT_EQ(outcome.failures,
              (QStringList{s("escape: ") + AppRemover::outsideLibraryText,
                           s("com.example.mail: Only exact matches for Mail can be removed."),
                           s("com.other.plist: This data does not belong to Mail")}));
    EXPECT_TRUE(outcome.trashedData.isEmpty());
    EXPECT_TRUE(QFileInfo::exists(outside + s("/precious.txt")));
    EXPECT_TRUE(QFileInfo::exists(related.url));
    EXPECT_TRUE(QFileInfo::exists(foreign.url));

    // Leftovers of gone apps: the Library guard holds there too.
    AppDataItem orphan;
    orphan.url = QDir::homePath() + s("/Library/Caches/com.gone.app");
    orphan.sizeBytes = 50;
    test::writeFile(orphan.url + s("/x"), "x");
    const AppRemovalOutcome leftovers = remover().removeLeftovers({escape, orphan});
    EXPECT_EQ(leftovers.trashedData, QList<AppDataItem>{orphan});
    EXPECT_EQ(leftovers.freedBytes, 50);
    EXPECT_EQ(leftovers.failures, QStringList{s("escape: ") + AppRemover::outsideLibraryText});
    EXPECT_TRUE(QFileInfo::exists(outside + s("/precious.txt")));
}

TEST_F(AppRemoverTest, AppThatStaysKeepsItsData) {
    InstalledApp app = makeApp(s("Locked"));
    const AppDataItem support = makeData(app, s("Application Support"));
    const RefusingTrash refusing;
    const AppRemovalOutcome outcome = remover(false, refusing).remove(app, {support});
    EXPECT_FALSE(outcome.appMethod);
    EXPECT_EQ(outcome.failures,
              QStringList{s("Locked could not be removed. Its data was left alone.")});
    EXPECT_EQ(outcome.freedBytes, 0);
    EXPECT_TRUE(QFileInfo::exists(support.url));
}

// Homebrew deletes a cask for good, so a kept app must be refused before brew is asked; kept
// data stays while the rest goes, and a dry run says the same as a real run.
TEST_F(AppRemoverTest, KeptAppsAndDataStayWhoeverWouldTakeThem) {
    const QString brew = test::makeTempDir() + s("/brew");
    test::writeScript(brew, "#!/bin/sh\necho \"$@\" >> \"$0.args\"\nexit 0\n");
    test::ScopedEnvironment tool("CORVANE_TOOL_BREW", brew);
    InstalledApp cask = makeApp(s("Firefox"));
    cask.caskToken = s("firefox");
    InstalledApp notes = makeApp(s("Notes"));
    const AppDataItem support = makeData(notes, s("Application Support"));
    const AppDataItem caches = makeData(notes, s("Caches"));
    const test::ScopedKeepMarks marks({cask.url, caches.url});
    const QString kept = s(": ") + TrashService::keptMessage;

    for (const bool dryRun : {true, false}) {
        AppRemover removing = remover();
        removing.setDryRun(dryRun);
        AppRemovalOutcome outcome = removing.remove(cask, {});
        EXPECT_FALSE(outcome.appMethod) << dryRun;
        EXPECT_EQ(outcome.failures, QStringList{s("Firefox") + kept}) << dryRun;

        outcome = removing.remove(notes, {support, caches});
        EXPECT_EQ(outcome.appMethod, AppRemovalOutcome::Method::trash) << dryRun;
        EXPECT_EQ(outcome.trashedData, QList<AppDataItem>{support}) << dryRun;
        EXPECT_EQ(outcome.failures, QStringList{s("com.example.notes") + kept}) << dryRun;
    }
    EXPECT_FALSE(QFileInfo::exists(brew + s(".args")));
    EXPECT_TRUE(QFileInfo::exists(cask.url));
    EXPECT_TRUE(QFileInfo::exists(caches.url));
    EXPECT_FALSE(QFileInfo::exists(support.url));
}

TEST_F(AppRemoverTest, CaskAppsAreUninstalledByHomebrew) {
    const QString brew = test::makeTempDir() + s("/brew");
    test::writeScript(brew, "#!/bin/sh\necho \"$@\" >> \"$0.args\"\n"
                            "[ \"$4\" = locked ] && printf 'Password:' && sleep 30\n"
                            "[ \"$4\" = broken ] && echo 'Error: boom' && exit 1\nexit 0\n");
    test::ScopedEnvironment tool("CORVANE_TOOL_BREW", brew);

    InstalledApp app = makeApp(s("Firefox"));
    app.caskToken = s("firefox");
    const AppDataItem caches = makeData(app, s("Caches"));
    AppRemovalOutcome outcome = remover().remove(app, {caches});
    EXPECT_EQ(outcome.appMethod, AppRemovalOutcome::Method::homebrew);
    EXPECT_EQ(outcome.trashedData, QList<AppDataItem>{caches});
    EXPECT_EQ(readAll(brew + s(".args")), s("uninstall --cask -- firefox"));
    EXPECT_TRUE(QFileInfo::exists(app.url)); // brew's job, not ours

    InstalledApp locked = makeApp(s("Zoom"));
    locked.caskToken = s("locked");
    const AppDataItem zoomData = makeData(locked, s("Caches"));
    outcome = remover().remove(locked, {zoomData});
    EXPECT_FALSE(outcome.appMethod);
    EXPECT_EQ(outcome.terminalCommand, s("brew uninstall --cask -- locked"));
    EXPECT_EQ(outcome.failures,
              QStringList{s("Zoom needs ") + PlatformWords::here().password + s(". Run it in ") +
                          PlatformWords::here().terminal + s(": brew uninstall --cask -- locked")});
    EXPECT_TRUE(QFileInfo::exists(zoomData.url));

    InstalledApp broken = makeApp(s("Broken"));
    broken.caskToken = s("broken");
    const AppDataItem brokenData = makeData(broken, s("Caches"));
    outcome = remover().remove(broken, {brokenData});
    EXPECT_EQ(outcome.failures,
              QStringList{s("Broken could not be removed. Its data was left alone.")});
    EXPECT_TRUE(QFileInfo::exists(brokenData.url));
}

TEST_F(AppRemoverTest, FlatpakAppsAreUninstalledByFlatpakWithTheirVarAppDataToTheTrash) {
    const QString flatpak = test::makeTempDir() + s("/flatpak");
    // `flatpak ps` lists the running apps: Builder is not one of them, Editor is.
    test::writeScript(flatpak, "#!/bin/sh\necho \"$@\" >> \"$0.args\"\n"
                               "[ \"$1\" = ps ] && echo org.gnome.TextEditor\nexit 0\n");
    test::ScopedEnvironment tool("CORVANE_TOOL_FLATPAK", flatpak);
    auto flatpakApp = [&](const QString& name, const QString& id) {
        InstalledApp app = makeApp(name, test::makeTempDir(s("flatpak-app")));
        app.flatpakInstallation = s("system");
        app.bundleIdentifier = id;
        AppDataItem data{AppDataItem::Kind::applicationSupport,
                         QDir::homePath() + s("/.var/app/") + id, 300, true};
        test::writeFile(data.url + s("/config/settings.ini"), "x");
        app.data.append(data);
        return app;
    };
    const InstalledApp builder = flatpakApp(s("Builder"), s("org.gnome.Builder"));
    const AppRemovalOutcome outcome = remover().remove(builder, builder.data);
    EXPECT_EQ(outcome.appMethod, AppRemovalOutcome::Method::flatpak);
    EXPECT_TRUE(outcome.failures.isEmpty()) << outcome.failures.join(s("|")).toStdString();
    EXPECT_EQ(
        readAll(flatpak + s(".args")),
        s("ps --columns=application\nuninstall --noninteractive --system -- org.gnome.Builder"));
    EXPECT_EQ(outcome.trashedData, builder.data);
    EXPECT_TRUE(QFileInfo::exists(trashFiles() + s("org.gnome.Builder")));

    QFile::remove(flatpak + s(".args"));
    const InstalledApp editor = flatpakApp(s("Editor"), s("org.gnome.TextEditor"));
    const AppRemovalOutcome running = remover().remove(editor, editor.data);
    EXPECT_EQ(running.failures, QStringList{s("Editor is running. Quit it first.")});
    EXPECT_EQ(readAll(flatpak + s(".args")), s("ps --columns=application"))
        << "flatpak uninstall never runs for a running app";
    EXPECT_TRUE(QFileInfo::exists(editor.data[0].url));
}

TEST_F(AppRemoverTest, FlatpakDataIsALeftoverOnlyWhileFlatpakConfirmsTheAppIsGone) {
    const QString dir = test::makeTempDir(s("flatpak-tool"));
    const QString flatpak = dir + s("/flatpak");
    test::ScopedEnvironment tool("CORVANE_TOOL_FLATPAK", flatpak);
    // `flatpak info -- <id>` answers for the apps in `installed`, and says the others are not.
    auto answer = [&](const QByteArray& installed) {
        test::writeScript(flatpak,
                          "printf '%s\\n' \"$*\" >> \"$0.args\"\n"
                          "case \" " +
                              installed +
                              " \" in *\" $3 \"*) exit 0;; esac\n"
                              "echo \"error: $3/*unspecified*/*unspecified* not installed\" >&2\n"
                              "exit 1\n");
    };
    auto leftover = [](const QString& id) {
        AppDataItem item{AppDataItem::Kind::applicationSupport,
                         QDir::homePath() + s("/.var/app/") + id, 10, true};
        test::writeFile(item.url + s("/data/x"), "x");
        return item;
    };
    const AppDataItem gone = leftover(s("org.example.Gone"));
    const AppDataItem back = leftover(s("org.example.Back"));

    // Installed again since the list was shown: it stays.
    answer("org.example.Back");
    AppRemover dryRun = remover();
    dryRun.setDryRun(true);
    EXPECT_EQ(dryRun.removeLeftovers({gone, back}).trashedData, QList<AppDataItem>{gone});
    EXPECT_TRUE(QFileInfo::exists(gone.url));
    const AppRemovalOutcome outcome = remover().removeLeftovers({gone, back});
    EXPECT_EQ(outcome.trashedData, QList<AppDataItem>{gone});
    EXPECT_EQ(outcome.failures,
              QStringList{s("org.example.Back: flatpak says the app is installed, so its data "
                            "stays.")});
    EXPECT_EQ(readAll(flatpak + s(".args")),
              s("info -- org.example.Gone\ninfo -- org.example.Back\n"
                "info -- org.example.Gone\ninfo -- org.example.Back"));
    EXPECT_TRUE(QFileInfo::exists(back.url));
    EXPECT_FALSE(QFileInfo::exists(gone.url));

    // A flatpak that fails confirms nothing.
    test::writeScript(flatpak, "echo 'error: broken' >&2\nexit 1\n");
    const AppRemovalOutcome failed = remover().removeLeftovers({back});
    EXPECT_TRUE(failed.trashedData.isEmpty());
    EXPECT_EQ(failed.failures,
              QStringList{s("org.example.Back: flatpak info failed (exit 1): error: broken")});
    EXPECT_TRUE(QFileInfo::exists(back.url));
}

namespace {

// Whether the app at `asked` is seen running while a process runs from the bundle made at
// `onDisk` (the same path, perhaps spelt in another Unicode form), and no longer once it ended.
void expectSeenRunning(const QString& onDisk, const QString& asked) {
    const QString executable = onDisk + s("/Contents/MacOS/Sleeper");
    QDir().mkpath(Paths::parentPath(executable));
    ASSERT_TRUE(QFile::copy(s("/bin/sleep"), executable));
    InstalledApp app;
    app.name = s("Sleeper");
    app.url = asked;
    EXPECT_FALSE(RunningApps::isRunning(app));

    const QByteArray path = QFile::encodeName(executable);
    char seconds[] = "30";
    char* argv[] = {const_cast<char*>(path.constData()), seconds, nullptr};
    pid_t pid = -1;
    ASSERT_EQ(::posix_spawn(&pid, path.constData(), nullptr, nullptr, argv, environ), 0);
    const bool running = QTest::qWaitFor([&] { return RunningApps::isRunning(app); }, 10'000);
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
    EXPECT_TRUE(running) << qPrintable(asked);
    EXPECT_FALSE(RunningApps::isRunning(app)) << qPrintable(asked);
}

} // namespace

TEST(RunningApps, AProcessRunningFromInsideTheBundleMakesTheAppRunning) {
    const QString bundle = test::makeTempDir(s("Applications")) + s("/Sleeper.app");
    expectSeenRunning(bundle, bundle);
}

// The kernel names an executable as the volume stores it, the app list as it was read: either
// may be decomposed. "Café.app" is the same bundle in both forms, and still only that bundle.
TEST(RunningApps, ABundleWithAnAccentedNameIsRecognisedInEitherUnicodeForm) {
    const QString composed = s("Caf\u00e9.app");
    const QString decomposed = s("Cafe\u0301.app");
    ASSERT_EQ(composed.normalized(QString::NormalizationForm_D), decomposed);
    const QString folder = test::makeTempDir(s("Applications"));
    expectSeenRunning(folder + s("/stored-decomposed/") + decomposed,
                      folder + s("/stored-decomposed/") + composed);
    expectSeenRunning(folder + s("/stored-composed/") + composed,
                      folder + s("/stored-composed/") + decomposed);

    const QString bundle = folder + u'/' + composed;
    EXPECT_TRUE(RunningApps::runsFrom(folder + u'/' + decomposed + s("/Contents/MacOS/x"), bundle));
    EXPECT_FALSE(RunningApps::runsFrom(bundle, bundle)) << "the folder itself runs nothing";
    EXPECT_FALSE(RunningApps::runsFrom(folder + s("/Cafe\u0301.app Helper/x"), bundle));
    EXPECT_FALSE(RunningApps::runsFrom(folder + s("/Cafe.app/Contents/MacOS/x"), bundle));
}

namespace {

TEST_F(AppRemoverTest, ACopyTheCaskDidNotInstallGoesAloneAndNeverThroughBrew) {
    const QString brew = test::makeTempDir() + s("/brew");
    test::writeScript(brew, "#!/bin/sh\necho \"$@\" >> \"$0.args\"\n");
    test::ScopedEnvironment tool("CORVANE_TOOL_BREW", brew);
    test::ScopedEnvironment noFlatpak("CORVANE_TOOL_FLATPAK", s("/nonexistent/flatpak"));
    const QByteArray plist = test::xmlPlist(test::appKeys(s("com.openai.chat"), s("ChatGPT")));
    const QString casked = test::makeBundle(applications_, s("ChatGPT.app"), plist);
    const QString copy =
        test::makeBundle(QDir::homePath() + s("/Applications"), s("ChatGPT.app"), plist);
    const QString cache = test::libraryFolderWith(s("Caches/com.openai.chat"));
    const CaskMap casks{{applications_ + s("/ChatGPT.app"), s("chatgpt")}};

    const AppInventory inventory = AppInventoryLoader::load(casks);
    ASSERT_EQ(inventory.apps.size(), 2);
    const InstalledApp& listedCopy = inventory.apps[0].url == QFileInfo(copy).canonicalFilePath()
                                         ? inventory.apps[0]
                                         : inventory.apps[1];
    EXPECT_EQ(listedCopy.caskToken, std::nullopt);
    const AppRemovalOutcome outcome = remover().remove(listedCopy, listedCopy.data);

    EXPECT_EQ(outcome.appMethod, AppRemovalOutcome::Method::trash);
    EXPECT_FALSE(QFileInfo::exists(brew + s(".args"))) << "brew ran for a copy it did not install";
    EXPECT_FALSE(QFileInfo::exists(copy));
    EXPECT_TRUE(QFileInfo::exists(casked + s("/Contents/Info.plist")));
    // The other copy still uses the cache: it stays, and says why.
    EXPECT_TRUE(QFileInfo::exists(cache));
    EXPECT_EQ(outcome.failures,
              QStringList{s("com.openai.chat: %1 is installed and uses this data.")
                              .arg(QFileInfo(casked).canonicalFilePath())});
    QDir(QDir::homePath() + s("/Applications")).removeRecursively();
}

TEST_F(AppRemoverTest, AnAppNamedThroughALinkIsNotItsOwnOtherCopy) {
    const QString bundle =
        test::makeBundle(applications_, s("Solo.app"),
                         test::xmlPlist(test::appKeys(s("com.example.solo"), s("Solo"))));
    const QString through = test::makeTempDir(s("through"));
    ASSERT_TRUE(QFile::link(applications_, through + s("/Applications")));
    InstalledApp app;
    app.name = s("Solo");
    app.url = through + s("/Applications/Solo.app");
    app.bundleIdentifier = s("com.example.solo");
    const AppDataItem cache{AppDataItem::Kind::caches,
                            test::libraryFolderWith(s("Caches/com.example.solo")), 10, true};
    app.data.append(cache);
    const AppRemovalOutcome outcome = remover().remove(app, {cache});
    EXPECT_TRUE(outcome.failures.isEmpty()) << outcome.failures.join(s("|")).toStdString();
    EXPECT_EQ(outcome.trashedData, QList<AppDataItem>{cache});
    EXPECT_FALSE(QFileInfo::exists(bundle));
}

TEST_F(AppRemoverTest, LeftoversAreJudgedAgainWhenRemoved) {
    test::ScopedEnvironment noFlatpak("CORVANE_TOOL_FLATPAK", s("/nonexistent/flatpak"));
    auto leftover = [](const QString& relative) {
        return AppDataItem{AppDataItem::Kind::caches, test::libraryFolderWith(relative), 10, true};
    };
    const AppDataItem gone = leftover(s("Caches/org.gone.app"));
    const AppDataItem reinstalled = leftover(s("Caches/org.back.app"));
    const AppDataItem mystery = leftover(s("Caches/com.mysterybox.app"));
    // Since the list was shown, one app came back and an unreadable bundle appeared.
    test::makeBundle(applications_ + s("/Utilities/More"), s("Back.app"),
                     test::binaryPlist(test::appKeys(s("org.back.app"), s("Back"))));
    test::makeBundle(applications_, s("MysteryBox.app"), "not a plist");

    const AppRemovalOutcome outcome = remover().removeLeftovers({gone, reinstalled, mystery});
    EXPECT_EQ(outcome.trashedData, QList<AppDataItem>{gone});
    const QString back =
        QFileInfo(applications_ + s("/Utilities/More/Back.app")).canonicalFilePath();
    const QString box = QFileInfo(applications_ + s("/MysteryBox.app")).canonicalFilePath();
    EXPECT_EQ(
        outcome.failures,
        (QStringList{
            s("org.back.app: %1 is installed and uses this data.").arg(back),
            s("com.mysterybox.app: %1 could not be read, so this may be its data.").arg(box)}));
    EXPECT_TRUE(QFileInfo::exists(reinstalled.url));
    EXPECT_TRUE(QFileInfo::exists(mystery.url));
}

} // namespace
