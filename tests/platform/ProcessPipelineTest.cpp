#include "platform/ProcessPipeline.h"

#include "support/TestEnvironment.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <csignal>
#include <gtest/gtest.h>
#include <thread>

using namespace corvane;
using test::s;

TEST(ProcessPipeline, EveryStageKeepsItsOwnStatusAndErrorText) {
    const PipelineResult result =
        ProcessPipeline::run({{s("/bin/sh"), {s("-c"), s("echo first; echo warned >&2; exit 1")}},
                              {s("/bin/sh"), {s("-c"), s("tr a-z A-Z; echo $FLAVOUR >&2")}}},
                             {{s("FLAVOUR"), s("mint")}}, 30);
    ASSERT_EQ(result.stages.size(), 2u);
    // A shell pipeline would report the last stage's 0 and lose the first one's 1.
    EXPECT_EQ(result.stages[0].exitCode, 1);
    EXPECT_EQ(result.stages[0].standardError, "warned\n");
    EXPECT_EQ(result.stages[1].exitCode, 0);
    EXPECT_EQ(result.stages[1].standardError, "mint\n");
    EXPECT_EQ(result.standardOutput, "FIRST\n");
    EXPECT_EQ(result.firstFailedStage(), 0);
}

TEST(ProcessPipeline, CancellingEndsEveryStageAndALaunchFailureEndsTheStartedOnes) {
    CancellationToken cancellation;
    const QString started = test::makeTempDir(s("pipeline")) + s("/started");
    QElapsedTimer timer;
    timer.start();
    // Cancelled once the first stage runs with its SIGTERM ignored.
    std::thread canceller([&] {
        while (!QFileInfo::exists(started) && timer.elapsed() < 20000)
            std::this_thread::yield();
        cancellation.cancel();
    });
    // The first stage ignores SIGTERM: it is killed after the grace period.
    const PipelineResult result = ProcessPipeline::run(
        {{s("/bin/sh"),
          {s("-c"), s("trap '' TERM; : > \"$0\"; while :; do sleep 0.05; done"), started}},
         {s("/bin/sleep"), {s("60")}}},
        {}, 60, cancellation);
    canceller.join();
    EXPECT_LT(timer.elapsed(), 20000);
    EXPECT_EQ(result.stages[0].terminationSignal, SIGKILL);
    EXPECT_EQ(result.stages[1].terminationSignal, SIGTERM);

    EXPECT_THROW(ProcessPipeline::run(
                     {{s("/bin/sleep"), {s("60")}}, {s("/nonexistent/program"), {}}}, {}, 60),
                 ProcessRunnerError);
}
