#include "devtools/DockerTypes.h"
#include "devtools/SimulatorTypes.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace corvane;
using test::s;

TEST(SimulatorTypes, VersionsCompareNumberByNumberAndPlatformsComeFromTheirIdentifiers) {
    EXPECT_EQ(compareVersions(s("17.10"), s("17.9")), 1);
    EXPECT_EQ(compareVersions(s("17"), s("17.0")), 0);
    EXPECT_EQ(compareVersions(s("16.4"), s("17.0")), -1);
    EXPECT_EQ(simPlatformFrom(s("com.apple.platform.iphonesimulator")), SimPlatform::iOS);
    EXPECT_EQ(simPlatformFrom(s("com.apple.platform.watchsimulator")), SimPlatform::watchOS);
    EXPECT_EQ(simPlatformFrom(s("com.apple.platform.appletvsimulator")), SimPlatform::tvOS);
    EXPECT_EQ(simPlatformFrom(s("com.apple.platform.xrsimulator")), SimPlatform::visionOS);
    EXPECT_EQ(simPlatformFrom(s("xros")), SimPlatform::visionOS);
    EXPECT_EQ(simPlatformFrom(s("com.apple.platform.macosx")), SimPlatform::other);
}

TEST(DockerTypes, AnUntaggedImageShowsAsNoneBesideItsShortIdAndRestartingCountsAsRunning) {
    DockerImage tagged{s("sha256:abc"), s("redis"), s("7"), {}, 0, 0, 0, {}};
    EXPECT_EQ(tagged.displayName(), s("redis:7"));
    DockerImage untagged{s("sha256:0123456789abcdef"), s("<none>"), s("<none>"), {}, 0, 0, 0, {}};
    EXPECT_EQ(untagged.displayName(), s("<none>"));
    EXPECT_EQ(untagged.shortID(), s("0123456789ab"));
    // Some versions leave the name empty rather than print "<none>": never ":".
    untagged.repository.clear();
    untagged.tag.clear();
    EXPECT_EQ(untagged.displayName(), s("<none>"));
    DockerContainer container;
    container.state = s("restarting");
    EXPECT_TRUE(container.isRunning());
    container.state = s("exited");
    EXPECT_FALSE(container.isRunning());
}
