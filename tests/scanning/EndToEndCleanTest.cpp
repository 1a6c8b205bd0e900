// From a generated workspace of real projects to items in a real (redirected) Trash.

#include "platform/ProcessRunner.h"
#include "scanning/ScanEngine.h"
#include "scanning/ScanSession.h"
#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QUrl>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

const QString generator = QStringLiteral(CORVANE_SOURCE_DIR "/../shared/bench/make-workspace");

bool waitFor(const std::function<bool()>& done, int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < milliseconds)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return done();
}

// The original paths recorded by the .trashinfo files of the (redirected) home Trash.
QSet<QString> pathsInTrash() {
    QSet<QString> paths;
    const QString info = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Trash/info");
    QDirIterator entries(info, {QStringLiteral("*.trashinfo")}, QDir::Files | QDir::Hidden);
    while (entries.hasNext()) {
        QFile file(entries.next());
        if (!file.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (line.startsWith("Path="))
                paths.insert(QUrl::fromPercentEncoding(line.mid(5)));
        }
    }
    return paths;
}

QJsonObject generateWorkspace(const QString& workspace) {
    const ProcessResult made = ProcessRunner::system().run(
        QStringLiteral("/usr/bin/env"),
        {QStringLiteral("python3"), generator, workspace, QStringLiteral("--projects"),
         QStringLiteral("14"), QStringLiteral("--scale"), QStringLiteral("0.05"),
         QStringLiteral("--seed"), QStringLiteral("7")},
        std::nullopt, {}, 300);
    EXPECT_EQ(made.exitCode, 0) << made.standardError.toStdString();
    QFile manifest(workspace + QStringLiteral("-manifest.json"));
    EXPECT_TRUE(manifest.open(QIODevice::ReadOnly));
    return QJsonDocument::fromJson(manifest.readAll()).object();
}

} // namespace

TEST(EndToEnd, AGeneratedWorkspaceIsScannedAsItsManifestSaysAndOnlyTickedItemsReachTheTrash) {
    if (!test::freedesktopTrash)
        GTEST_SKIP() << "what reached the Trash is read from its .trashinfo records";
    if (!QFileInfo::exists(generator))
        GTEST_SKIP() << "the workspace generator is not beside the repository";
    const QString workspace = test::makeTempDir() + QStringLiteral("/ws");
    const QJsonObject manifest = generateWorkspace(workspace);
    ASSERT_FALSE(manifest.isEmpty());

    ToastCenter toasts;
    ScanSession session(toasts, ScanEngine::scan);
    ASSERT_FALSE(session.chooseFolderAndScan(workspace));
    ASSERT_TRUE(waitFor([&] { return !session.isScanning(); }, 120'000));

    QHash<QString, Project> projectsByPath;
    for (const Project& project : session.projects())
        projectsByPath.insert(project.url, project);
    QHash<QString, CleanableItem> itemsByPath;
    for (const QList<CleanableItem>& items : session.itemsByProject()) {
        for (const CleanableItem& item : items)
            itemsByPath.insert(item.url, item);
    }

    for (const QJsonValue& value : manifest.value(QStringLiteral("projects")).toArray()) {
        const QJsonObject expected = value.toObject();
        const QString path = workspace + u'/' + expected.value(QStringLiteral("path")).toString();
        // A folder without any marker file is no project to anyone.
        if (expected.value(QStringLiteral("markers")).toArray().isEmpty())
            continue;
        ASSERT_TRUE(projectsByPath.contains(path)) << path.toStdString();
        const GitDetails details = session.gitDetailsByProject().value(projectsByPath[path].id);
        EXPECT_EQ(details.status.caseName(),
                  expected.value(QStringLiteral("expected_status")).toString())
            << path.toStdString();
        for (const QJsonValue& artifact : expected.value(QStringLiteral("artifacts")).toArray()) {
            const QString artifactPath = workspace + u'/' + artifact.toString();
            EXPECT_TRUE(itemsByPath.contains(artifactPath)) << artifactPath.toStdString();
        }
    }

    const QSet<QUuid> ticked = session.selectedItemIDs();
    ASSERT_FALSE(ticked.isEmpty());
    QSet<QString> tickedPaths;
    for (const CleanableItem& item : std::as_const(itemsByPath)) {
        if (ticked.contains(item.id))
            tickedPaths.insert(item.url);
    }

    session.trash(session.trashPlan(TrashScope::everything()));
    ASSERT_TRUE(waitFor([&] { return !session.isTrashing(); }, 120'000));
    EXPECT_TRUE(session.trashFailures().isEmpty());
    ASSERT_TRUE(toasts.current());
    EXPECT_TRUE(toasts.current()->message.startsWith(QStringLiteral("Moved ")));

    // Each ticked folder is in the Trash with a record of where it came from (or went with a
    // ticked folder around it); everything else is where it was.
    const QSet<QString> trashed = pathsInTrash();
    for (const QString& path : std::as_const(tickedPaths)) {
        EXPECT_FALSE(QFileInfo::exists(path)) << path.toStdString();
        const bool carried = std::any_of(trashed.cbegin(), trashed.cend(), [&](const QString& t) {
            return path.startsWith(t + u'/');
        });
        EXPECT_TRUE(trashed.contains(path) || carried) << path.toStdString();
    }
    for (const CleanableItem& item : std::as_const(itemsByPath)) {
        if (!ticked.contains(item.id)) {
            EXPECT_TRUE(QFileInfo::exists(item.url)) << item.url.toStdString();
        }
    }
    for (const QString& path : trashed)
        EXPECT_TRUE(tickedPaths.contains(path)) << path.toStdString();
}

TEST(EndToEnd, AScanOfTheHomeFolderTakesNoToolInstallationForAProject) {
    const QString home = test::fakeHome();
    const QList<QString> installed{home + QStringLiteral("/.pyenv/versions/3.12/lib/demo"),
                                   home + QStringLiteral("/.rustup/toolchains/stable/lib/demo")};
    test::writeFile(installed[0] + QStringLiteral("/setup.py"));
    test::writeFile(installed[1] + QStringLiteral("/Cargo.toml"));
    test::writeFile(home + QStringLiteral("/Code/app/package.json"), "{}");
    test::writeFile(home + QStringLiteral("/Code/.drafts/idea/package.json"), "{}");

    ToastCenter toasts;
    ScanSession session(toasts, ScanEngine::scan);
    ASSERT_FALSE(session.chooseFolderAndScan(home));
    ASSERT_TRUE(waitFor([&] { return !session.isScanning(); }, 60'000));
    QStringList found;
    for (const Project& project : session.projects())
        found.append(project.url);
    EXPECT_EQ(found, QStringList{home + QStringLiteral("/Code/app")});

    // Below the home folder a hidden folder is the user's own choice and is looked into.
    ASSERT_FALSE(session.chooseFolderAndScan(home + QStringLiteral("/Code")));
    ASSERT_TRUE(waitFor([&] { return !session.isScanning(); }, 60'000));
    EXPECT_EQ(session.projects().size(), 2);
    for (const char* folder : {"/.pyenv", "/.rustup", "/Code"})
        QDir(home + QString::fromUtf8(folder)).removeRecursively();
}
