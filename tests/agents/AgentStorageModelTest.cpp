#include "agents/AgentStorageModel.h"

#include "AgentFixtures.h"
#include "AgentStoreFixture.h"
#include "platform/PutBackService.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QProcess>
#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

constexpr int patience = 20'000;

struct Loaded {
    explicit Loaded(const test::FakeAgentHome& home)
        : model(toasts, {home.inputs(),
                         &ProcessRunner::system(),
                         &PlatformTrash::system(),
                         CleanupHistory(),
                         {}}) {
        load();
    }

    void load() {
        model.reload();
        EXPECT_TRUE(
            QTest::qWaitFor([this] { return model.hasLoaded() && !model.isLoading(); }, patience));
    }

    TrashResult trash(const QStringList& ids) {
        std::optional<TrashResult> result;
        const QObject receiver;
        QObject::connect(&model, &AgentStorageModel::trashCompleted, &receiver,
                         [&result](const TrashResult& done) { result = done; });
        model.trash(model.plan(ids).trash);
        EXPECT_TRUE(QTest::qWaitFor([&result] { return result.has_value(); }, patience));
        return result.value_or(TrashResult{});
    }

    ToastCenter toasts;
    AgentStorageModel model;
};

// Every column of the thread's row, as SQLite stores it.
QStringList threadRow(const test::FakeAgentHome& home) {
    sqlite3* db = test::openDatabase(home.locations.codexHome + s("/state_5.sqlite"));
    const QStringList row = test::queryColumn(
        db, s("SELECT quote(id)||quote(cwd)||quote(title)||quote(updated_at)||quote(archived)||"
              "quote(rollout_path)||quote(source)||typeof(updated_at) FROM threads WHERE id = '") +
                home.codexThread + u'\'');
    sqlite3_close(db);
    return row;
}

} // namespace

TEST(AgentStorageModel, ACodexSessionGoesWithItsRowAndPutBackRestoresBoth) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    const QStringList before = threadRow(home);
    ASSERT_EQ(before.size(), 1);
    Loaded loaded(home);
    EXPECT_TRUE(loaded.model.selectedIDs().contains(home.codexThread));
    const QString log = loaded.model.row(home.codexThread)->paths().first();

    const TrashResult result = loaded.trash({home.codexThread});
    ASSERT_TRUE(result.outcome.failures.isEmpty())
        << result.outcome.failures.first().message.toStdString();
    EXPECT_FALSE(QFile::exists(log));
    EXPECT_TRUE(threadRow(home).isEmpty());
    ASSERT_TRUE(result.cleanup.id);

    const PutBackOutcome back = PutBackService::putBack(CleanupHistory(), result.cleanup.id);
    ASSERT_EQ(back.restored, QList<QString>{log});
    EXPECT_TRUE(loaded.model.restoreThreadRecords(back).isEmpty());
    EXPECT_EQ(threadRow(home), before);
    EXPECT_TRUE(
        test::sessionIDsIn(home.locations, home.work + s("/gone")).contains(home.codexThread));
}

TEST(AgentStorageModel, ABusyCodexDatabaseKeepsItsSessionsListedButNotOffered) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    sqlite3* writer = test::openDatabase(home.locations.codexHome + s("/state_5.sqlite"));
    test::exec(writer, s("BEGIN IMMEDIATE"));
    Loaded loaded(home);
    const AgentStoreRow* row = loaded.model.row(home.codexThread);
    ASSERT_TRUE(row);
    EXPECT_EQ(row->blockedReason, CodexSessionRemoval::busyMessage);
    EXPECT_FALSE(loaded.model.selectedIDs().contains(home.codexThread));
    EXPECT_EQ(loaded.model.plan({home.codexThread}).refused.first().message,
              CodexSessionRemoval::busyMessage);

    // A writer that comes between listing and removing is waited for, then named.
    const CodexSessionRemoval::Outcome late = CodexSessionRemoval::remove(
        {{home.locations.codexHome + s("/state_5.sqlite"), home.codexThread, row->paths().first(),
          home.locations.codexHome}},
        PlatformTrash::system());
    ASSERT_EQ(late.trash.failures.size(), 1);
    EXPECT_EQ(late.trash.failures.first().message, CodexSessionRemoval::busyMessage);
    EXPECT_TRUE(QFile::exists(row->paths().first()));
    test::exec(writer, s("ROLLBACK"));
    sqlite3_close(writer);
}

TEST(AgentStorageModel, ASessionFileAnAppHoldsOpenStaysWithTheReason) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    Loaded loaded(home);
    const QString file = loaded.model.row(home.orphan)->paths().first();
    QProcess holder;
    holder.start(s("/bin/sh"), {s("-c"), s("exec 3<\"$0\"; echo ready; exec sleep 60"), file});
    ASSERT_TRUE(holder.waitForReadyRead(patience));

    const TrashResult result = loaded.trash({home.orphan, home.goneWorkspace});
    holder.kill();
    holder.waitForFinished();
    ASSERT_EQ(result.outcome.failures.size(), 1);
    EXPECT_EQ(result.outcome.failures.first().url, file);
    EXPECT_TRUE(result.outcome.failures.first().message.endsWith(s("has it open; quit it first")))
        << result.outcome.failures.first().message.toStdString();
    // None of the session's files moves while one is held.
    for (const QString& part : loaded.model.store().row(home.orphan)->paths())
        EXPECT_TRUE(QFile::exists(part)) << part.toStdString();
    // The rest of the batch went.
    EXPECT_FALSE(QFile::exists(home.goneWorkspace));
    EXPECT_EQ(loaded.model.failures().first().itemID, home.orphan);
}

TEST(AgentStorageModel, ClaudeAppRecordsAndLooseTranscriptsGoToTheTrashAndComeBack) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    const QByteArray record = test::readBytes(home.goneRecord);
    Loaded loaded(home);
    EXPECT_TRUE(loaded.model.selectedIDs().contains(home.goneRecord));
    EXPECT_TRUE(loaded.model.selectedIDs().contains(home.looseAlone));
    EXPECT_FALSE(loaded.model.selectedIDs().contains(home.liveRecord));

    const TrashResult result = loaded.trash({home.goneRecord, home.looseAlone});
    ASSERT_TRUE(result.outcome.failures.isEmpty())
        << result.outcome.failures.first().message.toStdString();
    EXPECT_FALSE(QFile::exists(home.goneRecord));
    EXPECT_FALSE(QFile::exists(home.looseAlone));
    EXPECT_TRUE(QFile::exists(home.liveRecord));
    ASSERT_TRUE(result.cleanup.id);

    const PutBackOutcome back = PutBackService::putBack(CleanupHistory(), result.cleanup.id);
    EXPECT_EQ(back.restored.size(), 2);
    EXPECT_EQ(test::readBytes(home.goneRecord), record);
    EXPECT_TRUE(QFile::exists(home.looseAlone));
    loaded.load();
    EXPECT_TRUE(loaded.model.row(home.goneRecord));
    EXPECT_TRUE(loaded.model.row(home.looseAlone));
}
