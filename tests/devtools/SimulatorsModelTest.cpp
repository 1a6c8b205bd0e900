#include "devtools/SimulatorsModel.h"

#include "devtools/SimulatorFixtures.h"
#include "platform/TrashService.h"
#include "support/GitFixture.h"
#include "support/KeepMarks.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QTest>
#include <atomic>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;
namespace fx = corvane::test::simfixtures;

namespace {

constexpr int patience = 10000;

const QString permanence = QStringLiteral(
    "This is permanent: runtimes do not go to the Trash. You can download any of them again in "
    "Xcode > Settings > Components.");

// The real runner, except that xcodebuild can be made to run out of time (its limit is a
// minute, too long to wait out in a test).
class HangingRunner : public ProcessRunner {
public:
    std::atomic<bool> xcodebuildHangs = false;

protected:
    ProcessResult execute(const Call& call) const override {
        if (xcodebuildHangs && call.executable.endsWith(QLatin1String("/xcodebuild")))
            throw ProcessRunnerError::timedOut();
        return ProcessRunner::execute(call);
    }
};

// Stand-ins for xcrun and xcodebuild that print the fixtures, log every call, and make a deleted
// runtime vanish from the listing when "after-delete.json" is there. `overrides` are shell case
// branches tried before the usual answers.
class SimulatorsModelTest : public testing::Test {
protected:
    void SetUp() override { fx::writeFakeTools(dir); }

    void writeXcrun(const QByteArray& overrides = {}) { fx::writeFakeXcrun(dir, overrides); }
    void writeXcodebuild() { fx::writeFakeXcodebuild(dir); }

    QStringList log() const {
        QFile file(dir + s("/log"));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }
    void clearLog() const { QFile::remove(dir + s("/log")); }

    void load(SimulatorsModel& model) const {
        model.reload();
        ASSERT_TRUE(QTest::qWaitFor([&] { return !model.isLoading(); }, patience));
    }
    // Waits for the action and the reload that follows it.
    void waitForAction(SimulatorsModel& model) const {
        ASSERT_TRUE(
            QTest::qWaitFor([&] { return !model.isRemoving() && !model.isLoading(); }, patience));
    }

    static std::optional<SimulatorRuntime> runtime(const SimulatorsModel& m, const QString& id) {
        for (const SimulatorRuntime& r : m.runtimes()) {
            if (r.id == id)
                return r;
        }
        return std::nullopt;
    }

    const QString dir = test::makeTempDir(s("sim"));
    test::ScopedEnvironment xcrun{"CORVANE_TOOL_XCRUN", dir + s("/xcrun")};
    test::ScopedEnvironment xcodebuild{"CORVANE_TOOL_XCODEBUILD", dir + s("/xcodebuild")};
    ToastCenter toasts;
    HangingRunner runner;
    SimulatorsModel model{toasts, SimulatorService{&runner}};
    SimulatorsModel dryRunModel{toasts, SimulatorService{&runner}, true};
    std::atomic<int> sleeps = 0;
};

const QStringList listings{s("simctl runtime list -j"), s("simctl list devices -j"),
                           s("xcodebuild -showsdks -json")};

} // namespace

TEST_F(SimulatorsModelTest, LoadsWithNothingTickedAndTicksOnlyDeletableRuntimes) {
    load(model);
    EXPECT_FALSE(model.loadError().has_value());
    EXPECT_EQ(model.runtimes().size(), 7);
    EXPECT_EQ(model.devices().size(), 4);
    EXPECT_EQ(model.sdkVersions().value(SimPlatform::iOS), s("18.0"));
    EXPECT_EQ(log(), listings);
    EXPECT_TRUE(model.selectedIDs().isEmpty());

    model.setSelected(fx::bundledIOS15, true);
    model.setSelected(s("not-a-runtime"), true);
    EXPECT_TRUE(model.selectedIDs().isEmpty());
    // An unusable image takes space for nothing: it is the first thing to delete.
    model.setSelected(fx::unusable, true);
    model.setSelected(fx::iOS13, true);
    EXPECT_EQ(model.selectedIDs(), (QSet<QString>{fx::unusable, fx::iOS13}));

    const auto at = [this](const QString& id) { return *runtime(model, id); };
    // iOS 13.1 and watchOS 9.0 are older; iOS 15.5 is too but ships with Xcode.
    EXPECT_TRUE(model.isOlderThanSDK(at(fx::iOS13)));
    EXPECT_TRUE(model.isOlderThanSDK(at(fx::watchOS9)));
    EXPECT_FALSE(model.isOlderThanSDK(at(fx::bundledIOS15)));
    EXPECT_FALSE(model.isOlderThanSDK(at(fx::iOS18)));
    EXPECT_FALSE(model.isOlderThanSDK(at(fx::unusable)));
    EXPECT_EQ(model.selectOlderTitle(), s("Select 2 Older Than SDK"));

    EXPECT_TRUE(model.isCurrentSDK(at(fx::iOS18)));
    EXPECT_TRUE(model.isCurrentSDK(at(fx::visionOS2)));
    EXPECT_FALSE(model.isCurrentSDK(at(fx::watchOS9)));
    EXPECT_FALSE(model.isCurrentSDK(at(fx::unusable)));

    model.clearSelection();
    model.setSelected(fx::visionOS2, true);
    model.selectOlderThanSDK();
    EXPECT_EQ(model.selectedIDs(), (QSet<QString>{fx::visionOS2, fx::iOS13, fx::watchOS9}));
    EXPECT_EQ(model.devicesOn(at(fx::iOS13)).size(), 2);
    EXPECT_TRUE(model.devicesOn(at(fx::unusable)).isEmpty());

    load(model);
    EXPECT_TRUE(model.selectedIDs().isEmpty());
}

