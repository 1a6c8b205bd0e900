#include "platform/TrashService.h"

#include "platform/KeepStore.h"
#include "support/LockedFolder.h"
#include "support/TestEnvironment.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace corvane;

namespace {

const QString refused = QStringLiteral("Refused: resolves outside the scanned folder");
const QString gone = QStringLiteral("No longer exists");

QString trashFolder() {
    return qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Trash");
}

bool isPresent(const QString& path) {
    // lstat, so a link counts as present whatever it points at.
    return QFileInfo(path).exists() || QFileInfo(path).isSymLink();
}

void link(const QString& target, const QString& linkPath) {
    ASSERT_TRUE(QFile::link(target, linkPath)) << qPrintable(linkPath);
}

} // namespace

TEST(TrashService, MovesItemsIntoTheUsersTrashAndRecordsWhereTheyCameFrom) {
    const QString root = test::makeTempDir(QStringLiteral("trash-root"));
    // Two folders of one name, which no other test trashes, to find them among whatever the
    // Trash holds; the second must not replace the first, and its path is not plain ASCII.
    const QString name = QStringLiteral("node_modules-of-the-first-test");
    const QString first = root + QStringLiteral("/app/") + name;
    const QString second = root + QStringLiteral("/caf\u00e9 lib/") + name;
    test::writeFile(first + QStringLiteral("/left-pad/index.js"), "module.exports = 1;\n");
    test::writeFile(second + QStringLiteral("/right-pad/index.js"), "module.exports = 2;\n");

    const TrashOutcome outcome = TrashService::trash({first, second}, root);

    EXPECT_EQ(outcome.trashed, (QList<QString>{first, second}));
    EXPECT_TRUE(outcome.failures.isEmpty());
    EXPECT_FALSE(isPresent(first));
    EXPECT_FALSE(isPresent(second));
#ifdef Q_OS_LINUX
    const QDir files(trashFolder() + QStringLiteral("/files"));
    const QStringList entries = files.entryList({name + u'*'}, QDir::Dirs, QDir::Name);
    ASSERT_EQ(entries.size(), 2);
    QMap<QByteArray, QString> contentByOrigin;
    for (const QString& entry : entries) {
        QFile info(trashFolder() + QStringLiteral("/info/") + entry + QStringLiteral(".trashinfo"));
        ASSERT_TRUE(info.open(QIODevice::ReadOnly));
        const QList<QByteArray> lines = info.readAll().split('\n');
        ASSERT_GE(lines.size(), 3);
        EXPECT_EQ(lines[0], "[Trash Info]");
        EXPECT_TRUE(
            QDateTime::fromString(QString::fromLatin1(lines[2].mid(13)), Qt::ISODate).isValid())
            << lines[2].data();
        contentByOrigin.insert(
            lines[1],
            QDir(files.filePath(entry)).entryList(QDir::Dirs | QDir::NoDotAndDotDot).join(u','));
    }
    EXPECT_EQ(contentByOrigin.value("Path=" + QUrl::toPercentEncoding(first, "/")),
              QStringLiteral("left-pad"));
    EXPECT_EQ(contentByOrigin.value("Path=" + QUrl::toPercentEncoding(second, "/")),
              QStringLiteral("right-pad"));
#endif
}

TEST(TrashService, RefusesWhatResolvesOutsideTheRootAndMovesNothing) {
    const QString base = test::makeTempDir(QStringLiteral("trash-escape"));
    const QString root = base + QStringLiteral("/code");
    const QString outside = base + QStringLiteral("/private/keys");
    test::writeFile(outside + QStringLiteral("/id_ed25519"), "secret");
    QDir().mkpath(root + QStringLiteral("/app"));
    link(outside, root + QStringLiteral("/app/cache"));
    link(outside + QStringLiteral("/deeper"), root + QStringLiteral("/app/jump"));
    QDir().mkpath(outside + QStringLiteral("/deeper"));
    test::writeFile(base + QStringLiteral("/code2/dist/app.js"));

    const QList<QString> items{
        root + QStringLiteral("/app/cache"),
        // ".." after a link leaves the link's target, not the link's folder.
        root + QStringLiteral("/app/jump/../id_ed25519"),
        root + QStringLiteral("/../private/keys"),
        // A sibling whose name starts with the root's name.
        base + QStringLiteral("/code2/dist"),
    };
    const TrashOutcome outcome = TrashService::trash(items, root);

    EXPECT_TRUE(outcome.trashed.isEmpty());
    ASSERT_EQ(outcome.failures.size(), items.size());
    for (qsizetype index = 0; index < items.size(); ++index) {
        EXPECT_EQ(outcome.failures[index].url, items[index]);
        EXPECT_EQ(outcome.failures[index].message, refused);
    }
    EXPECT_TRUE(QFileInfo(root + QStringLiteral("/app/cache")).isSymLink());
    EXPECT_TRUE(QFile::exists(outside + QStringLiteral("/id_ed25519")));
    EXPECT_TRUE(QFile::exists(base + QStringLiteral("/code2/dist/app.js")));
}

