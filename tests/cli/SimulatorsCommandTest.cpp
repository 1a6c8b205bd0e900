#include "cli/Command.h"
#include "devtools/SimulatorFixtures.h"
#include "platform/ProcessRunner.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;
namespace fx = corvane::test::simfixtures;

namespace {

// `corvane simulators` over stand-ins for xcrun and xcodebuild that print Xcode's real outputs
// and log how they were called.
class SimulatorsCommandTest : public testing::Test {
protected:
    void SetUp() override { fx::writeFakeTools(dir); }

    ProcessResult corvane(const QStringList& arguments) const {
        return ProcessRunner::system().run(s(CORVANE_EXECUTABLE), arguments, {}, {}, 60);
    }
    QStringList log() const {
        QFile file(dir + s("/log"));
        return file.open(QIODevice::ReadOnly)
                   ? QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts)
                   : QStringList();
    }
    QStringList changingCalls() const {
        QStringList calls;
        for (const QString& call : log()) {
            if (call.contains(s(" delete")) || call.contains(s("erase")) ||
                call.contains(s("shutdown")))
                calls.append(call);
        }
        return calls;
    }

    const QString dir = test::makeTempDir(s("sim"));
    test::ScopedEnvironment xcrun{"CORVANE_TOOL_XCRUN", dir + s("/xcrun")};
    test::ScopedEnvironment xcodebuild{"CORVANE_TOOL_XCODEBUILD", dir + s("/xcodebuild")};
};

} // namespace

TEST_F(SimulatorsCommandTest, ListsRuntimesAgainstTheSdkAndDeletesOnlyWhenConfirmed) {
    const ProcessResult listed = corvane({s("simulators"), s("--json")});
    ASSERT_EQ(listed.exitCode, cli::exitOk) << listed.standardError.toStdString();
    const QJsonObject inventory = QJsonDocument::fromJson(listed.standardOutput).object();
    QJsonObject iOS13;
    for (const QJsonValue& runtime : inventory[u"runtimes"].toArray()) {
        if (runtime[u"id"].toString() == fx::iOS13)
            iOS13 = runtime.toObject();
    }
    EXPECT_EQ(iOS13[u"platform"].toString(), s("iOS"));
    EXPECT_TRUE(iOS13[u"olderThanSDK"].toBool());
    EXPECT_FALSE(iOS13[u"isCurrentSDK"].toBool());
    EXPECT_FALSE(inventory[u"devices"].toArray().isEmpty());
    EXPECT_FALSE(inventory[u"sdkVersions"].toObject().isEmpty());

    // Off a terminal nothing is deleted without --yes; a dry run runs nothing that changes.
    EXPECT_EQ(corvane({s("simulators"), s("delete-runtime"), fx::iOS13}).exitCode,
              cli::exitRefusedOrBadArguments);
    const ProcessResult dryRun =
        corvane({s("simulators"), s("delete-runtime"), fx::iOS13, s("--dry-run"), s("--json")});
    EXPECT_EQ(dryRun.exitCode, cli::exitOk) << dryRun.standardError.toStdString();
    EXPECT_TRUE(QJsonDocument::fromJson(dryRun.standardOutput)[u"message"].toString().startsWith(
        s("Dry run: would delete")));
    EXPECT_EQ(
        corvane({s("simulators"), s("delete-runtime"), s("no-such-runtime"), s("--yes")}).exitCode,
        cli::exitRefusedOrBadArguments);
    EXPECT_EQ(changingCalls(), QStringList());

    test::writeFile(dir + s("/after-delete.json"), fx::runtimesWithoutIOS13());
    const ProcessResult deleted =
        corvane({s("simulators"), s("delete-runtime"), fx::iOS13, s("--yes"), s("--json")});
    ASSERT_EQ(deleted.exitCode, cli::exitOk) << deleted.standardError.toStdString();
    const QJsonObject result = QJsonDocument::fromJson(deleted.standardOutput).object();
    EXPECT_EQ(result[u"removed"].toArray().first().toString(), fx::iOS13);
    EXPECT_TRUE(result[u"failed"].toObject().isEmpty());
    EXPECT_EQ(result[u"deletedDevices"].toArray().size(), 2);
    EXPECT_TRUE(result[u"message"].toString().startsWith(s("Deleted 1 runtime and 2 devices")));
    EXPECT_TRUE(changingCalls().contains(s("simctl runtime delete ") + fx::iOS13));
}

TEST_F(SimulatorsCommandTest, AMissingToolIsOneClearLineAndExitOne) {
    const test::ScopedEnvironment missing("CORVANE_TOOL_XCRUN", dir + s("/no-such-xcrun"));
    const ProcessResult listed = corvane({s("simulators")});
    EXPECT_EQ(listed.exitCode, cli::exitSomeFailed);
    EXPECT_EQ(listed.standardOutput, "Xcode not installed\n");
}
