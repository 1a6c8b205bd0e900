#include "platform/EmptyTrashService.h"

#include "platform/JsonFile.h"
#include "platform/PermanentRemoval.h"
#include "platform/PutBackService.h"
#include "platform/TrashPlan.h"
#include "support/TreeFixture.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

bool isPresent(const QString& path) {
    return QFileInfo::exists(path) || QFileInfo(path).isSymLink();
}

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Items moved to the real Trash of the fake home through the shared trash step, each move
// recorded in a history of the test's own.
class EmptyTrashServiceTest : public testing::Test {
protected:
    void SetUp() override {
        root = test::makeTempDir(s("empty-trash"));
        history = CleanupHistory(test::makeTempDir(s("history")) + s("/cleanup-history.json"));
    }

    Cleanup trashAndRecord(const QStringList& names, const QString& area = s("projects")) {
        TrashPlan plan;
        plan.area = area;
        for (const QString& name : names)
            plan.add(root, root + u'/' + name, 1000);
        const TrashResult result = carryOut(plan, PlatformTrash::system(), history);
        EXPECT_EQ(result.outcome.trashed.size(), names.size());
        const QList<Cleanup> cleanups = history.load().cleanups;
        return cleanups.isEmpty() ? Cleanup() : cleanups.last();
    }

    // The user's own move to the Trash, which the history never hears of.
    TrashLocation usersOwnTrash(const QString& path, const QByteArray& contents) {
        test::writeFile(path, contents);
        const TrashMove move = PlatformTrash::system().moveToTrash(path);
        EXPECT_FALSE(move.failure) << qPrintable(move.failure.value_or(QString()));
        return move.location;
    }

    QString root;
    CleanupHistory history;
};

} // namespace

TEST_F(EmptyTrashServiceTest, DeletesOnlyTheEntriesItsCleanupsMadeAndLeavesTheRestOfTheTrash) {
    test::writeFile(root + s("/app/build/out.o"), "object");
    test::writeFile(root + s("/lib/node_modules/x/index.js"), "x");
    test::writeFile(root + s("/tools/dist/tool.js"), "tool");
    test::writeFile(root + s("/web/.cache/entry"), "cache");
    const Cleanup first = trashAndRecord({s("app/build"), s("lib/node_modules"), s("tools/dist")});
    const Cleanup second = trashAndRecord({s("web/.cache")}, s("caches"));
    ASSERT_EQ(first.items.size(), 3);
    ASSERT_EQ(second.items.size(), 1);
    // The second cleanup comes back; its item is the user's again, wherever it is.
    ASSERT_TRUE(PutBackService::putBack(history, second.id).failures.isEmpty());
    const TrashLocation notes = usersOwnTrash(root + s("/notes.txt"), "the user's notes");

    const OwnTrashListing listing = EmptyTrashService::list(history);
    EXPECT_FALSE(listing.problem);
    QList<QString> listed;
    for (const OwnTrashItem& entry : listing.items)
        listed.append(entry.item.originalPath);
    EXPECT_EQ(listed, (QList<QString>{root + s("/app/build"), root + s("/lib/node_modules"),
                                      root + s("/tools/dist")}));
    EXPECT_EQ(listing.bytes(), 3000);

    // Between the confirmation and the deletion the user empties dist from the Trash by hand and
    // trashes a dist of their own, which lands at the very same name.
    const CleanupItem& dist = first.items[2];
    ASSERT_FALSE(removeForGood(dist.location.path));
    if (test::freedesktopTrash) {
        ASSERT_TRUE(QFile::remove(dist.location.infoPath));
    }
    const TrashLocation ownDist = usersOwnTrash(root + s("/other/dist"), "the user's dist");
    ASSERT_EQ(ownDist.path, dist.location.path) << "the same name in the Trash";

    const EmptyTrashOutcome dryRun = EmptyTrashService::empty(listing.items, history, true);
    EXPECT_EQ(dryRun.emptied.size(), 2);
    EXPECT_EQ(dryRun.freedBytes, 2000);
    EXPECT_TRUE(isPresent(first.items[0].location.path)) << "a dry run deletes nothing";
    EXPECT_EQ(emptyTrashToastText(dryRun), s("Dry run: would delete 2 items (2 KB) from the Trash\n"
                                             "dist: ") +
                                               EmptyTrashService::anotherItemMessage);

    const EmptyTrashOutcome outcome = EmptyTrashService::empty(listing.items, history);

    EXPECT_EQ(outcome.emptied, listing.items.first(2));
    EXPECT_EQ(outcome.failures, (QList<EmptyTrashFailure>{
                                    {listing.items[2], EmptyTrashService::anotherItemMessage}}));
    EXPECT_TRUE(outcome.message.isEmpty()) << qPrintable(outcome.message);
    for (const CleanupItem& item : first.items.first(2)) {
        EXPECT_FALSE(isPresent(item.location.path)) << qPrintable(item.location.path);
        EXPECT_FALSE(isPresent(item.location.infoPath)) << qPrintable(item.location.infoPath);
    }
    EXPECT_EQ(contentsOf(ownDist.path), "the user's dist");
    EXPECT_EQ(isPresent(ownDist.infoPath), test::freedesktopTrash);
    EXPECT_EQ(contentsOf(notes.path), "the user's notes");
    EXPECT_EQ(contentsOf(root + s("/web/.cache/entry")), "cache");
    EXPECT_EQ(emptyTrashToastText(outcome), s("Reclaimed 2 KB by deleting 2 items from the Trash\n"
                                              "dist: ") +
                                                EmptyTrashService::anotherItemMessage);

    // The history knows what went for good: nothing is listed again, nothing can be put back.
    const QList<Cleanup> after = history.load().cleanups;
    ASSERT_EQ(after.size(), 2);
    EXPECT_TRUE(after[0].items[0].isEmptied);
    EXPECT_TRUE(after[0].items[1].isEmptied);
    EXPECT_FALSE(after[0].items[2].isEmptied);
    EXPECT_FALSE(after[1].items[0].isEmptied);
    EXPECT_TRUE(EmptyTrashService::list(history).items.isEmpty());
    const PutBackOutcome putBack = PutBackService::putBack(history, first.id);
    EXPECT_TRUE(putBack.restored.isEmpty());
}

