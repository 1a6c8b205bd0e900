#include "organize/OrganizeJournal.h"

#include "../agents/AgentFixtures.h"
#include "platform/JsonFile.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>
#include <gtest/gtest.h>
#include <thread>

namespace corvane {
namespace {

using test::s;

OrganizeRun runWith(const QString& name, int moves = 1) {
    OrganizeRun run;
    run.id = QUuid::createUuid();
    // Milliseconds included: they must come back as they went in.
    run.date = QDateTime(QDate(2024, 5, 1), QTime(14, 30, 0, 123), QTimeZone::utc());
    for (int i = 0; i < moves; ++i) {
        MoveRecord move;
        move.source = s("/home/me/") + name + QString::number(i);
        move.destination = s("/home/me/Projects/") + name + QString::number(i);
        move.createdFolders = {s("/home/me/Projects")};
        move.relink.claudeHistoryFolders = 1;
        move.relink.claudeFolderMoves = {{s("-a"), s("-b"), s("/a"), s("/b"), QStringList{s("x")}}};
        move.relink.warnings = {s("Codex history: could not open its database.")};
        run.moves.append(move);
    }
    run.trashedEmptyFolders = {s("/home/me/") + name};
    return run;
}

QStringList idsOf(const QList<OrganizeRun>& runs) {
    QStringList ids;
    for (const OrganizeRun& run : runs)
        ids.append(run.id.toString());
    return ids;
}

QStringList unreadableCopiesIn(const QString& folder) {
    return QDir(folder).entryList({s("organize-journal.unreadable-*.json")}, QDir::Files,
                                  QDir::Name);
}

TEST(OrganizeJournal, KeepsRunsWithTheirExactKeysAndReadsThemBackEqual) {
    const QString folder = test::makeTempDir(s("journal"));
    const OrganizeJournal journal(folder + s("/organize-journal.json"));
    EXPECT_TRUE(journal.load().isEmpty());
    EXPECT_FALSE(journal.lastRun());

    const OrganizeRun run = runWith(s("app"), 2);
    ASSERT_EQ(journal.save(run).error, QString());
    EXPECT_EQ(journal.load(), QList<OrganizeRun>{run});
    EXPECT_EQ(journal.lastRun(), run);

    const QJsonDocument document =
        QJsonDocument::fromJson(test::readBytes(folder + s("/organize-journal.json")));
    ASSERT_TRUE(document.isArray());
    const QJsonObject stored = document.array().at(0).toObject();
    EXPECT_EQ(stored.keys(),
              (QStringList{s("date"), s("id"), s("moves"), s("trashedEmptyFolders")}));
    EXPECT_EQ(stored.value(s("id")).toString(), run.id.toString(QUuid::WithoutBraces));
    // 2024-05-01 14:30:00.123 UTC, in seconds since 2001-01-01.
    EXPECT_DOUBLE_EQ(stored.value(s("date")).toDouble(), 736266600.123);
    EXPECT_EQ(stored.value(s("moves")).toArray().at(0).toObject().keys(),
              (QStringList{s("createdFolders"), s("destination"), s("movedFolder"), s("relink"),
                           s("source")}));
}

TEST(OrganizeJournal, ReadsRunsWithoutOptionalKeysButNotWithoutAnId) {
    const auto parse = [](const QByteArray& text) {
        return OrganizeJournal::runFromJson(QJsonDocument::fromJson(text).object());
    };
    const std::optional<OrganizeRun> bare =
        parse("{\"id\": \"6b0b5f37-0e1c-4f7e-9d3c-2f0c8e1a4b5d\", "
              "\"moves\": [{\"source\": \"/a\", \"destination\": \"/b\"}]}");
    ASSERT_TRUE(bare);
    EXPECT_FALSE(bare->date.isValid());
    ASSERT_EQ(bare->moves.size(), 1);
    EXPECT_TRUE(bare->moves[0].movedFolder);
    EXPECT_EQ(bare->moves[0].relink, RelinkReport{});
    EXPECT_TRUE(bare->trashedEmptyFolders.isEmpty());

    EXPECT_FALSE(parse("{\"moves\": []}"));
    EXPECT_FALSE(parse("{\"id\": \"not a uuid\", \"moves\": []}"));
    // A move that does not say where it went could not be undone.
    EXPECT_FALSE(parse("{\"id\": \"6b0b5f37-0e1c-4f7e-9d3c-2f0c8e1a4b5d\", "
                       "\"moves\": [{\"source\": \"/a\"}]}"));
}

TEST(OrganizeJournal, ReplacesARunByItsIdRemovesOrTrimsItAndKeepsTheNewest) {
    const OrganizeJournal journal(test::makeTempDir(s("journal")) + s("/organize-journal.json"));
    QList<OrganizeRun> runs;
    for (int i = 0; i < OrganizeJournal::keptRuns + 2; ++i) {
        runs.append(runWith(s("run") + QString::number(i)));
        ASSERT_EQ(journal.save(runs.last()).error, QString());
    }
    EXPECT_EQ(idsOf(journal.load()), idsOf(runs.mid(2)));

    // Saved again after another move: same place, new contents.
    OrganizeRun grown = runs[5];
    grown.moves.append(runWith(s("more")).moves);
    ASSERT_EQ(journal.save(grown).error, QString());
    EXPECT_EQ(journal.load().at(3), grown);
    EXPECT_EQ(journal.load().size(), OrganizeJournal::keptRuns);

    // Undo that left one move behind keeps the run with that move; one that took all drops it.
    OrganizeRun remaining = runs.last();
    remaining.moves = {};
    ASSERT_EQ(journal.remove(runs.last().id, remaining).error, QString());
    EXPECT_EQ(journal.lastRun(), remaining);
    ASSERT_EQ(journal.remove(runs.last().id).error, QString());
    EXPECT_EQ(journal.lastRun(), runs[runs.size() - 2]);
    ASSERT_EQ(journal.remove(QUuid::createUuid()).error, QString());
    EXPECT_EQ(journal.load().size(), OrganizeJournal::keptRuns - 1);
}

TEST(OrganizeJournal, AnUnreadableJournalIsSetAsideAndNeverOverwritten) {
    const QString folder = test::makeTempDir(s("journal"));
    const QString url = folder + s("/organize-journal.json");
    const OrganizeJournal journal(url);
    const QByteArray corrupt = "[{\"id\": \"6b0b5f37-0e1c-4f7e-9d3c-2f0c8e1a4b5d\", \"moves\": [";
    test::writeFile(url, corrupt);
    EXPECT_TRUE(journal.load().isEmpty());
    EXPECT_FALSE(journal.lastRun());
    ASSERT_TRUE(journal.read().problem);
    EXPECT_TRUE(journal.read().problem->contains(url));

    const OrganizeRun first = runWith(s("first"));
    ASSERT_EQ(journal.save(first).error, QString());
    EXPECT_EQ(journal.load(), QList<OrganizeRun>{first});
    QStringList copies = unreadableCopiesIn(folder);
    ASSERT_EQ(copies.size(), 1);
    EXPECT_EQ(test::readBytes(folder + u'/' + copies[0]), corrupt);

    // Valid JSON that is not a journal this version can read counts as unreadable too; in the
    // same second, the second copy gets a name of its own.
    const QByteArray foreign = "{\"runs\": []}";
    test::writeFile(url, foreign);
    const OrganizeRun second = runWith(s("second"));
    ASSERT_EQ(journal.save(second).error, QString());
    EXPECT_EQ(journal.load(), QList<OrganizeRun>{second});
    copies = unreadableCopiesIn(folder);
    ASSERT_EQ(copies.size(), 2);
    QList<QByteArray> kept{test::readBytes(folder + u'/' + copies[0]),
                           test::readBytes(folder + u'/' + copies[1])};
    EXPECT_TRUE(kept.contains(corrupt));
    EXPECT_TRUE(kept.contains(foreign));
}

TEST(OrganizeJournal, ARunThisVersionCannotReadNeverHidesTheOthersAndIsKept) {
    const QString url = test::makeTempDir(s("journal")) + s("/organize-journal.json");
    const OrganizeJournal journal(url);
    const OrganizeRun readable = runWith(s("readable"));
    const QJsonObject newer{{s("id"), s("6b0b5f37-0e1c-4f7e-9d3c-2f0c8e1a4b5d")},
                            {s("moves"), QJsonArray{QJsonObject{{s("source"), s("/a")}}}}};
    test::writeFile(url,
                    QJsonDocument(QJsonArray{OrganizeJournal::runJson(readable), newer}).toJson());
    EXPECT_EQ(journal.load(), QList<OrganizeRun>{readable});
    EXPECT_TRUE(journal.read().problem);

    const OrganizeRun added = runWith(s("added"));
    ASSERT_EQ(journal.save(added).error, QString());
    EXPECT_EQ(journal.load(), (QList<OrganizeRun>{readable, added}));
    EXPECT_TRUE(test::readBytes(url).contains("6b0b5f37-0e1c-4f7e-9d3c-2f0c8e1a4b5d"));
}

TEST(OrganizeJournal, WritersInTwoThreadsLoseNoRun) {
    const OrganizeJournal journal(test::makeTempDir(s("journal")) + s("/organize-journal.json"));
    constexpr int perWriter = 8;
    const auto write = [&journal](const QString& name) {
        for (int i = 0; i < perWriter; ++i)
            EXPECT_EQ(journal.save(runWith(name + QString::number(i))).error, QString());
    };
    std::thread first(write, s("a"));
    std::thread second(write, s("b"));
    first.join();
    second.join();
    EXPECT_EQ(journal.load().size(), 2 * perWriter);
}

} // namespace
} // namespace corvane
