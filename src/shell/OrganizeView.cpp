#include "shell/OrganizeView.h"

#include "platform/Paths.h"
#include "shell/ConfirmationSheet.h"
#include "shell/FilterBar.h"
#include "shell/ItemContextMenu.h"
#include "shell/ListFinder.h"
#include "shell/PageLayout.h"

#include <QComboBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corvane {
namespace {

// The ready projects under the folder each moves into, by name, from where they are now.
QList<ConfirmationGroup> readyGroups(const OrganizeModel& model) {
    QList<ConfirmationGroup> groups;
    for (const OrganizeEntry& entry : model.readyEntries()) {
        const QString into = Paths::parentPath(entry.targetPath());
        const QString title = QStringLiteral("Into ") + Paths::withTilde(into, model.home());
        if (groups.isEmpty() || groups.last().title != title)
            groups.append({title, {}});
        groups.last().items.append({Paths::lastComponent(entry.candidate.path),
                                    entry.candidate.path, std::nullopt, std::nullopt});
    }
    return groups;
}

enum PlanColumn { projectColumn, folderColumn, statusColumn, whereColumn };
enum OrphanColumn { missingColumn, sessionsColumn, suggestionColumn };

QString projectsWord(qsizetype count) {
    return count == 1 ? QStringLiteral("1 Project") : QStringLiteral("%1 Projects").arg(count);
}

QString organizeTitle(qsizetype ready) {
    return ready == 0 ? QStringLiteral("Organize Projects")
                      : QStringLiteral("Organize ") + projectsWord(ready);
}

QString statusTitle(const OrganizeStatus& status) {
    using Case = OrganizeStatus::Case;
    switch (status.kind) {
    case Case::ready:
        return QStringLiteral("Ready");
    case Case::busy:
        return QStringLiteral("In use");
    case Case::usedByShell:
        return QStringLiteral("Used by your shell");
    case Case::alreadyOrganized:
        return QStringLiteral("Already organized");
    case Case::destinationTaken:
    case Case::duplicateDestination:
        return QStringLiteral("Name taken");
    case Case::otherDisk:
        return QStringLiteral("Other disk");
    case Case::missing:
        return QStringLiteral("Missing");
    }
    return {};
}

QString agentWords(const OrganizeCandidate& candidate) {
    QStringList words;
    if (candidate.isWorkspace)
        words.append(QStringLiteral("workspace"));
    if (candidate.leadingAgent)
        words.append(displayName(*candidate.leadingAgent));
    if (candidate.isManual)
        words.append(QStringLiteral("added by you"));
    return words.join(QStringLiteral(", "));
}

} // namespace

const QString OrganizeView::introText = QStringLiteral(
    "Gathers the projects scattered around your home folder into one folder. Folders are renamed, "
    "never copied; the history of Claude Code, Codex, Cursor, VS Code and Antigravity follows "
    "each project, and Undo Last Organize puts everything back.");

