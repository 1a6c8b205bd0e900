#include "platform/AppIdentity.h"
#include "scanning/ScanEngine.h"
#include "shell/AppController.h"
#include "shell/AppIcon.h"
#include "shell/MoveToApplications.h"

#include <QApplication>
#include <QSystemTrayIcon>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    corvane::applyAppIdentity();
    QApplication::setWindowIcon(corvane::appIcon());
    // With a menu-bar extra the app keeps running when its window closes, as menu-bar apps do.
    QApplication::setQuitOnLastWindowClosed(!QSystemTrayIcon::isSystemTrayAvailable());

    const auto options = corvane::LaunchOptions::fromArguments(QApplication::arguments());
    // Before any window: once moved, the copy in Applications takes over and this one ends.
    if (corvane::MoveToApplications::offer(options))
        return 0;
    corvane::AppController controller(options, corvane::ScanEngine::scan);
    controller.start();
    return QApplication::exec();
}
