#include "shell/MenuBarExtra.h"

#include "platform/ByteFormat.h"
#include "shell/AppIcon.h"

#include <QSystemTrayIcon>

namespace corvane {
namespace {

constexpr int refreshDelay = 250;

} // namespace

MenuBarExtra::MenuBarExtra(ScanSession& session, QObject* parent)
    : QObject(parent)
    , session_(session)
    , reclaimable_(menu_.addAction(QString()))
    , ticked_(menu_.addAction(QString())) {
    reclaimable_->setEnabled(false);
    ticked_->setEnabled(false);
    menu_.addSeparator();
    rescan_ = menu_.addAction(QStringLiteral("Rescan"), &session_, &ScanSession::rescan);
    menu_.addAction(QStringLiteral("Open Corvane Clean"), this, &MenuBarExtra::openRequested);
    menu_.addSeparator();
    menu_.addAction(QStringLiteral("Quit"), this, &MenuBarExtra::quitRequested);

    refreshTimer_.setSingleShot(true);
    refreshTimer_.setInterval(refreshDelay);
    connect(&refreshTimer_, &QTimer::timeout, this, &MenuBarExtra::refresh);
    for (const auto signal : {&ScanSession::sizeByItemChanged, &ScanSession::itemsByProjectChanged,
                              &ScanSession::projectsChanged, &ScanSession::selectedItemIDsChanged,
                              &ScanSession::rootURLChanged, &ScanSession::isTrashingChanged})
        connect(&session_, signal, &refreshTimer_, [this] {
            if (!refreshTimer_.isActive())
                refreshTimer_.start();
        });
    refresh();

    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        icon_ = std::make_unique<QSystemTrayIcon>(appIcon());
        icon_->setToolTip(QStringLiteral("Corvane Clean"));
        icon_->setContextMenu(&menu_);
        icon_->show();
    }
}

MenuBarExtra::~MenuBarExtra() = default;

bool MenuBarExtra::showMessage(const QString& title, const QString& message) {
    if (!icon_ || !QSystemTrayIcon::supportsMessages())
        return false;
    icon_->showMessage(title, message, QSystemTrayIcon::Information);
    return true;
}

void MenuBarExtra::refresh() {
    refreshTimer_.stop();
    reclaimable_->setText(QStringLiteral("Reclaimable: ") +
                          formatBytes(session_.reclaimableBytes()));
    ticked_->setText(QStringLiteral("Ticked: ") + formatBytes(session_.selectedBytes()));
    rescan_->setEnabled(session_.rootURL().has_value() && !session_.isTrashing());
    if (!overview_)
        return;
    overall_->setText(QStringLiteral("Every area could give back: ") +
                      formatBytes(overview_->totalBytes()));
    trash_->setText(QStringLiteral("In the Trash: ") + (overview_->trashBytes()
                                                            ? formatBytes(*overview_->trashBytes())
                                                            : QStringLiteral("Measuring…")));
}

void MenuBarExtra::setOverview(const OverviewModel& overview) {
    overview_ = &overview;
    overall_ = new QAction(&menu_);
    trash_ = new QAction(&menu_);
    overall_->setEnabled(false);
    trash_->setEnabled(false);
    menu_.insertActions(menu_.actions().value(2), {overall_, trash_});
    connect(&overview, &OverviewModel::changed, this, &MenuBarExtra::refresh);
    refresh();
}

} // namespace corvane
