#include "devtools/DockerModel.h"

#include "devtools/FakeDocker.h"
#include "platform/BackgroundJobs.h"
#include "platform/ByteFormat.h"
#include "platform/Locations.h"
#include "platform/PlatformWords.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>
#include <memory>

using namespace corvane;
using test::s;

namespace {

constexpr int patience = 20000;

const QString runningID = s("4f2c1a9e8b7d6c5a4f3e2d1c0b9a8f7e6d5c4b3a2f1e0d9c8b7a6f5e4d3c2b1a");
const QString exitedID = s("a1b2c3d4e5f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f90");
const QString postgresID =
    s("sha256:5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c");
const QString nodeID = s("sha256:9c7a54a9a43cca047013b82af109fe963fde787f63f9e016fdc3384500c2823d");
const QString danglingID =
    s("sha256:0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d");
const QString legacyUntaggedID =
    s("sha256:3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f");
const QString apiID = s("sha256:4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a");
const QString anonymousVolume =
    s("0f5e9c3b2a1d4e6f8a7b9c0d1e2f3a4b5c6d7e8f9a0b1c2d3e4f5a6b7c8d9e0f");

const QString spaceComesBack = s(".") + PlatformWords::here().dockerSpaceNote;

// The report with the first `from` changed into `to`.
QByteArray reportWith(const QByteArray& from, const QByteArray& to) {
    QByteArray report = test::docker::report28;
    const qsizetype at = report.indexOf(from);
    EXPECT_GE(at, 0) << from.constData();
    return at < 0 ? report : report.replace(at, from.size(), to);
}

QString container(const QString& id) {
    return DockerModel::containerKey(id);
}
QString image(const QString& id) {
    return DockerModel::imageKey(id);
}
QString volume(const QString& name) {
    return DockerModel::volumeKey(name);
}

class DockerModelTest : public testing::Test {
protected:
    void TearDown() override { waitForBackgroundJobs(); }

    DockerModel& makeModel(bool isDryRun = false, const ProcessRunner* runner = nullptr) {
        DockerService service;
        if (runner)
            service.runner = runner;
        model_ = std::make_unique<DockerModel>(toasts, service, isDryRun);
        return *model_;
    }

    void load(DockerModel& model) {
        model.reload();
        ASSERT_TRUE(QTest::qWaitFor([&] { return !model.isLoading(); }, patience));
    }
    // Until the action and the reload it asks for have ended.
    void settle(DockerModel& model) {
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                return !model.isRemoving() && !model.isPruning() && !model.isLoading() &&
                       model.busyContainerIDs().isEmpty();
            },
            patience));
    }
    QString toastText() const { return toasts.current() ? toasts.current()->message : QString(); }

    // No force flag anywhere; the prune's "-f" only answers its prompt.
    void expectNothingForced() const {
        for (const QString& call : docker.calls()) {
            if (call == s("builder prune -f"))
                continue;
            const QStringList arguments = call.split(u' ');
            EXPECT_FALSE(arguments.contains(s("-f")) || arguments.contains(s("--force")))
                << qPrintable(call);
        }
    }

    const test::FakeDocker docker;
    ToastCenter toasts;
    std::unique_ptr<DockerModel> model_;
};

} // namespace

