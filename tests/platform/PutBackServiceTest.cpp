#include "platform/PutBackService.h"

#include "platform/InputLimits.h"
#include "platform/Paths.h"
#include "platform/TrashPlan.h"
#include "support/TreeFixture.h"

#include <QDirIterator>
#include <QMap>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

bool isPresent(const QString& path) {
    return QFileInfo::exists(path) || QFileInfo(path).isSymLink();
}

// Every entry below `folder` by its relative path: a file's bytes and permissions, a folder's
// mark, a link's target. Two equal snapshots mean the trees are the same byte for byte.
QMap<QString, QByteArray> snapshot(const QString& folder) {
    QMap<QString, QByteArray> entries;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        const QString relative = info.filePath().mid(folder.size());
        if (info.isSymLink()) {
            entries.insert(relative, "-> " + info.symLinkTarget().toUtf8());
        } else if (info.isDir()) {
            entries.insert(relative, "<folder>");
        } else {
            QFile file(info.filePath());
            EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(info.filePath());
            entries.insert(relative,
                           QByteArray::number(int(info.permissions())) + ' ' + file.readAll());
        }
    }
    return entries;
}

// A scanned folder whose items go to the real Trash of the fake home through the shared trash
// step, recorded in a history of the test's own.
class PutBackServiceTest : public testing::Test {
protected:
    void SetUp() override {
        root = test::makeTempDir(s("put-back"));
        history = CleanupHistory(test::makeTempDir(s("history")) + s("/cleanup-history.json"));
    }

    Cleanup trashAndRecord(const QStringList& names) {
        TrashPlan plan;
        plan.area = s("projects");
        for (const QString& name : names)
            plan.add(root, root + u'/' + name, 100);
        const TrashResult result = carryOut(plan, PlatformTrash::system(), history);
        EXPECT_EQ(result.outcome.trashed.size(), names.size());
        EXPECT_TRUE(result.cleanup.notice.isEmpty()) << qPrintable(result.cleanup.notice);
        EXPECT_TRUE(result.cleanup.id);
        const QList<Cleanup> cleanups = history.load().cleanups;
        return cleanups.isEmpty() ? Cleanup() : cleanups.last();
    }

    QString root;
    CleanupHistory history;
};

} // namespace

