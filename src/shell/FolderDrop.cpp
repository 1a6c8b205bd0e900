#include "shell/FolderDrop.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>
#include <QWidget>

namespace corvane {

FolderDrop::FolderDrop(QWidget& target, std::function<void(const QString& folder)> dropped)
    : QObject(&target)
    , dropped_(std::move(dropped)) {
    target.setAcceptDrops(true);
    target.installEventFilter(this);
}

void FolderDrop::install(QWidget& target, std::function<void(const QString& folder)> dropped) {
    new FolderDrop(target, std::move(dropped));
}

std::optional<QString> FolderDrop::folderIn(const QMimeData& data) {
    const QList<QUrl> urls = data.urls();
    if (urls.size() != 1 || !urls.first().isLocalFile())
        return std::nullopt;
    const QFileInfo info(urls.first().toLocalFile());
    if (!info.isDir())
        return std::nullopt;
    return QDir::cleanPath(info.absoluteFilePath());
}

bool FolderDrop::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::DragEnter:
    case QEvent::DragMove: {
        auto* drag = static_cast<QDragMoveEvent*>(event);
        if (drag->mimeData() && folderIn(*drag->mimeData()))
            drag->acceptProposedAction();
        else
            drag->ignore();
        return true;
    }
    case QEvent::Drop: {
        auto* drop = static_cast<QDropEvent*>(event);
        const std::optional<QString> folder =
            drop->mimeData() ? folderIn(*drop->mimeData()) : std::nullopt;
        if (!folder) {
            drop->ignore();
            return true;
        }
        drop->acceptProposedAction();
        // The refusals (the home folder's Desktop, the root…) are the scan's to say.
        dropped_(*folder);
        return true;
    }
    default:
        return QObject::eventFilter(watched, event);
    }
}

} // namespace corvane
