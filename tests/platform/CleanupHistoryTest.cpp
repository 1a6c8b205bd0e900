#include "platform/CleanupHistory.h"

#include "platform/CleanupHistoryModel.h"
#include "platform/JsonFile.h"
#include "platform/Locations.h"
#include "platform/PutBackService.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QSet>
#include <QSignalSpy>
#include <QTest>
#include <QTimeZone>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace corvane;
using test::s;

namespace {

constexpr int patience = 20000;

QDateTime at(int minute) {
    return QDateTime(QDate(2026, 11, 25), QTime(12, 0), QTimeZone::utc()).addSecs(minute * 60);
}

QList<CleanupItem> oneItem(const QString& name) {
    return {{s("/code/") + name, {s("/trash/files/") + name, s("/trash/info/") + name}, 42, false}};
}

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList asideFiles(const QString& folder) {
    return QDir(folder).entryList({s("cleanup-history.unreadable-*.json")}, QDir::Files);
}

} // namespace

TEST(CleanupHistory, KeepsTheNewestHundredWithUniqueIDsAndListsTheNewestTwentyFirst) {
    // The default place, which every front end shares.
    const CleanupHistory history;
    EXPECT_EQ(history.path(), Locations::appSupportDir() + s("/cleanup-history.json"));
    QFile::remove(history.path());

    // Two cleanups in one second still get ids of their own.
    const RecordedCleanup first = history.record(s("caches"), oneItem(s("first")), at(0));
    const RecordedCleanup second = history.record(s("caches"), oneItem(s("second")), at(0));
    EXPECT_EQ(first, (RecordedCleanup{s("20261125-120000"), {}}));
    EXPECT_EQ(second.id, s("20261125-120000-2"));
    EXPECT_EQ(history.record(s("apps"), {}, at(1)), RecordedCleanup()) << "nothing moved";
    for (int minute = 1; minute <= 103; ++minute)
        ASSERT_TRUE(history.record(s("projects"), oneItem(QString::number(minute)), at(minute)).id);

    const QList<Cleanup> kept = history.load().cleanups;
    ASSERT_EQ(kept.size(), CleanupHistory::keptCleanups);
    EXPECT_EQ(kept.first().items.first().originalPath, s("/code/4")) << "the oldest five went";
    EXPECT_EQ(kept.last().id, s("20261125-134300"));
    EXPECT_EQ(kept.last().date, at(103));
    EXPECT_EQ(kept.last().items, oneItem(s("103")));
    // Own files are pretty-printed with sorted keys.
    EXPECT_EQ(contentsOf(history.path()), JsonFile::serialized(*JsonFile::read(history.path())));

    ToastCenter toasts;
    CleanupHistoryModel model(toasts);
    model.reload();
    ASSERT_TRUE(QTest::qWaitFor([&] { return model.hasLoaded() && !model.isLoading(); }, patience));
    ASSERT_EQ(model.cleanups().size(), CleanupHistoryModel::listedCleanups);
    EXPECT_EQ(model.cleanups().first().cleanup.id, s("20261125-134300"));
    EXPECT_EQ(model.cleanups().last().cleanup.id, s("20261125-132400"));
    // The items of this history are nowhere on disk: none is counted as still in the Trash.
    EXPECT_EQ(model.cleanups().first().itemsInTrash, 0);
    EXPECT_FALSE(model.problem());
}

TEST(CleanupHistory, AMalformedHistoryIsReportedAndNeverOverwrittenSilently) {
    const QString folder = test::makeTempDir(s("malformed-history"));
    const CleanupHistory history(folder + s("/cleanup-history.json"));
    const QByteArray damaged = "{\"cleanups\": [{\"id\": \"20261125-120000\", \"items\": [";
    test::writeFile(history.path(), damaged);

    const CleanupHistory::Contents contents = history.load();
    ASSERT_TRUE(contents.problem);
    EXPECT_TRUE(contents.problem->startsWith(s("The cleanup history ") + history.path() +
                                             s(" could not be read: ")))
        << qPrintable(*contents.problem);
    EXPECT_TRUE(contents.cleanups.isEmpty());

    // Marking what came back refuses to write over it; a put back refuses to start.
    EXPECT_EQ(history.markPutBack(s("20261125-120000"), {s("/code/a")}), *contents.problem);
    const PutBackOutcome refused = PutBackService::putBack(history, std::nullopt);
    EXPECT_EQ(refused.refusal, PutBackOutcome::Refusal::unreadableHistory);
    EXPECT_EQ(refused.message, *contents.problem);
    EXPECT_EQ(contentsOf(history.path()), damaged);
    EXPECT_TRUE(asideFiles(folder).isEmpty());

    // A new cleanup keeps the damaged file aside, whole, and starts a new history.
    const RecordedCleanup recorded = history.record(s("caches"), oneItem(s("pip")), at(0));
    ASSERT_TRUE(recorded.id);
    const QStringList aside = asideFiles(folder);
    ASSERT_EQ(aside.size(), 1);
    EXPECT_EQ(contentsOf(folder + u'/' + aside.first()), damaged);
    EXPECT_TRUE(recorded.notice.contains(folder + u'/' + aside.first()))
        << qPrintable(recorded.notice);
    EXPECT_EQ(history.load().cleanups.size(), 1);

    // A file that is JSON but not a history is no better.
    test::writeFile(history.path(), "[1, 2, 3]");
    EXPECT_TRUE(history.load().problem);
    EXPECT_FALSE(history.record(s("caches"), oneItem(s("npm")), at(1)).notice.isEmpty());
    EXPECT_EQ(asideFiles(folder).size(), 2);
}

