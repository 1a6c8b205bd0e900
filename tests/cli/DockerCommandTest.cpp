#include "cli/Command.h"
#include "devtools/FakeDocker.h"
#include "platform/ProcessRunner.h"
#include "support/TestEnvironment.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

ProcessResult runCorvane(const QStringList& arguments) {
    return ProcessRunner::system().run(s(CORVANE_EXECUTABLE), arguments, {}, {}, 60);
}

} // namespace

TEST(DockerCommand, ListsWithReasonsAndRemovesOnlyWhatIsNamedAndRemovable) {
    const test::FakeDocker docker;
    const ProcessResult listed = runCorvane({s("docker"), s("--json")});
    ASSERT_EQ(listed.exitCode, cli::exitOk) << listed.standardError.toStdString();
    const QJsonObject inventory = QJsonDocument::fromJson(listed.standardOutput).object();
    EXPECT_EQ(inventory[u"status"].toString(), s("running"));
    EXPECT_EQ(inventory[u"version"].toString(), s("27.0.3"));
    QString runningContainer;
    QString unusedImage;
    for (const QJsonValue& container : inventory[u"containers"].toArray()) {
        if (!container[u"removalBlockedReason"].isNull()) {
            EXPECT_EQ(container[u"removalBlockedReason"].toString(),
                      s("Stop this container before removing it."));
            runningContainer = container[u"id"].toString();
        }
    }
    for (const QJsonValue& image : inventory[u"images"].toArray()) {
        if (image[u"removalBlockedReason"].isNull())
            unusedImage = image[u"id"].toString();
    }
    ASSERT_FALSE(runningContainer.isEmpty());
    ASSERT_FALSE(unusedImage.isEmpty());

    // A running container refuses the whole command before anything runs.
    EXPECT_EQ(runCorvane({s("docker"), s("remove"), s("--container"), runningContainer, s("--yes")})
                  .exitCode,
              cli::exitRefusedOrBadArguments);
    const ProcessResult dryRun = runCorvane(
        {s("docker"), s("remove"), s("--image"), unusedImage, s("--dry-run"), s("--json")});
    EXPECT_EQ(dryRun.exitCode, cli::exitOk) << dryRun.standardError.toStdString();
    EXPECT_TRUE(QJsonDocument::fromJson(dryRun.standardOutput)[u"message"].toString().startsWith(
        s("Dry run: would remove 1 image")));
    EXPECT_EQ(docker.changingCalls(), QStringList());

    const ProcessResult removed =
        runCorvane({s("docker"), s("remove"), s("--image"), unusedImage, s("--yes"), s("--json")});
    ASSERT_EQ(removed.exitCode, cli::exitOk) << removed.standardError.toStdString();
    const QJsonObject result = QJsonDocument::fromJson(removed.standardOutput).object();
    EXPECT_EQ(result[u"succeeded"].toArray().size(), 1);
    EXPECT_TRUE(result[u"message"].toString().startsWith(s("Removed 1 image, freed ")));
    ASSERT_EQ(docker.changingCalls().size(), 1);
    EXPECT_TRUE(docker.changingCalls().first().startsWith(s("rmi ")));
    for (const QString& call : docker.calls())
        EXPECT_FALSE(call.contains(s("--force")) || call.startsWith(s("rmi -f")));
}

TEST(DockerCommand, WithoutDockerTheCommandSaysSoAndExitsOne) {
    const test::FakeDocker docker;
    docker.respond(test::FakeDocker::version, "\n", 1, test::docker::daemonDown);
    const ProcessResult stopped = runCorvane({s("docker"), s("--json")});
    EXPECT_EQ(stopped.exitCode, cli::exitSomeFailed);
    EXPECT_EQ(QJsonDocument::fromJson(stopped.standardOutput)[u"status"].toString(),
              s("notRunning"));
    EXPECT_EQ(runCorvane({s("docker"), s("prune-build-cache"), s("--yes")}).exitCode,
              cli::exitSomeFailed);
}

TEST(DockerCommand, RemoveTakesWhatTheListingShows) {
    const test::FakeDocker docker;
    const ProcessResult table = runCorvane({s("docker")});
    ASSERT_EQ(table.exitCode, cli::exitOk) << table.standardError.toStdString();
    // An untagged image is listed by its short id and "<none>", never as ":".
    EXPECT_TRUE(table.standardOutput.contains("0e2f4a6c8e0b  <none>"))
        << table.standardOutput.toStdString();
    EXPECT_FALSE(table.standardOutput.contains("  :")) << table.standardOutput.toStdString();

    const auto remove = [](const char* option, const char* name) {
        return runCorvane({s("docker"), s("remove"), s(option), s(name), s("--yes"), s("--json")});
    };
    ProcessResult result = remove("--image", "0e2f4a6c8e0b");
    EXPECT_EQ(result.exitCode, cli::exitOk) << result.standardError.toStdString();
    result = remove("--image", "node:20-alpine");
    EXPECT_EQ(result.exitCode, cli::exitOk) << result.standardError.toStdString();
    result = remove("--container", "api-test");
    EXPECT_EQ(result.exitCode, cli::exitOk) << result.standardError.toStdString();
    EXPECT_EQ(
        docker.changingCalls(),
        QStringList({s("rmi -- sha256:0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c5b0f1f4e0c8d3c3b7a8e1d9f2c4a"
                       "6b8d"),
                     s("rmi -- node:20-alpine"),
                     s("rm -- a1b2c3d4e5f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f90")}));

    // A name nothing has, or an image a container uses, runs nothing.
    result = remove("--image", "node:18");
    EXPECT_EQ(result.exitCode, cli::exitRefusedOrBadArguments);
    EXPECT_EQ(result.standardError, "No image is named node:18; `corvane docker` lists them.\n");
    EXPECT_EQ(remove("--image", "postgres").exitCode, cli::exitRefusedOrBadArguments);
    EXPECT_EQ(docker.changingCalls().size(), 3);
}
