#include "organize/ProcessInspector.h"

#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <gtest/gtest.h>

namespace corvane {
namespace {

using test::s;
using Process = ProcessInspector::WorkingProcess;

TEST(ProcessInspector, ReadsBothFieldFormsAndDropsWhatNamesNoFolder) {
    // macOS prints an "f" line per file set; Linux does not. Escapes are decoded to the bytes
    // the folder's name has, and a wrapper of terminal sessions or an unreadable cwd is dropped.
    const QByteArray output = "p501\nczsh\nfcwd\nn/Users/me\n"
                              "p7712\ncclaude\nfcwd\nn/Users/me/code/shop-api\n"
                              "p13184\ncsleep\nn/Users/me/demo/Caf\\xc3\\xa9 project\n"
                              "p13185\ncsh\nn/Users/me/back\\\\slash\\nnl\\ttab\n"
                              "p77\ncdisclaimer\nn/Users/me/code\n"
                              "p1\ncinit\nn/proc/1/cwd (readlink: Permission denied)\n"
                              "p99\ncnode\n";
    const QList<Process> expected{{501, s("zsh"), s("/Users/me")},
                                  {7712, s("claude"), s("/Users/me/code/shop-api")},
                                  {13184, s("sleep"), s("/Users/me/demo/Café project")},
                                  {13185, s("sh"), s("/Users/me/back\\slash\nnl\ttab")}};
    EXPECT_EQ(ProcessInspector::parse(output), expected);
    EXPECT_EQ(ProcessInspector::parse("garbage\n\x01\x02"), QList<Process>());
    // A process id that is not a plain positive number names no process.
    EXPECT_EQ(ProcessInspector::parse("p-7712\ncclaude\nn/Users/me\np+5\ncsh\nn/w\n"
                                      "p0\nczsh\nn/w\n"),
              QList<Process>());
}

TEST(ProcessInspector, NamesAgentsShellsAndOtherProcesses) {
    EXPECT_EQ(ProcessInspector::displayName({1, s("claude"), s("/")}), s("Claude Code"));
    EXPECT_EQ(ProcessInspector::displayName({1, s("codex"), s("/")}), s("Codex"));
    for (const char* shell : {"zsh", "bash", "fish", "sh", "-zsh", "-bash"})
        EXPECT_EQ(ProcessInspector::displayName({1, s(shell), s("/")}), s("a terminal"));
    EXPECT_EQ(ProcessInspector::displayName({1, s("node"), s("/")}), s("process node"));
}

TEST(ProcessInspector, AFolderHoldsTheProcessesAtOrInsideIt) {
    const QList<Process> processes{{1, s("zsh"), s("/work/app")},
                                   {2, s("node"), s("/work/app/web")},
                                   {3, s("zsh"), s("/work/apples")}};
    const QList<Process> inApp = ProcessInspector::inside(processes, s("/work/app"));
    ASSERT_EQ(inApp.size(), 2);
    EXPECT_EQ(inApp[0].pid, 1);
    EXPECT_EQ(inApp[1].pid, 2);
    EXPECT_TRUE(ProcessInspector::inside(processes, s("/work/ap")).isEmpty());
}

TEST(ProcessInspector, FindsARealChildWorkingInAFolder) {
    if (!QFileInfo::exists(s("/usr/bin/lsof")) && !QFileInfo::exists(s("/usr/sbin/lsof")))
        GTEST_SKIP() << "lsof is not installed here";
    const QString folder = test::makeTempDir(s("busy")) + s("/-x with space");
    QDir().mkpath(folder);
    QProcess child;
    child.setWorkingDirectory(folder);
    child.start(s("/bin/sleep"), {s("30")});
    ASSERT_TRUE(child.waitForStarted());
    const qint64 pid = child.processId();

    const QList<Process> inside =
        ProcessInspector::inside(ProcessInspector().workingProcesses(), folder);
    child.kill();
    child.waitForFinished();
    ASSERT_EQ(inside.size(), 1);
    EXPECT_EQ(inside[0].pid, pid);
    EXPECT_EQ(ProcessInspector::displayName(inside[0]), s("process sleep"));
}

TEST(ProcessInspector, ALsofThatIsMissingOrFailsListsNothing) {
    test::ScopedEnvironment missing("CORVANE_TOOL_LSOF", s("/nonexistent/lsof"));
    EXPECT_TRUE(ProcessInspector().workingProcesses().isEmpty());
}

} // namespace
} // namespace corvane
