#include "platform/OverviewModel.h"

#include "platform/Locations.h"

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
    , trash_(trashFolder())
    , lastBytes_(areas_.size())
    , lastNotes_(areas_.size())
    , lastDetails_(areas_.size()) {
    connect(&trash_, &TrashGauge::changed, this, &OverviewModel::changed);
    poll_.setInterval(pollMilliseconds);
    connect(&poll_, &QTimer::timeout, this, &OverviewModel::look);
}

OverviewModel::~OverviewModel() = default;

QString OverviewModel::trashFolder() {
    if (Locations::isMac()) {
        const QString standIn = Locations::trashStandIn();
        return standIn.isEmpty() ? Locations::homeDir() + QStringLiteral("/.Trash") : standIn;
    }
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
    return trash_.bytes().has_value();
}

void OverviewModel::reload() {
    const QStorageInfo volume(Locations::homeDir());
    capacityBytes_ = volume.bytesTotal();
    freeBytes_ = volume.bytesAvailable();
    for (const OverviewArea& area : areas_)
        area.load();
    trash_.refresh();
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