TEST(TrashService, WhatAnEarlierMoveTookAlongIsReportedAsGoneInGivenOrder) {
    const QString root = test::makeTempDir(QStringLiteral("trash-order"));
    const QString project = root + QStringLiteral("/web");
    test::writeFile(project + QStringLiteral("/node_modules/a.js"));
    test::writeFile(root + QStringLiteral("/api/target/debug/api"));
    const QString target = root + QStringLiteral("/api/target");
    link(root + QStringLiteral("/missing"), root + QStringLiteral("/dangling"));

    const QList<QString> items{target,
                               project,
                               target,
                               project + QStringLiteral("/node_modules"),
                               root + QStringLiteral("/dangling"),
                               root + QStringLiteral("/never-was")};
    const TrashOutcome outcome = TrashService::trash(items, root);

    EXPECT_EQ(outcome.trashed, (QList<QString>{target, project}));
    const QList<TrashFailure> expected{{target, gone},
                                       {project + QStringLiteral("/node_modules"), gone},
                                       {root + QStringLiteral("/dangling"), gone},
                                       {root + QStringLiteral("/never-was"), gone}};
    EXPECT_EQ(outcome.failures, expected);
    // A dangling link is reported as gone, and left where it is.
    EXPECT_TRUE(QFileInfo(root + QStringLiteral("/dangling")).isSymLink());
}

TEST(TrashService, LinksInsideTheRootAndARootReachedThroughALink) {
    const QString base = test::makeTempDir(QStringLiteral("trash-linked-root"));
    const QString real = base + QStringLiteral("/volumes/code");
    test::writeFile(real + QStringLiteral("/a/dist/a.js"));
    test::writeFile(real + QStringLiteral("/b/dist/b.js"));
    test::writeFile(real + QStringLiteral("/shared/build/out.o"), "object");
    link(real + QStringLiteral("/shared/build"), real + QStringLiteral("/app-build"));
    link(real, base + QStringLiteral("/code"));
    const QString linkedRoot = base + QStringLiteral("/code");

    // A link to another place inside the root is trashed itself, not its target.
    const QList<QString> items{linkedRoot + QStringLiteral("/a/dist"),
                               real + QStringLiteral("/b/dist"),
                               linkedRoot + QStringLiteral("/app-build")};
    const TrashOutcome outcome = TrashService::trash(items, linkedRoot);

    EXPECT_EQ(outcome.trashed, items);
    EXPECT_TRUE(outcome.failures.isEmpty());
    EXPECT_FALSE(QFile::exists(real + QStringLiteral("/a/dist")));
    EXPECT_FALSE(isPresent(real + QStringLiteral("/app-build")));
    EXPECT_TRUE(QFile::exists(real + QStringLiteral("/shared/build/out.o")));
    EXPECT_TRUE(QFileInfo(linkedRoot).isSymLink());
}

TEST(TrashService, NothingGivenNothingDoneAndNoRootNothingAllowed) {
    EXPECT_EQ(TrashService::trash({}, QStringLiteral("/nowhere")), TrashOutcome{});

    const QString folder = test::makeTempDir(QStringLiteral("trash-no-root"));
    QDir::setCurrent(folder);
    test::writeFile(folder + QStringLiteral("/dist/x.js"));
    // An empty root must not stand for the current folder.
    const TrashOutcome outcome = TrashService::trash({folder + QStringLiteral("/dist")}, {});
    ASSERT_EQ(outcome.failures.size(), 1);
    EXPECT_EQ(outcome.failures[0].message, refused);
    EXPECT_TRUE(QFile::exists(folder + QStringLiteral("/dist/x.js")));
}

TEST(TrashService, WithoutAUsableTrashNothingMovesAnywhere) {
    if (!test::freedesktopTrash)
        GTEST_SKIP() << test::noFreedesktopTrash;
    const QString root = test::makeTempDir(QStringLiteral("trash-unusable"));
    test::writeFile(root + QStringLiteral("/dist/app.js"));
    const QString trash = trashFolder();
    const QString parked = trash + QStringLiteral("-parked");
    QDir().rename(trash, parked);
    test::writeFile(trash, "a plain file where the Trash should be");
    QDir::setCurrent(root);

    const TrashOutcome outcome = TrashService::trash({root + QStringLiteral("/dist")}, root);

    QFile::remove(trash);
    QDir().rename(parked, trash);
    ASSERT_EQ(outcome.failures.size(), 1);
    EXPECT_FALSE(outcome.failures[0].message.isEmpty());
    EXPECT_TRUE(QFile::exists(root + QStringLiteral("/dist/app.js")));
    // Not moved into a makeshift Trash beside the current folder either.
    EXPECT_FALSE(QFile::exists(root + QStringLiteral("/files")));
}

