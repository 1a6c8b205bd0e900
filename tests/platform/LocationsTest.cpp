#include "platform/Locations.h"

#include "support/TestEnvironment.h"

#include <cstdlib>
#include <gtest/gtest.h>

using namespace corvane;

TEST(Locations, HomeAndOwnFilesFollowTheEnvironment) {
    EXPECT_EQ(Locations::homeDir(), test::fakeHome());
    EXPECT_EQ(Locations::applicationSupportRoot(),
              test::fakeHome() + QStringLiteral("/Library/Application Support"));
    if (Locations::isMac()) {
        EXPECT_EQ(Locations::appSupportDir(),
                  test::fakeHome() + QStringLiteral("/Library/Application Support/Corvane Clean"));
    } else {
        EXPECT_EQ(Locations::appSupportDir(),
                  test::fakeHome() + QStringLiteral("/.local/share/Corvane Clean"));
        const QByteArray saved = qgetenv("XDG_DATA_HOME");
        ::unsetenv("XDG_DATA_HOME");
        EXPECT_EQ(Locations::appSupportDir(),
                  test::fakeHome() + QStringLiteral("/.local/share/Corvane Clean"));
        ::setenv("XDG_DATA_HOME", "/srv/data/", 1);
        EXPECT_EQ(Locations::appSupportDir(), QStringLiteral("/srv/data/Corvane Clean"));
        ::setenv("XDG_DATA_HOME", saved.constData(), 1);
    }
}

TEST(Locations, ToolsCanBeRedirectedOneByOne) {
    EXPECT_EQ(Locations::toolPath(Locations::Tool::git), QStringLiteral("/usr/bin/git"));
    ::setenv("CORVANE_TOOL_GIT", "/opt/fake/git", 1);
    EXPECT_EQ(Locations::toolPath(Locations::Tool::git), QStringLiteral("/opt/fake/git"));
    EXPECT_EQ(Locations::toolPath(Locations::Tool::ssh), QStringLiteral("/usr/bin/ssh"));
    ::unsetenv("CORVANE_TOOL_GIT");
    EXPECT_EQ(
        Locations::toolPath(QStringLiteral("docker"), QStringLiteral("/usr/local/bin/docker")),
        QStringLiteral("/usr/local/bin/docker"));
    ::setenv("CORVANE_TOOL_DOCKER", "/tmp/docker", 1);
    EXPECT_EQ(
        Locations::toolPath(QStringLiteral("docker"), QStringLiteral("/usr/local/bin/docker")),
        QStringLiteral("/tmp/docker"));
    ::unsetenv("CORVANE_TOOL_DOCKER");
}