TEST_F(SimulatorsModelTest, TheConfirmationNamesWhatGoesAndSaysItIsPermanent) {
    load(model);
    model.setSelected(fx::watchOS9, true);
    EXPECT_EQ(model.deleteConfirmationTitle(), s("Delete 1 runtime"));
    EXPECT_EQ(model.deleteConfirmationText(),
              s("watchOS 9.0 (3.6 GB) will be deleted. ") + permanence);

    model.setSelected(fx::iOS13, true);
    EXPECT_EQ(model.deleteConfirmationTitle(), s("Delete 2 runtimes"));
    EXPECT_EQ(model.deleteConfirmationText(),
              s("iOS 13.1 and watchOS 9.0 (9.96 GB) will be deleted. The 2 devices that run on "
                "them will be deleted too. ") +
                  permanence);

    // Two images share the iOS 18.0 identifier: its device stays while one of them does.
    model.clearSelection();
    model.setSelected(fx::iOS18, true);
    EXPECT_EQ(model.deleteConfirmationText(),
              s("iOS 18.0 (8.8 GB) will be deleted. ") + permanence);
    model.setSelected(fx::iOS18Patch, true);
    EXPECT_EQ(model.deleteConfirmationText(),
              s("iOS 18.0 and iOS 18.0 (17.7 GB) will be deleted. The 1 device that run on them "
                "will be deleted too. ") +
                  permanence);
}

TEST_F(SimulatorsModelTest, ADryRunRunsNothingButTheListings) {
    load(dryRunModel);
    clearLog();
    dryRunModel.setSelected(fx::iOS13, true);
    dryRunModel.setSelected(fx::watchOS9, true);
    dryRunModel.deleteSelected();
    waitForAction(dryRunModel);
    EXPECT_EQ(toasts.current()->message,
              s("Dry run: would delete 2 runtimes (with 2 devices) and free 14.81 GB"));
    EXPECT_EQ(dryRunModel.lastMessage(), toasts.current()->message);
    EXPECT_FALSE(dryRunModel.lastResult().has_value());

    dryRunModel.erase(fx::bootedIPhone11);
    waitForAction(dryRunModel);
    EXPECT_EQ(toasts.current()->message, s("Dry run: would erase iPhone 11"));

    for (const QString& line : log())
        EXPECT_TRUE(listings.contains(line)) << line.toStdString();
    EXPECT_EQ(dryRunModel.runtimes().size(), 7);
}

TEST_F(SimulatorsModelTest, DeletionDeletesTheDevicesOnlyAfterTheirRuntimeWasDeleted) {
    test::writeFile(dir + s("/after-delete.json"), fx::runtimesWithoutIOS13());
    load(model);
    clearLog();
    model.setPolling(0.5, 30, [this](double) { ++sleeps; });
    model.setSelected(fx::iOS13, true);
    model.deleteSelected();
    EXPECT_EQ(model.deletingRuntimeIDs(), QSet<QString>{fx::iOS13});
    waitForAction(model);

    EXPECT_EQ(log(), QStringList({s("simctl shutdown ") + fx::bootedIPhone11,
                                  s("simctl runtime delete ") + fx::iOS13,
                                  s("simctl delete ") + fx::bootedIPhone11 + u' ' + fx::iPhone11Pro,
                                  s("simctl runtime list -j")}) +
                         listings);
    EXPECT_EQ(sleeps, 1);
    EXPECT_EQ(toasts.current()->message, s("Deleted 1 runtime and 2 devices, freed 11.2 GB."));
    EXPECT_EQ(
        model.lastResult(),
        (RuntimeRemover::Result{{fx::iOS13}, {}, {}, {fx::bootedIPhone11, fx::iPhone11Pro}, {}}));
    EXPECT_TRUE(model.failures().isEmpty());
    EXPECT_TRUE(model.deletingRuntimeIDs().isEmpty());
    EXPECT_FALSE(runtime(model, fx::iOS13).has_value());
    EXPECT_TRUE(model.selectedIDs().isEmpty());
}

