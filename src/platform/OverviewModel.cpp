#include "platform/OverviewModel.h"

#include "platform/BackgroundJobs.h"
#include "platform/Locations.h"
#include "platform/SizeCalculator.h"

#include <QStandardPaths>
#include <QStorageInfo>

namespace corvane {
namespace {

// Often enough that a number shows as soon as its area has it, rarely enough to cost nothing.
constexpr int pollMilliseconds = 250;

} // namespace

OverviewModel::OverviewModel(QList<OverviewArea> areas, QObject* parent)
    : QObject(parent)
    , areas_(std::move(areas))
    , lastBytes_(areas_.size())
    , lastNotes_(areas_.size())
    , lastDetails_(areas_.size())
    , mailbox_(std::make_shared<MainThreadMailbox>(this)) {
    poll_.setInterval(pollMilliseconds);
    connect(&poll_, &QTimer::timeout, this, &OverviewModel::look);
}

OverviewModel::~OverviewModel() {
    mailbox_->close();
}

QString OverviewModel::trashFolder() {
    if (Locations::isMac())
        return Locations::homeDir() + QStringLiteral("/.Trash");
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/Trash");
}

qint64 OverviewModel::totalBytes() const {
    qint64 total = 0;
    for (const OverviewArea& area : areas_)
        total += area.bytes().value_or(0);
    return total;
}

bool OverviewModel::isComplete() const {
    for (const OverviewArea& area : areas_) {
        if (!area.bytes() && area.note().isEmpty())
            return false;
    }
    return trashBytes_.has_value();
}

void OverviewModel::reload() {
    const QStorageInfo volume(Locations::homeDir());
    capacityBytes_ = volume.bytesTotal();
    freeBytes_ = volume.bytesAvailable();
    for (const OverviewArea& area : areas_)
        area.load();
    trashBytes_.reset();
    runInBackground([mailbox = mailbox_, folder = trashFolder(), this] {
        // What emptying gives back, as the scan window's Trash line counts it.
        const qint64 bytes = SizeCalculator::measure(folder).freesBytes;
        mailbox->post([this, bytes] {
            trashBytes_ = bytes;
            emit changed();
        });
    });
    poll_.start();
    emit changed();
}

void OverviewModel::look() {
    bool moved = false;
    for (qsizetype i = 0; i < areas_.size(); ++i) {
        const std::optional<qint64> bytes = areas_[i].bytes();
        const QString note = areas_[i].note();
        const QString detail = areas_[i].detailText();
        if (bytes != lastBytes_[i] || note != lastNotes_[i] || detail != lastDetails_[i]) {
            lastBytes_[i] = bytes;
            lastNotes_[i] = note;
            lastDetails_[i] = detail;
            moved = true;
        }
    }
    // The poll goes on once every area has its number: a cleanup or a rescan changes them later.
    if (moved)
        emit changed();
}

} // namespace corvane
