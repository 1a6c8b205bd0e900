#include "shell/AppController.h"

#include "shell/JobNotifier.h"
#include "shell/MainWindow.h"
#include "shell/MenuBarExtra.h"
#include "shell/WelcomeDialog.h"

#include <QApplication>
#include <QFileInfo>
#include <QSettings>

namespace corvane {

AppController::AppController(const LaunchOptions& options, ScanStarter starter, QObject* parent)
    : QObject(parent)
    , options_(options)
    , models_(std::move(starter), options)
    , window_(std::make_unique<MainWindow>(models_))
    , menuBarExtra_(std::make_unique<MenuBarExtra>(models_.session)) {
    connect(&models_.session, &ScanSession::rootURLChanged, this, &AppController::rememberFolder);
    menuBarExtra_->setOverview(models_.overview);
    connect(menuBarExtra_.get(), &MenuBarExtra::openRequested, this, &AppController::showWindow);
    connect(menuBarExtra_.get(), &MenuBarExtra::quitRequested, qApp, &QCoreApplication::quit,
            Qt::QueuedConnection);
    followLongJobs();
}

// Quitting from the menu-bar extra closes no window, so the place is kept when the app ends.
AppController::~AppController() {
    QSettings().setValue(windowGeometryKey, window_->saveGeometry());
    const std::optional<SidebarSelection>& selection = models_.navigation.selection();
    if (selection && !selection->project)
        QSettings().setValue(sidebarSelectionKey, selection->area);
    else
        QSettings().remove(sidebarSelectionKey);
}

void AppController::start() {
    // Nothing stored, or a place on a screen that is gone: the window keeps its default.
    window_->restoreGeometry(QSettings().value(windowGeometryKey).toByteArray());
    showWindow();
    const QString last = QSettings().value(lastFolderKey).toString();
    // A folder that has gone since (a drive not mounted) is not an error; the user chooses again.
    if (!last.isEmpty() && QFileInfo(last).isDir())
        window_->scanFolder(last);
    // An area this version does not have (or a setting of an older one) is not a place to go.
    if (const std::optional<AreaRow> area =
            Areas::find(QSettings().value(sidebarSelectionKey).toString());
        area && area->id != Areas::projects)
        models_.navigation.setSelection(SidebarSelection::of(area->id));
    // At most once a day, and never when turned off in the settings.
    window_->updateChecker().checkIfDue(QDateTime::currentDateTimeUtc());
    if (!WelcomeDialog::wasCompleted()) {
        welcome_ = WelcomeDialog::present(window_.get());
        connect(welcome_, &WelcomeDialog::folderChosen, window_.get(), &MainWindow::scanFolder);
    }
}

void AppController::followLongJobs() {
    jobNotifier_ = std::make_unique<JobNotifier>(
        models_.toasts, [this] { return window_->isActiveWindow(); },
        JobNotifier::desktopSink(*menuBarExtra_));
    jobNotifier_->follow(models_.session);
    const std::pair<const InventoryModel*, const char*> jobs[] = {
        {&models_.caches, "The developer caches have been moved to the Trash."},
        {&models_.archives, "The archive has finished."},
        {&models_.organize, "Organizing has finished."},
        {&models_.docker, "The Docker cleanup has finished."},
        {&models_.simulators, "The simulator cleanup has finished."},
        {&models_.android, "The Android cleanup has finished."},
        {&models_.aiModels, "The AI models have been removed."},
        {&models_.apps, "The app removal has finished."},
    };
    for (const auto& [model, finished] : jobs)
        jobNotifier_->follow(*model, QString::fromUtf8(finished));
}

void AppController::rememberFolder() {
    if (models_.session.rootURL())
        QSettings().setValue(lastFolderKey, *models_.session.rootURL());
}

void AppController::showWindow() {
    window_->show();
    window_->raise();
    window_->activateWindow();
}

} // namespace corvane
