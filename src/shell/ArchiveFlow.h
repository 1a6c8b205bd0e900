#pragma once

#include "archive/ArchivesModel.h"
#include "archive/DestinationsStore.h"
#include "scanning/ScanModel.h"

#include <QObject>
#include <QPointer>
#include <QProgressDialog>
#include <functional>
#include <optional>

class QMenu;
class QWidget;

namespace corvane {

// Archiving a project from the window: the Archive menu (mounted volumes, saved destinations and
// "Choose Folder…", filled each time it opens), the question before the copy, the progress sheet
// of the running archive or restore, and the alert that says why an archive failed, with a second
// try that removes the partial copy an interrupted run left.
class ArchiveFlow : public QObject {
    Q_OBJECT

public:
    // `projectOnShow` names the project the menu archives, if any. Sheets open over `host`'s
    // window.
    ArchiveFlow(QWidget& host, ArchivesModel& archives, DestinationsStore& destinations,
                std::function<std::optional<Project>()> projectOnShow);

    QMenu* menu() const { return menu_; }
    // The progress sheet of the running archive or restore, while one runs.
    QProgressDialog* progressSheet() const { return progressSheet_; }
    // Asks (in a sheet) to archive the project on show to `target`, then archives it.
    void confirmArchive(const ArchiveTarget& target);

private:
    void fillMenu();
    void followProgress();
    void showFailure();
    QWidget* window() const;

    QWidget& host_;
    ArchivesModel& archives_;
    DestinationsStore& destinations_;
    std::function<std::optional<Project>()> projectOnShow_;
    QMenu* menu_;
    QPointer<QProgressDialog> progressSheet_;
    // The project and target of the last archive the user confirmed, to run it again.
    std::optional<std::pair<QString, ArchiveTarget>> lastArchive_;
};

} // namespace corvane