TEST_F(PutBackServiceTest, ACleanupPutBackRestoresEveryItemByteForByte) {
    test::writeFile(root + s("/app/node_modules/left-pad/index.js"), "module.exports = 1;\n");
    test::writeFile(root + s("/app/node_modules/.bin/run"), QByteArray(5000, 'r'));
    QFile::setPermissions(root + s("/app/node_modules/.bin/run"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    test::makeLink(s("left-pad/index.js"), root + s("/app/node_modules/main.js"));
    test::writeFile(root + s("/caf\u00e9 lib/dist \u2014 old/bundle.js"), "console.log(1)");
    test::writeFile(root + s("/odd/%41 100% [x] #1.log"), "percent signs and brackets");
    test::makeFolder(root + s("/empty/build"));
    // A link is an item of its own: the link goes and comes back, never its target.
    test::writeFile(root + s("/odd/readme.txt"), "stays");
    test::makeLink(s("readme.txt"), root + s("/odd/latest"));
    const QMap<QString, QByteArray> before = snapshot(root);
    const QStringList names{s("app/node_modules"), s("caf\u00e9 lib/dist \u2014 old"),
                            s("odd/%41 100% [x] #1.log"), s("empty/build"), s("odd/latest")};

    const Cleanup cleanup = trashAndRecord(names);

    ASSERT_EQ(cleanup.items.size(), names.size());
    EXPECT_EQ(cleanup.area, s("projects"));
    EXPECT_EQ(cleanup.bytes(), 500);
    EXPECT_EQ(cleanup.itemsInTrash(), 5);
    for (const CleanupItem& item : cleanup.items) {
        EXPECT_FALSE(isPresent(item.originalPath)) << qPrintable(item.originalPath);
        EXPECT_TRUE(isPresent(item.location.path)) << qPrintable(item.location.path);
#ifdef Q_OS_LINUX
        EXPECT_TRUE(QFileInfo::exists(item.location.infoPath)) << qPrintable(item.originalPath);
#endif
    }
    // A folder emptied by the cleanup and then removed is made again on the way back.
    ASSERT_TRUE(QDir(root + s("/empty")).removeRecursively());

    const PutBackOutcome outcome = PutBackService::putBack(history, std::nullopt);

    EXPECT_FALSE(outcome.refusal);
    EXPECT_EQ(outcome.cleanup.id, cleanup.id);
    EXPECT_TRUE(outcome.failures.isEmpty());
    EXPECT_EQ(outcome.restored.size(), names.size());
    EXPECT_EQ(outcome.restoredBytes, 500);
    EXPECT_EQ(snapshot(root), before);
    for (const CleanupItem& item : cleanup.items) {
        EXPECT_FALSE(isPresent(item.location.path)) << qPrintable(item.location.path);
        EXPECT_FALSE(isPresent(item.location.infoPath)) << qPrintable(item.location.infoPath);
    }
    EXPECT_EQ(putBackToastText(outcome), s("Put back 5 items"));

    // Marked in the history: a second put back tries none of them again.
    const Cleanup marked = history.load().cleanups.last();
    EXPECT_TRUE(std::all_of(marked.items.cbegin(), marked.items.cend(),
                            [](const CleanupItem& item) { return item.isPutBack; }));
    EXPECT_EQ(marked.itemsInTrash(), 0);
    const PutBackOutcome again = PutBackService::putBack(history, cleanup.id);
    EXPECT_EQ(again.alreadyPutBack, 5);
    EXPECT_TRUE(again.restored.isEmpty());
    EXPECT_TRUE(again.failures.isEmpty());
    EXPECT_EQ(snapshot(root), before);
}

TEST_F(PutBackServiceTest, AnItemWhosePlaceWasTakenStaysInTheTrashWhileTheOthersComeBack) {
    for (const char* name :
         {"/a/node_modules/x.js", "/b/dist/y.js", "/c/target/z.o", "/d/.venv/bin/python"})
        test::writeFile(root + s(name), name);
    const QMap<QString, QByteArray> a = snapshot(root + s("/a"));
    const QMap<QString, QByteArray> d = snapshot(root + s("/d"));
    const Cleanup cleanup =
        trashAndRecord({s("a/node_modules"), s("b/dist"), s("c/target"), s("d/.venv")});
    ASSERT_EQ(cleanup.items.size(), 4);
    // The build made dist again; the Trash lost target (emptied by hand).
    test::writeFile(root + s("/b/dist/fresh.js"), "new build");
    const CleanupItem& target = cleanup.items[2];
    ASSERT_TRUE(QDir(target.location.path).removeRecursively());

    const PutBackOutcome dryRun = PutBackService::putBack(history, cleanup.id, true);
    EXPECT_TRUE(dryRun.wasDryRun);
    EXPECT_EQ(dryRun.restored, (QList<QString>{root + s("/a/node_modules"), root + s("/d/.venv")}));
    EXPECT_EQ(dryRun.failures.size(), 2);
    EXPECT_FALSE(isPresent(root + s("/a/node_modules")));
    EXPECT_EQ(history.load().cleanups.last(), cleanup) << "a dry run marks nothing";

    const PutBackOutcome outcome = PutBackService::putBack(history, cleanup.id);

    EXPECT_EQ(outcome.restored, dryRun.restored);
    EXPECT_EQ(outcome.failures,
              (QList<PutBackFailure>{{root + s("/b/dist"), PutBackService::placeTakenMessage},
                                     {root + s("/c/target"), PutBackService::notInTrashMessage}}));
    EXPECT_EQ(snapshot(root + s("/a")), a);
    EXPECT_EQ(snapshot(root + s("/d")), d);
    // What took the place is untouched, and the old dist waits in the Trash with its record.
    EXPECT_EQ(QDir(root + s("/b/dist")).entryList(QDir::Files), QStringList{s("fresh.js")});
    EXPECT_TRUE(QFileInfo::exists(cleanup.items[1].location.path + s("/y.js")));
#ifdef Q_OS_LINUX
    EXPECT_TRUE(QFileInfo::exists(cleanup.items[1].location.infoPath));
#endif
    EXPECT_EQ(putBackToastText(outcome), s("Put back 2 of 4 items\ndist: ") +
                                             PutBackService::placeTakenMessage + s("\ntarget: ") +
                                             PutBackService::notInTrashMessage);

    // Once the place is free again, the next put back brings the rest and only the rest.
    ASSERT_TRUE(QDir(root + s("/b/dist")).removeRecursively());
    const PutBackOutcome later = PutBackService::putBack(history, cleanup.id);
    EXPECT_EQ(later.alreadyPutBack, 2);
    EXPECT_EQ(later.restored, QList<QString>{root + s("/b/dist")});
    EXPECT_EQ(later.failures,
              (QList<PutBackFailure>{{root + s("/c/target"), PutBackService::notInTrashMessage}}));
    EXPECT_TRUE(QFileInfo::exists(root + s("/b/dist/y.js")));
}

TEST_F(PutBackServiceTest, AnItemWithoutAPlaceInTheTrashOrAnUnknownCleanupIsSaidSo) {
    const CleanupItem unknown{root + s("/lost"), {}, 10, false};
    const PutBackOutcome outcome =
        PutBackService::putBack(Cleanup{s("x"), {}, s("apps"), {unknown}});
    EXPECT_EQ(outcome.failures,
              (QList<PutBackFailure>{{unknown.originalPath, PutBackService::notRecordedMessage}}));

    const PutBackOutcome empty = PutBackService::putBack(history, std::nullopt);
    EXPECT_EQ(empty.refusal, PutBackOutcome::Refusal::noCleanup);
    test::writeFile(root + s("/dist/a.js"), "a");
    trashAndRecord({s("dist")});
    const PutBackOutcome missing = PutBackService::putBack(history, s("19990101-000000"));
    EXPECT_EQ(missing.refusal, PutBackOutcome::Refusal::unknownCleanup);
    EXPECT_EQ(missing.message, s("No cleanup has the id 19990101-000000."));
    EXPECT_FALSE(isPresent(root + s("/dist")));
}

TEST_F(PutBackServiceTest, AnotherItemAtTheSameNameInTheTrashIsNeverPutBackInItsPlace) {
    test::writeFile(root + s("/alpha/node_modules/a.js"), "alpha");
    test::writeFile(root + s("/beta/node_modules/b.js"), "beta");
    const Cleanup old = trashAndRecord({s("alpha/node_modules")});
    ASSERT_EQ(old.items.size(), 1);
    // The user empties the Trash; later beta's folder lands at the very same name.
    const QString trashFiles = Paths::parentPath(old.items[0].location.path);
    ASSERT_TRUE(QDir(Paths::parentPath(trashFiles)).removeRecursively());
    const Cleanup recent = trashAndRecord({s("beta/node_modules")});
    ASSERT_EQ(recent.items.size(), 1);
    ASSERT_EQ(recent.items[0].location.path, old.items[0].location.path);

    EXPECT_EQ(old.itemsInTrash(), 0);
    EXPECT_EQ(recent.itemsInTrash(), 1);
    const PutBackOutcome outcome = PutBackService::putBack(history, old.id);
    EXPECT_TRUE(outcome.restored.isEmpty());
    EXPECT_EQ(outcome.failures, (QList<PutBackFailure>{{root + s("/alpha/node_modules"),
                                                        PutBackService::anotherItemMessage}}));
    EXPECT_FALSE(isPresent(root + s("/alpha/node_modules")));
    EXPECT_TRUE(QFileInfo::exists(recent.items[0].location.path + s("/b.js")));

#ifdef Q_OS_LINUX
    // A history written before the entries were marked: the record's own "Path=" decides.
    CleanupItem unmarked = old.items[0];
    unmarked.location = {unmarked.location.path, unmarked.location.infoPath, {}, {}, {}};
    EXPECT_EQ(unmarked.location.entry(unmarked.originalPath), TrashLocation::Entry::another);
    unmarked.originalPath = root + s("/beta/node_modules");
    EXPECT_EQ(unmarked.location.entry(unmarked.originalPath), TrashLocation::Entry::same);
#endif

    // The recent cleanup still comes back, and its record goes with it.
    const PutBackOutcome back = PutBackService::putBack(history, recent.id);
    EXPECT_EQ(back.restored, QList<QString>{root + s("/beta/node_modules")});
    EXPECT_TRUE(QFileInfo::exists(root + s("/beta/node_modules/b.js")));
}

#ifdef Q_OS_LINUX
TEST_F(PutBackServiceTest, ATrashRecordOverItsLimitKeepsTheItemInTheTrashAndIsNamed) {
    test::writeFile(root + s("/alpha/node_modules/a.js"), "alpha");
    const Cleanup cleanup = trashAndRecord({s("alpha/node_modules")});
    ASSERT_EQ(cleanup.items.size(), 1);
    const QString record = cleanup.items[0].location.infoPath;
    const qint64 recordSize = QFileInfo(record).size();
    // Grown past what a record can be, it tells this entry from no other.
    ASSERT_TRUE(QFile(record).resize(InputLimits::smallFileBytes + 1));

    const PutBackOutcome refused = PutBackService::putBack(history, cleanup.id);
    EXPECT_TRUE(refused.restored.isEmpty());
    EXPECT_EQ(refused.failures,
              (QList<PutBackFailure>{{root + s("/alpha/node_modules"),
                                      s("Could not read ") + record +
                                          s(": it is larger than 1 MB, more than such a file "
                                            "can be")}}));
    EXPECT_FALSE(isPresent(root + s("/alpha/node_modules")));

    ASSERT_TRUE(QFile(record).resize(recordSize));
    const PutBackOutcome back = PutBackService::putBack(history, cleanup.id);
    EXPECT_EQ(back.restored, QList<QString>{root + s("/alpha/node_modules")});
    EXPECT_TRUE(QFileInfo::exists(root + s("/alpha/node_modules/a.js")));
}
#endif