OrganizeView::OrganizeView(OrganizeModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , destination_(new QLabel(this))
    , layout_(new QComboBox(this))
    , plan_(new QTreeWidget(this))
    , orphans_(new QTreeWidget(this))
    , state_(new QLabel(this))
    , progress_(new QProgressBar(this))
    , outcome_(new QLabel(this))
    , organizeButton_(new QPushButton(this))
    , undoButton_(new QPushButton(QStringLiteral("Undo Last Organize"), this))
    , addButton_(new QPushButton(QStringLiteral("Add Folder…"), this))
    , reloadButton_(new QPushButton(QStringLiteral("Reload"), this))
    , stopButton_(new QPushButton(QStringLiteral("Stop"), this))
    , relinkSuggestedButton_(new QPushButton(QStringLiteral("Relink to Suggested Folder"), this))
    , relinkToButton_(new QPushButton(QStringLiteral("Relink To…"), this)) {
    // A move is not a removal: a kept project is gathered too, and its mark follows it.
    ItemContextMenu::attach(
        *plan_,
        [](const QModelIndex& row) {
            return row.siblingAtColumn(projectColumn).data(Qt::UserRole).toString();
        },
        {true, KeepMenu::Subject::project});
    setObjectName(QStringLiteral("organizeView"));
    destination_->setObjectName(QStringLiteral("organizeDestination"));
    destination_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout_->setObjectName(QStringLiteral("organizeLayout"));
    for (OrganizeLayout layout : allOrganizeLayouts())
        layout_->addItem(displayName(layout), rawValue(layout));
    auto* chooseButton = new QPushButton(QStringLiteral("Choose…"), this);

    auto* choices = new QGridLayout;
    choices->addWidget(new QLabel(QStringLiteral("Destination:"), this), 0, 0);
    choices->addWidget(destination_, 0, 1);
    choices->addWidget(chooseButton, 0, 2);
    choices->addWidget(new QLabel(QStringLiteral("Layout:"), this), 1, 0);
    choices->addWidget(layout_, 1, 1, Qt::AlignLeft);
    choices->setColumnStretch(1, 1);

    plan_->setObjectName(QStringLiteral("organizePlan"));
    plan_->setAccessibleName(QStringLiteral("Planned moves"));
    plan_->setHeaderLabels({QStringLiteral("Project"), QStringLiteral("Now in"),
                            QStringLiteral("Status"), QStringLiteral("Goes to")});
    plan_->setUniformRowHeights(true);
    plan_->setAlternatingRowColors(true);
    plan_->setRootIsDecorated(true);
    plan_->header()->setStretchLastSection(true);
    plan_->header()->setSectionResizeMode(projectColumn, QHeaderView::ResizeToContents);
    plan_->header()->setSectionResizeMode(folderColumn, QHeaderView::ResizeToContents);
    plan_->header()->setSectionResizeMode(statusColumn, QHeaderView::ResizeToContents);
    state_->setObjectName(QStringLiteral("organizeState"));
    state_->setForegroundRole(QPalette::PlaceholderText);
    progress_->setObjectName(QStringLiteral("organizeProgress"));
    outcome_->setObjectName(QStringLiteral("organizeOutcome"));
    outcome_->setWordWrap(true);
    outcome_->setTextInteractionFlags(Qt::TextSelectableByMouse);

    orphans_->setObjectName(QStringLiteral("orphanList"));
    orphans_->setAccessibleName(QStringLiteral("Agent history whose folder is gone"));
    orphans_->setHeaderLabels({QStringLiteral("History whose folder is gone"),
                               QStringLiteral("Sessions"), QStringLiteral("Probably now at")});
    orphans_->setRootIsDecorated(false);
    orphans_->setUniformRowHeights(true);
    orphans_->header()->setSectionResizeMode(missingColumn, QHeaderView::ResizeToContents);
    orphans_->setMaximumHeight(150);
    auto* orphanButtons = new QHBoxLayout;
    orphanButtons->addStretch();
    orphanButtons->addWidget(relinkSuggestedButton_);
    orphanButtons->addWidget(relinkToButton_);

    auto* body = new QVBoxLayout;
    body->addLayout(choices);
    auto* filter = new FilterBar(QStringLiteral("Filter projects by name or path"), this);
    ListFinder::attach(*plan_, filter, QStringLiteral("organize"));
    body->addWidget(filter);
    body->addWidget(plan_, 1);
    body->addWidget(state_);
    body->addWidget(progress_);
    body->addWidget(outcome_);
    body->addWidget(orphans_);
    body->addLayout(orphanButtons);

    organizeButton_->setObjectName(QStringLiteral("organizeButton"));
    organizeButton_->setDefault(true);
    undoButton_->setObjectName(QStringLiteral("undoOrganizeButton"));
    auto* footer = new QHBoxLayout;
    footer->addWidget(addButton_);
    footer->addWidget(reloadButton_);
    footer->addStretch();
    footer->addWidget(undoButton_);
    footer->addWidget(stopButton_);
    footer->addWidget(organizeButton_);
    layOutPage(*this, QStringLiteral("Organize"), introText, body, footer);

    connect(chooseButton, &QPushButton::clicked, this, &OrganizeView::chooseDestination);
    connect(layout_, &QComboBox::activated, this, [this](int index) {
        model_.setLayout(allOrganizeLayouts().at(index));
        model_.reload();
    });
    connect(addButton_, &QPushButton::clicked, this, &OrganizeView::chooseFolderToAdd);
    connect(reloadButton_, &QPushButton::clicked, &model_, &OrganizeModel::reload);
    connect(organizeButton_, &QPushButton::clicked, this, &OrganizeView::confirmOrganize);
    connect(undoButton_, &QPushButton::clicked, this, &OrganizeView::confirmUndo);
    connect(stopButton_, &QPushButton::clicked, &model_, &OrganizeModel::cancelOrganize);
    connect(relinkSuggestedButton_, &QPushButton::clicked, this, [this] {
        if (QTreeWidgetItem* row = orphans_->currentItem())
            confirmRelink(row->data(suggestionColumn, Qt::UserRole).toString());
    });
    connect(relinkToButton_, &QPushButton::clicked, this, [this] {
        const QString folder = QFileDialog::getExistingDirectory(
            this, QStringLiteral("Where does this project live now?"), model_.destination());
        if (!folder.isEmpty())
            confirmRelink(folder);
    });
    connect(orphans_, &QTreeWidget::currentItemChanged, this, &OrganizeView::updateButtons);

    connect(&model_, &OrganizeModel::choicesChanged, this, &OrganizeView::showChoices);
    connect(&model_, &OrganizeModel::planChanged, this, &OrganizeView::showPlan);
    connect(&model_, &OrganizeModel::planChanged, this, &OrganizeView::showOrphans);
    connect(&model_, &OrganizeModel::planChanged, this, &OrganizeView::showOutcome);
    connect(&model_, &OrganizeModel::progressChanged, this, &OrganizeView::showProgress);
    connect(&model_, &OrganizeModel::actionFinished, this, &OrganizeView::showOutcome);
    for (const auto signal :
         {&InventoryModel::isLoadingChanged, &InventoryModel::isRemovingChanged})
        connect(&model_, signal, this, &OrganizeView::showState);
    connect(&model_, &OrganizeModel::canUndoChanged, this, &OrganizeView::updateButtons);

    outcome_->hide();
    showChoices();
    showPlan();
    showOrphans();
    showProgress();
}

QString OrganizeView::shown(const QString& path) const {
    return Paths::withTilde(path, model_.home());
}

void OrganizeView::showChoices() {
    destination_->setText(shown(model_.destination()));
    destination_->setToolTip(model_.destination());
    layout_->setCurrentIndex(static_cast<int>(allOrganizeLayouts().indexOf(model_.layout())));
}

void OrganizeView::showPlan() {
    plan_->clear();
    QMap<QString, QTreeWidgetItem*> groups;
    for (const OrganizeEntry& entry : model_.entries()) {
        const QString groupName = entry.group.value_or(Paths::lastComponent(entry.destinationRoot));
        QTreeWidgetItem*& group = groups[groupName];
        if (!group) {
            group = new QTreeWidgetItem(plan_);
            group->setText(projectColumn, groupName);
            group->setText(whereColumn,
                           shown(entry.group ? Paths::joined(entry.destinationRoot, *entry.group)
                                             : entry.destinationRoot));
            QFont bold = group->font(projectColumn);
            bold.setBold(true);
            group->setFont(projectColumn, bold);
        }
        auto* row = new QTreeWidgetItem(group);
        const QString name = Paths::lastComponent(entry.candidate.path);
        const QString words = agentWords(entry.candidate);
        row->setText(projectColumn,
                     words.isEmpty() ? name : name + QStringLiteral("  (") + words + u')');
        row->setToolTip(projectColumn, entry.candidate.path);
        row->setData(projectColumn, Qt::UserRole, entry.candidate.path);
        row->setText(folderColumn, shown(Paths::parentPath(entry.candidate.path)));
        row->setText(statusColumn, statusTitle(entry.status));
        const bool ready = entry.status.kind == OrganizeStatus::Case::ready;
        row->setText(whereColumn, ready ? shown(entry.targetPath()) : entry.reasonSentence());
        row->setToolTip(whereColumn, ready ? entry.targetPath() : entry.reasonSentence());
        if (!ready)
            for (int column = 0; column < plan_->columnCount(); ++column)
                row->setForeground(column, palette().brush(QPalette::PlaceholderText));
    }
    plan_->expandAll();
    showState();
}

void OrganizeView::showState() {
    QString state;
    if (!model_.hasLoaded() || (model_.isLoading() && model_.entries().isEmpty()))
        state = QStringLiteral("Looking for projects in your home folder…");
    else if (model_.entries().isEmpty())
        state = QStringLiteral("No projects were found outside the destination.");
    else
        state = QStringLiteral("%1 ready to move, %2 listed.")
                    .arg(projectsWord(model_.readyEntries().size()).toLower())
                    .arg(model_.entries().size());
    state_->setText(state);
    // With nothing to move the sentence takes the plan's place instead of sitting under an empty
    // list.
    const bool nothing = model_.entries().isEmpty();
    plan_->setVisible(!nothing);
    state_->setAlignment(nothing ? Qt::AlignCenter : Qt::AlignLeft | Qt::AlignVCenter);
    state_->setSizePolicy(QSizePolicy::Preferred,
                          nothing ? QSizePolicy::Expanding : QSizePolicy::Preferred);
    updateButtons();
}

void OrganizeView::showOrphans() {
    orphans_->clear();
    for (const OrphanedHistory& orphan : model_.orphans()) {
        auto* row = new QTreeWidgetItem(orphans_);
        row->setText(missingColumn, shown(orphan.missingPath));
        row->setData(missingColumn, Qt::UserRole, orphan.missingPath);
        row->setText(sessionsColumn, QString::number(orphan.sessions.size()));
        if (orphan.suggestion) {
            row->setText(suggestionColumn,
                         QStringLiteral("Probably now at ") + shown(*orphan.suggestion));
            row->setData(suggestionColumn, Qt::UserRole, *orphan.suggestion);
        }
    }
    orphans_->setVisible(!model_.orphans().isEmpty());
    relinkSuggestedButton_->setVisible(!model_.orphans().isEmpty());
    relinkToButton_->setVisible(!model_.orphans().isEmpty());
    updateButtons();
}

void OrganizeView::showProgress() {
    const bool running = model_.isOrganizing() && model_.progressCount() > 0;
    progress_->setVisible(running);
    stopButton_->setVisible(model_.isOrganizing());
    if (!running)
        return;
    progress_->setRange(0, model_.progressCount());
    progress_->setValue(model_.progressIndex());
    progress_->setFormat(QStringLiteral("Moving %1 (%2 of %3)")
                             .arg(Paths::lastComponent(model_.progressSource()))
                             .arg(model_.progressIndex() + 1)
                             .arg(model_.progressCount()));
}

void OrganizeView::showOutcome() {
    QStringList lines;
    if (model_.journalProblem())
        lines.append(*model_.journalProblem());
    if (const auto& undo = model_.lastUndo()) {
        lines.append(
            QStringLiteral("Put back %1.").arg(projectsWord(undo->restored.size()).toLower()));
    } else if (const auto& outcome = model_.lastOutcome()) {
        for (const MoveRecord& move : outcome->run.moves)
            lines.append((move.movedFolder ? QStringLiteral("Moved %1 to %2")
                                           : QStringLiteral("Relinked the history of %1 to %2"))
                             .arg(shown(move.source), shown(move.destination)));
        for (const QString& folder : outcome->run.trashedEmptyFolders)
            lines.append(
                QStringLiteral("Moved the empty folder %1 to the Trash").arg(shown(folder)));
    }
    for (const ItemFailure& failure : model_.failures())
        lines.append(
            QStringLiteral("Could not move %1: %2").arg(shown(failure.itemID), failure.message));
    outcome_->setText(lines.join(u'\n'));
    outcome_->setVisible(!lines.isEmpty());
    showProgress();
}

void OrganizeView::updateButtons() {
    const bool busy = model_.isOrganizing() || model_.isLoading();
    const qsizetype ready = model_.readyEntries().size();
    organizeButton_->setText(organizeTitle(ready));
    organizeButton_->setEnabled(!busy && ready > 0);
    undoButton_->setEnabled(!busy && model_.canUndo());
    addButton_->setEnabled(!model_.isOrganizing());
    reloadButton_->setEnabled(!busy);
    const QTreeWidgetItem* orphan = orphans_->currentItem();
    relinkSuggestedButton_->setEnabled(
        !busy && orphan && !orphan->data(suggestionColumn, Qt::UserRole).toString().isEmpty());
    relinkToButton_->setEnabled(!busy && orphan);
    stopButton_->setVisible(model_.isOrganizing());
}

void OrganizeView::chooseDestination() {
    const QString folder = QFileDialog::getExistingDirectory(
        this, QStringLiteral("Gather projects into"), model_.destination());
    if (folder.isEmpty())
        return;
    model_.setDestination(folder);
    model_.reload();
}

void OrganizeView::chooseFolderToAdd() {
    const QString folder =
        QFileDialog::getExistingDirectory(this, QStringLiteral("Add a project folder"));
    if (!folder.isEmpty())
        addFolder(folder);
}

void OrganizeView::addFolder(const QString& folder) {
    if (const std::optional<QString> refusal = model_.addFolder(folder)) {
        auto* box = new QMessageBox(QMessageBox::Information,
                                    QStringLiteral("This folder can't be organized"), *refusal,
                                    QMessageBox::Ok, window());
        box->setObjectName(QStringLiteral("organizeRefusal"));
        box->setWindowModality(Qt::WindowModal);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->open();
        return;
    }
    model_.reload();
}

void OrganizeView::ask(const QString& objectName, const QString& text, const QString& informative,
                       const QString& acceptTitle, std::function<void()> accepted,
                       const QList<ConfirmationGroup>& groups) {
    ConfirmationSheet::ask(window(), {objectName, text, text, informative, acceptTitle}, groups,
                           std::move(accepted));
}

void OrganizeView::confirmOrganize() {
    const qsizetype ready = model_.readyEntries().size();
    if (ready == 0)
        return;
    ask(
        QStringLiteral("organizeConfirmation"),
        QStringLiteral("Move %1 into %2?").arg(projectsWord(ready).toLower(), model_.destination()),
        QStringLiteral("Each folder is renamed on this disk, and its coding-agent history follows "
                       "it. Undo Last Organize puts everything back."),
        QStringLiteral("Organize"), [this] { model_.organize(); }, readyGroups(model_));
}

void OrganizeView::confirmUndo() {
    ask(QStringLiteral("undoOrganizeConfirmation"),
        QStringLiteral("Put the projects of the last organize back?"),
        QStringLiteral("Each folder goes back to where it was, with its agent history."),
        QStringLiteral("Undo"), [this] { model_.undoLast(); });
}

void OrganizeView::confirmRelink(const QString& folder) {
    const QTreeWidgetItem* orphan = orphans_->currentItem();
    if (!orphan || folder.isEmpty())
        return;
    const QString missing = orphan->data(missingColumn, Qt::UserRole).toString();
    ask(QStringLiteral("relinkConfirmation"),
        QStringLiteral("Relink the history of %1 to %2?").arg(missing, folder),
        QStringLiteral("The agents' records that name the old folder will name this one. Undo Last "
                       "Organize takes this back."),
        QStringLiteral("Relink"),
        [this, missing, folder] { model_.relinkOrphan(missing, folder); });
}

} // namespace corvane
