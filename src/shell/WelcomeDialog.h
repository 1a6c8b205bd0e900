#pragma once

#include <QDialog>

namespace corvane {

// The first-launch welcome: what the app does, and that nothing is ever deleted for good.
// Shown once; closing it in any way counts as seen.
class WelcomeDialog : public QDialog {
    Q_OBJECT

public:
    static inline const QString settingsKey = QStringLiteral("welcomeCompleted");

    explicit WelcomeDialog(QWidget* parent = nullptr);

    // False until a welcome has been closed on this machine.
    static bool wasCompleted();

signals:
    // The user chose to pick the folder of their projects right away.
    void chooseFolderRequested();
};

} // namespace corvane