TEST(TrashService, APlatformRefusalKeepsTheItemAndPassesThePlatformsMessageOn) {
    if (!test::freedesktopTrash)
        GTEST_SKIP() << test::noFreedesktopTrash;
    const QString root = test::makeTempDir(QStringLiteral("trash-refused"));
    test::writeFile(root + QStringLiteral("/dist/app.js"));
    const QString info = trashFolder() + QStringLiteral("/info");
    QDir().mkpath(info);
    QDir().mkpath(trashFolder() + QStringLiteral("/files"));
    TrashOutcome outcome;
    {
        // The Trash cannot record where the item came from, so it takes nothing.
        const test::LockedFolder locked(info);
        outcome = TrashService::trash({root + QStringLiteral("/dist")}, root);
    }

    EXPECT_TRUE(outcome.trashed.isEmpty());
    ASSERT_EQ(outcome.failures.size(), 1);
    EXPECT_FALSE(outcome.failures[0].message.isEmpty());
    EXPECT_NE(outcome.failures[0].message, refused);
    EXPECT_NE(outcome.failures[0].message, gone);
    // No fallback of any kind: the folder is still there, whole.
    EXPECT_TRUE(QFile::exists(root + QStringLiteral("/dist/app.js")));
}

namespace {

// A Trash that refuses the items whose name is given, as a locked file or a full volume would,
// and takes the rest for real.
class RefusingTrash : public PlatformTrash {
public:
    explicit RefusingTrash(QString refusedName)
        : refusedName_(std::move(refusedName)) {}

    TrashMove moveToTrash(const QString& path) const override {
        if (QFileInfo(path).fileName() == refusedName_)
            return TrashMove::refused(QStringLiteral("The item is in use."));
        return PlatformTrash::moveToTrash(path);
    }

private:
    QString refusedName_;
};

} // namespace

TEST(TrashService, ARefusalInTheMiddleOfABatchStopsNothingAfterIt) {
    const QString root = test::makeTempDir(QStringLiteral("trash-batch"));
    for (const char* name : {"/a/node_modules", "/b/dist", "/c/target"})
        test::writeFile(root + QString::fromUtf8(name) + QStringLiteral("/file"));
    const QList<QString> items{root + QStringLiteral("/a/node_modules"),
                               root + QStringLiteral("/b/dist"),
                               root + QStringLiteral("/c/target")};

    const TrashOutcome outcome =
        TrashService::trash(items, root, RefusingTrash(QStringLiteral("dist")));

    EXPECT_EQ(outcome.trashed, (QList<QString>{items[0], items[2]}));
    EXPECT_EQ(outcome.failures,
              (QList<TrashFailure>{{items[1], QStringLiteral("The item is in use.")}}));
    EXPECT_TRUE(QFile::exists(items[1] + QStringLiteral("/file")));
    EXPECT_FALSE(isPresent(items[2]));
}

TEST(TrashService, KeptFoldersStayWhateverAreaAsksAndUnderAnySpelling) {
    const QString root = test::makeTempDir(QStringLiteral("keep-root"));
    const QString linkedRoot = test::makeTempDir(QStringLiteral("keep-link")) + test::s("/code");
    link(root, linkedRoot);
    for (const char* file :
         {"/app/node_modules/a.js", "/tool/vendor/b.js", "/tool/target/c.o", "/other/dist/d.js"})
        test::writeFile(root + test::s(file), file);
    const KeepStore keep;
    ASSERT_EQ(keep.add(linkedRoot + test::s("/app")), QString());
    ASSERT_EQ(keep.add(root + test::s("/tool/vendor")), QString());

    const QList<QString> asked{root + test::s("/app/node_modules"),
                               linkedRoot + test::s("/tool/vendor"), root + test::s("/tool"),
                               linkedRoot + test::s("/tool/target"), root + test::s("/other/dist")};
    ASSERT_EQ(TrashService::refusal(asked[0], root), TrashService::keptMessage);
    const TrashOutcome outcome = TrashService::trash(asked, root);

    EXPECT_EQ(outcome.trashed, (QList<QString>{linkedRoot + test::s("/tool/target"),
                                               root + test::s("/other/dist")}));
    EXPECT_EQ(outcome.failures, (QList<TrashFailure>{{asked[0], TrashService::keptMessage},
                                                     {asked[1], TrashService::keptMessage},
                                                     {asked[2], TrashService::keptMessage}}));
    EXPECT_TRUE(isPresent(root + test::s("/app/node_modules/a.js")));
    EXPECT_TRUE(isPresent(root + test::s("/tool/vendor/b.js")));

    // Marks that can't be read might keep anything: nothing moves, and the reason is given.
    test::writeFile(keep.url(), "{ not a list");
    const TrashOutcome unreadable =
        TrashService::trash({root + test::s("/app/node_modules")}, root);
    EXPECT_TRUE(unreadable.trashed.isEmpty());
    ASSERT_EQ(unreadable.failures.size(), 1);
    EXPECT_TRUE(unreadable.failures[0].message.contains(keep.url()));
    QFile::remove(keep.url());
}
