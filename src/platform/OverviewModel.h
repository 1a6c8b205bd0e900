#pragma once

#include "platform/TrashGauge.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>
#include <optional>

namespace corvane {

// One area of the disk overview, seen through its own model: how to start the model's load and
// what it could give back once it knows.
struct OverviewArea {
    // The area's id in the table of areas.
    QString id;
    QString name;
    // Starts the area's load, unless it has loaded already or is loading.
    std::function<void()> load;
    // The bytes the area could give back; nothing while it measures or when it has no number.
    std::function<std::optional<qint64>()> bytes;
    // Why there is no number ("Docker not installed"), or empty while it is still measuring.
    std::function<QString()> note;
    // A few words more beside the number ("12 MB ticked"), or empty; none when not set.
    std::function<QString()> detail = {};

    QString detailText() const { return detail ? detail() : QString(); }
};

// The disk at a glance: the capacity and free space of the home folder's volume, what each area
// could give back (every area loads through its own model, all at once in the background), and
// what already sits in the Trash. It looks at the areas a few times a second, so it never waits on
// any of them and follows them as they change.
class OverviewModel : public QObject {
    Q_OBJECT

public:
    OverviewModel(QList<OverviewArea> areas, QObject* parent = nullptr);
    ~OverviewModel() override;

    const QList<OverviewArea>& areas() const { return areas_; }
    qint64 capacityBytes() const { return capacityBytes_; }
    qint64 freeBytes() const { return freeBytes_; }
    qint64 usedBytes() const { return capacityBytes_ - freeBytes_; }
    // What emptying the Trash gives back, measured in the background; nothing until then.
    const std::optional<qint64>& trashBytes() const { return trash_.bytes(); }
    // The one measure of the Trash the window shows; whatever trashes or puts back refreshes it.
    TrashGauge& trashGauge() { return trash_; }
    // The sum of the areas that have a number.
    qint64 totalBytes() const;
    // Every area has its number or its note.
    bool isComplete() const;

    // Loads every area and measures the disk and the Trash again.
    void reload();

    // What the Trash's row says: what sits there still takes its space.
    inline static const QString trashNote =
        QStringLiteral("The space comes back when you empty the Trash");

    // The user's Trash folder: ~/.Trash on macOS (or the folder standing in for it, see
    // Locations::trashStandIn), the freedesktop home Trash elsewhere.
    static QString trashFolder();

signals:
    void changed();

private:
    void look();

    QList<OverviewArea> areas_;
    qint64 capacityBytes_ = 0;
    qint64 freeBytes_ = 0;
    TrashGauge trash_;
    QList<std::optional<qint64>> lastBytes_;
    QStringList lastNotes_;
    QStringList lastDetails_;
    QTimer poll_;
};

} // namespace corvane
