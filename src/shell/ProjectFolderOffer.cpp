#include "shell/ProjectFolderOffer.h"

#include "platform/BackgroundJobs.h"
#include "platform/ByteFormat.h"
#include "platform/SizeCalculator.h"
#include "scanning/UsualProjectFolders.h"

#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

namespace corvane {
namespace {

const QString measuringText = QStringLiteral("Measuring…");

// "~/Code" for a folder in the home folder.
QString shownPath(const QString& home, const QString& folder) {
    const QString relative = QDir(home).relativeFilePath(folder);
    return relative.startsWith(QStringLiteral("..")) ? QDir::toNativeSeparators(folder)
                                                     : QStringLiteral("~/") + relative;
}

QLabel* passiveLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    // Clicks go to the button the label sits on.
    label->setAttribute(Qt::WA_TransparentForMouseEvents);
    return label;
}

} // namespace

ProjectFolderOffer::ProjectFolderOffer(const QString& home, QWidget* parent)
    : QWidget(parent)
    , mailbox_(std::make_shared<MainThreadMailbox>(this)) {
    setObjectName(QStringLiteral("projectFolderOffer"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    for (const QString& folder : UsualProjectFolders::find(home))
        addFolder(home, folder);
}

ProjectFolderOffer::~ProjectFolderOffer() {
    cancellation_.cancel();
    mailbox_->close();
}

QString ProjectFolderOffer::sizeText(const QString& folder) const {
    const QLabel* size = sizes_.value(folder);
    return size ? size->text() : QString();
}

void ProjectFolderOffer::addFolder(const QString& home, const QString& folder) {
    auto* button = new QPushButton(this);
    button->setObjectName(QStringLiteral("offeredFolder"));
    button->setToolTip(QStringLiteral("Scan %1").arg(QDir::toNativeSeparators(folder)));
    button->setAccessibleName(shownPath(home, folder));
    auto* row = new QHBoxLayout(button);
    row->setContentsMargins(10, 4, 10, 4);
    auto* icon = passiveLabel(QString(), button);
    icon->setPixmap(style()->standardIcon(QStyle::SP_DirIcon).pixmap(16, 16));
    row->addWidget(icon);
    row->addWidget(passiveLabel(shownPath(home, folder), button), 1);
    auto* size = passiveLabel(measuringText, button);
    size->setForegroundRole(QPalette::PlaceholderText);
    row->addWidget(size);
    button->setMinimumHeight(row->sizeHint().height());
    connect(button, &QPushButton::clicked, this, [this, folder] { emit folderChosen(folder); });
    layout()->addWidget(button);
    folders_.append(folder);
    buttons_.insert(folder, button);
    sizes_.insert(folder, size);
    measure(folder);
}

void ProjectFolderOffer::measure(const QString& folder) {
    runInBackground([this, folder, cancellation = cancellation_, mailbox = mailbox_] {
        yieldToTheWindow();
        try {
            const qint64 bytes = SizeCalculator::size(folder, cancellation);
            // The mailbox drops the result once this offer is gone.
            mailbox->post([this, folder, bytes] {
                if (QLabel* size = sizes_.value(folder))
                    size->setText(formatBytes(bytes));
            });
        } catch (const CancelledError&) {
            // The offer closed before the folder was measured; nobody waits for the size.
        }
    });
}

} // namespace corvane
