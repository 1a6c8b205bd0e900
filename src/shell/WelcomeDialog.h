#pragma once

#include "platform/FullDiskAccess.h"

#include <QDialog>
#include <functional>

class QLabel;
class QPushButton;
class QStackedWidget;

namespace corvane {

class ProjectFolderOffer;

// The first-run onboarding, one step at a time: what the app does and never does, the folder of
// the user's projects and, where the system guards parts of the Library, Full Disk Access.
// Shown once on its own; closing it in any way counts as seen. The Help menu opens it again:
//
//     WelcomeDialog* welcome = WelcomeDialog::present(window);
//     connect(welcome, &WelcomeDialog::folderChosen, window, &MainWindow::scanFolder);
class WelcomeDialog : public QDialog {
    Q_OBJECT

public:
    static inline const QString settingsKey = QStringLiteral("welcomeCompleted");
    static inline const QString fullDiskAccessSettingsURL =
        QStringLiteral("x-apple.systempreferences:com.apple.preference.security?Privacy_AllFiles");

    // `accessProbe` answers whether Full Disk Access is granted; the step is left out when the
    // system does not need it. It is asked again whenever the dialog becomes active, since the
    // user grants access in System Settings.
    explicit WelcomeDialog(QWidget* parent = nullptr,
                           std::function<FullDiskAccess()> accessProbe = fullDiskAccess);

    // Opens a welcome as a sheet of `window` that deletes itself when closed.
    static WelcomeDialog* present(QWidget* window);

    // False until a welcome has been closed on this machine.
    static bool wasCompleted();

    int stepCount() const;
    int currentStep() const;
    // The folder chosen in the folder step; empty until then.
    QString chosenFolder() const { return chosenFolder_; }
    // The usual project folders found in the home folder, offered in the folder step.
    ProjectFolderOffer* folderOffer() const { return folderOffer_; }

public slots:
    void goForward();
    void goBack();
    // Opens the folder chooser as a sheet of this dialog.
    void chooseFolder();

signals:
    // Emitted as soon as the user picks a folder, so its scan runs while the welcome goes on.
    void folderChosen(const QString& folder);

protected:
    void changeEvent(QEvent* event) override;

private:
    QWidget* makeIntroStep();
    QWidget* makeFolderStep();
    QWidget* makeAccessStep();
    void showStep(int index);
    void setFolder(const QString& folder);
    void refreshAccess();

    std::function<FullDiskAccess()> accessProbe_;
    QString chosenFolder_;
    QStackedWidget* steps_ = nullptr;
    QLabel* stepLabel_ = nullptr;
    QLabel* folderLabel_ = nullptr;
    ProjectFolderOffer* folderOffer_ = nullptr;
    QLabel* accessLabel_ = nullptr;
    QPushButton* accessButton_ = nullptr;
    QPushButton* backButton_ = nullptr;
    QPushButton* forwardButton_ = nullptr;
    QPushButton* skipButton_ = nullptr;
};

} // namespace corvane
