#include "devtools/DockerService.h"

#include "devtools/FakeDocker.h"
#include "platform/InputLimits.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

const QString apiID = s("sha256:4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a");
const QString danglingID =
    s("sha256:0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d");
const QString legacyUntaggedID =
    s("sha256:3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f");
const QString nodeID = s("sha256:9c7a54a9a43cca047013b82af109fe963fde787f63f9e016fdc3384500c2823d");
const QString postgresID =
    s("sha256:5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c");

QStringList referencesOf(const DockerSnapshot& snapshot, const QString& id) {
    for (const DockerImage& image : snapshot.images) {
        if (image.id == id)
            return image.references;
    }
    ADD_FAILURE() << "no image " << qPrintable(id);
    return {};
}

QByteArray withoutLinesContaining(const QByteArray& text, const QByteArray& needle) {
    QList<QByteArray> kept;
    for (const QByteArray& line : text.split('\n')) {
        if (!line.contains(needle))
            kept.append(line);
    }
    return kept.join('\n');
}

DockerServiceError::Case failureKind(const std::function<void()>& action) {
    try {
        action();
    } catch (const DockerServiceError& error) {
        return error.kind();
    }
    ADD_FAILURE() << "no DockerServiceError";
    return DockerServiceError::Case::commandFailed;
}

} // namespace

TEST(DockerService, AToolNamedByTheOverrideButMissingMeansNotInstalled) {
    const QString folder = test::makeTempDir(s("nodocker"));
    for (const QString& path : {folder + s("/missing/docker"), folder + s("/plain-file")}) {
        test::writeFile(folder + s("/plain-file"), "#!/bin/sh\n"); // not executable
        test::ScopedEnvironment tool("CORVANE_TOOL_DOCKER", path);
        const DockerService service;
        EXPECT_EQ(service.toolPath(), std::nullopt) << qPrintable(path);
        EXPECT_EQ(service.status(), (DockerStatus{DockerStatus::Case::notInstalled, {}}));
        EXPECT_EQ(failureKind([&] { service.snapshot(); }), DockerServiceError::Case::notInstalled);
        EXPECT_EQ(failureKind([&] { service.pruneBuildCache(); }),
                  DockerServiceError::Case::notInstalled);
        const DockerBatchResult removal = service.removeVolumes({s("v")});
        EXPECT_TRUE(removal.succeeded.isEmpty());
        EXPECT_EQ(removal.failed.value(s("v")), s("The docker command was not found."));
    }
}

TEST(DockerService, WithoutOverrideSystemToolsComeFirstThenDesktopsThenOrbStacksInTheHome) {
    // Only located here, never run: a real docker may be installed on this machine.
    std::optional<QString> system;
    for (const char* path : {"/usr/local/bin/docker", "/opt/homebrew/bin/docker", "/usr/bin/docker",
                             "/Applications/Docker.app/Contents/Resources/bin/docker"}) {
        const QFileInfo info(s(path));
        if (!system && info.isFile() && info.isExecutable())
            system = s(path);
    }
    test::ScopedEnvironment noOverride("CORVANE_TOOL_DOCKER", QString());
    DockerService service;
    service.home = test::makeTempDir(s("home"));
    const QString desktop = service.home + s("/.docker/bin/docker");
    const QString orbStack = service.home + s("/.orbstack/bin/docker");
    EXPECT_EQ(service.toolPath(), system);
    test::writeScript(orbStack, "exit 0\n");
    EXPECT_EQ(service.toolPath(), system.value_or(orbStack));
    test::writeFile(desktop, "#!/bin/sh\n"); // not executable: skipped
    EXPECT_EQ(service.toolPath(), system.value_or(orbStack));
    test::writeScript(desktop, "exit 0\n");
    EXPECT_EQ(service.toolPath(), system.value_or(desktop));
}

TEST(DockerService, StatusDecidesOnTheExitStatusAndAnEmptyVersion) {
    const test::FakeDocker docker;
    struct Case {
        const char* name;
        QByteArray standardOutput;
        int exitCode;
        QByteArray standardError;
        DockerStatus status;
    };
    const DockerStatus notRunning{DockerStatus::Case::notRunning, {}};
    const Case cases[] = {
        {"running", "27.0.3\n", 0, {}, {DockerStatus::Case::running, s("27.0.3")}},
        {"opaque version", " 28.4.0-rd \n", 0, {}, {DockerStatus::Case::running, s("28.4.0-rd")}},
        {"daemon down", "\n", 1, test::docker::daemonDown, notRunning},
        {"desktop starting", "\n", 1,
         "request returned 500 Internal Server Error for API route and version "
         "http://%2FUsers%2Fme%2F.docker%2Frun%2Fdocker.sock/v1.51/version",
         notRunning},
        {"no version, exit 0", " \n", 0, {}, notRunning},
        {"a version, exit 1", "27.0.3\n", 1, {}, notRunning},
    };
    for (const Case& c : cases) {
        docker.respond(test::FakeDocker::version, c.standardOutput, c.exitCode, c.standardError);
        EXPECT_EQ(DockerService().status(), c.status) << c.name;
    }
}

