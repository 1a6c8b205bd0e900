#include "archive/SSHArchiveService.h"

#include "archive/RemoteTree.h"
#include "platform/InputLimits.h"
#include "platform/Locations.h"
#include "platform/PlatformWords.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"
#include "support/TreeFixture.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

using test::s;

// What `sh -c` makes of a command line, as the local shell and the server's shell would.
QString shellOutput(const QString& commandLine, const QHash<QString, QString>& environment = {}) {
    return QString::fromUtf8(ProcessRunner::system()
                                 .run(Locations::toolPath(Locations::Tool::sh),
                                      {s("-c"), commandLine}, std::nullopt, environment)
                                 .standardOutput);
}

TEST(SSHArchiveQuoting, HomeExpandsOnTheServerAndEverythingElseStaysLiteral) {
    EXPECT_EQ(SSHArchiveService::remoteQuoted(s("~")), s("\"$HOME\""));
    EXPECT_EQ(SSHArchiveService::remoteQuoted(s("~/CorvaneArchive")),
              s("\"$HOME\"'/CorvaneArchive'"));
    EXPECT_EQ(SSHArchiveService::remoteQuoted(s("~other/x")), s("'~other/x'"));
    EXPECT_EQ(SSHArchiveService::remoteQuoted(s("/srv/it's")), s("'/srv/it'\\''s'"));
    EXPECT_EQ(SSHArchiveService::shellQuoted(s("~/x")), s("'~/x'"));

    // Whatever the text holds, a shell reads back exactly that text.
    for (const QString& text : {s("it's my app"), s("a\"b $HOME `id` \\n ' '' *"), s(""), s("~")})
        EXPECT_EQ(shellOutput(s("printf %s ") + SSHArchiveService::shellQuoted(text)), text);
    EXPECT_EQ(shellOutput(s("printf %s ") +
                              SSHArchiveService::remoteQuoted(s("~/Corvane Archive/it's $x")),
                          {{s("HOME"), s("/h ome")}}),
              s("/h ome/Corvane Archive/it's $x"));
}

TEST(SSHArchiveCounts, ReadsThreeTrimmedWholeNumbersOrNothing) {
    EXPECT_EQ(SSHArchiveService::parseCounts("  12\n5400 \n      3\n"),
              (ArchiveCounts{12, 5400, 3}));
    EXPECT_EQ(SSHArchiveService::parseCounts("+1\r\n-0\r\n2\r\n"), (ArchiveCounts{1, 0, 2}));
    EXPECT_EQ(SSHArchiveService::parseCounts("0\n9007199254740993\n0"),
              (ArchiveCounts{0, 9007199254740993, 0}));

    for (const char* output :
         {"", "1\n2\n", "1\n5.4e+09\n2\n", "1\n0x10\n2", "1\n\n2\n3", "1\n2\n+\n",
          "Welcome!\n1\n2\n3", "1\n99999999999999999999\n2", "1\n2\n3\nstat: illegal option -- c",
          "+1\r\n-8\r\n2\r\n", "-1\n0\n0", "1\n2\n3\n4"})
        EXPECT_EQ(SSHArchiveService::parseCounts(output), std::nullopt) << output;
}

TEST(SSHArchiveMessages, SshFailuresBecomeInstructionsForTheUser) {
    const QString keys = s("SSH key authentication is not set up for ann@nas.local. Run: "
                           "ssh-copy-id ann@nas.local");
    EXPECT_EQ(SSHArchiveService::sshFailureMessage(
                  255, "ann@nas.local: Permission denied (publickey).\n", s("ann"), s("nas.local")),
              keys);
    EXPECT_EQ(
        SSHArchiveService::sshFailureMessage(255, "PERMISSION DENIED", s("ann"), s("nas.local")),
        keys);
    EXPECT_EQ(SSHArchiveService::sshFailureMessage(
                  255, "ssh: connect to host nas.local port 22: No Route To Host", s("ann"),
                  s("nas.local")),
              PlatformWords::here().noRouteToHost);
    EXPECT_EQ(SSHArchiveService::sshFailureMessage(2, "\n  sh: 1: cd: can't cd to /x \n", s("ann"),
                                                   s("nas.local")),
              s("ssh failed (exit 2): sh: 1: cd: can't cd to /x"));
}

