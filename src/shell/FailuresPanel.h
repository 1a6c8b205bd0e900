#pragma once

#include "platform/TrashService.h"

#include <QFrame>

class QListWidget;

namespace corvane {

// Lists what the last trash action left behind, one line per item with the reason, under
// "Some items could not be trashed". Hidden while there is nothing to say, and until the next
// trash action once the user dismisses it.
class FailuresPanel : public QFrame {
    Q_OBJECT

public:
    static inline const QString heading = QStringLiteral("Some items could not be trashed");

    explicit FailuresPanel(QWidget* parent = nullptr);

    QStringList lines() const;
    // Shows the failures of the trash action that just ended (hidden when there are none).
    void showFailures(const QList<TrashFailure>& failures);

private:
    QListWidget* list_;
};

} // namespace corvane