TEST_F(EmptyTrashServiceTest, ATreeGoesWholeWithReadOnlyFoldersAndLinksNeverFollowed) {
    // A module cache makes its folders read-only; a link inside points at the user's files.
    test::writeFile(root + s("/elsewhere/keep.txt"), "keep");
    test::writeFile(root + s("/go/pkg/mod/m@v1/deep/file.go"), "package m");
    test::makeLink(root + s("/elsewhere"), root + s("/go/pkg/mod/m@v1/outside"));
    for (const char* folder : {"/go/pkg/mod/m@v1/deep", "/go/pkg/mod/m@v1"})
        ASSERT_TRUE(QFile::setPermissions(root + s(folder), QFile::ReadOwner | QFile::ExeOwner));
    const Cleanup cleanup = trashAndRecord({s("go/pkg/mod")}, s("caches"));
    ASSERT_EQ(cleanup.items.size(), 1);

    const EmptyTrashOutcome outcome =
        EmptyTrashService::empty(EmptyTrashService::list(history).items, history);

    EXPECT_TRUE(outcome.failures.isEmpty());
    EXPECT_EQ(outcome.emptied.size(), 1);
    EXPECT_FALSE(isPresent(cleanup.items[0].location.path));
    EXPECT_EQ(contentsOf(root + s("/elsewhere/keep.txt")), "keep");
    EXPECT_TRUE(history.load().cleanups.last().isEmptied());
}

TEST_F(EmptyTrashServiceTest, AHistoryPlaceOutsideAnyTrashIsNeverDeleted) {
    // A damaged or hand-edited history must not aim the deletion at the user's folders.
    test::writeFile(root + s("/work/main.c"), "int main;");
    CleanupItem item{root + s("/gone"), {root + s("/work"), {}}, 10, false};
    const QList<OwnTrashItem> items{{s("x"), {}, s("projects"), item}};

    const EmptyTrashOutcome outcome = EmptyTrashService::empty(items, history);

    EXPECT_EQ(outcome.failures,
              (QList<EmptyTrashFailure>{{items[0], EmptyTrashService::outsideTrashMessage}}));
    EXPECT_EQ(contentsOf(root + s("/work/main.c")), "int main;");
}
