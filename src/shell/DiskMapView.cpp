#include "shell/DiskMapView.h"

#include "platform/ByteFormat.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "shell/DiskMapKnownFolders.h"
#include "shell/ItemContextMenu.h"
#include "shell/PageLayout.h"
#include "shell/TrashFlow.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace corvane {
namespace {

QString legendHtml() {
    QStringList entries;
    for (const MapCategory category : allMapCategories()) {
        entries.append(QStringLiteral("<span style=\"color:%1\">&#9632;</span>&nbsp;%2")
                           .arg(DiskMapCanvas::colourOf(category).name(),
                                mapCategoryName(category).toHtmlEscaped()));
    }
    return entries.join(QStringLiteral(" &nbsp; "));
}

} // namespace

const QString DiskMapView::introText = QStringLiteral(
    "Where the space goes, folder by folder, coloured by what Corvane Clean knows of it. Click a "
    "folder to look inside.");
const QString DiskMapView::trashTitle = QStringLiteral("Move to Trash…");

DiskMapView::DiskMapView(DiskMapModel& model, QWidget* parent)
    : QWidget(parent)
    , model_(model)
    , canvas_(new DiskMapCanvas(model, this))
    , crumbs_(new QWidget(this))
    , crumbsLayout_(new QHBoxLayout(crumbs_))
    , legend_(new QLabel(legendHtml(), this))
    , status_(new StatusLine(this))
    , chooseButton_(new QPushButton(QStringLiteral("Choose Folder…"), this))
    , rescanButton_(new QPushButton(QStringLiteral("Measure Again"), this)) {
    setObjectName(QStringLiteral("diskMapView"));
    crumbs_->setObjectName(QStringLiteral("diskMapBreadcrumb"));
    crumbsLayout_->setContentsMargins(0, 0, 0, 0);
    crumbsLayout_->setSpacing(0);
    legend_->setObjectName(QStringLiteral("diskMapLegend"));
    legend_->setWordWrap(true);
    status_->setObjectName(QStringLiteral("diskMapStatus"));
    refreshTimer_.setObjectName(QStringLiteral("diskMapRefresh"));
    refreshTimer_.setSingleShot(true);
    refreshTimer_.setInterval(refreshInterval);

    auto* body = new QVBoxLayout;
    body->addWidget(crumbs_);
    body->addWidget(canvas_, 1);
    body->addWidget(legend_);
    auto* footer = new QHBoxLayout;
    footer->addWidget(status_, 1);
    footer->addWidget(chooseButton_);
    footer->addWidget(rescanButton_);
    layOutPage(*this, QStringLiteral("Disk map"), introText, body, footer);

    connect(&refreshTimer_, &QTimer::timeout, this, &DiskMapView::refresh);
    connect(&model_, &DiskMapModel::mapChanged, this, &DiskMapView::scheduleRefresh);
    connect(&model_, &DiskMapModel::skippedFoldersChanged, this, &DiskMapView::showStatus);
    connect(&model_, &InventoryModel::isLoadingChanged, this, &DiskMapView::refresh);
    connect(&model_, &DiskMapModel::mapReset, this, [this] { zoomTo(DiskMapModel::rootFolder); });
    connect(canvas_, &DiskMapCanvas::zoomRequested, this, &DiskMapView::zoomTo);
    connect(canvas_, &DiskMapCanvas::hoverChanged, this, [this](const QString& description) {
        hover_ = description;
        showStatus();
    });
    connect(canvas_, &DiskMapCanvas::menuRequested, this,
            [this](FolderID folder, const QPoint& at) { menuFor(folder)->popup(at); });
    connect(chooseButton_, &QPushButton::clicked, this, [this] {
        const QString folder = QFileDialog::getExistingDirectory(
            this, QStringLiteral("Choose the folder to map"), model_.folder());
        if (!folder.isEmpty())
            showFolder(folder);
    });
    connect(rescanButton_, &QPushButton::clicked, this, [this] {
        if (!model_.folder().isEmpty())
            showFolder(model_.folder());
    });
    refresh();
}

void DiskMapView::showFolder(const QString& folder) {
    const QString home = Locations::homeDir();
    model_.map(folder, [home] { return diskMapKnownFolders(home); });
}

void DiskMapView::showFolderOnce(const QString& folder) {
    if (Paths::absoluteStandardized(folder) != model_.folder())
        showFolder(folder);
}

void DiskMapView::scheduleRefresh() {
    // However fast batches come, the map is laid out and drawn at most ten times a second.
    if (!refreshTimer_.isActive())
        refreshTimer_.start();
}

void DiskMapView::refresh() {
    refreshTimer_.stop();
    canvas_->relayout();
    rebuildBreadcrumb();
    showStatus();
}