TEST_F(DockerModelTest, OnlyItemsDockerWouldRemoveCanBeTicked) {
    DockerModel& model = makeModel();
    load(model);
    ASSERT_TRUE(model.snapshot());
    EXPECT_EQ(model.status(), (DockerStatus{DockerStatus::Case::running, s("27.0.3")}));
    EXPECT_EQ(model.loadError(), std::nullopt);

    // A running container, images and a volume in use, and things not listed.
    for (const QString& key :
         {container(runningID), image(postgresID), image(apiID), volume(s("shop_pgdata")),
          image(s("sha256:unknown")), volume(exitedID), s("buildCache"), exitedID})
        model.setSelected(key, true);
    EXPECT_TRUE(model.selectedIDs().isEmpty());
    EXPECT_EQ(model.selectedBytes(), 0);
    EXPECT_EQ(model.selectionSummary(), QString());

    for (const QString& key :
         {container(exitedID), image(nodeID), image(danglingID), volume(anonymousVolume)})
        model.setSelected(key, true);
    EXPECT_EQ(model.selectedIDs().size(), 4);
    EXPECT_EQ(model.selectionSummary(), s("1 container, 2 images, 1 volume"));
    EXPECT_EQ(model.selectedBytes(), qint64{1'230'000} + 991'800'000 + 1'227'000'000 + 0);

    EXPECT_EQ(model.selectUnusedTitle(), s("Select 3 Unused Images"));
    model.clearSelection();
    model.selectUnusedImages();
    EXPECT_EQ(model.selectedIDs(),
              (QSet<QString>{image(nodeID), image(danglingID), image(legacyUntaggedID)}));
    EXPECT_EQ(model.selectionSummary(), s("3 images"));

    // Ticks of items that are gone or now in use drop at the next load.
    docker.respond(test::FakeDocker::report,
                   reportWith(R"("Containers":"0")", R"("Containers":"1")"));
    load(model);
    EXPECT_EQ(model.selectUnusedTitle(), s("Select 2 Unused Images"));
    EXPECT_EQ(model.selectedIDs(), (QSet<QString>{image(danglingID), image(legacyUntaggedID)}));
    docker.respond(test::FakeDocker::report,
                   R"({"Images":[{"ID":"sha256:1","Repository":"a","Tag":"1","Containers":"0"}],)"
                   R"("Containers":[],"Volumes":[],"BuildCache":[]})");
    load(model);
    EXPECT_EQ(model.selectUnusedTitle(), s("Select 1 Unused Image"));
    EXPECT_TRUE(model.selectedIDs().isEmpty());
}

TEST_F(DockerModelTest, RemovalGoesContainersFirstAndOneRefusalDoesNotStopTheRest) {
    const QByteArray refusal =
        "Error response from daemon: conflict: unable to remove repository reference "
        "\"node:20-alpine\" (must force) - container 4f2c1a9e8b7d is using its referenced image "
        "9c7a54a9a43c\n";
    docker.respond({s("rmi"), s("--"), s("node:20-alpine")}, {}, 1, refusal);
    DockerModel& model = makeModel();
    load(model);
    // Ticked in the reverse of the order they go in.
    for (const QString& key : {volume(s("empty-labels")), volume(anonymousVolume), image(nodeID),
                               image(danglingID), container(exitedID)})
        model.setSelected(key, true);
    QStringList finished;
    QObject::connect(&model, &DockerModel::actionFinished, [&] { finished.append(toastText()); });

    model.removeSelected();
    EXPECT_TRUE(model.isRemoving());
    settle(model);

    EXPECT_EQ(docker.changingCalls(), (QStringList{
                                          s("rm -- ") + exitedID,
                                          s("rmi -- node:20-alpine"),
                                          s("rmi -- ") + danglingID,
                                          s("volume rm -- ") + anonymousVolume,
                                          s("volume rm -- empty-labels"),
                                      }));
    expectNothingForced();
    const qint64 freed = qint64{1'230'000} + 1'227'000'000;
    const QString toast =
        s("Removed 1 container, 1 image, 2 volumes, freed ") + formatBytes(freed) + spaceComesBack;
    EXPECT_EQ(finished, QStringList{toast});
    EXPECT_EQ(toastText(), toast);
    EXPECT_EQ(model.lastMessage(), toast);
    EXPECT_EQ(model.lastFreedBytes(), freed);
    ASSERT_TRUE(model.lastResult());
    EXPECT_EQ(model.lastResult()->succeeded,
              (QStringList{exitedID, danglingID, anonymousVolume, s("empty-labels")}));
    EXPECT_EQ(model.lastResult()->failed.keys(), QStringList{nodeID});
    EXPECT_EQ(model.failures(), (QList<ItemFailure>{{image(nodeID), s("node:20-alpine"),
                                                     s("not removed: docker exited with 1: ") +
                                                         QString::fromUtf8(refusal).trimmed()}}));
    // The removed items leave the selection (this fake still lists them); the refused one stays.
    EXPECT_EQ(model.selectedIDs(), QSet<QString>{image(nodeID)});
    EXPECT_EQ(docker.calls().count(test::FakeDocker::report.join(u' ')), 2);
}

TEST_F(DockerModelTest, AnImageWithTwoNamesGoesInOneRmiWithBoth) {
    // The registry image, no longer in use.
    docker.respond(test::FakeDocker::report,
                   reportWith(R"("Containers":"2")", R"("Containers":"0")"));
    DockerModel& model = makeModel();
    load(model);
    model.setSelected(image(apiID), true);
    ASSERT_EQ(model.selectedIDs().size(), 1);
    model.removeSelected();
    settle(model);
    EXPECT_EQ(docker.changingCalls(),
              QStringList{s("rmi -- localhost:5000/api:dev registry.example.com/acme/api:1.4.2")});
    EXPECT_TRUE(model.failures().isEmpty());
    EXPECT_EQ(toasts.current()->style, ToastStyle::success);
    EXPECT_EQ(toastText(), s("Removed 1 image, freed ") + formatBytes(0) + spaceComesBack);
}

TEST_F(DockerModelTest, ADryRunChangesNothingAndSaysWhatItWouldDo) {
    DockerModel& model = makeModel(true);
    load(model);
    for (const QString& key : {container(exitedID), image(nodeID), volume(anonymousVolume)})
        model.setSelected(key, true);
    QSignalSpy finished(&model, &DockerModel::actionFinished);

    model.removeSelected();
    settle(model);
    EXPECT_EQ(toastText(), s("Dry run: would remove 1 container, 1 image, 1 volume and free ") +
                               formatBytes(1'230'000 + 991'800'000));
    EXPECT_EQ(model.selectedIDs().size(), 3);

    model.pruneBuildCache();
    settle(model);
    // What a prune frees: the records not in use.
    EXPECT_EQ(toastText(), s("Dry run: would clear ") + formatBytes(746'500'000));
    EXPECT_EQ(finished.size(), 2);

    model.stopContainer(runningID);
    model.startContainer(exitedID);
    settle(model);
    waitForBackgroundJobs();
    EXPECT_EQ(docker.changingCalls(), QStringList());
    EXPECT_FALSE(docker.calls().isEmpty());
}

TEST_F(DockerModelTest, AFailedLoadGivesOneMessageAndAnEmptyModel) {
    struct Case {
        const char* name;
        QStringList failing;
        QByteArray standardOutput;
        int exitCode;
        QByteArray standardError;
        bool timesOut;
        const char* message;
    };
    const Case cases[] = {
        {"garbage report",
         test::FakeDocker::report,
         "<html>proxy error</html>",
         0,
         {},
         false,
         "Docker returned an unexpected report."},
        {"garbage listing",
         test::FakeDocker::listing,
         "WARNING: something\n",
         0,
         {},
         false,
         "Docker returned an unexpected report."},
        {"report refused",
         test::FakeDocker::report,
         {},
         1,
         "Error response from daemon: a disk usage operation is already running\n",
         false,
         "docker exited with 1: Error response from daemon: a disk usage operation is already "
         "running"},
        {"listing refused", test::FakeDocker::listing, {}, 2, {}, false, "docker exited with 2"},
        {"report hangs",
         test::FakeDocker::report,
         {},
         0,
         {},
         true,
         "docker did not answer within 60 seconds."},
    };
    for (const Case& c : cases) {
        const test::FakeDocker failing;
        failing.respond(c.failing, c.standardOutput, c.exitCode, c.standardError);
        const test::RecordingRunner runner(c.timesOut ? c.failing : QStringList());
        DockerModel& model = makeModel(false, &runner);
        load(model);
        EXPECT_TRUE(model.hasLoaded()) << c.name;
        EXPECT_EQ(model.loadError(), s(c.message)) << c.name;
        EXPECT_EQ(model.status(), (DockerStatus{DockerStatus::Case::running, s("27.0.3")}))
            << c.name;
        EXPECT_EQ(model.snapshot(), std::nullopt) << c.name;
        model.setSelected(image(nodeID), true);
        model.selectUnusedImages();
        EXPECT_TRUE(model.selectedIDs().isEmpty()) << c.name;
        EXPECT_EQ(model.selectUnusedTitle(), s("Select 0 Unused Images")) << c.name;
        model.removeSelected();
        EXPECT_FALSE(model.isRemoving()) << c.name;

        // Once Docker answers properly again, the same model lists it.
        failing.respond(c.failing, c.failing == test::FakeDocker::report
                                       ? test::docker::report28
                                       : test::docker::imageListing);
        if (!c.timesOut) {
            load(model);
            EXPECT_EQ(model.loadError(), std::nullopt) << c.name;
            EXPECT_TRUE(model.snapshot()) << c.name;
        }
        EXPECT_EQ(failing.changingCalls(), QStringList()) << c.name;
        waitForBackgroundJobs();
        model_.reset();
    }
}

TEST_F(DockerModelTest, WithoutDockerOrItsDaemonNothingIsListedAndNothingIsWrong) {
    DockerModel& model = makeModel();
    load(model);
    model.setSelected(image(nodeID), true);
    ASSERT_FALSE(model.selectedIDs().isEmpty());

    docker.respond(test::FakeDocker::version, "\n", 1, test::docker::daemonDown);
    const qsizetype callsBefore = docker.calls().size();
    load(model);
    EXPECT_EQ(model.status(), (DockerStatus{DockerStatus::Case::notRunning, {}}));
    EXPECT_EQ(model.snapshot(), std::nullopt);
    EXPECT_EQ(model.loadError(), std::nullopt);
    EXPECT_TRUE(model.selectedIDs().isEmpty());
    EXPECT_EQ(docker.calls().mid(callsBefore), QStringList{test::FakeDocker::version.join(u' ')});

    const test::ScopedEnvironment missing("CORVANE_TOOL_DOCKER",
                                          test::makeTempDir(s("empty")) + s("/docker"));
    load(model);
    EXPECT_EQ(model.status(), (DockerStatus{DockerStatus::Case::notInstalled, {}}));
    EXPECT_EQ(model.snapshot(), std::nullopt);
    EXPECT_EQ(model.loadError(), std::nullopt);
}

TEST_F(DockerModelTest, ClearingTheBuildCacheReportsWhatDockerFreed) {
    const QStringList prune = {s("builder"), s("prune"), s("-f")};
    docker.respond(prune, test::docker::pruneBuildx);
    DockerModel& model = makeModel();
    load(model);
    model.pruneBuildCache();
    EXPECT_TRUE(model.isPruning());
    model.pruneBuildCache(); // ignored while one runs
    settle(model);
    EXPECT_EQ(toastText(), s("Cleared the build cache, freed ") + formatBytes(746'500'000));
    EXPECT_EQ(model.lastFreedBytes(), 746'500'000);
    EXPECT_TRUE(model.failures().isEmpty());
    EXPECT_EQ(docker.changingCalls(), QStringList{s("builder prune -f")});

    docker.respond(prune, {}, 1, "ERROR: failed to prune build cache: context canceled\n");
    model.pruneBuildCache();
    settle(model);
    ASSERT_EQ(model.failures().size(), 1);
    EXPECT_EQ(model.failures()[0].message,
              s("not cleared: docker exited with 1: ERROR: failed to prune build cache: context "
                "canceled"));
    EXPECT_EQ(model.lastFreedBytes(), 0);
    expectNothingForced();
}

TEST_F(DockerModelTest, StartingAndStoppingAContainerMarksItBusyThenListsAgain) {
    docker.respond({s("start"), s("--"), exitedID}, {}, 1,
                   "Error response from daemon: port is already allocated");
    DockerModel& model = makeModel();
    load(model);
    model.stopContainer(runningID);
    model.startContainer(exitedID);
    EXPECT_EQ(model.busyContainerIDs(), (QSet<QString>{runningID, exitedID}));
    settle(model);
    const QStringList calls = docker.calls();
    EXPECT_TRUE(calls.contains(s("stop -- ") + runningID));
    EXPECT_TRUE(calls.contains(s("start -- ") + exitedID));
    EXPECT_GE(calls.count(test::FakeDocker::report.join(u' ')), 2);
    EXPECT_EQ(toastText(), s("The container did not start: docker exited with 1: Error response "
                             "from daemon: port is already allocated"));
}

TEST_F(DockerModelTest, DockerDesktopIsOnlyStartedOnTheMac) {
    if (Locations::isMac())
        GTEST_SKIP() << "opens the real Docker Desktop";
    DockerModel& model = makeModel();
    model.startDocker();
    EXPECT_FALSE(model.isStartingDocker());
    ASSERT_TRUE(toasts.current());
    EXPECT_EQ(toasts.current()->style, ToastStyle::info);
    EXPECT_EQ(toastText(),
              s("The Docker engine can't be started from here; start the Docker service (for "
                "example: sudo systemctl start docker) and reload."));
    waitForBackgroundJobs();
    EXPECT_TRUE(docker.calls().isEmpty());
}
