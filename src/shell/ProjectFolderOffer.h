#pragma once

#include "platform/Cancellation.h"
#include "platform/MainThreadMailbox.h"

#include <QHash>
#include <QWidget>
#include <memory>

class QLabel;
class QPushButton;

namespace corvane {

// The usual project folders found in the home folder, one button each with the folder's size:
// "Measuring…" until a worker has measured it. Pressing one chooses it.
class ProjectFolderOffer : public QWidget {
    Q_OBJECT

public:
    explicit ProjectFolderOffer(const QString& home, QWidget* parent = nullptr);
    ~ProjectFolderOffer() override;

    // In the order they are offered.
    const QStringList& folders() const { return folders_; }
    bool isEmpty() const { return folders_.isEmpty(); }
    // The size shown beside `folder`: "Measuring…" or the measured size.
    QString sizeText(const QString& folder) const;
    QPushButton* button(const QString& folder) const { return buttons_.value(folder); }

signals:
    void folderChosen(const QString& folder);

private:
    void addFolder(const QString& home, const QString& folder);
    void measure(const QString& folder);

    QStringList folders_;
    QHash<QString, QPushButton*> buttons_;
    QHash<QString, QLabel*> sizes_;
    CancellationToken cancellation_;
    std::shared_ptr<MainThreadMailbox> mailbox_;
};

} // namespace corvane
