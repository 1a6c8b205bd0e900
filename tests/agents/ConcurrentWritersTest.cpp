// Agent files and the folder ledger are read, changed and replaced; nobody's write may get lost
// in between, neither another relink's nor the agent's own.

#include "AgentFixtures.h"
#include "agents/AgentRelinker.h"
#include "agents/RelinkStep.h"
#include "platform/Paths.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace corvane;
using test::s;

TEST(ClaudeFolderLedger, ChangesFromManyWritersAtOnceAreAllKept) {
    const AgentLocations locations = test::makeAgentHome();
    constexpr int writers = 6;
    constexpr int entriesEach = 10;
    std::vector<std::thread> threads;
    for (int writer = 0; writer < writers; ++writer) {
        threads.emplace_back([&locations, writer] {
            for (int entry = 0; entry < entriesEach; ++entry) {
                const QString name = QStringLiteral("-w%1-e%2").arg(writer).arg(entry);
                EXPECT_EQ(locations.claudeFolderLedger.record(name, u'/' + name).error, QString());
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(locations.claudeFolderLedger.load().size(), writers * entriesEach);
}

TEST(ClaudeFolderLedger, TwoRelinksAtOnceKeepEveryEntry) {
    const AgentLocations locations = test::makeAgentHome();
    // Sessions without a "cwd" line are found through the ledger only, so each relink must
    // leave its entry there.
    for (const char* folder : {"-a-one", "-a-two"})
        test::writeClaudeSession(locations, QString::fromLatin1(folder), s("s"),
                                 "{\"type\":\"summary\"}\n");
    ASSERT_EQ(locations.claudeFolderLedger.record(s("-a-one"), s("/a/one")).error, QString());
    ASSERT_EQ(locations.claudeFolderLedger.record(s("-a-two"), s("/a/two")).error, QString());
    const AgentRelinker relinker{locations};

    RelinkReport first;
    RelinkReport second;
    std::thread one([&] { first = relinker.relink(s("/a/one"), s("/b/one")); });
    std::thread two([&] { second = relinker.relink(s("/a/two"), s("/b/two")); });
    one.join();
    two.join();

    EXPECT_EQ(first.warnings, QStringList());
    EXPECT_EQ(second.warnings, QStringList());
    const QMap<QString, QString> ledger = locations.claudeFolderLedger.load();
    EXPECT_EQ(ledger.value(s("-b-one")), s("/b/one"));
    EXPECT_EQ(ledger.value(s("-b-two")), s("/b/two"));
    EXPECT_EQ(test::sessionIDsIn(locations, s("/b/one")), QStringList{s("s")});
    EXPECT_EQ(test::sessionIDsIn(locations, s("/b/two")), QStringList{s("s")});
}

TEST(ClaudeFolderLedger, ALedgerThatCannotBeReadIsKeptAsideBeforeANewOneIsBegun) {
    AgentLocations locations = test::makeAgentHome();
    const QByteArray cutShort = "{\"-a-b\": \"/a/b\", ";
    test::writeFile(locations.claudeFolderLedger.url, cutShort);

    // A relink that moves history says where the old ledger went.
    test::writeClaudeSessionIn(locations, s("/x/y"));
    const RelinkReport report = AgentRelinker{locations}.relink(s("/x/y"), s("/z/y"));
    const QString folder = Paths::parentPath(locations.claudeFolderLedger.url);
    const QString stem = QFileInfo(locations.claudeFolderLedger.url).completeBaseName();
    const QStringList copies = QDir(folder).entryList({stem + s(".unreadable-*.json")});
    ASSERT_EQ(copies.size(), 1);
    EXPECT_EQ(test::readBytes(Paths::joined(folder, copies.first())), cutShort);
    ASSERT_EQ(report.warnings.size(), 1);
    EXPECT_TRUE(report.warnings[0].contains(s("could not be read")));
    EXPECT_TRUE(report.warnings[0].contains(copies.first())) << qPrintable(report.warnings[0]);
    EXPECT_EQ(locations.claudeFolderLedger.load().value(s("-z-y")), s("/z/y"));
}

TEST(RelinkFiles, AWriteBetweenOurReadAndOurReplaceIsNeverOverwritten) {
    const QString path = test::makeTempDir() + QStringLiteral("/.claude.json");
    test::writeFile(path, "version 1");
    QString problem;

    // The agent writes the file once while we edit it: our edit is made again on its version.
    int edits = 0;
    EXPECT_TRUE(RelinkFiles::rewrite(
        path,
        [&](const QString& text) -> std::optional<QString> {
            if (++edits == 1)
                test::writeFile(path, "version 2");
            return text + QStringLiteral(" + ours");
        },
        problem));
    EXPECT_EQ(edits, 2);
    EXPECT_EQ(test::readBytes(path), "version 2 + ours");

    // An agent that writes on every attempt wins: the file stays as it last wrote it.
    int writes = 0;
    EXPECT_FALSE(RelinkFiles::rewrite(
        path,
        [&](const QString&) -> std::optional<QString> {
            test::writeFile(path, QByteArray("agent ") + QByteArray::number(++writes));
            return QStringLiteral("ours");
        },
        problem));
    EXPECT_EQ(test::readBytes(path), QByteArray("agent ") + QByteArray::number(writes));
    EXPECT_TRUE(problem.contains(s("kept changing"))) << qPrintable(problem);
}
