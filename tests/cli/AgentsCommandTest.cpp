#include "agents/ClaudeHistory.h"
#include "platform/ProcessRunner.h"
#include "support/TestEnvironment.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

void writeSession(const QString& cwd, const QString& id) {
    const QString folder =
        test::fakeHome() + s("/.claude/projects/") + ClaudeHistory::encodedFolderName(cwd);
    test::writeFile(folder + u'/' + id + s(".jsonl"), "{\"type\":\"user\",\"cwd\":\"" +
                                                          cwd.toUtf8() + "\",\"sessionId\":\"" +
                                                          id.toUtf8() + "\"}\n");
}

ProcessResult runCorvane(const QStringList& arguments) {
    return ProcessRunner::system().run(QStringLiteral(CORVANE_EXECUTABLE), arguments, {}, {}, 60);
}

} // namespace

TEST(AgentsCommand, ListsAFoldersSessionsOrEveryFolderWithHistory) {
    const QString project = test::makeTempDir(s("agents")) + s("/shop");
    writeSession(project, s("in-shop"));
    writeSession(project + s("/api"), s("in-api"));
    writeSession(s("/elsewhere/tool"), s("elsewhere"));

    const ProcessResult one = runCorvane({s("agents"), project, s("--json")});
    ASSERT_EQ(one.exitCode, 0) << one.standardError.toStdString();
    const QJsonObject folder = QJsonDocument::fromJson(one.standardOutput).object();
    EXPECT_EQ(folder[u"folder"].toString(), project);
    const QJsonArray activities = folder[u"activities"].toArray();
    ASSERT_EQ(activities.size(), 1);
    EXPECT_EQ(activities[0][u"agent"].toString(), s("claudeCode"));
    EXPECT_EQ(activities[0][u"sessions"].toArray().size(), 2);

    const ProcessResult all = runCorvane({s("agents")});
    ASSERT_EQ(all.exitCode, 0);
    const QString text = QString::fromUtf8(all.standardOutput);
    for (const QString& cwd : {project, project + s("/api"), s("/elsewhere/tool")})
        EXPECT_TRUE(text.contains(cwd + u'\n')) << qPrintable(text);
}
