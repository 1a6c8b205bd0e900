#pragma once

#include "archive/ArchivesModel.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QTreeWidget;

namespace corvane {

// The Archived Projects page: every archived project with where its copy is and whether it was
// restored, and the two ways back: to where it was, or to another folder. The archived copy is
// never touched by a restore.
class ArchivedView : public QWidget {
    Q_OBJECT

public:
    static const QString introText;

    explicit ArchivedView(ArchivesModel& model, QWidget* parent = nullptr);

    QTreeWidget* list() const { return list_; }
    QPushButton* restoreButton() const { return restore_; }
    QPushButton* restoreElsewhereButton() const { return restoreElsewhere_; }
    QPushButton* removePartialButton() const { return removePartial_; }
    // What the restore buttons of the selected record do, or why not.
    QLabel* hintLabel() const { return hint_; }
    // Restores the selected record into `folder` (what "Restore to Another Folder…" does once
    // the user has chosen).
    void restoreSelectedTo(const QString& folder);

signals:
    // "Restore to Another Folder…": the window asks for the folder.
    void folderWanted();

private:
    void showRecords();
    void updateSelection();
    std::optional<ArchiveRecord> selected() const;

    ArchivesModel& model_;
    QTreeWidget* list_;
    QLabel* state_;
    QLabel* hint_;
    QLabel* error_;
    QPushButton* restore_;
    QPushButton* restoreElsewhere_;
    // Offered when a restore met a partial copy that an interrupted run left.
    QPushButton* removePartial_;
    // The record and folder of the last restore started here, to run it again.
    std::optional<std::pair<ArchiveRecord, QString>> lastRestore_;
};

} // namespace corvane
