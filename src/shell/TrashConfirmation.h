#pragma once

#include "platform/TrashPlan.h"

#include <QString>

class QMessageBox;
class QWidget;

namespace corvane {

// The question asked before anything moves, e.g. "Move 3 items to the Trash?", and what it
// explains: the space it frees and that the Trash can give it back.
struct TrashQuestion {
    QString text;
    QString informativeText;

    static TrashQuestion about(const TrashPlan& plan);
};

// A sheet (window-modal message box) asking `question`, with "Move to Trash" as the default
// button. It deletes itself when closed; the caller connects to its buttonClicked and opens it.
QMessageBox* makeTrashConfirmation(QWidget* window, const TrashQuestion& question);

// The "Move to Trash" button of a confirmation.
inline const QString moveToTrashTitle = QStringLiteral("Move to Trash");

} // namespace corvane
