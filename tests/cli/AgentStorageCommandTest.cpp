#include "cli/AgentStorageCommand.h"

#include "agents/AgentHistoryIndex.h"
#include "agents/AgentStorage.h"
#include "agents/AgentStoreFixture.h"
#include "cli/Command.h"
#include "platform/PutBackService.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::cli;
using test::s;

namespace {

QJsonObject rowOf(const QJsonObject& document, const QString& id) {
    for (const QJsonValue agent : document[u"agents"].toArray()) {
        for (const QJsonValue project : agent[u"projects"].toArray()) {
            for (const QJsonValue row : project[u"rows"].toArray()) {
                if (row[u"id"].toString() == id)
                    return row.toObject();
            }
        }
    }
    return {};
}

} // namespace

TEST(AgentStorageCommand, ListsKindsAndReasonsAndCleansExactlyTheChosenRowsWithPutBack) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    QString out;
    QString err;
    Console console{&out, &err};
    const auto document = [&out] { return QJsonDocument::fromJson(out.toUtf8()).object(); };

    ASSERT_EQ(runAgentsStorage(home.inputs(), true, console), exitOk);
    const QJsonObject orphan = rowOf(document(), home.orphan);
    EXPECT_EQ(orphan[u"kind"].toString(), s("unreachable"));
    EXPECT_TRUE(orphan[u"ticked"].toBool());
    EXPECT_EQ(rowOf(document(), home.liveSession)[u"kind"].toString(), s("projectHistory"));
    EXPECT_EQ(rowOf(document(), home.moved)[u"newPlace"].toString(), home.work + s("/new-name"));
    EXPECT_TRUE(rowOf(document(), home.codexThread)[u"offered"].toBool());
    EXPECT_GT(document()[u"totalBytes"].toInteger(), document()[u"reclaimableBytes"].toInteger());
    const QString orphanFile = orphan[u"paths"].toArray().first().toString();
    ASSERT_TRUE(orphanFile.endsWith(home.orphan + s(".jsonl")));

    // A named row that may not go refuses the whole command before anything moves.
    AgentsCleanRequest request;
    request.sessionIDs = {home.orphan, home.locations.codexHome + s("/auth.json")};
    request.trash = {false, true, true};
    out.clear();
    EXPECT_EQ(runAgentsClean(home.inputs(), request, console), exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(s("Credentials: never removed"))) << qPrintable(err);
    EXPECT_TRUE(QFile::exists(orphanFile));

    // --orphaned takes what nobody can reach, and not the folder that was moved.
    request = {};
    request.orphaned = true;
    request.trash = {true, false, true};
    ASSERT_EQ(runAgentsClean(home.inputs(), request, console), exitOk) << qPrintable(err);
    const QJsonArray wouldTrash = document()[u"wouldTrash"].toArray();
    EXPECT_TRUE(wouldTrash.contains(orphanFile));
    EXPECT_TRUE(wouldTrash.contains(home.goneWorkspace));
    for (const QJsonValue url : wouldTrash)
        EXPECT_FALSE(url.toString().contains(s("old-name"))) << qPrintable(url.toString());
    EXPECT_TRUE(QFile::exists(orphanFile));

    request.sessionIDs = {};
    request.trash = {false, true, true};
    out.clear();
    ASSERT_EQ(runAgentsClean(home.inputs(), request, console), exitOk) << qPrintable(err);
    EXPECT_FALSE(QFile::exists(orphanFile));
    EXPECT_FALSE(QFile::exists(home.goneWorkspace));
    const auto idsIn = [&](const QString& folder) {
        QStringList ids;
        for (const AgentSession& session :
             AgentHistoryIndex::build(home.locations).sessionsIn(folder))
            ids.append(session.id);
        return ids;
    };
    EXPECT_FALSE(idsIn(home.work + s("/gone")).contains(home.orphan));
    // The Codex session went with its thread's row: Codex no longer lists it.
    EXPECT_FALSE(idsIn(home.work + s("/gone")).contains(home.codexThread));

    // Put Back restores the sessions, and the index finds them again.
    const PutBackOutcome back = PutBackService::putBack(CleanupHistory(), std::nullopt);
    EXPECT_TRUE(back.failures.isEmpty());
    EXPECT_TRUE(
        AgentStorage::restoreThreadRecords(back, CodexSessionRemoval::RecordStore()).isEmpty());
    EXPECT_TRUE(idsIn(home.work + s("/gone")).contains(home.codexThread));
    EXPECT_TRUE(QFile::exists(orphanFile));
    EXPECT_TRUE(QFile::exists(home.goneWorkspace + s("/state.vscdb")));
    EXPECT_TRUE(idsIn(home.work + s("/gone")).contains(home.orphan));
}
