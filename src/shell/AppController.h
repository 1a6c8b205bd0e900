#pragma once

#include "platform/ToastCenter.h"
#include "scanning/GlobalCachesModel.h"
#include "scanning/RulesStore.h"
#include "scanning/ScanSession.h"
#include "shell/LaunchOptions.h"
#include "shell/Navigation.h"
#include "shell/WelcomeDialog.h"

#include <QObject>
#include <QPointer>
#include <memory>

namespace corvane {

class MainWindow;
class MenuBarExtra;

// Makes the application's models once, hands them to the views, and keeps them for as long as
// the application runs: the toast center every model posts to, the custom rules, the model of
// each area (the project scan, the developer caches), where the window is, the main window and
// the menu-bar extra.
class AppController : public QObject {
    Q_OBJECT

public:
    // Where the folder chosen last is remembered, to be scanned again at the next launch.
    static inline const QString lastFolderKey = QStringLiteral("lastScannedFolder");
    // Where the main window's size and place are kept between launches.
    static inline const QString windowGeometryKey = QStringLiteral("mainWindowGeometry");

    AppController(const LaunchOptions& options, ScanStarter starter, QObject* parent = nullptr);
    ~AppController() override;

    // Shows the window where it was last time, the welcome on the first launch, and scans the
    // folder of last time.
    void start();

    const LaunchOptions& launchOptions() const { return options_; }
    ToastCenter& toasts() { return toasts_; }
    RulesStore& rules() { return rules_; }
    ScanSession& session() { return session_; }
    GlobalCachesModel& caches() { return caches_; }
    Navigation& navigation() { return navigation_; }
    MainWindow& window() { return *window_; }
    MenuBarExtra& menuBarExtra() { return *menuBarExtra_; }
    // The welcome while it is shown.
    WelcomeDialog* welcome() const { return welcome_; }

private:
    void rememberFolder();
    void showWindow();

    LaunchOptions options_;
    ToastCenter toasts_;
    RulesStore rules_;
    ScanSession session_;
    GlobalCachesModel caches_;
    Navigation navigation_;
    std::unique_ptr<MainWindow> window_;
    std::unique_ptr<MenuBarExtra> menuBarExtra_;
    QPointer<WelcomeDialog> welcome_;
};

} // namespace corvane