TEST_F(SimulatorsModelTest, ARefusedRuntimeFailsAloneAndOneStillListedIsStillRemoving) {
    writeXcrun("\"simctl runtime delete " + fx::watchOS9.toUtf8() +
               "\") echo 'Unable to delete runtime: permission denied' >&2; exit 1 ;;\n");
    load(model);
    model.setPolling(1, 3, [this](double) { ++sleeps; });
    model.setSelected(fx::iOS13, true);
    model.setSelected(fx::watchOS9, true);
    model.deleteSelected();
    waitForAction(model);

    EXPECT_EQ(sleeps, 3);
    // The runtime macOS is still removing has lost its devices, and the result says so.
    EXPECT_EQ(model.lastResult(),
              (RuntimeRemover::Result{
                  {},
                  {fx::iOS13},
                  {{fx::watchOS9,
                    s("simctl exited with 1: Unable to delete runtime: permission denied")}},
                  {fx::bootedIPhone11, fx::iPhone11Pro},
                  {}}));
    EXPECT_EQ(model.failures(),
              QList<ItemFailure>({{fx::watchOS9, s("watchOS 9.0"),
                                   s("simctl exited with 1: Unable to delete runtime: permission "
                                     "denied")}}));
    EXPECT_EQ(toasts.current()->message,
              s("Deleted 2 devices, freed 4.85 GB. macOS is still removing iOS 13.1 in the "
                "background; it will disappear shortly."));
    EXPECT_EQ(model.lastMessage(), toasts.current()->message);
}

TEST_F(SimulatorsModelTest, ARuntimeThatCannotBeDeletedKeepsItsDevices) {
    writeXcrun("\"simctl runtime delete " + fx::iOS13.toUtf8() +
               "\") echo 'Unable to delete runtime: permission denied' >&2; exit 1 ;;\n");
    load(model);
    clearLog();
    model.setPolling(1, 3, [this](double) { ++sleeps; });
    model.setSelected(fx::iOS13, true);
    model.deleteSelected();
    waitForAction(model);

    for (const QString& line : log())
        EXPECT_FALSE(line.startsWith(s("simctl delete "))) << line.toStdString();
    EXPECT_TRUE(model.lastResult()->deletedDevices.isEmpty());
    EXPECT_EQ(toasts.current()->message, s("No runtime was deleted."));
    EXPECT_EQ(model.devices().size(), 4);
}

TEST_F(SimulatorsModelTest, ABrokenToolGivesOneClearErrorAndLeavesAnEmptyUsableModel) {
    load(model);
    ASSERT_EQ(model.runtimes().size(), 7);
    model.setSelected(fx::iOS13, true);

    const auto expectBroken = [this](const QString& message, bool xcodeMissing = false) {
        load(model);
        EXPECT_EQ(model.loadError(), message);
        EXPECT_EQ(model.isXcodeMissing(), xcodeMissing);
        EXPECT_TRUE(model.runtimes().isEmpty());
        EXPECT_TRUE(model.devices().isEmpty());
        EXPECT_TRUE(model.sdkVersions().isEmpty());
        EXPECT_TRUE(model.selectedIDs().isEmpty());
        EXPECT_EQ(model.selectOlderTitle(), s("Select 0 Older Than SDK"));
    };

    writeXcrun(R"sh("simctl runtime list -j")
  echo 'xcrun: error: unable to find utility "simctl", not a developer tool or in PATH' >&2
  exit 72 ;;
)sh");
    // A Mac with only the command line tools: one wording for a missing Xcode everywhere.
    expectBroken(s("Xcode not installed"), true);
    {
        const test::ScopedEnvironment none("CORVANE_TOOL_XCRUN", dir + s("/no-such-xcrun"));
        expectBroken(s("Xcode not installed"), true);
    }

    writeXcrun("\"simctl list devices -j\") echo 'Segmentation fault: 11' ;;\n");
    expectBroken(s("simctl returned an unexpected device list."));

    writeXcrun();
    runner.xcodebuildHangs = true;
    expectBroken(s("xcodebuild did not finish within 60 seconds."));

    runner.xcodebuildHangs = false;
    load(model);
    EXPECT_FALSE(model.loadError().has_value());
    EXPECT_EQ(model.runtimes().size(), 7);
}

