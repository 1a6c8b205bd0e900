#include "shell/DestinationsSection.h"

#include "archive/SSHArchiveService.h"
#include "archive/SshLogin.h"
#include "platform/BackgroundJobs.h"
#include "platform/PlatformWords.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace corvane {
namespace {

enum Column { nameColumn, kindColumn, addressColumn, folderColumn };

QString addressOf(const SavedDestination& destination) {
    if (destination.kind == SavedDestination::Kind::smb)
        return destination.smbURL;
    if (destination.user.isEmpty() && destination.host.isEmpty())
        return {};
    return destination.user + u'@' + destination.host;
}

} // namespace

const QString DestinationsSection::explanationText =
    QStringLiteral("Servers only, never passwords: SMB logins are stored in ") +
    PlatformWords::here().keyring + QStringLiteral(" when you first connect in ") +
    PlatformWords::here().fileManager +
    QStringLiteral(", SSH uses the keys in ~/.ssh. Set up SSH once with: ssh-copy-id user@host");
const QString DestinationsSection::emptyText =
    QStringLiteral("No destinations yet. Mounted external drives always appear in the Archive menu "
                   "automatically.");

DestinationsSection::DestinationsSection(DestinationsStore& store, QWidget* parent,
                                         const ProcessRunner& runner)
    : QWidget(parent)
    , store_(store)
    , runner_(runner)
    , mailbox_(std::make_shared<MainThreadMailbox>(this))
    , table_(new QTableWidget(this))
    , empty_(new QLabel(emptyText, this))
    , result_(new QLabel(this))
    , problem_(new QLabel(this))
    , remove_(new QPushButton(QStringLiteral("Remove"), this))
    , test_(new QPushButton(QStringLiteral("Test Connection"), this)) {
    setObjectName(QStringLiteral("destinationsSection"));
    auto* heading = new QLabel(QStringLiteral("Archive destinations"), this);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    auto* explanation = new QLabel(explanationText, this);
    explanation->setWordWrap(true);
    explanation->setForegroundRole(QPalette::PlaceholderText);
    empty_->setWordWrap(true);
    empty_->setForegroundRole(QPalette::PlaceholderText);
    problem_->setObjectName(QStringLiteral("destinationsProblem"));
    problem_->setWordWrap(true);
    problem_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    result_->setObjectName(QStringLiteral("destinationTestResult"));
    result_->setWordWrap(true);
    result_->setTextInteractionFlags(Qt::TextSelectableByMouse);

    table_->setObjectName(QStringLiteral("destinationsTable"));
    table_->setAccessibleName(QStringLiteral("Archive destinations"));
    table_->setColumnCount(4);
    table_->setHorizontalHeaderLabels({QStringLiteral("Name"), QStringLiteral("Kind"),
                                       QStringLiteral("user@host or smb://server/share"),
                                       QStringLiteral("Folder on the server")});
    table_->verticalHeader()->hide();
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->horizontalHeader()->setSectionResizeMode(addressColumn, QHeaderView::Stretch);
    table_->horizontalHeader()->setSectionResizeMode(kindColumn, QHeaderView::ResizeToContents);

    auto* addSsh = new QPushButton(QStringLiteral("Add SSH Server"), this);
    auto* addSmb = new QPushButton(QStringLiteral("Add SMB Share"), this);
    connect(addSsh, &QPushButton::clicked, this,
            [this] { store_.add(SavedDestination::Kind::ssh); });
    connect(addSmb, &QPushButton::clicked, this,
            [this] { store_.add(SavedDestination::Kind::smb); });
    connect(remove_, &QPushButton::clicked, this, [this] {
        const int row = table_->currentRow();
        if (row >= 0 && row < store_.destinations().size())
            store_.remove(store_.destinations().at(row).id);
    });
    connect(test_, &QPushButton::clicked, this, &DestinationsSection::testSelected);
    connect(table_, &QTableWidget::cellChanged, this, &DestinationsSection::saveCell);
    connect(table_, &QTableWidget::itemSelectionChanged, this, &DestinationsSection::updateButtons);
    connect(&store_, &DestinationsStore::destinationsChanged, this,
            &DestinationsSection::showDestinations);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(addSsh);
    buttons->addWidget(addSmb);
    buttons->addWidget(remove_);
    buttons->addStretch();
    buttons->addWidget(test_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(heading);
    layout->addWidget(explanation);
    layout->addWidget(table_, 1);
    layout->addWidget(empty_);
    layout->addWidget(problem_);
    layout->addLayout(buttons);
    layout->addWidget(result_);
    showDestinations();
}

DestinationsSection::~DestinationsSection() {
    mailbox_->close();
}

void DestinationsSection::showDestinations() {
    showing_ = true;
    const int current = table_->currentRow();
    table_->setRowCount(static_cast<int>(store_.destinations().size()));
    for (int row = 0; row < table_->rowCount(); ++row) {
        const SavedDestination& destination = store_.destinations().at(row);
        const bool ssh = destination.kind == SavedDestination::Kind::ssh;
        table_->setItem(row, nameColumn, new QTableWidgetItem(destination.name));
        auto* kind = new QTableWidgetItem(ssh ? QStringLiteral("SSH") : QStringLiteral("SMB"));
        kind->setFlags(kind->flags() & ~Qt::ItemIsEditable);
        table_->setItem(row, kindColumn, kind);
        table_->setItem(row, addressColumn, new QTableWidgetItem(addressOf(destination)));
        auto* folder = new QTableWidgetItem(ssh ? destination.remotePath : QString());
        if (!ssh)
            folder->setFlags(folder->flags() & ~Qt::ItemIsEditable);
        table_->setItem(row, folderColumn, folder);
    }
    if (current >= 0 && current < table_->rowCount())
        table_->selectRow(current);
    empty_->setVisible(store_.destinations().isEmpty() && !store_.problem());
    problem_->setText(store_.problem().value_or(QString()));
    problem_->setVisible(store_.problem().has_value());
    showing_ = false;
    updateButtons();
}

void DestinationsSection::saveCell(int row, int column) {
    if (showing_ || row < 0 || row >= store_.destinations().size())
        return;
    SavedDestination destination = store_.destinations().at(row);
    const QString text = table_->item(row, column)->text().trimmed();
    switch (column) {
    case nameColumn:
        destination.name = text;
        break;
    case addressColumn:
        if (destination.kind == SavedDestination::Kind::smb) {
            destination.smbURL = text;
        } else {
            const std::optional<std::pair<QString, QString>> parts = SshLogin::split(text);
            const QString user = parts ? parts->first : QString();
            const QString host = parts ? parts->second : text;
            // A login that ssh could take for an option is never saved.
            if (const std::optional<QString> problem = SshLogin::problem(user, host)) {
                result_->setText(*problem + QStringLiteral(" Not saved."));
                showing_ = true;
                table_->item(row, column)->setText(addressOf(destination));
                showing_ = false;
                return;
            }
            destination.user = user;
            destination.host = host;
        }
        break;
    case folderColumn:
        destination.remotePath = text;
        break;
    default:
        return;
    }
    store_.update(destination);
}

void DestinationsSection::updateButtons() {
    const int row = table_->currentRow();
    const bool selected = row >= 0 && row < store_.destinations().size();
    remove_->setEnabled(selected);
    test_->setEnabled(selected &&
                      store_.destinations().at(row).kind == SavedDestination::Kind::ssh);
}

void DestinationsSection::testSelected() {
    const int row = table_->currentRow();
    if (row < 0 || row >= store_.destinations().size())
        return;
    const SavedDestination destination = store_.destinations().at(row);
    result_->setText(QStringLiteral("Testing %1@%2…").arg(destination.user, destination.host));
    test_->setEnabled(false);
    runInBackground([this, mailbox = mailbox_, destination, runner = &runner_] {
        const QString result =
            SSHArchiveService::testConnection(destination.user, destination.host, *runner);
        mailbox->post([this, result] {
            result_->setText(result);
            updateButtons();
        });
    });
}

} // namespace corvane
