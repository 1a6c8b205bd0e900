#include "shell/AppsView.h"

#include "platform/ByteFormat.h"
#include "platform/Paths.h"
#include "platform/PlatformWords.h"
#include "shell/ConfirmationSheet.h"
#include "shell/FilterBar.h"
#include "shell/InventoryWidgets.h"
#include "shell/ItemContextMenu.h"
#include "shell/ListFinder.h"
#include "shell/PageLayout.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corvane {
namespace {

enum Column { nameColumn, sizeColumn, detailColumn };
constexpr int urlRole = Qt::UserRole;
constexpr int kindRole = Qt::UserRole + 1;
enum RowKind { appRow = 1, leftoverRow = 2 };

QString sourceWords(const InstalledApp& app) {
    switch (app.source) {
    case AppSource::appStore:
        return QStringLiteral("App Store");
    case AppSource::homebrew:
        return QStringLiteral("Homebrew cask ") + app.caskToken.value_or(QString());
    case AppSource::apple:
        return QStringLiteral("Apple");
    case AppSource::packageManager:
        return QStringLiteral("Package manager");
    case AppSource::snap:
        return QStringLiteral("Snap");
    case AppSource::appImage:
        return QStringLiteral("AppImage");
    case AppSource::other:
        break;
    }
    if (app.flatpakInstallation)
        return QStringLiteral("Flatpak");
    return app.desktopEntry ? QStringLiteral("Installed by hand") : QString();
}

QTreeWidgetItem* dataRow(QTreeWidgetItem* parent, const AppDataItem& item) {
    auto* row = new QTreeWidgetItem(parent);
    row->setText(nameColumn, label(item.kind));
    InventoryWidgets::setSize(*row, sizeColumn, item.sizeBytes);
    row->setText(detailColumn, item.isExactMatch
                                   ? item.url
                                   : item.url + QStringLiteral("  (possibly related: ") +
                                         AppsModel::possiblyRelatedNote + u')');
    row->setToolTip(detailColumn, item.url);
    row->setData(nameColumn, urlRole, item.url);
    return row;
}

} // namespace

AppRemovalSheet::AppRemovalSheet(const InstalledApp& app, bool byCommand, QWidget* parent,
                                 const QSet<QString>& kept)
    : QDialog(parent)
    , list_(new QTreeWidget(this)) {
    setObjectName(QStringLiteral("appRemovalSheet"));
    setWindowTitle(QStringLiteral("Remove %1").arg(app.name));
    auto* heading = new QLabel(QStringLiteral("Remove %1?").arg(app.name), this);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    // Several copies of an app can share a name: the path says which one goes.
    auto* where = new QLabel(
        app.caskToken ? QStringLiteral("%1 (Homebrew cask %2)").arg(app.url, *app.caskToken)
                      : app.url,
        this);
    where->setObjectName(QStringLiteral("appRemovalPath"));
    where->setTextInteractionFlags(Qt::TextSelectableByMouse);
    where->setWordWrap(true);
    auto* explanation = new QLabel(byCommand            ? AppsModel::commandRemovalText
                                   : app.data.isEmpty() ? AppsModel::noDataText
                                                        : AppsModel::preselectionText,
                                   this);
    explanation->setWordWrap(true);
    list_->setObjectName(QStringLiteral("appRemovalData"));
    list_->setHeaderLabels(
        {QStringLiteral("Data"), QStringLiteral("Size"), QStringLiteral("Where")});
    list_->setRootIsDecorated(false);
    list_->header()->setSectionResizeMode(nameColumn, QHeaderView::ResizeToContents);
    const QSet<QString> preselected = AppsModel::preselected(app);
    for (const AppDataItem& item : app.data) {
        QTreeWidgetItem* row = dataRow(list_->invisibleRootItem(), item);
        row->setCheckState(nameColumn,
                           preselected.contains(item.url) ? Qt::Checked : Qt::Unchecked);
        if (!item.isExactMatch) {
            row->setFlags(Qt::ItemIsSelectable);
            row->setToolTip(nameColumn, AppsModel::possiblyRelatedNotRemovableText);
        }
        if (kept.contains(item.url)) {
            InventoryWidgets::setTickable(*row, nameColumn, false, false);
            InventoryWidgets::markKept(*row, nameColumn);
        }
    }
    // Nothing of an app removed by its owner's command goes from here, so nothing is ticked.
    list_->setVisible(!app.data.isEmpty() && !byCommand);
    if (byCommand)
        list_->clear();
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    QPushButton* remove =
        buttons->addButton(byCommand ? QStringLiteral("Show Command") : QStringLiteral("Remove"),
                           QDialogButtonBox::AcceptRole);
    // Return must never remove an app: Cancel is the default.
    remove->setAutoDefault(false);
    buttons->button(QDialogButtonBox::Cancel)->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addWidget(where);
    layout->addWidget(explanation);
    layout->addWidget(list_, 1);
    layout->addWidget(buttons);
    resize(640, 380);
}

