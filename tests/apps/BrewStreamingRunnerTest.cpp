#include "apps/BrewStreamingRunner.h"

#include "support/TestEnvironment.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::s;

namespace {

struct BrewRun {
    BrewStreamingRunner::Result result;
    QStringList lines;
    qint64 elapsedMs = 0;
};

// Runs a fake brew whose body is `script`.
BrewRun runScript(const QByteArray& script, const QStringList& arguments = {s("upgrade"), s("foo")},
                  double timeout = 20) {
    const QString brew = test::makeTempDir() + s("/bin/brew");
    test::writeScript(brew, "#!/bin/sh\n" + script);
    BrewRun run;
    QElapsedTimer timer;
    timer.start();
    run.result = BrewStreamingRunner::run(brew, arguments, timeout, CancellationToken(),
                                          [&](const QString& line) { run.lines.append(line); });
    run.elapsedMs = timer.elapsed();
    return run;
}

} // namespace

TEST(BrewStreamingRunner, PasswordPromptKillsBrewAtOnceAndNamesTheCommand) {
    const BrewRun run = runScript("echo '==> Upgrading foo'\nprintf 'Password:'\nsleep 30\n",
                                  {s("upgrade"), s("--cask"), s("foo")});
    ASSERT_TRUE(run.result.error);
    EXPECT_EQ(*run.result.error, BrewError::needsPassword(s("brew upgrade --cask foo")));
    EXPECT_LT(run.elapsedMs, 5000);
    EXPECT_EQ(run.lines, (QStringList{s("==> Upgrading foo"), s("Password:")}));
}

TEST(BrewStreamingRunner, PromptSplitAcrossReadsAndOtherMarkersAreCaught) {
    const BrewRun split = runScript("printf 'Pass'\nsleep 0.3\nprintf 'word:'\nsleep 30\n");
    ASSERT_TRUE(split.result.error);
    EXPECT_EQ(split.result.error->kind(), BrewError::Case::needsPassword);
    EXPECT_LT(split.elapsedMs, 5000);

    // On standard error, in another case, as sudo words it.
    const BrewRun sudo = runScript("echo 'SUDO: A terminal is required to read the password' >&2\n"
                                   "sleep 30\n");
    ASSERT_TRUE(sudo.result.error);
    EXPECT_EQ(sudo.result.error->kind(), BrewError::Case::needsPassword);
    EXPECT_LT(sudo.elapsedMs, 5000);
}

TEST(BrewStreamingRunner, FailureQuotesTheLastTenMeaningfulLines) {
    const BrewRun run = runScript("i=1\nwhile [ $i -le 30 ]; do echo \"line $i\"; echo '   '; "
                                  "i=$((i+1)); done\nexit 1\n");
    ASSERT_TRUE(run.result.error);
    QStringList expected;
    for (int i = 21; i <= 30; ++i)
        expected.append(s("line %1").arg(i));
    EXPECT_EQ(*run.result.error, BrewError::failed(expected.join(QLatin1Char('\n'))));
    EXPECT_EQ(run.lines.size(), 60);
}

TEST(BrewStreamingRunner, SilentFailureReportsTheStatus) {
    const BrewRun run = runScript("exit 1\n");
    ASSERT_TRUE(run.result.error);
    EXPECT_EQ(*run.result.error, BrewError::failed(s("brew exited with 1")));
}

TEST(BrewStreamingRunner, TimeOutKillsBrewAndSaysSo) {
    const BrewRun run = runScript("echo working\nsleep 30\n", {s("outdated")}, 1);
    ASSERT_TRUE(run.result.error);
    EXPECT_EQ(*run.result.error, BrewError::failed(s("brew timed out after 1 seconds")));
    EXPECT_LT(run.elapsedMs, 5000);
}

TEST(BrewStreamingRunner, CancellationStopsBrew) {
    const QString brew = test::makeTempDir() + s("/brew");
    test::writeScript(brew, "#!/bin/sh\necho started\nsleep 30\n");
    CancellationToken cancellation;
    QElapsedTimer timer;
    timer.start();
    const auto result = BrewStreamingRunner::run(brew, {s("upgrade")}, 20, cancellation,
                                                 [&](const QString&) { cancellation.cancel(); });
    EXPECT_LT(timer.elapsed(), 5000);
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->kind(), BrewError::Case::failed);
}

TEST(BrewStreamingRunner, BrewGetsAQuietNonInteractiveEnvironment) {
    qputenv("SUDO_ASKPASS", "/usr/local/bin/askpass");
    qputenv("HOMEBREW_NO_COLOR", "0");
    const QString folder = test::makeTempDir();
    const QString brew = folder + s("/brew");
    test::writeScript(brew, "#!/bin/sh\nenv\nif read line; then echo \"STDIN:$line\"; fi\n"
                            "test -t 0 || echo STDIN-NOT-A-TERMINAL\n");
    const auto result = BrewStreamingRunner::run(brew, {s("config")}, 20);
    qunsetenv("SUDO_ASKPASS");
    qunsetenv("HOMEBREW_NO_COLOR");
    ASSERT_FALSE(result.error) << result.error->text().toStdString();
    const QStringList lines = QString::fromUtf8(result.standardOutput).split(QLatin1Char('\n'));
    for (const QString& variable : {s("HOMEBREW_NO_ENV_HINTS"), s("HOMEBREW_NO_COLOR"),
                                    s("NONINTERACTIVE"), s("HOMEBREW_NO_AUTO_UPDATE")})
        EXPECT_EQ(lines.count(variable + s("=1")), 1) << variable.toStdString();
    EXPECT_TRUE(lines.contains(s("PATH=") + folder + s(":/usr/bin:/bin:/usr/sbin:/sbin")));
    EXPECT_TRUE(lines.filter(s("SUDO_ASKPASS")).isEmpty());
    EXPECT_TRUE(lines.filter(s("STDIN:")).isEmpty());
    EXPECT_TRUE(lines.contains(s("STDIN-NOT-A-TERMINAL")));
}

TEST(BrewStreamingRunner, MissingProgramFailsWithoutThrowing) {
    const auto result = BrewStreamingRunner::run(test::fakeHome() + s("/nowhere/brew"), {}, 5);
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->kind(), BrewError::Case::failed);
}
