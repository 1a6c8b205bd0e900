#include "shell/ConfirmationSheet.h"

#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"
#include "platform/Locations.h"
#include "platform/Paths.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

namespace corvane {
namespace {

enum Column { nameColumn, whereColumn, sizeColumn, freesColumn, columnCount };

struct Totals {
    qsizetype items = 0;
    std::optional<qint64> size;
    std::optional<qint64> frees;

    void add(const ConfirmationItem& item) {
        ++items;
        if (item.sizeBytes)
            size = checkedSum(size.value_or(0), *item.sizeBytes);
        if (item.freesBytes || item.sizeBytes)
            frees = checkedSum(frees.value_or(0), item.givesBackBytes());
    }
};

QString itemsWord(qsizetype count) {
    return count == 1 ? QStringLiteral("1 item") : QStringLiteral("%1 items").arg(count);
}

void setBytes(QTreeWidgetItem& row, int column, const std::optional<qint64>& bytes) {
    if (!bytes)
        return;
    row.setText(column, formatBytes(*bytes));
    row.setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
}

QTreeWidget* makeList(QWidget* parent) {
    auto* list = new QTreeWidget(parent);
    list->setObjectName(QStringLiteral("confirmationList"));
    list->setAccessibleName(QStringLiteral("What this takes"));
    list->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("Where"), QStringLiteral("Size"),
                           QStringLiteral("Frees")});
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    list->setAlternatingRowColors(true);
    list->setSelectionMode(QAbstractItemView::NoSelection);
    list->setFocusPolicy(Qt::NoFocus);
    list->setTextElideMode(Qt::ElideMiddle);
    QHeaderView* header = list->header();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(nameColumn, QHeaderView::Interactive);
    header->setSectionResizeMode(whereColumn, QHeaderView::Stretch);
    header->setSectionResizeMode(sizeColumn, QHeaderView::ResizeToContents);
    header->setSectionResizeMode(freesColumn, QHeaderView::ResizeToContents);
    header->resizeSection(nameColumn, 330);
    return list;
}

} // namespace

ConfirmationSheet::ConfirmationSheet(QWidget* window, const ConfirmationText& text,
                                     const QList<ConfirmationGroup>& groups)
    : QDialog(window)
    , question_(new QLabel(text.question, this))
    , explanation_(new QLabel(text.explanation, this))
    , list_(makeList(this))
    , total_(new QLabel(this))
    , cancel_(new QPushButton(QStringLiteral("Cancel"), this))
    , accept_(new QPushButton(text.acceptTitle, this)) {
    setObjectName(text.objectName);
    setWindowTitle(text.windowTitle);
    setAttribute(Qt::WA_DeleteOnClose);
    // Window-modal: a sheet on macOS, and the window stays responsive under it.
    setWindowModality(Qt::WindowModal);

    auto* icon = new QLabel(this);
    icon->setPixmap(style()
                        ->standardIcon(text.permanent ? QStyle::SP_MessageBoxWarning
                                                      : QStyle::SP_MessageBoxQuestion)
                        .pixmap(48, 48));
    icon->setAlignment(Qt::AlignTop);
    QFont bold = question_->font();
    bold.setBold(true);
    question_->setFont(bold);
    question_->setObjectName(QStringLiteral("confirmationQuestion"));
    question_->setWordWrap(true);
    explanation_->setWordWrap(true);
    explanation_->setVisible(!text.explanation.isEmpty());
    total_->setObjectName(QStringLiteral("confirmationTotal"));

    // Return means Cancel: taking things away needs a deliberate click or Tab and Space.
    cancel_->setDefault(true);
    accept_->setAutoDefault(false);
    accept_->setObjectName(QStringLiteral("confirmationAccept"));
    cancel_->setObjectName(QStringLiteral("confirmationCancel"));
    connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
    connect(accept_, &QPushButton::clicked, this, &QDialog::accept);

    fillList(groups);

    auto* words = new QVBoxLayout;
    words->addWidget(question_);
    words->addWidget(explanation_);
    auto* head = new QHBoxLayout;
    head->addWidget(icon);
    head->addLayout(words, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(total_, 1);
    buttons->addWidget(cancel_);
    buttons->addWidget(accept_);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(head);
    layout->addWidget(list_, 1);
    layout->addLayout(buttons);
    resize(780, groups.isEmpty() ? 160 : 480);
    cancel_->setFocus();
}

ConfirmationSheet* ConfirmationSheet::ask(QWidget* window, const ConfirmationText& text,
                                          const QList<ConfirmationGroup>& groups,
                                          std::function<void()> accepted) {
    auto* sheet = new ConfirmationSheet(window, text, groups);
    connect(sheet, &QDialog::accepted, sheet, std::move(accepted));
    sheet->open();
    return sheet;
}

void ConfirmationSheet::fillList(const QList<ConfirmationGroup>& groups) {
    const QString home = Locations::homeDir();
    Totals all;
    const bool anyFrees = std::any_of(groups.cbegin(), groups.cend(), [](const auto& group) {
        return std::any_of(
            group.items.cbegin(), group.items.cend(),
            [](const ConfirmationItem& item) { return item.freesBytes.has_value(); });
    });
    for (const ConfirmationGroup& group : groups) {
        auto* heading = new QTreeWidgetItem(list_);
        Totals totals;
        for (const ConfirmationItem& item : group.items) {
            auto* row = new QTreeWidgetItem(list_);
            row->setText(nameColumn, QStringLiteral("    ") + item.name);
            row->setToolTip(nameColumn, item.path);
            if (!item.path.isEmpty()) {
                row->setText(whereColumn, Paths::withTilde(Paths::parentPath(item.path), home));
                row->setToolTip(whereColumn, item.path);
            }
            setBytes(*row, sizeColumn, item.sizeBytes);
            setBytes(*row, freesColumn, item.freesBytes);
            totals.add(item);
            all.add(item);
        }
        heading->setText(nameColumn, group.title);
        heading->setText(whereColumn, itemsWord(totals.items));
        setBytes(*heading, sizeColumn, totals.size);
        setBytes(*heading, freesColumn, anyFrees ? totals.frees : std::nullopt);
        QFont bold = heading->font(nameColumn);
        bold.setBold(true);
        for (int column = 0; column < columnCount; ++column)
            heading->setFont(column, bold);
    }
    const bool anySize = std::any_of(groups.cbegin(), groups.cend(), [](const auto& group) {
        return std::any_of(group.items.cbegin(), group.items.cend(),
                           [](const ConfirmationItem& item) { return item.sizeBytes.has_value(); });
    });
    list_->setColumnHidden(sizeColumn, !anySize);
    list_->setColumnHidden(freesColumn, !anyFrees);
    // A question about no list (put back the last organize) shows no empty box.
    list_->setVisible(!groups.isEmpty());
    total_->setVisible(!groups.isEmpty());
    QStringList parts{itemsWord(all.items)};
    if (all.size && anyFrees)
        parts.append(formatBytes(*all.size) + QStringLiteral(" on disk"));
    if (all.frees)
        parts.append(QStringLiteral("frees ") + formatBytes(*all.frees));
    total_->setText(QStringLiteral("Total: ") + parts.join(QStringLiteral(" · ")));
}

QString ConfirmationSheet::text() const {
    return question_->text();
}

QString ConfirmationSheet::informativeText() const {
    return explanation_->text();
}

QString ConfirmationSheet::totalText() const {
    return total_->text();
}

} // namespace corvane
