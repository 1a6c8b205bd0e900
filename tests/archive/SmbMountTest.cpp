#include "archive/SmbMount.h"

#include "platform/Locations.h"
#include "platform/PlatformWords.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

const QString couldNotMount =
    s("Could not mount smb://NAS/Media. ") + PlatformWords::here().saveShareLogin;

// Fails the test when anything is started.
class RefusingRunner : public ProcessRunner {
protected:
    ProcessResult execute(const Call& call) const override {
        ADD_FAILURE() << "started " << qPrintable(call.executable);
        throw ProcessRunnerError::launchFailed(s("refused"));
    }
};

// gvfs's folders under a runtime folder of the test's own, and a stand-in for gio.
class SmbMountTest : public ::testing::Test {
protected:
    SmbMountTest()
        : runtime_(test::makeTempDir(s("runtime")))
        , runtimeEnvironment_("XDG_RUNTIME_DIR", runtime_)
        , gio_(runtime_ + s("/bin/gio"))
        , gioEnvironment_("CORVANE_TOOL_GIO", gio_) {}

    QString shareFolder() const { return runtime_ + s("/gvfs/smb-share:server=nas,share=media"); }
    QString recordedArguments() const { return runtime_ + s("/arguments"); }

    const QString runtime_;
    const test::ScopedEnvironment runtimeEnvironment_;
    const QString gio_;
    const test::ScopedEnvironment gioEnvironment_;
};

} // namespace

TEST_F(SmbMountTest, OnlySmbUrlsWithAServerAndAShareAreAccepted) {
    for (const char* text : {"", "nas/media", "smb://nas", "smb://nas/", "smb:///media",
                             "afp://nas/media", "smb://nas:port/media"}) {
        EXPECT_FALSE(SmbMount::expectedMountPoint(s(text), false)) << text;
        const SmbMount::Result result = SmbMount::mount(s(text), RefusingRunner());
        EXPECT_FALSE(result.mountPoint);
        EXPECT_EQ(result.error, s("Invalid SMB URL: ") + s(text));
    }
}

TEST_F(SmbMountTest, ExpectedMountPointsFollowEachSystemsNaming) {
    const test::ScopedEnvironment volumes("CORVANE_VOLUMES_DIR", s("/Volumes"));
    EXPECT_EQ(SmbMount::expectedMountPoint(s("smb://nas.local/Media"), true), s("/Volumes/Media"));
    EXPECT_EQ(SmbMount::expectedMountPoint(s("smb://nas/Media/Projects%20Old"), true),
              s("/Volumes/Projects Old"));

    // gvfs writes server and share in lower case and adds the user when the URL names one.
    EXPECT_EQ(SmbMount::expectedMountPoint(s("SMB://NAS/Media/sub"), false), shareFolder());
    EXPECT_EQ(SmbMount::expectedMountPoint(s("smb://Me@nas/media"), false),
              runtime_ + s("/gvfs/smb-share:server=nas,share=media,user=Me"));
}

TEST_F(SmbMountTest, AShareMountedAlreadyIsUsedWithoutRunningAnything) {
    if (Locations::isMac())
        GTEST_SKIP() << "macOS mounts with `open`, which no test can stand in for";
    QDir().mkpath(shareFolder());
    const SmbMount::Result result = SmbMount::mount(s("smb://NAS/Media"), RefusingRunner());
    EXPECT_EQ(result.mountPoint, shareFolder());
    EXPECT_FALSE(result.error);
}

TEST_F(SmbMountTest, GioMountsTheShareAndItsFolderIsReturned) {
    if (Locations::isMac())
        GTEST_SKIP() << "macOS mounts with `open`, which no test can stand in for";
    // Like `open` on macOS, it returns before the share appears.
    test::writeScript(gio_, "printf '%s\\n' \"$@\" > '" + recordedArguments().toUtf8() +
                                "'\n(sleep 0.7; mkdir -p \"$XDG_RUNTIME_DIR/gvfs/"
                                "smb-share:server=nas,share=media\") >/dev/null 2>&1 &\n");
    const SmbMount::Result result = SmbMount::mount(s("smb://NAS/Media"));
    EXPECT_EQ(result.mountPoint, shareFolder());
    EXPECT_FALSE(result.error);

    QFile arguments(recordedArguments());
    ASSERT_TRUE(arguments.open(QIODevice::ReadOnly));
    EXPECT_EQ(arguments.readAll(), "mount\nsmb://NAS/Media\n");
}

TEST_F(SmbMountTest, AShareThatNeverAppearsCouldNotBeMounted) {
    if (Locations::isMac())
        GTEST_SKIP() << "macOS mounts with `open`, which no test can stand in for";
    test::writeScript(gio_, "exit 0\n");
    QElapsedTimer clock;
    clock.start();
    const SmbMount::Result result =
        SmbMount::mount(s("smb://NAS/Media"), ProcessRunner::system(), 1);
    EXPECT_GE(clock.elapsed(), 900);
    EXPECT_FALSE(result.mountPoint);
    EXPECT_EQ(result.error, couldNotMount);
}

TEST_F(SmbMountTest, AFailedOrMissingGioOrACancelEndsTheWaitAtOnce) {
    if (Locations::isMac())
        GTEST_SKIP() << "macOS mounts with `open`, which no test can stand in for";
    test::writeScript(gio_, "echo 'gio: smb://NAS/Media: Failed to mount' >&2\nexit 2\n");
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(SmbMount::mount(s("smb://NAS/Media"), ProcessRunner::system(), 30).error,
              couldNotMount);

    QFile::remove(gio_);
    EXPECT_EQ(SmbMount::mount(s("smb://NAS/Media"), ProcessRunner::system(), 30).error,
              couldNotMount);

    test::writeScript(gio_, "exit 0\n");
    const CancellationToken cancelled;
    cancelled.cancel();
    EXPECT_EQ(SmbMount::mount(s("smb://NAS/Media"), ProcessRunner::system(), 30, cancelled).error,
              couldNotMount);
    EXPECT_LT(clock.elapsed(), 10'000);
}
