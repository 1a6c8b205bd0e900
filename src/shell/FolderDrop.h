#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <optional>

class QMimeData;
class QWidget;

namespace corvane {

// Lets the user drop a folder on a window to have it scanned: a drag of exactly one local folder
// is accepted, anything else (files, several items, web links) is not, so the pointer says so
// before the drop.
class FolderDrop : public QObject {
    Q_OBJECT

public:
    // Owned by `target`; `dropped` receives the folder's path.
    static void install(QWidget& target, std::function<void(const QString& folder)> dropped);

    // The folder a drag carries, when it carries one local folder and nothing else.
    static std::optional<QString> folderIn(const QMimeData& data);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    FolderDrop(QWidget& target, std::function<void(const QString& folder)> dropped);

    std::function<void(const QString& folder)> dropped_;
};

} // namespace corvane