void DiskMapView::zoomTo(FolderID folder) {
    canvas_->setFocus(folder);
    rebuildBreadcrumb();
    showStatus();
}

QStringList DiskMapView::breadcrumb() const {
    QStringList names;
    for (FolderID id = canvas_->focus(); model_.node(id); id = model_.node(id)->parent) {
        names.prepend(id == DiskMapModel::rootFolder
                          ? Paths::withTilde(model_.folder(), Locations::homeDir())
                          : model_.node(id)->name);
        if (id == DiskMapModel::rootFolder)
            break;
    }
    return names;
}

QList<QToolButton*> DiskMapView::breadcrumbButtons() const {
    return crumbs_->findChildren<QToolButton*>(Qt::FindDirectChildrenOnly);
}

void DiskMapView::rebuildBreadcrumb() {
    QList<FolderID> chain;
    for (FolderID id = canvas_->focus(); model_.node(id); id = model_.node(id)->parent) {
        chain.prepend(id);
        if (id == DiskMapModel::rootFolder)
            break;
    }
    const QStringList names = breadcrumb();
    QStringList shown;
    for (QToolButton* button : breadcrumbButtons())
        shown.append(button->text());
    if (shown == names)
        return;
    while (QLayoutItem* item = crumbsLayout_->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (qsizetype i = 0; i < chain.size(); ++i) {
        if (i > 0) {
            auto* separator = new QLabel(QStringLiteral("›"), crumbs_);
            separator->setForegroundRole(QPalette::PlaceholderText);
            crumbsLayout_->addWidget(separator);
        }
        auto* button = new QToolButton(crumbs_);
        button->setText(names[i]);
        button->setAutoRaise(true);
        const bool current = i == chain.size() - 1;
        QFont font = button->font();
        font.setBold(current);
        button->setFont(font);
        button->setEnabled(!current);
        connect(button, &QToolButton::clicked, this, [this, id = chain[i]] { zoomTo(id); });
        crumbsLayout_->addWidget(button);
    }
    crumbsLayout_->addStretch(1);
}

QString DiskMapView::statusText() const {
    return status_->text();
}

void DiskMapView::showStatus() {
    if (!hover_.isEmpty()) {
        status_->setText(hover_);
        return;
    }
    const DiskMapModel::Node* root = model_.node(DiskMapModel::rootFolder);
    if (!root) {
        status_->setText(model_.isLoading() ? QStringLiteral("Measuring…") : QString());
        return;
    }
    const QString where = Paths::withTilde(model_.folder(), Locations::homeDir());
    QString text =
        model_.isLoading()
            ? QStringLiteral("Measuring %1… %2 so far").arg(where, formatBytes(root->bytes))
            : QStringLiteral("%1: %2").arg(where, formatBytes(root->bytes));
    const qsizetype skipped = model_.skippedFolders().size();
    QStringList reasons;
    for (const ItemFailure& failure : model_.skippedFolders().mid(0, 20))
        reasons.append(failure.name + QStringLiteral(": ") + failure.message);
    if (skipped > 0)
        text += skipped == 1 ? QStringLiteral(" · 1 folder could not be measured")
                             : QStringLiteral(" · %1 folders could not be measured").arg(skipped);
    status_->setText(text);
    status_->setToolTip(reasons.join(u'\n'));
}

QMenu* DiskMapView::menuFor(FolderID folder) {
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("diskMapMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QString path = model_.pathOf(folder);
    ItemContextMenu::addPathEntries(*menu, {path}, this);
    menu->addSeparator();
    // The mapped folder itself is never offered for the Trash, so Keep means nothing for it.
    if (keepSession_ && folder != DiskMapModel::rootFolder)
        KeepMenu::addEntry(*menu, *keepSession_, path, KeepMenu::Subject::folder, this);
    QAction* trash = menu->addAction(trashTitle, this, [this, folder] { confirmTrash(folder); });
    // Said before it is tried: a kept folder, or one of the user's own, is never offered.
    if (const std::optional<QString> refusal = model_.trashRefusal(folder)) {
        trash->setEnabled(false);
        trash->setToolTip(*refusal);
        menu->setToolTipsVisible(true);
    }
    trash->setEnabled(trash->isEnabled() && !model_.isRemoving());
    return menu;
}

void DiskMapView::confirmTrash(FolderID folder) {
    const TrashPlan plan = model_.trashPlan(folder);
    if (plan.isEmpty() || model_.isRemoving())
        return;
    confirmThenTrash(*this, plan, [this](const TrashPlan& shown) { model_.trash(shown); });
}

} // namespace corvane