QSet<QString> AppRemovalSheet::tickedData() const {
    QSet<QString> ticked;
    for (int row = 0; row < list_->topLevelItemCount(); ++row) {
        const QTreeWidgetItem* item = list_->topLevelItem(row);
        if (item->checkState(nameColumn) == Qt::Checked && (item->flags() & Qt::ItemIsEnabled))
            ticked.insert(item->data(nameColumn, urlRole).toString());
    }
    return ticked;
}

AppsView::AppsView(AppsModel& apps, HomebrewModel& homebrew, QWidget* parent)
    : QWidget(parent)
    , apps_(apps)
    , homebrew_(homebrew)
    , tree_(new QTreeWidget(this))
    , state_(new QLabel(this))
    , failures_(new QLabel(this))
    , hideSmall_(new QCheckBox(QStringLiteral("Hide Small Entries"), this))
    , removeApp_(new QPushButton(QStringLiteral("Remove App…"), this))
    , removeLeftovers_(new QPushButton(QStringLiteral("Move Leftovers to Trash…"), this))
    , outdated_(new QTreeWidget(this))
    , upgrade_(new QPushButton(QStringLiteral("Upgrade"), this))
    , output_(new QPlainTextEdit(this))
    , brewMessage_(new QLabel(this)) {
    ItemContextMenu::attach(
        *tree_,
        [](const QModelIndex& row) {
            return row.siblingAtColumn(nameColumn).data(urlRole).toString();
        },
        ItemContextMenu::keepFolders);
    setObjectName(QStringLiteral("appsView"));
    tree_->setObjectName(QStringLiteral("appsTree"));
    tree_->setAccessibleName(QStringLiteral("Apps and leftovers"));
    tree_->setHeaderLabels(
        {QStringLiteral("App"), QStringLiteral("Size"), QStringLiteral("Details")});
    tree_->setUniformRowHeights(true);
    tree_->setAlternatingRowColors(true);
    tree_->header()->setSectionResizeMode(nameColumn, QHeaderView::Interactive);
    tree_->header()->resizeSection(nameColumn, 300);
    tree_->header()->setSectionResizeMode(sizeColumn, QHeaderView::ResizeToContents);
    state_->setForegroundRole(QPalette::PlaceholderText);
    state_->setWordWrap(true);
    failures_->setWordWrap(true);
    failures_->setObjectName(QStringLiteral("appsFailures"));
    // The commands to run are copied from here.
    failures_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    hideSmall_->setToolTip(QStringLiteral("Hides leftovers under 1 MB"));

    outdated_->setObjectName(QStringLiteral("brewOutdated"));
    outdated_->setAccessibleName(QStringLiteral("Outdated Homebrew packages"));
    outdated_->setHeaderLabels({QStringLiteral("Homebrew package"), QStringLiteral("Installed"),
                                QStringLiteral("Available")});
    outdated_->setRootIsDecorated(false);
    outdated_->setMaximumHeight(140);
    output_->setObjectName(QStringLiteral("brewOutput"));
    output_->setReadOnly(true);
    output_->setMaximumHeight(90);
    output_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    brewMessage_->setObjectName(QStringLiteral("brewMessage"));
    brewMessage_->setWordWrap(true);
    brewMessage_->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto* brewHeading = new QLabel(QStringLiteral("Homebrew"), this);
    QFont bold = brewHeading->font();
    bold.setBold(true);
    brewHeading->setFont(bold);
    auto* brewRow = new QHBoxLayout;
    brewRow->addWidget(brewHeading);
    brewRow->addStretch();
    brewRow->addWidget(upgrade_);

    auto* body = new QVBoxLayout;
    auto* filter = new FilterBar(QStringLiteral("Filter apps by name or path"), this);
    ListFinder::attach(*tree_, filter, QStringLiteral("apps"));
    body->addWidget(filter);
    auto* sorting = new QLabel(AppsModel::sortingText, this);
    sorting->setWordWrap(true);
    sorting->setForegroundRole(QPalette::PlaceholderText);
    body->addWidget(sorting);
    body->addWidget(tree_, 1);
    body->addWidget(state_);
    body->addWidget(failures_);
    body->addLayout(brewRow);
    body->addWidget(outdated_);
    body->addWidget(output_);
    body->addWidget(brewMessage_);
    auto* footer = new QHBoxLayout;
    footer->addWidget(hideSmall_);
    footer->addStretch();
    footer->addWidget(removeLeftovers_);
    footer->addWidget(removeApp_);
    layOutPage(*this, QStringLiteral("Apps"), AppsModel::explanationText, body, footer);

    connect(hideSmall_, &QCheckBox::toggled, &apps_, &AppsModel::setHideSmallEntries);
    connect(removeApp_, &QPushButton::clicked, this, [this] {
        const QTreeWidgetItem* row = tree_->currentItem();
        while (row && row->parent() && row->data(nameColumn, kindRole).toInt() != appRow)
            row = row->parent();
        if (row && row->data(nameColumn, kindRole).toInt() == appRow)
            openRemovalSheet(row->data(nameColumn, urlRole).toString());
    });
    connect(removeLeftovers_, &QPushButton::clicked, this, &AppsView::confirmLeftoversRemoval);
    connect(upgrade_, &QPushButton::clicked, this, [this] {
        const QTreeWidgetItem* row = outdated_->currentItem();
        if (!row)
            return;
        const int index = outdated_->indexOfTopLevelItem(const_cast<QTreeWidgetItem*>(row));
        if (index >= 0 && index < homebrew_.outdated().size())
            homebrew_.upgrade(homebrew_.outdated().at(index));
    });
    connect(&apps_, &AppsModel::inventoryChanged, this, &AppsView::showInventory);
    connect(&apps_, &InventoryModel::keptChanged, this, &AppsView::showInventory);
    for (const auto signal : {&InventoryModel::isLoadingChanged, &InventoryModel::isRemovingChanged,
                              &InventoryModel::failuresChanged})
        connect(&apps_, signal, this, &AppsView::showState);
    connect(&homebrew_, &HomebrewModel::outdatedChanged, this, &AppsView::showBrew);
    connect(&homebrew_, &HomebrewModel::outputChanged, this, &AppsView::showBrew);
    connect(&homebrew_, &InventoryModel::isRemovingChanged, this, &AppsView::showBrew);
    connect(outdated_, &QTreeWidget::currentItemChanged, this, &AppsView::showBrew);
    connect(tree_, &QTreeWidget::currentItemChanged, this, &AppsView::showState);
    showInventory();
    showBrew();
}

void AppsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!apps_.hasLoaded() && !apps_.isLoading())
        apps_.reload();
    if (!homebrew_.hasLoaded() && !homebrew_.isLoading())
        homebrew_.reload();
}

void AppsView::confirmLeftoversRemoval() {
    // The sheet lists the ticked leftovers under the app they were left by, and exactly those go.
    QStringList urls;
    QList<ConfirmationGroup> groups;
    for (QTreeWidgetItemIterator it(tree_); *it; ++it) {
        const QTreeWidgetItem& row = **it;
        if (row.data(nameColumn, kindRole).toInt() != leftoverRow ||
            row.checkState(nameColumn) != Qt::Checked)
            continue;
        const QString url = row.data(nameColumn, urlRole).toString();
        const QString app = row.parent() ? row.parent()->text(nameColumn) : QString();
        if (groups.isEmpty() || groups.last().title != app)
            groups.append({app, {}});
        groups.last().items.append({Paths::lastComponent(url), url,
                                    row.data(sizeColumn, InventoryWidgets::bytesRole).toLongLong(),
                                    std::nullopt});
        urls.append(url);
    }
    if (urls.isEmpty())
        return;
    ConfirmationSheet::ask(
        window(),
        {QStringLiteral("leftoversConfirmation"), QStringLiteral("Leftovers"),
         QStringLiteral("Move %1 leftover item(s) to the Trash?").arg(urls.size()),
         AppsModel::leftoversText, QStringLiteral("Move to Trash")},
        groups, [this, urls] { apps_.removeLeftovers(urls); });
}

