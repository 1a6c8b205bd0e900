#include "platform/ProcessRunner.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <cerrno>
#include <csignal>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>

using namespace corvane;

namespace {

const QString sh = QStringLiteral("/bin/sh");

ProcessResult shell(const QByteArray& script, std::optional<QByteArray> input = std::nullopt,
                    QHash<QString, QString> overrides = {}, double timeout = 30) {
    return ProcessRunner::system().run(sh, {QStringLiteral("-c"), QString::fromUtf8(script)}, input,
                                       overrides, timeout);
}

int openDescriptorCount() {
    return static_cast<int>(
        QDir(QStringLiteral("/dev/fd"))
            .entryList(QDir::NoDotAndDotDot | QDir::System | QDir::Files | QDir::AllEntries)
            .size());
}

} // namespace

TEST(ProcessRunner, MegabytesOnBothPipesAtOnceDoNotDeadlock) {
    const ProcessResult result = shell("head -c 5000000 /dev/zero; head -c 4000000 /dev/zero >&2; "
                                       "head -c 3000000 /dev/zero; echo done >&2");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.standardOutput.size(), 8'000'000);
    EXPECT_EQ(result.standardError.size(), 4'000'005);
}

TEST(ProcessRunner, InputIsAlwaysAPipeThatAChildMayIgnore) {
    const QByteArray large(8'000'000, 'x');
    EXPECT_EQ(shell("wc -c", large).standardOutput.trimmed(), QByteArray("8000000"));
    const ProcessResult ignoring = shell("exec 0<&-; echo ignored", large);
    EXPECT_EQ(ignoring.exitCode, 0);
    EXPECT_EQ(ignoring.standardOutput, QByteArray("ignored\n"));
    // With no data the child reads an immediate end of input instead of waiting on our terminal.
    EXPECT_EQ(shell("cat; echo end").standardOutput, QByteArray("end\n"));
    EXPECT_EQ(shell("test -p /dev/stdin && echo pipe").standardOutput, QByteArray("pipe\n"));
}

TEST(ProcessRunner, ExitStatusIsAResultAndSignalsAreReported) {
    const ProcessResult failed = shell("echo oops >&2; exit 1");
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_EQ(failed.standardError, QByteArray("oops\n"));
    EXPECT_EQ(failed.terminationSignal, 0);

    const ProcessResult killed = shell("echo partial; kill -KILL $$");
    EXPECT_EQ(killed.terminationSignal, SIGKILL);
    EXPECT_EQ(killed.exitCode, 128 + SIGKILL);
    EXPECT_EQ(killed.standardOutput, QByteArray("partial\n"));
}

TEST(ProcessRunner, SleepingPastTheLimitTimesOut) {
    QElapsedTimer clock;
    clock.start();
    try {
        shell("sleep 20", std::nullopt, {}, 0.3);
        FAIL() << "expected a time-out";
    } catch (const ProcessRunnerError& error) {
        EXPECT_EQ(error.kind(), ProcessRunnerError::Case::timedOut);
    }
    EXPECT_LT(clock.elapsed(), 5000);
}

TEST(ProcessRunner, PathOverrideReplacesPathAndOtherVariablesPassThrough) {
    ::setenv("CORVANE_TEST_MARKER", "inherited", 1);
    const ProcessResult result = ProcessRunner::system().run(
        QStringLiteral("/usr/bin/env"), {}, std::nullopt,
        {{QStringLiteral("PATH"), QStringLiteral("/opt/tool/bin:/bin")}});
    const QList<QByteArray> lines = result.standardOutput.split('\n');
    EXPECT_TRUE(lines.contains("PATH=/opt/tool/bin:/bin"));
    EXPECT_EQ(lines.count("PATH=/opt/tool/bin:/bin"), 1);
    EXPECT_TRUE(lines.contains("CORVANE_TEST_MARKER=inherited"));
    ::unsetenv("CORVANE_TEST_MARKER");
}

