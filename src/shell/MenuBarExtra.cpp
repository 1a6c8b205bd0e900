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

void MenuBarExtra::refresh() {
    refreshTimer_.stop();
    reclaimable_->setText(QStringLiteral("Reclaimable: ") +
                          formatBytes(session_.reclaimableBytes()));
    ticked_->setText(QStringLiteral("Ticked: ") + formatBytes(session_.selectedBytes()));
    rescan_->setEnabled(session_.rootURL().has_value() && !session_.isTrashing());
}

} // namespace corvane