AppRemovalSheet* AppsView::openRemovalSheet(const QString& url) {
    const InstalledApp* app = apps_.app(url);
    if (!app || apps_.isRemoving())
        return nullptr;
    if (const std::optional<QString> refusal = apps_.appRefusal(*app)) {
        auto* box = new QMessageBox(QMessageBox::Information, app->name, *refusal, QMessageBox::Ok,
                                    window());
        box->setObjectName(QStringLiteral("appRefusal"));
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setWindowModality(Qt::WindowModal);
        box->open();
        return nullptr;
    }
    QSet<QString> kept;
    for (const AppDataItem& item : app->data) {
        if (apps_.isKept(item.url))
            kept.insert(item.url);
    }
    auto* sheet = new AppRemovalSheet(*app, apps_.isRemovedByCommand(*app), window(), kept);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->setWindowModality(Qt::WindowModal);
    connect(sheet, &QDialog::accepted, this,
            [this, sheet, url] { apps_.removeApp(url, sheet->tickedData()); });
    sheet->open();
    return sheet;
}

void AppsView::showInventory() {
    filling_ = true;
    tree_->clear();
    const QDateTime now = QDateTime::currentDateTime();
    for (const InstalledApp& app : apps_.inventory().apps) {
        auto* row = new QTreeWidgetItem(tree_);
        row->setText(nameColumn, app.name);
        row->setData(nameColumn, urlRole, app.url);
        row->setData(nameColumn, kindRole, appRow);
        InventoryWidgets::setSize(*row, sizeColumn, app.sizeBytes + app.dataBytes());
        QStringList detail;
        if (app.version)
            detail.append(QStringLiteral("version ") + *app.version);
        if (const QString source = sourceWords(app); !source.isEmpty())
            detail.append(source);
        if (app.teamIdentifier)
            detail.append(QStringLiteral("team ") + *app.teamIdentifier);
        // Only the Mac records when an app bundle was last opened.
        if (app.lastUsedAt)
            detail.append(QStringLiteral("last used ") +
                          QLocale().toString(app.lastUsedAt->toLocalTime(), QLocale::ShortFormat));
        else if (app.url.endsWith(QLatin1String(".app"), Qt::CaseInsensitive))
            detail.append(AppsModel::neverUsedText);
        row->setText(detailColumn, detail.join(QStringLiteral(", ")));
        row->setToolTip(nameColumn, app.url);
        for (const AppDataItem& item : app.data) {
            if (QTreeWidgetItem* data = dataRow(row, item); apps_.isKept(item.url))
                InventoryWidgets::markKept(*data, nameColumn);
        }
        if (apps_.isKept(app.url))
            InventoryWidgets::markKept(*row, nameColumn);
    }
    const QList<OrphanedAppData> orphans = apps_.visibleOrphans();
    if (!orphans.isEmpty()) {
        auto* heading = new QTreeWidgetItem(tree_);
        heading->setText(nameColumn, QStringLiteral("Leftovers of deleted apps"));
        heading->setData(nameColumn, ListOrder::headingRole, true);
        heading->setText(detailColumn, AppsModel::leftoversText);
        heading->setToolTip(detailColumn, AppsModel::leftoversText);
        QFont bold = heading->font(nameColumn);
        bold.setBold(true);
        heading->setFont(nameColumn, bold);
        for (const OrphanedAppData& orphan : orphans) {
            auto* group = new QTreeWidgetItem(heading);
            group->setText(nameColumn, orphan.bundleIdentifier);
            InventoryWidgets::setSize(*group, sizeColumn, orphan.sizeBytes());
            group->setText(detailColumn, AppsModel::goneText(orphan));
            group->setToolTip(detailColumn, AppsModel::goneText(orphan));
            for (const AppDataItem& item : orphan.items) {
                QTreeWidgetItem* row = dataRow(group, item);
                row->setData(nameColumn, kindRole, leftoverRow);
                // A kept leftover gets no tick box at all.
                if (apps_.isKept(item.url))
                    InventoryWidgets::markKept(*row, nameColumn);
                else
                    row->setCheckState(nameColumn, Qt::Unchecked);
            }
            group->setExpanded(true);
        }
        heading->setExpanded(true);
    }
    showUnknownData();
    filling_ = false;
    showState();
}

