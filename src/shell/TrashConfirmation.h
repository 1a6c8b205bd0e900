#pragma once

#include "platform/TrashPlan.h"
#include "shell/ConfirmationSheet.h"

#include <QString>

class QWidget;

namespace corvane {

// The question asked before anything moves, e.g. "Move 3 items to the Trash?", what it
// explains (the space it frees and that the Trash can give it back), and every item of the plan
// grouped by project or area.
struct TrashQuestion {
    QString text;
    QString informativeText;
    QList<ConfirmationGroup> groups;

    static TrashQuestion about(const TrashPlan& plan);
};

// A sheet asking `question` over the list of what it moves, with "Move to Trash" beside the
// default Cancel. It deletes itself when closed; the caller connects to its accepted signal and
// opens it.
ConfirmationSheet* makeTrashConfirmation(QWidget* window, const TrashQuestion& question);

// The "Move to Trash" button of a confirmation.
inline const QString moveToTrashTitle = QStringLiteral("Move to Trash");

} // namespace corvane
