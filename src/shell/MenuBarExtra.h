#pragma once

#include "platform/OverviewModel.h"
#include "scanning/ScanSession.h"

#include <QMenu>
#include <QObject>
#include <QTimer>
#include <memory>

class QSystemTrayIcon;

namespace corvane {

// The menu-bar extra: the reclaimable and ticked totals at a glance, updated live, with "Rescan",
// "Open Corvane Clean" and "Quit". The menu exists on every platform; the icon that shows it only
// where the system has a tray or menu bar for it.
class MenuBarExtra : public QObject {
    Q_OBJECT

public:
    explicit MenuBarExtra(ScanSession& session, QObject* parent = nullptr);
    ~MenuBarExtra() override;

    QMenu& menu() { return menu_; }
    bool hasIcon() const { return icon_ != nullptr; }
    // Shows a desktop notification from the icon; false where there is no icon to show it.
    bool showMessage(const QString& title, const QString& message);
    // Updates the totals now (otherwise shortly after the session changes).
    void refresh();
    // Also shows what every area could give back and what sits in the Trash, as `overview`
    // measures them.
    void setOverview(const OverviewModel& overview);

signals:
    void openRequested();
    void quitRequested();

private:
    ScanSession& session_;
    QMenu menu_;
    QAction* reclaimable_;
    QAction* ticked_;
    QAction* overall_ = nullptr;
    QAction* trash_ = nullptr;
    const OverviewModel* overview_ = nullptr;
    QAction* rescan_;
    std::unique_ptr<QSystemTrayIcon> icon_;
    QTimer refreshTimer_;
};

} // namespace corvane
