#pragma once

#include "platform/CleanupHistoryModel.h"
#include "shell/InventoryPage.h"

class QPushButton;

namespace corvane {

// The Cleanups page: the latest trash actions of every area, newest first, each with when it
// was, its area, its items and their size, and how many of them the Trash still holds, with Put
// Back for each; under each, the items it moved. "Empty Trash…" deletes for good what the
// cleanups put in the Trash, after a confirmation that lists it; the rest of the Trash stays.
class CleanupsView : public InventoryPage {
    Q_OBJECT

public:
    enum Column { whenColumn, areaColumn, itemsColumn, sizeColumn, inTrashColumn, actionColumn };

    explicit CleanupsView(CleanupHistoryModel& model, QWidget* parent = nullptr);

    QPushButton* emptyTrashButton() const { return emptyTrash_; }
    // The Put Back button of the cleanup `id`, while it is listed.
    QPushButton* putBackButton(const QString& id) const;

    // Looks for what the cleanups have in the Trash, then asks before deleting it.
    void confirmEmptyTrash();

private:
    void showCleanups();
    void showState() override;
    void askToEmpty(const OwnTrashListing& listing);

    CleanupHistoryModel& model_;
    QPushButton* emptyTrash_;
    bool emptyRequested_ = false;
};

// An area of the cleanup history as the user knows it ("projects" is "Projects").
QString cleanupAreaTitle(const QString& area);

} // namespace corvane
