#pragma once

#include "shell/AppModels.h"
#include "shell/LaunchOptions.h"
#include "shell/WelcomeDialog.h"

#include <QObject>
#include <QPointer>
#include <memory>

namespace corvane {

class JobNotifier;
class MainWindow;
class MenuBarExtra;

// Makes the application's models once (AppModels), hands them to the views, and keeps them and
// the main window and the menu-bar extra for as long as the application runs.
class AppController : public QObject {
    Q_OBJECT

public:
    // Where the folder chosen last is remembered, to be scanned again at the next launch.
    static inline const QString lastFolderKey = QStringLiteral("lastScannedFolder");
    // Where the main window's size and place are kept between launches.
    static inline const QString windowGeometryKey = QStringLiteral("mainWindowGeometry");
    // Where the sidebar's area on show is kept between launches (a project is found again by
    // scanning the folder of last time).
    static inline const QString sidebarSelectionKey = QStringLiteral("sidebarSelection");

    AppController(const LaunchOptions& options, ScanStarter starter, QObject* parent = nullptr);
    ~AppController() override;

    // Shows the window where it was last time, the welcome on the first launch, and scans the
    // folder of last time.
    void start();

    const LaunchOptions& launchOptions() const { return options_; }
    AppModels& models() { return models_; }
    ToastCenter& toasts() { return models_.toasts; }
    RulesStore& rules() { return models_.rules; }
    ScanSession& session() { return models_.session; }
    MainWindow& window() { return *window_; }
    MenuBarExtra& menuBarExtra() { return *menuBarExtra_; }
    JobNotifier& jobNotifier() { return *jobNotifier_; }
    // The welcome while it is shown.
    WelcomeDialog* welcome() const { return welcome_; }

private:
    void rememberFolder();
    void showWindow();
    void followLongJobs();

    LaunchOptions options_;
    AppModels models_;
    std::unique_ptr<MainWindow> window_;
    std::unique_ptr<MenuBarExtra> menuBarExtra_;
    std::unique_ptr<JobNotifier> jobNotifier_;
    QPointer<WelcomeDialog> welcome_;
};

} // namespace corvane
