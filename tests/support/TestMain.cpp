// The main of every test program: each process gets its own temporary home folder, data folder
// (and with it its own Trash) and settings folder before anything reads them, and refuses to run
// when that cannot be ensured. Each test starts with that home empty, whether ctest runs one test
// per process or a developer runs a whole program.

#include "platform/AppIdentity.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#ifdef CORVANE_TEST_GUI
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif

namespace {

// Temporary folders outside /tmp, which the organizer never touches; an update check that asks a
// port where nothing listens, so no test reaches the network.
void setTestEnvironment() {
    QDir().mkpath(QStringLiteral(CORVANE_TEST_TMPDIR));
    qputenv("TMPDIR", CORVANE_TEST_TMPDIR);
    qputenv("CORVANE_APPCAST_URL", "http://127.0.0.1:9/appcast.xml");
}

// ctest runs one test per process; a developer running a whole test program gets the same
// start for each test.
class FreshHomeForEachTest : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override { corvane::test::emptyFakeHome(); }
};

} // namespace

int main(int argc, char** argv) {
    setTestEnvironment();
    if (!corvane::test::isolateFromRealHome())
        return 2;
#ifdef CORVANE_TEST_GUI
    // Windows are drawn off screen unless a run asks for a platform, so listing the tests while
    // building needs no display either.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
#endif
    int status = 0;
    {
        TestApplication application(argc, argv);
        corvane::applyAppIdentity();
        testing::InitGoogleMock(&argc, argv);
        testing::UnitTest::GetInstance()->listeners().Append(new FreshHomeForEachTest);
        status = RUN_ALL_TESTS();
    }
    corvane::test::removeFakeHome();
    return status;
}