void AppsView::showUnknownData() {
    const QList<OrphanedAppData>& unknown = apps_.inventory().unknownData;
    if (unknown.isEmpty())
        return;
    auto* heading = new QTreeWidgetItem(tree_);
    heading->setText(nameColumn, QStringLiteral("Data of an app that could not be read"));
    heading->setData(nameColumn, ListOrder::headingRole, true);
    heading->setText(detailColumn, AppsModel::unknownDataText);
    heading->setToolTip(detailColumn, AppsModel::unknownDataText);
    for (const OrphanedAppData& data : unknown) {
        auto* group = new QTreeWidgetItem(heading);
        group->setText(nameColumn, data.bundleIdentifier);
        InventoryWidgets::setSize(*group, sizeColumn, data.sizeBytes());
        group->setText(
            detailColumn,
            QStringLiteral("may be %1's").arg(data.unreadableBundle.value_or(QString())));
        for (const AppDataItem& item : data.items)
            dataRow(group, item)->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    }
}

void AppsView::showState() {
    QString state;
    if (!apps_.hasLoaded())
        state = QStringLiteral("Looking at the apps in %1…").arg(PlatformWords::here().appsPlace);
    else if (apps_.inventory().apps.isEmpty() && apps_.inventory().orphans.isEmpty())
        state = QStringLiteral("No apps were found in %1.").arg(PlatformWords::here().appsPlace);
    // What the inventory could not find out (flatpak's list) is said, not taken for "nothing".
    for (const QString& error : apps_.inventory().errors)
        state += (state.isEmpty() ? QString() : QStringLiteral("\n")) + error;
    state_->setText(state);
    state_->setVisible(!state.isEmpty());
    const bool idle = !apps_.isRemoving() && !apps_.isLoading();
    removeApp_->setEnabled(idle && tree_->currentItem());
    removeLeftovers_->setEnabled(idle && !apps_.visibleOrphans().isEmpty());
    failures_->setText(apps_.failures().isEmpty() ? QString() : [this] {
        QStringList lines;
        for (const ItemFailure& failure : apps_.failures())
            lines.append(failure.message);
        return lines.join(u'\n');
    }());
    failures_->setVisible(!apps_.failures().isEmpty());
}

void AppsView::showBrew() {
    if (sender() != outdated_) {
        outdated_->clear();
        for (const BrewOutdatedItem& item : homebrew_.outdated()) {
            auto* row = new QTreeWidgetItem(outdated_);
            row->setText(0, item.kind == BrewOutdatedItem::Kind::cask
                                ? item.name + QStringLiteral(" (cask)")
                                : item.name);
            row->setText(1, item.installedVersion);
            row->setText(2, item.isPinned ? item.currentVersion + QStringLiteral(" (pinned)")
                                          : item.currentVersion);
        }
    }
    output_->setPlainText(homebrew_.output().join(u'\n'));
    output_->setVisible(!homebrew_.output().isEmpty());
    QString message = homebrew_.lastMessage();
    if (homebrew_.loadError())
        message = *homebrew_.loadError();
    else if (homebrew_.hasLoaded() && homebrew_.outdated().isEmpty() && message.isEmpty())
        message = QStringLiteral("Everything installed with Homebrew is up to date.");
    brewMessage_->setText(message);
    upgrade_->setEnabled(!homebrew_.isUpgrading() && outdated_->currentItem());
    outdated_->setVisible(!homebrew_.outdated().isEmpty());
}

} // namespace corvane