TEST(CleanupHistory, MarkingAndRecordingKeepWhatANewerVersionWroteIntoACleanup) {
    const QString folder = test::makeTempDir(s("newer-history"));
    const CleanupHistory history(folder + s("/cleanup-history.json"));
    const RecordedCleanup recorded = history.record(s("caches"), oneItem(s("pip")), at(0));
    ASSERT_TRUE(recorded.id);
    // A newer version added fields of its own to the cleanup and to its item.
    QJsonObject document = JsonFile::read(history.path())->toObject();
    QJsonArray cleanups = document.value(s("cleanups")).toArray();
    QJsonObject cleanup = cleanups[0].toObject();
    QJsonArray items = cleanup.value(s("items")).toArray();
    QJsonObject item = items[0].toObject();
    item.insert(s("checksum"), s("sha256:ab"));
    items[0] = item;
    cleanup.insert(s("items"), items);
    cleanup.insert(s("tool"), s("pip 24"));
    cleanups[0] = cleanup;
    document.insert(s("cleanups"), cleanups);
    ASSERT_TRUE(JsonFile::write(history.path(), document).isEmpty());

    EXPECT_TRUE(history.markEmptied(*recorded.id, {s("/code/pip")}).isEmpty());
    ASSERT_TRUE(history.record(s("projects"), oneItem(s("web")), at(1)).id);

    const QJsonObject kept =
        JsonFile::read(history.path())->toObject().value(s("cleanups")).toArray()[0].toObject();
    EXPECT_EQ(kept.value(s("tool")).toString(), s("pip 24"));
    const QJsonObject keptItem = kept.value(s("items")).toArray()[0].toObject();
    EXPECT_EQ(keptItem.value(s("checksum")).toString(), s("sha256:ab"));
    EXPECT_TRUE(keptItem.value(s("emptied")).toBool());
    const Cleanup read = history.load().cleanups.first();
    EXPECT_TRUE(read.items.first().isEmptied);
    EXPECT_TRUE(read.isEmptied());
}

TEST(ToastCenter, AnActionIsAnnouncedOnceAndOnlyForTheToastStillShown) {
    ToastCenter toasts;
    QSignalSpy announced(&toasts, &ToastCenter::actionTriggered);
    const std::optional<ToastAction> offer = putBackOffer({s("20261125-120000"), {}});
    ASSERT_TRUE(offer);
    EXPECT_EQ(*offer, (ToastAction{s("Put Back"), s("putBack"), s("20261125-120000")}));
    EXPECT_FALSE(putBackOffer({std::nullopt, s("could not be recorded")}));

    const QUuid first = toasts.post(s("Reclaimed 1 GB"), ToastStyle::success, offer);
    const QUuid second = toasts.post(s("Reclaimed 2 GB"));
    toasts.triggerAction(first);
    toasts.triggerAction(second);
    EXPECT_EQ(announced.count(), 0) << "the first was replaced; the second has no button";
    EXPECT_EQ(toasts.current()->id, second);

    const QUuid third = toasts.post(s("Reclaimed 3 GB"), ToastStyle::success, offer);
    toasts.triggerAction(third);
    toasts.triggerAction(third);
    ASSERT_EQ(announced.count(), 1);
    EXPECT_EQ(announced.first().first().value<ToastAction>(), *offer);
    EXPECT_FALSE(toasts.current());
}

TEST(CleanupHistory, CleanupsRecordedAtOnceFromSeveralThreadsAreAllKept) {
    const CleanupHistory history(test::makeTempDir(s("busy-history")) + s("/cleanup-history.json"));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&history, thread] {
            for (int index = 0; index < 5; ++index)
                history.record(s("projects"), oneItem(QString::number(thread * 10 + index)), at(0));
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    const QList<Cleanup> cleanups = history.load().cleanups;
    ASSERT_EQ(cleanups.size(), 20);
    QSet<QString> ids;
    for (const Cleanup& cleanup : cleanups)
        ids.insert(cleanup.id);
    EXPECT_EQ(ids.size(), 20);
}