TEST(DockerService, EveryCommandLineRunsTheToolWithItsFolderFirstOnPathAndATimeLimit) {
    const test::FakeDocker docker;
    const test::RecordingRunner runner;
    DockerService service;
    service.runner = &runner;
    DockerImage untagged;
    untagged.id = danglingID;
    DockerImage twoNames;
    twoNames.id = apiID;
    twoNames.references = {s("localhost:5000/api:dev"), s("registry.example.com/acme/api:1.4.2")};

    service.status();
    service.snapshot();
    service.startContainer(s("c1"));
    service.stopContainer(s("c1"));
    service.removeContainers({s("c1")});
    service.removeImages({twoNames, untagged});
    service.removeVolumes({s("v1")});
    service.pruneBuildCache();

    const QStringList expected = {
        s("version --format {{.Server.Version}}"),
        s("system df -v --format {{json .}}"),
        s("image ls --no-trunc --format {{json .}}"),
        s("system df --format {{json .}}"),
        s("start -- c1"),
        s("stop -- c1"),
        s("rm -- c1"),
        s("rmi -- localhost:5000/api:dev registry.example.com/acme/api:1.4.2"),
        s("rmi -- ") + danglingID,
        s("volume rm -- v1"),
        s("builder prune -f"),
    };
    EXPECT_EQ(docker.calls(), expected);
    const QString path =
        QFileInfo(docker.tool()).path() + s(":/usr/local/bin:/opt/homebrew/bin:/usr/bin:/bin");
    const QList<test::RecordingRunner::Record> records = runner.records();
    ASSERT_EQ(records.size(), expected.size());
    for (const test::RecordingRunner::Record& record : records) {
        const QString line = record.arguments.join(u' ');
        EXPECT_EQ(record.environment, (QHash<QString, QString>{{s("PATH"), path}}))
            << qPrintable(line);
        // Reading gets a minute; changing Docker, which can take long, five.
        EXPECT_EQ(record.timeout, test::FakeDocker::isReading(line) ? 60.0 : 300.0)
            << qPrintable(line);
    }
}

// Ids and names come from Docker's report or the user's command line; none is read as an option.
TEST(DockerService, IdsAndNamesThatLookLikeOptionsStayOperands) {
    const test::FakeDocker docker;
    DockerImage image;
    image.id = s("-q");
    image.references = {s("--help")};
    DockerService().startContainer(s("--all"));
    DockerService().stopContainer(s("-t"));
    DockerService().removeContainers({s("--force")});
    DockerService().removeImages({image});
    DockerService().removeVolumes({s("-f")});
    EXPECT_EQ(docker.changingCalls(),
              QStringList({s("start -- --all"), s("stop -- -t"), s("rm -- --force"),
                           s("rmi -- --help"), s("volume rm -- -f")}));
}

TEST(DockerService, TheSnapshotNamesEachImageByAllItsReferences) {
    const test::FakeDocker docker;
    const DockerSnapshot snapshot = DockerService().snapshot();
    EXPECT_EQ(snapshot.images.size(), 5);
    EXPECT_EQ(snapshot.containers.size(), 2);
    EXPECT_EQ(snapshot.volumes.size(), 3);
    EXPECT_EQ(snapshot.buildCache.entryCount, 3);
    EXPECT_EQ(snapshot.imageTotalBytes, 1'850'000'000);
    EXPECT_EQ(referencesOf(snapshot, postgresID),
              (QStringList{s("postgres:16"), s("postgres:latest")}));
    EXPECT_EQ(referencesOf(snapshot, apiID),
              (QStringList{s("localhost:5000/api:dev"), s("registry.example.com/acme/api:1.4.2")}));
    EXPECT_TRUE(referencesOf(snapshot, danglingID).isEmpty());
    EXPECT_TRUE(referencesOf(snapshot, legacyUntaggedID).isEmpty());

    // CLI 29 leaves untagged images out; an image that came after the listing keeps the name
    // the report gives it.
    docker.respond(test::FakeDocker::listing,
                   withoutLinesContaining(test::docker::imageListing29, "node"));
    const DockerSnapshot later = DockerService().snapshot();
    EXPECT_TRUE(referencesOf(later, danglingID).isEmpty());
    EXPECT_EQ(referencesOf(later, nodeID), QStringList{s("node:20-alpine")});
    EXPECT_EQ(referencesOf(later, postgresID),
              (QStringList{s("postgres:16"), s("postgres:latest")}));

    docker.respond(test::FakeDocker::listing, {});
    docker.respond(test::FakeDocker::totals, "garbage");
    const DockerSnapshot withoutListing = DockerService().snapshot();
    EXPECT_EQ(referencesOf(withoutListing, postgresID), QStringList{s("postgres:16")});
    EXPECT_EQ(withoutListing.imageTotalBytes, std::nullopt);
}

namespace {

// One image line of the listing, padded with a label to exactly `length` bytes.
QByteArray imageLineOf(qsizetype length) {
    const QByteArray head =
        R"({"ID":")" + postgresID.toUtf8() + R"(","Repository":"postgres","Tag":"16","Labels":")";
    const QByteArray tail = R"("})";
    return head + QByteArray(length - head.size() - tail.size(), 'x') + tail;
}

TEST(DockerService, AListingWithALineOverItsLimitIsRefusedWholeNamingTheCommand) {
    const test::FakeDocker docker;
    docker.respond(test::FakeDocker::listing,
                   test::docker::imageListing + imageLineOf(InputLimits::lineBytes) + '\n');
    EXPECT_EQ(referencesOf(DockerService().snapshot(), postgresID),
              (QStringList{s("postgres:16"), s("postgres:latest")}));

    // One byte more, and not even the lines before it are taken: a name missed would make an
    // image with several look like it had one, and its removal would leave it behind.
    docker.respond(test::FakeDocker::listing,
                   test::docker::imageListing + imageLineOf(InputLimits::lineBytes + 1) + '\n');
    try {
        DockerService().snapshot();
        ADD_FAILURE() << "a listing over its limit was read";
    } catch (const DockerServiceError& error) {
        EXPECT_EQ(error.message(), s("Could not read docker image ls: a line is longer than 1 MB, "
                                     "more than such a line can be"));
    }
}

} // namespace
