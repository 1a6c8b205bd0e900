#include "devtools/SimulatorFixtures.h"
#include "devtools/SimulatorService.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QTimeZone>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;
namespace fx = corvane::test::simfixtures;

namespace {

QStringList idsOf(const QList<SimulatorRuntime>& runtimes) {
    QStringList ids;
    for (const SimulatorRuntime& runtime : runtimes)
        ids.append(runtime.id);
    return ids;
}

QString errorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const SimulatorServiceError& error) {
        return error.message();
    }
    return s("(no error)");
}

} // namespace

TEST(SimulatorParsing, RuntimesKeepUnusableImagesAndComeByPlatformNewestFirst) {
    const QList<SimulatorRuntime> runtimes = SimulatorService::parseRuntimes(fx::runtimesJson());
    EXPECT_EQ(idsOf(runtimes), (QStringList{fx::iOS18, fx::iOS18Patch, fx::bundledIOS15, fx::iOS13,
                                            fx::watchOS9, fx::visionOS2, fx::unusable}));

    const SimulatorRuntime& legacy = runtimes[3];
    EXPECT_EQ(legacy.platform, SimPlatform::iOS);
    EXPECT_EQ(legacy.version, s("13.1"));
    EXPECT_EQ(legacy.build, s("17A844"));
    EXPECT_EQ(legacy.runtimeIdentifier, s("com.apple.CoreSimulator.SimRuntime.iOS-13-1"));
    EXPECT_EQ(legacy.sizeBytes, 6355320832);
    EXPECT_EQ(legacy.lastUsedAt, QDateTime(QDate(2022, 9, 24), QTime(2, 57, 33), QTimeZone::utc()));
    EXPECT_TRUE(legacy.isDeletable);
    EXPECT_EQ(legacy.displayName(), s("iOS 13.1"));

    EXPECT_FALSE(runtimes[2].isDeletable) << "bundled with Xcode";
    EXPECT_EQ(runtimes[4].platform, SimPlatform::watchOS);

    // visionOS names its platform "xrsimulator"; this image was never used and has no size.
    const SimulatorRuntime& vision = runtimes[5];
    EXPECT_EQ(vision.platform, SimPlatform::visionOS);
    EXPECT_EQ(vision.sizeBytes, 0);
    EXPECT_FALSE(vision.lastUsedAt.has_value());

    // An unusable image still takes space and can be deleted, though it names nothing.
    const SimulatorRuntime& broken = runtimes[6];
    EXPECT_EQ(broken.platform, SimPlatform::other);
    EXPECT_TRUE(broken.version.isEmpty());
    EXPECT_TRUE(broken.runtimeIdentifier.isEmpty());
    EXPECT_EQ(broken.sizeBytes, 5304795932);
    EXPECT_TRUE(broken.isDeletable);
}

TEST(SimulatorParsing, DevicesAreListedUnderTheirRuntimeIdentifierOnly) {
    const QList<SimulatorDevice> devices = SimulatorService::parseDevices(fx::devicesJson);
    // The old display-name key ("watchOS 5.1") names no runtime and is left out.
    ASSERT_EQ(devices.size(), 4);

    const SimulatorDevice& booted = devices[0];
    EXPECT_EQ(booted.id, fx::bootedIPhone11);
    EXPECT_EQ(booted.name, s("iPhone 11"));
    EXPECT_EQ(booted.runtimeIdentifier, s("com.apple.CoreSimulator.SimRuntime.iOS-13-1"));
    EXPECT_TRUE(booted.isBooted);
    EXPECT_TRUE(booted.isAvailable);
    EXPECT_EQ(booted.dataSizeBytes, 4834729984);
    EXPECT_EQ(booted.lastBootedAt,
              QDateTime(QDate(2022, 12, 7), QTime(23, 42, 38), QTimeZone::utc()));

    EXPECT_EQ(devices[1].id, fx::iPhone11Pro);
    EXPECT_FALSE(devices[1].isBooted);
    EXPECT_FALSE(devices[1].lastBootedAt.has_value());
    EXPECT_EQ(devices[2].id, fx::unavailableSE);
    EXPECT_FALSE(devices[2].isAvailable);
    // Only "Booted" is booted; a device on its way down is not.
    EXPECT_EQ(devices[3].id, fx::iPhone16);
    EXPECT_FALSE(devices[3].isBooted);
}

TEST(SimulatorParsing, SdkVersionsComeFromSimulatorPlatformsOnlyTakingTheHighest) {
    const QMap<SimPlatform, QString> versions = SimulatorService::parseSdkVersions(fx::sdksJson);
    // The device SDK iphoneos 18.1 and DriverKit's 19.0 under macosx do not count.
    const QMap<SimPlatform, QString> expected{{SimPlatform::iOS, s("18.0")},
                                              {SimPlatform::watchOS, s("10.0")},
                                              {SimPlatform::visionOS, s("2.0")}};
    EXPECT_EQ(versions, expected);
}

TEST(SimulatorParsing, OutputOfTheWrongShapeIsAnErrorNotAnEmptyList) {
    EXPECT_EQ(errorOf([] { SimulatorService::parseRuntimes("xcrun: error: garbage"); }),
              s("simctl returned an unexpected runtime list."));
    EXPECT_EQ(errorOf([] { SimulatorService::parseRuntimes("[]"); }),
              s("simctl returned an unexpected runtime list."));
    EXPECT_EQ(errorOf([] { SimulatorService::parseDevices(R"({"devices": []})"); }),
              s("simctl returned an unexpected device list."));
    EXPECT_EQ(errorOf([] { SimulatorService::parseDevices("{\"devices\": {"); }),
              s("simctl returned an unexpected device list."));
    EXPECT_EQ(errorOf([] { SimulatorService::parseSdkVersions("{}"); }),
              s("xcodebuild returned an unexpected SDK list."));
    // An empty listing is a valid one.
    EXPECT_TRUE(SimulatorService::parseRuntimes("{}").isEmpty());
}

