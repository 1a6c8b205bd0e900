#pragma once

#include "scanning/DiskMapModel.h"
#include "scanning/ScanSession.h"
#include "shell/DiskMapCanvas.h"
#include "shell/StatusLine.h"

#include <QTimer>
#include <QWidget>

class QHBoxLayout;
class QLabel;
class QMenu;
class QPushButton;
class QToolButton;

namespace corvane {

// The disk map page: a treemap of one folder that fills in while it is measured. Click a folder
// to zoom in, the path above the map to zoom out; hovering tells a folder's path and size, and
// its context menu shows it in the file manager, copies its path, marks it Keep or moves it to the
// Trash after the usual confirmation.
class DiskMapView : public QWidget {
    Q_OBJECT

public:
    using FolderID = DiskMapModel::FolderID;

    static const QString introText;
    static const QString trashTitle;
    // The map is drawn again at most this often while the walk goes on.
    static constexpr int refreshInterval = 100;
    // A change of the map waits to be drawn.
    bool isRefreshPending() const { return refreshTimer_.isActive(); }

    explicit DiskMapView(DiskMapModel& model, QWidget* parent = nullptr);

    // Maps `folder`, coloured by what the app knows of the home folder.
    void showFolder(const QString& folder);
    // Maps `folder` unless it is the one mapped already.
    void showFolderOnce(const QString& folder);

    DiskMapCanvas* canvas() const { return canvas_; }
    void zoomTo(FolderID folder);
    // The folders from the mapped one down to the one in focus, as the path above the map
    // names them.
    QStringList breadcrumb() const;
    QList<QToolButton*> breadcrumbButtons() const;
    QString statusText() const;
    // The context menu of `folder`; it deletes itself when closed.
    QMenu* menuFor(FolderID folder);
    // The marks the menu's Keep entry changes; without them the menu offers none.
    void setKeepSession(ScanSession& session) { keepSession_ = &session; }

private:
    void scheduleRefresh();
    void refresh();
    void rebuildBreadcrumb();
    void showStatus();
    void confirmTrash(FolderID folder);

    DiskMapModel& model_;
    DiskMapCanvas* canvas_;
    QWidget* crumbs_;
    QHBoxLayout* crumbsLayout_;
    QLabel* legend_;
    StatusLine* status_;
    QPushButton* chooseButton_;
    QPushButton* rescanButton_;
    QTimer refreshTimer_;
    QString hover_;
    ScanSession* keepSession_ = nullptr;
};

} // namespace corvane
