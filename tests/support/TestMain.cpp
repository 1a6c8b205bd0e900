// The main of every test program: each process gets its own temporary home folder, data folder
// (and with it its own Trash) and settings folder before anything reads them, and refuses to run
// when that cannot be ensured.

#include "platform/AppIdentity.h"
#include "support/TestEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#ifdef CORVANE_TEST_GUI
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif

int main(int argc, char** argv) {
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
        status = RUN_ALL_TESTS();
    }
    corvane::test::removeFakeHome();
    return status;
}