TEST_F(SimulatorsModelTest, ErasingShutsTheDeviceDownFirstAndReportsWhatItFreed) {
    load(model);
    clearLog();
    model.erase(fx::bootedIPhone11);
    EXPECT_EQ(model.erasingDeviceIDs(), QSet<QString>{fx::bootedIPhone11});
    waitForAction(model);
    EXPECT_EQ(log(), QStringList({s("simctl shutdown ") + fx::bootedIPhone11,
                                  s("simctl erase ") + fx::bootedIPhone11}) +
                         listings);
    EXPECT_EQ(toasts.current()->message, s("Erased iPhone 11, freed 4.83 GB"));
    EXPECT_TRUE(model.erasingDeviceIDs().isEmpty());
}

// simctl reads "all", "booted" and "unavailable" as device sets and its options anywhere: only a
// UUID reaches it as a device or image, and anything else is refused before simctl runs.
TEST_F(SimulatorsModelTest, OnlyUUIDsReachSimctlAsDevicesOrImages) {
    const SimulatorService service{&runner};
    const auto refusal = [](const std::function<void()>& call) {
        try {
            call();
        } catch (const SimulatorServiceError& error) {
            return error.message();
        }
        return QString();
    };
    EXPECT_EQ(refusal([&] { service.erase(s("all")); }),
              s("\"all\" is not a simulator identifier; simctl was not run."));
    EXPECT_FALSE(refusal([&] { service.deleteRuntime(s("--notUsedSinceDays=0")); }).isEmpty());
    EXPECT_FALSE(refusal([&] {
                     service.deleteDevices({fx::iPhone11Pro, s("unavailable")});
                 }).isEmpty());
    EXPECT_TRUE(log().isEmpty());
    // Each device is shut down on its own, so a bad one does not keep the others running.
    EXPECT_FALSE(refusal([&] { service.shutDown({s("booted"), fx::bootedIPhone11}); }).isEmpty());
    EXPECT_EQ(log(), QStringList{s("simctl shutdown ") + fx::bootedIPhone11});
}

const QString keptData =
    s("/Users/me/Library/Developer/CoreSimulator/Devices/") + fx::bootedIPhone11 + s("/data");

TEST_F(SimulatorsModelTest, ARuntimeThatAKeptDeviceRunsOnIsNeverTicked) {
    load(model);
    model.setSelected(fx::iOS13, true);
    const test::ScopedKeepMarks marks({keptData});
    model.refreshKeepMarks();
    EXPECT_TRUE(model.isKept(fx::iOS13));
    EXPECT_TRUE(model.selectedIDs().isEmpty());
    model.setSelected(fx::iOS13, true);
    model.setSelected(fx::watchOS9, true);
    EXPECT_EQ(model.selectedIDs(), QSet<QString>{fx::watchOS9});
}

// Simulators are deleted and erased for good, so a kept device's data must stop both, and the
// deletion of the runtime it boots from, before simctl is asked; a dry run says the same.
TEST_F(SimulatorsModelTest, AKeptDeviceIsNeitherErasedNorDeletedWithItsRuntime) {
    QByteArray withoutWatchOS9(fx::runtimesTail);
    withoutWatchOS9 = fx::runtimesHead + withoutWatchOS9.mid(withoutWatchOS9.indexOf("  \"5B0C"));
    test::writeFile(dir + s("/after-delete.json"), withoutWatchOS9);
    load(model);
    load(dryRunModel);
    // Marked after the load, as by the command line meanwhile: the ticks stand, and the actions
    // themselves refuse.
    const test::ScopedKeepMarks marks({keptData});
    clearLog();
    const ItemFailure keptErase{fx::bootedIPhone11, s("iPhone 11"), TrashService::keptMessage};
    const ItemFailure keptRuntime{fx::iOS13, s("iOS 13.1"),
                                  s("Refused: its device iPhone 11 is marked Keep")};

    for (SimulatorsModel* each : {&dryRunModel, &model}) {
        each->setSelected(fx::iOS13, true);
        each->setSelected(fx::watchOS9, true);
        each->setPolling(0.5, 30, [this](double) { ++sleeps; });
        each->deleteSelected();
        waitForAction(*each);
        EXPECT_EQ(each->failures(), QList<ItemFailure>{keptRuntime});
        if (each == &model) {
            EXPECT_EQ(toasts.current()->message, s("Deleted 1 runtime, freed 3.6 GB."));
        }

        each->erase(fx::bootedIPhone11);
        waitForAction(*each);
        EXPECT_EQ(each->failures(), QList<ItemFailure>{keptErase});
        EXPECT_EQ(toasts.current()->message, s("Could not erase iPhone 11."));
    }
    for (const QString& line : log()) {
        EXPECT_FALSE(line.contains(fx::iOS13) || line.contains(fx::bootedIPhone11) ||
                     line.startsWith(s("simctl erase")))
            << line.toStdString();
    }
    EXPECT_TRUE(runtime(model, fx::iOS13).has_value());
}