TEST(ProcessRunner, MissingOrNonExecutableProgramsFailToLaunchWithTheSystemsText) {
    try {
        ProcessRunner::system().run(QStringLiteral("/nonexistent/tool"), {});
        FAIL() << "expected launchFailed";
    } catch (const ProcessRunnerError& error) {
        EXPECT_EQ(error.kind(), ProcessRunnerError::Case::launchFailed);
        EXPECT_EQ(error.description(), QString::fromLocal8Bit(std::strerror(ENOENT)));
    }
    const QString plain = test::makeTempDir() + QStringLiteral("/not-executable");
    test::writeFile(plain, "echo hi\n");
    try {
        ProcessRunner::system().run(plain, {});
        FAIL() << "expected launchFailed";
    } catch (const ProcessRunnerError& error) {
        EXPECT_EQ(error.kind(), ProcessRunnerError::Case::launchFailed);
        EXPECT_EQ(error.description(), QString::fromLocal8Bit(std::strerror(EACCES)));
    }
}

TEST(ProcessRunner, CancellingEndsALongChildPromptly) {
    CancellationToken token;
    QElapsedTimer clock;
    clock.start();
    auto running = std::async(std::launch::async, [&] {
        return ProcessRunner::system().run(sh, {QStringLiteral("-c"), QStringLiteral("sleep 30")},
                                           std::nullopt, {}, 60, token);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    token.cancel();
    const ProcessResult result = running.get();
    EXPECT_EQ(result.terminationSignal, SIGTERM);
    EXPECT_LT(clock.elapsed(), 3000);
}

TEST(ProcessRunner, AChildThatClosesItsPipesEarlyOrLeavesAGrandchildBehindDoesNotHang) {
    const ProcessResult closed = shell("exec 1>&- 2>&-; sleep 0.2; exit 3");
    EXPECT_EQ(closed.exitCode, 3);
    QElapsedTimer clock;
    clock.start();
    const ProcessResult detached = shell("(sleep 5 &) ; echo parent");
    EXPECT_EQ(detached.standardOutput, QByteArray("parent\n"));
    EXPECT_LT(clock.elapsed(), 4000);
}

TEST(ProcessRunner, TheLimitAndCancellationHoldAfterAChildClosedItsPipes) {
    // A child that closes both pipes and then sleeps must not outlive its limit.
    QElapsedTimer clock;
    clock.start();
    try {
        shell("exec 1>&- 2>&-; exec sleep 30", std::nullopt, {}, 0.5);
        FAIL() << "expected timedOut";
    } catch (const ProcessRunnerError& error) {
        EXPECT_EQ(error.kind(), ProcessRunnerError::Case::timedOut);
    }
    EXPECT_LT(clock.elapsed(), 5000);

    CancellationToken token;
    clock.restart();
    auto running = std::async(std::launch::async, [&] {
        return ProcessRunner::system().run(
            sh, {QStringLiteral("-c"), QStringLiteral("exec 1>&- 2>&-; exec sleep 30")},
            std::nullopt, {}, 60, token);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    token.cancel();
    EXPECT_EQ(running.get().terminationSignal, SIGTERM);
    EXPECT_LT(clock.elapsed(), 5000);
}

// A runner a test hands to the code under test: it refuses to start one program and runs the
// rest for real.
class RefusingRunner : public ProcessRunner {
public:
    explicit RefusingRunner(QString refused)
        : refused_(std::move(refused)) {}

protected:
    ProcessResult execute(const Call& call) const override {
        if (call.executable == refused_)
            throw ProcessRunnerError::launchFailed(QStringLiteral("refused by the test"));
        return ProcessRunner::execute(call);
    }

private:
    QString refused_;
};

TEST(ProcessRunner, ASubclassSeesEveryCallAndCanPassItOnToTheRealRunner) {
    const RefusingRunner runner(QStringLiteral("/bin/false"));
    EXPECT_EQ(runner.run(sh, {QStringLiteral("-c"), QStringLiteral("echo real")}).standardOutput,
              QByteArray("real\n"));
    EXPECT_THROW(runner.run(QStringLiteral("/bin/false"), {}), ProcessRunnerError);
}

TEST(ProcessRunner, AThousandCallsLeakNoDescriptorsAndLeaveNoZombies) {
    const int before = openDescriptorCount();
    for (int call = 0; call < 1000; ++call)
        ASSERT_EQ(ProcessRunner::system().run(QStringLiteral("/bin/true"), {}).exitCode, 0);
    try {
        ProcessRunner::system().run(QStringLiteral("/nonexistent"), {});
    } catch (const ProcessRunnerError&) {
    }
    EXPECT_EQ(openDescriptorCount(), before);
    errno = 0;
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

namespace {

// Whether the process `pid` still runs (a zombie waiting for its parent no longer does).
bool isRunning(qint64 pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (stat.open(QIODevice::ReadOnly))
        return !stat.readAll().contains(") Z ");
    return ::kill(static_cast<pid_t>(pid), 0) == 0;
}

bool becomesTrue(const std::function<bool()>& condition) {
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (clock.elapsed() > 5000)
            return false;
        std::this_thread::yield();
    }
    return true;
}

} // namespace

TEST(ProcessRunner, AChildThatIgnoresSigtermIsKilledWithItsWholeGroupAfterTheGrace) {
    const QString pidFile = test::makeTempDir() + QStringLiteral("/grandchild");
    QElapsedTimer clock;
    clock.start();
    try {
        // Both ignore SIGTERM (the grandchild inherits it); only SIGKILL to the group ends them.
        shell("trap '' TERM; sleep 60 & echo $! > '" + pidFile.toUtf8() + "'; wait; wait", {}, {},
              0.5);
        FAIL() << "expected a time-out";
    } catch (const ProcessRunnerError& error) {
        EXPECT_EQ(error.kind(), ProcessRunnerError::Case::timedOut);
    }
    EXPECT_GE(clock.elapsed(), 500 + 1000 * ProcessRunner::terminationGrace - 100);
    EXPECT_LT(clock.elapsed(), 500 + 1000 * ProcessRunner::terminationGrace + 3000);
    QFile file(pidFile);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const qint64 grandchild = file.readAll().trimmed().toLongLong();
    ASSERT_GT(grandchild, 0);
    EXPECT_TRUE(becomesTrue([&] { return !isRunning(grandchild); }));
}

TEST(ProcessRunner, AToolThatFloodsItsOutputIsStoppedWithAClearError) {
    for (const QByteArray& script : {QByteArray("trap '' TERM; yes"), QByteArray("yes >&2")}) {
        try {
            shell(script);
            FAIL() << "expected outputTooLarge for " << script.constData();
        } catch (const ProcessRunnerError& error) {
            EXPECT_EQ(error.kind(), ProcessRunnerError::Case::outputTooLarge);
            EXPECT_EQ(error.description(),
                      QStringLiteral("The program printed more than expected, so it was stopped."));
        }
    }
}

TEST(ProcessRunner, TheLineCallbackSeesLinesAsTheyComeAndCanStopTheChild) {
    QStringList seen;
    const ProcessResult whole = ProcessRunner::system().run(
        sh, {QStringLiteral("-c"), QStringLiteral("echo one; echo two >&2; printf 'three'")}, {},
        {}, 30, CancellationToken(), [&](const QString& line, bool isComplete) {
            if (isComplete)
                seen.append(line);
            return true;
        });
    EXPECT_EQ(seen,
              (QStringList{QStringLiteral("one"), QStringLiteral("two"), QStringLiteral("three")}));
    EXPECT_EQ(whole.standardOutput, QByteArray("one\nthree"));

    // A prompt that waits without ending its line is seen, and refusing it stops the child now.
    QElapsedTimer clock;
    clock.start();
    const ProcessResult stopped = ProcessRunner::system().run(
        sh, {QStringLiteral("-c"), QStringLiteral("trap '' TERM; printf 'Answer: '; sleep 30")}, {},
        {}, 60, CancellationToken(),
        [](const QString& line, bool) { return !line.startsWith(QStringLiteral("Answer")); });
    EXPECT_EQ(stopped.terminationSignal, SIGKILL);
    EXPECT_LT(clock.elapsed(), 3000);
}

TEST(ProcessRunner, ANullOverrideRemovesTheVariable) {
    ::setenv("CORVANE_TEST_SECRET", "inherited", 1);
    const ProcessResult result =
        ProcessRunner::system().run(QStringLiteral("/usr/bin/env"), {}, std::nullopt,
                                    {{QStringLiteral("CORVANE_TEST_SECRET"), QString()}});
    ::unsetenv("CORVANE_TEST_SECRET");
    EXPECT_FALSE(result.standardOutput.contains("CORVANE_TEST_SECRET"));
}
