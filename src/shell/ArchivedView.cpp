#include "shell/ArchivedView.h"

#include "shell/FilterBar.h"
#include "shell/ItemContextMenu.h"
#include "shell/ListFinder.h"
#include "shell/PageLayout.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corvane {
namespace {

enum Column { nameColumn, whereColumn, whenColumn, stateColumn, verifiedColumn };

QString stateOf(const ArchiveRecord& record) {
    if (record.restoredPath)
        return QStringLiteral("Restored to ") + *record.restoredPath;
    return ArchivesModel::isAvailable(record) ? QStringLiteral("Archived")
                                              : QStringLiteral("Not connected");
}

} // namespace

const QString ArchivedView::introText =
    QStringLiteral("Projects moved to drives, shares and servers, verified before the original "
                   "went to the Trash. Restoring copies a project back, with its agent history; "
                   "the archived copy is never touched.");

ArchivedView::ArchivedView(ArchivesModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , list_(new QTreeWidget(this))
    , state_(new QLabel(this))
    , hint_(new QLabel(this))
    , error_(new QLabel(this))
    , restore_(new QPushButton(QStringLiteral("Restore"), this))
    , restoreElsewhere_(new QPushButton(QStringLiteral("Restore to Another Folder…"), this))
    , removePartial_(new QPushButton(QStringLiteral("Remove Partial Copy and Restore"), this)) {
    ItemContextMenu::attach(*list_, [this](const QModelIndex& row) {
        const QUuid id = row.siblingAtColumn(nameColumn).data(Qt::UserRole).toUuid();
        for (const ArchiveRecord& record : model_.records()) {
            if (record.id == id && record.location.kind == ArchiveLocation::Case::folder)
                return record.location.path;
        }
        return QString();
    });
    setObjectName(QStringLiteral("archivedView"));
    list_->setObjectName(QStringLiteral("archivedList"));
    list_->setAccessibleName(QStringLiteral("Archived projects"));
    list_->setHeaderLabels({QStringLiteral("Project"), QStringLiteral("Archived at"),
                            QStringLiteral("When"), QStringLiteral("State"),
                            QStringLiteral("Verified")});
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->setAlternatingRowColors(true);
    list_->header()->setSectionResizeMode(nameColumn, QHeaderView::ResizeToContents);
    list_->header()->setSectionResizeMode(whereColumn, QHeaderView::Stretch);
    list_->header()->setSectionResizeMode(whenColumn, QHeaderView::ResizeToContents);
    list_->header()->setSectionResizeMode(stateColumn, QHeaderView::ResizeToContents);
    list_->header()->setSectionResizeMode(verifiedColumn, QHeaderView::ResizeToContents);
    list_->header()->setStretchLastSection(false);
    state_->setForegroundRole(QPalette::PlaceholderText);
    hint_->setObjectName(QStringLiteral("restoreHint"));
    hint_->setWordWrap(true);
    error_->setObjectName(QStringLiteral("restoreError"));
    error_->setWordWrap(true);
    error_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // A red that reads on light and dark window colours alike.
    QPalette warning = error_->palette();
    warning.setColor(QPalette::WindowText, QColor(0xd9, 0x3f, 0x2f));
    error_->setPalette(warning);
    restore_->setObjectName(QStringLiteral("restoreButton"));
    restoreElsewhere_->setObjectName(QStringLiteral("restoreElsewhereButton"));
    removePartial_->setObjectName(QStringLiteral("removePartialButton"));
    removePartial_->setVisible(false);

    auto* body = new QVBoxLayout;
    auto* filter = new FilterBar(QStringLiteral("Filter by name or path"), this);
    ListFinder::attach(*list_, filter, QStringLiteral("archived"));
    body->addWidget(filter);
    body->addWidget(list_, 1);
    body->addWidget(state_);
    body->addWidget(hint_);
    body->addWidget(error_);
    auto* footer = new QHBoxLayout;
    footer->addWidget(removePartial_);
    footer->addStretch();
    footer->addWidget(restoreElsewhere_);
    footer->addWidget(restore_);
    layOutPage(*this, QStringLiteral("Archived projects"), introText, body, footer);

    connect(list_, &QTreeWidget::currentItemChanged, this, &ArchivedView::updateSelection);
    connect(restore_, &QPushButton::clicked, this, [this] { restoreSelectedTo({}); });
    connect(removePartial_, &QPushButton::clicked, this, [this] {
        if (!lastRestore_)
            return;
        ArchiveOptions options;
        options.removeInterruptedCopy = true;
        model_.restore(lastRestore_->first, lastRestore_->second, options);
    });
    connect(restoreElsewhere_, &QPushButton::clicked, this, [this] {
        const QString folder =
            QFileDialog::getExistingDirectory(this, QStringLiteral("Choose the folder to restore"));
        if (!folder.isEmpty())
            restoreSelectedTo(folder);
    });
    connect(&model_, &ArchivesModel::recordsChanged, this, &ArchivedView::showRecords);
    connect(&model_, &ArchivesModel::actionFinished, this, &ArchivedView::updateSelection);
    connect(&model_, &InventoryModel::isLoadingChanged, this, &ArchivedView::showRecords);
    showRecords();
}

std::optional<ArchiveRecord> ArchivedView::selected() const {
    const QTreeWidgetItem* row = list_->currentItem();
    if (!row)
        return std::nullopt;
    const QUuid id = row->data(nameColumn, Qt::UserRole).toUuid();
    for (const ArchiveRecord& record : model_.records()) {
        if (record.id == id)
            return record;
    }
    return std::nullopt;
}

void ArchivedView::restoreSelectedTo(const QString& folder) {
    if (const std::optional<ArchiveRecord> record = selected()) {
        lastRestore_ = std::pair(*record, folder);
        model_.restore(*record, folder);
    }
}

void ArchivedView::showRecords() {
    const std::optional<ArchiveRecord> current = selected();
    list_->clear();
    // Newest first: the project archived last is the one most often looked for.
    for (auto record = model_.records().rbegin(); record != model_.records().rend(); ++record) {
        auto* row = new QTreeWidgetItem(list_);
        row->setText(nameColumn, record->name);
        row->setToolTip(nameColumn, QStringLiteral("Was at ") + record->originalPath);
        row->setData(nameColumn, ListOrder::pathRole, record->originalPath);
        row->setData(nameColumn, Qt::UserRole, record->id);
        row->setText(whereColumn, record->locationDescription());
        row->setText(whenColumn,
                     QLocale().toString(record->archivedAt.toLocalTime(), QLocale::ShortFormat));
        row->setData(whenColumn, ListOrder::sortKeyRole, record->archivedAt);
        row->setText(stateColumn, stateOf(*record));
        // Counting is all a server without a digest tool allowed; the user should know which.
        row->setText(verifiedColumn, record->verifiedBy == Verification::content
                                         ? QStringLiteral("By content")
                                         : QStringLiteral("By counting"));
        row->setToolTip(verifiedColumn, ArchivesModel::verificationText(record->verifiedBy));
        if (current && current->id == record->id)
            list_->setCurrentItem(row);
    }
    if (!list_->currentItem() && list_->topLevelItemCount() > 0)
        list_->setCurrentItem(list_->topLevelItem(0));
    state_->setText(model_.records().isEmpty() && !model_.catalogProblem()
                        ? (model_.hasLoaded() ? QStringLiteral("No project has been archived yet. "
                                                               "Archive… on a project moves it to "
                                                               "a drive, a share or a server.")
                                              : QStringLiteral("Reading the archive list…"))
                        : QString());
    // Nothing archived: the sentence takes the list's place instead of sitting under an empty one.
    const bool empty = !state_->text().isEmpty();
    state_->setVisible(empty);
    list_->setVisible(!empty);
    state_->setAlignment(empty ? Qt::AlignCenter : Qt::AlignLeft | Qt::AlignVCenter);
    state_->setSizePolicy(QSizePolicy::Preferred,
                          empty ? QSizePolicy::Expanding : QSizePolicy::Preferred);
    updateSelection();
}

void ArchivedView::updateSelection() {
    const std::optional<ArchiveRecord> record = selected();
    const bool idle = !model_.isBusy();
    restore_->setEnabled(idle && record && ArchivesModel::canRestoreInPlace(*record));
    restoreElsewhere_->setEnabled(idle && record && ArchivesModel::isAvailable(*record));
    QString hint;
    if (record) {
        hint = ArchivesModel::restoreHint(*record);
        if (ArchivesModel::isAvailable(*record))
            hint += QStringLiteral(". The archived copy is never touched.");
    }
    hint_->setText(hint);
    restore_->setToolTip(hint);
    QStringList errors;
    for (const std::optional<QString>& error : {model_.catalogProblem(), model_.errorMessage()})
        if (error)
            errors.append(*error);
    error_->setText(errors.join(u'\n'));
    error_->setVisible(!errors.isEmpty());
    removePartial_->setVisible(idle && lastRestore_ && !model_.lastActionWasArchive() &&
                               model_.interruptedCopy().has_value());
}

} // namespace corvane