namespace {

// Answers every call itself, from a table keyed by the joined arguments, and keeps the calls.
class ScriptedRunner : public ProcessRunner {
public:
    struct Seen {
        QString executable;
        QStringList arguments;
        double timeout;
    };
    QHash<QString, ProcessResult> answers;
    std::optional<ProcessRunnerError> error;
    mutable QList<Seen> calls;

protected:
    ProcessResult execute(const Call& call) const override {
        calls.append({call.executable, call.arguments, call.timeout});
        if (error)
            throw *error;
        return answers.value(call.arguments.join(u' '));
    }
};

class SimulatorServiceTest : public testing::Test {
protected:
    QStringList commands() const {
        QStringList lines;
        for (const ScriptedRunner::Seen& call : runner.calls)
            lines.append(call.arguments.join(u' ') + u'@' + QString::number(call.timeout));
        return lines;
    }

    test::ScopedEnvironment xcrun{"CORVANE_TOOL_XCRUN", s("/fake/xcrun")};
    test::ScopedEnvironment xcodebuild{"CORVANE_TOOL_XCODEBUILD", s("/fake/xcodebuild")};
    ScriptedRunner runner;
    SimulatorService service{&runner};
};

} // namespace

TEST_F(SimulatorServiceTest, RunsEachCommandWithItsTimeLimit) {
    runner.answers.insert(s("simctl runtime list -j"), {0, fx::runtimesJson(), {}, 0});
    runner.answers.insert(s("simctl list devices -j"), {0, fx::devicesJson, {}, 0});
    runner.answers.insert(s("-showsdks -json"), {0, fx::sdksJson, {}, 0});

    EXPECT_EQ(service.installedRuntimeIDs().size(), 7);
    EXPECT_EQ(service.devices().size(), 4);
    EXPECT_EQ(service.sdkVersions().size(), 3);
    service.shutDown({fx::bootedIPhone11, fx::iPhone16});
    service.deleteDevices({});
    service.deleteDevices({fx::bootedIPhone11, fx::iPhone11Pro});
    service.erase(fx::iPhone16);
    service.deleteRuntime(fx::iOS13);

    EXPECT_EQ(
        commands(),
        (QStringList{s("simctl runtime list -j@60"), s("simctl list devices -j@60"),
                     s("-showsdks -json@60"), s("simctl shutdown ") + fx::bootedIPhone11 + s("@60"),
                     s("simctl shutdown ") + fx::iPhone16 + s("@60"),
                     s("simctl delete ") + fx::bootedIPhone11 + u' ' + fx::iPhone11Pro + s("@300"),
                     s("simctl erase ") + fx::iPhone16 + s("@300"),
                     s("simctl runtime delete ") + fx::iOS13 + s("@600")}));
    EXPECT_EQ(runner.calls[0].executable, s("/fake/xcrun"));
    EXPECT_EQ(runner.calls[2].executable, s("/fake/xcodebuild"));
}

TEST_F(SimulatorServiceTest, FailuresBecomeOneSentenceNamingTheTool) {
    runner.answers.insert(
        s("simctl runtime list -j"),
        {72,
         {},
         "xcrun: error: unable to find utility \"simctl\", not a developer tool or in PATH\n",
         0});
    // A Mac with the command line tools but no Xcode.
    EXPECT_EQ(errorOf([this] { service.runtimes(); }), SimulatorService::xcodeMissingText);

    // Some refusals only reach standard output.
    runner.answers.insert(s("simctl erase ") + fx::iPhone11Pro,
                          {149, "Unable to erase in current state: Booted\n", {}, 0});
    EXPECT_EQ(errorOf([this] { service.erase(fx::iPhone11Pro); }),
              s("simctl exited with 149: Unable to erase in current state: Booted"));
    runner.answers.insert(s("-showsdks -json"), {1, {}, {}, 0});
    EXPECT_EQ(errorOf([this] { service.sdkVersions(); }), s("xcodebuild exited with 1."));

    // Every device gets its shutdown even when an earlier one is refused.
    runner.answers.insert(s("simctl shutdown ") + fx::bootedIPhone11,
                          {149, {}, "Unable to shutdown device", 0});
    EXPECT_EQ(errorOf([this] {
                  service.shutDown({fx::bootedIPhone11, fx::iPhone16});
              }),
              s("simctl exited with 149: Unable to shutdown device"));
    EXPECT_EQ(runner.calls.last().arguments,
              (QStringList{s("simctl"), s("shutdown"), fx::iPhone16}));

    runner.error = ProcessRunnerError::timedOut();
    EXPECT_EQ(errorOf([this] { service.deleteRuntime(fx::iOS13); }),
              s("simctl did not finish within 600 seconds."));
    runner.error = ProcessRunnerError::launchFailed(s("Permission denied"));
    {
        const test::ScopedEnvironment present("CORVANE_TOOL_XCODEBUILD", s("/bin/sh"));
        EXPECT_EQ(errorOf([this] { service.sdkVersions(); }),
                  s("Could not run xcodebuild: Permission denied"));
    }
    // No tool at all is one wording wherever it shows.
    const test::ScopedEnvironment absent("CORVANE_TOOL_XCODEBUILD", s("/nonexistent/xcodebuild"));
    EXPECT_EQ(errorOf([this] { service.sdkVersions(); }), SimulatorService::xcodeMissingText);
}