// Answers every call with one scripted result, or throws, and keeps the call.
class ScriptedRunner : public ProcessRunner {
public:
    std::optional<ProcessResult> answer;
    std::optional<ProcessRunnerError> error;
    mutable QString executable;
    mutable QStringList arguments;
    mutable bool hadInput = true;
    mutable QHash<QString, QString> environment;
    mutable double timeout = 0;

protected:
    ProcessResult execute(const Call& call) const override {
        executable = call.executable;
        arguments = call.arguments;
        hadInput = call.stdinData.has_value();
        environment = call.environmentOverrides;
        timeout = call.timeout;
        if (error)
            throw *error;
        return *answer;
    }
};

QString testedWith(ScriptedRunner& runner, int exitCode, const QByteArray& standardError) {
    runner.answer = ProcessResult{exitCode, {}, standardError, 0};
    return SSHArchiveService::testConnection(s("ann"), s("nas.local"), runner);
}

TEST(SSHArchiveTestConnection, RunsOneBatchSshAndSaysWhatCameOfIt) {
    const test::ScopedEnvironment ssh("CORVANE_TOOL_SSH", s("/opt/test/ssh"));
    ScriptedRunner runner;
    EXPECT_EQ(testedWith(runner, 0, {}), s("Connected"));
    EXPECT_EQ(runner.executable, s("/opt/test/ssh"));
    EXPECT_EQ(runner.arguments,
              (QStringList{s("-o"), s("BatchMode=yes"), s("-o"), s("ConnectTimeout=5"), s("--"),
                           s("ann@nas.local"), s("echo OK")}));
    EXPECT_FALSE(runner.hadInput);
    EXPECT_TRUE(runner.environment.isEmpty());
    EXPECT_EQ(runner.timeout, 20);

    EXPECT_EQ(testedWith(runner, 255, "ann@nas.local: Permission Denied (publickey)."),
              s("Key auth missing. Run once in ") + PlatformWords::here().terminal +
                  s(": ssh-copy-id ann@nas.local"));
    EXPECT_EQ(testedWith(runner, 255, "connect to host nas.local port 22: No route to host"),
              PlatformWords::here().noRouteToHost);
    EXPECT_EQ(testedWith(runner, 255, " \n"), s("Failed: no response"));
    EXPECT_EQ(testedWith(runner, 1, "Connection refused\n"), s("Failed: Connection refused"));

    runner.error = ProcessRunnerError::timedOut();
    EXPECT_EQ(SSHArchiveService::testConnection(s("ann"), s("nas.local"), runner),
              s("Failed: The program did not finish in time."));
    runner.error = ProcessRunnerError::launchFailed(s("No such file or directory"));
    EXPECT_EQ(SSHArchiveService::testConnection(s("ann"), s("nas.local"), runner),
              s("Failed: No such file or directory"));
}

} // namespace
} // namespace corvane

TEST(RemoteTreeManifest, AnEntryWithoutANameIsRefused) {
    EXPECT_TRUE(corvane::RemoteTree::parseManifest(QByteArray("d.\0d./a\0=\0", 10)).has_value());
    EXPECT_FALSE(corvane::RemoteTree::parseManifest(QByteArray("d.\0d\0=\0", 7)).has_value());
    EXPECT_FALSE(corvane::RemoteTree::parseManifest(QByteArray("d.\0f./\0=\0", 9)).has_value());
}

TEST(RemoteTreeManifest, ANameOverTheLineLimitRefusesTheWholeListingAndSaysWhy) {
    using corvane::InputLimits::lineBytes;
    const QByteArray longest = "./" + QByteArray(lineBytes - 2, 'n');
    QString problem;
    const auto read = corvane::RemoteTree::parseManifest(
        QByteArray("d.\0d", 4) + longest + QByteArray("\0=\0", 3), &problem);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->entries.size(), 1u);
    EXPECT_EQ(problem, QString());

    EXPECT_FALSE(corvane::RemoteTree::parseManifest(
        QByteArray("d.\0d./a\0d", 9) + longest + QByteArray("n\0=\0", 4), &problem));
    EXPECT_EQ(problem,
              corvane::test::s("a line is longer than 1 MB, more than such a line can be"));
    // An answer that is only no manifest has no limit to name.
    problem.clear();
    EXPECT_FALSE(corvane::RemoteTree::parseManifest(QByteArray("d.\0x\0=\0", 7), &problem));
    EXPECT_EQ(problem, QString());
}
