#include "shell/MainWindow.h"

#include "platform/ByteFormat.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "shell/AppIcon.h"
#include "shell/AreaPages.h"
#include "shell/DiskMapView.h"
#include "shell/FolderDrop.h"
#include "shell/ItemContextMenu.h"
#include "shell/OverviewView.h"
#include "shell/PageStack.h"
#include "shell/ProjectsView.h"
#include "shell/ToastOverlay.h"
#include "shell/UpdatePrompt.h"
#include "shell/WelcomeDialog.h"

#include <QApplication>
#include <QListWidget>
#include <QMenuBar>
#include <QMessageBox>
#include <QSplitter>
#include <QVBoxLayout>
#include <algorithm>

namespace corvane {
namespace {

QKeySequence preferencesShortcut() {
    // Not every desktop defines one; Ctrl+, is what users of such apps reach for.
    const QList<QKeySequence> standard = QKeySequence::keyBindings(QKeySequence::Preferences);
    return standard.isEmpty() ? QKeySequence(Qt::CTRL | Qt::Key_Comma) : standard.first();
}

// The area a place of the window belongs to; nothing chosen is the projects area.
QString areaOf(const std::optional<SidebarSelection>& selection) {
    return selection ? selection->area : Areas::projects;
}

} // namespace

MainWindow::MainWindow(AppModels& models, QWidget* parent)
    : QMainWindow(parent)
    , models_(models)
    , navigation_(models.navigation) {
    setObjectName(QStringLiteral("mainWindow"));
    setWindowIcon(appIcon());
    setCentralWidget(makeCentralArea());
    makeMenus();
    // Every page fits in this; the pages' wrapped words would otherwise ask for the height they
    // need at the narrowest width any page allows, not at the width the window has.
    setMinimumSize(800, 560);
    FolderDrop::install(*this, [this](const QString& folder) { scanFolder(folder); });
    // The overview maps the home folder.
    connect(page<OverviewView>(), &OverviewView::diskMapRequested, this, [this] {
        page<DiskMapView>()->showFolder(Locations::homeDir());
        showArea(QStringLiteral("diskMap"));
    });
    for (ItemContextMenu* menu : findChildren<ItemContextMenu*>())
        menu->setKeepSession(models.session);
    toast_ = new ToastOverlay(models.toasts, centralWidget());
    connect(&navigation_, &Navigation::selectionChanged, this, &MainWindow::followSelection);
    connect(&models.session, &ScanSession::rootURLChanged, this, &MainWindow::updateTitle);
    connect(&models.overview, &OverviewModel::changed, this, &MainWindow::updateSidebarSizes);
    resize(1180, 760);
    updateTitle();
    followSelection();
}

MainWindow::~MainWindow() = default;

QWidget* MainWindow::makeCentralArea() {
    auto* central = new QWidget(this);
    makeSidebar(central);
    pages_ = new PageStack(central);
    const AreaOpener open = [this](const QString& id) { showArea(id); };
    for (const AreaRow& area : Areas::all()) {
        const AreaPage page = makeAreaPage(area.id, models_, open, pages_);
        pages_->addWidget(page.widget);
        pageByArea_.insert(area.id, page.widget);
        onShown_.insert(area.id, page.shown);
    }
    projectsView_ = qobject_cast<ProjectsView*>(page(Areas::projects));

    split_ = new QSplitter(Qt::Horizontal, central);
    split_->addWidget(sidebar_);
    split_->addWidget(pages_);
    split_->setStretchFactor(1, 1);
    split_->setSizes({sidebarWidth, 960});
    split_->setChildrenCollapsible(false);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(split_);
    return central;
}

void MainWindow::makeSidebar(QWidget* parent) {
    sidebar_ = new QListWidget(parent);
    sidebar_->setObjectName(QStringLiteral("sidebar"));
    sidebar_->setAccessibleName(QStringLiteral("Areas"));
    sidebar_->setFrameShape(QFrame::NoFrame);
    sidebar_->setAttribute(Qt::WA_MacShowFocusRect, false);
    sidebar_->setIconSize(QSize(18, 18));
    sidebar_->setSpacing(2);
    sidebar_->setMinimumWidth(sidebarWidth - 10);
    for (const AreaRow& area : Areas::all())
        sidebar_->addItem(new QListWidgetItem(areaIcon(area.iconKey, *style()), area.name));
    connect(sidebar_, &QListWidget::currentRowChanged, this, &MainWindow::onSidebarRowChanged);
}

void MainWindow::makeMenus() {
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    QAction* choose = file->addAction(QStringLiteral("Choose Folder…"));
    choose->setShortcut(QKeySequence::Open);
    choose->setToolTip(ProjectsView::chooserTitle);
    connect(choose, &QAction::triggered, this, [this] {
        showProjects();
        projectsView_->chooseFolder();
    });
    file->addSeparator();
    settingsAction_ = file->addAction(QStringLiteral("Settings…"));
    settingsAction_->setShortcut(preferencesShortcut());
    settingsAction_->setMenuRole(QAction::PreferencesRole);
    connect(settingsAction_, &QAction::triggered, this, &MainWindow::showSettings);
    QAction* quit = file->addAction(QStringLiteral("Quit Corvane Clean"));
    quit->setShortcut(QKeySequence::Quit);
    quit->setMenuRole(QAction::QuitRole);
    connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit, Qt::QueuedConnection);

    QMenu* go = menuBar()->addMenu(QStringLiteral("&Go"));
    for (const AreaRow& area : Areas::all()) {
        QAction* entry = go->addAction(Areas::menuTitle(area));
        if (const std::optional<int> digit = Areas::shortcutDigit(area.id))
            entry->setShortcut(QKeySequence(Qt::CTRL | Qt::Key(Qt::Key_0 + *digit)));
        connect(entry, &QAction::triggered, this, [this, id = area.id] { showArea(id); });
        areaActions_.append(entry);
    }
    makeHelpMenu();
}

void MainWindow::makeHelpMenu() {
    QMenu* help = menuBar()->addMenu(QStringLiteral("&Help"));
    QAction* about = help->addAction(QStringLiteral("About Corvane Clean"));
    about->setMenuRole(QAction::AboutRole);
    connect(about, &QAction::triggered, this, [this] {
        QMessageBox::about(
            this, QStringLiteral("About Corvane Clean"),
            QStringLiteral("<b>Corvane Clean %1</b><p>Gives back the disk space that "
                           "developer tools leave behind, without losing work.</p>")
                .arg(QApplication::applicationVersion()));
    });
    QAction* welcome = help->addAction(QStringLiteral("Welcome to Corvane Clean…"));
    connect(welcome, &QAction::triggered, this, [this] {
        auto* dialog = WelcomeDialog::present(this);
        connect(dialog, &WelcomeDialog::folderChosen, this, &MainWindow::scanFolder);
    });
    QAction* updates = help->addAction(QStringLiteral("Check for Updates…"));
    updates->setMenuRole(QAction::ApplicationSpecificRole);
    connect(updates, &QAction::triggered, this, [this] {
        updatesAsked_ = true;
        updateChecker_.checkNow();
    });
    // A daily check speaks only of a newer version; one asked for from the menu also says when
    // there is none or the feed could not be read.
    connect(&updateChecker_, &UpdateChecker::updateAvailable, this,
            [this](const UpdateOffer& offer) { makeUpdatePrompt(this, offer)->open(); });
    connect(&updateChecker_, &UpdateChecker::upToDate, this, [this] {
        if (std::exchange(updatesAsked_, false))
            makeUpToDateNotice(this)->open();
    });
    connect(&updateChecker_, &UpdateChecker::checkFailed, this, [this](const QString& why) {
        if (std::exchange(updatesAsked_, false))
            makeUpdateFailureNotice(this, why)->open();
    });
}

void MainWindow::showArea(const QString& areaID) {
    if (areaID != Areas::projects) {
        if (Areas::find(areaID))
            navigation_.setSelection(SidebarSelection::of(areaID));
        return;
    }
    const std::optional<SidebarSelection>& current = navigation_.selection();
    if (current && current->project)
        return;
    // Back from another area: the project shown before, if the scan still has it.
    std::optional<SidebarSelection> back;
    if (lastProjectSelection_ && models_.session.project(lastProjectSelection_->project->id))
        back = lastProjectSelection_;
    navigation_.setSelection(back);
}

void MainWindow::scanFolder(const QString& folder) {
    projectsView_->scanFolder(folder);
}

void MainWindow::showSettings() {
    if (!settings_)
        settings_ = new SettingsDialog(models_.rules, models_.destinations, this);
    settings_->show();
    settings_->raise();
    settings_->activateWindow();
}

void MainWindow::onSidebarRowChanged(int row) {
    if (!following_ && row >= 0 && row < Areas::all().size())
        showArea(Areas::all().at(row).id);
}

void MainWindow::followSelection() {
    const std::optional<SidebarSelection>& selection = navigation_.selection();
    const QString area = areaOf(selection);
    following_ = true;
    sidebar_->setCurrentRow(Areas::indexOf(area));
    pages_->setCurrentWidget(page(area));
    following_ = false;
    if (selection && selection->project)
        lastProjectSelection_ = selection;
    projectsView_->followSelection();
    if (std::exchange(shownArea_, area) != area)
        onShown_.value(area)();
}

void MainWindow::updateTitle() {
    const std::optional<QString>& root = models_.session.rootURL();
    setWindowTitle(root ? Paths::lastComponent(*root) + QStringLiteral(" — Corvane Clean")
                        : QStringLiteral("Corvane Clean"));
    sidebar_->item(Areas::indexOf(Areas::projects))->setToolTip(root.value_or(QString()));
}

void MainWindow::updateSidebarSizes() {
    for (const OverviewArea& figure : models_.overview.areas()) {
        const int row = Areas::indexOf(figure.id);
        if (row < 0)
            continue;
        const QString name = Areas::all().at(row).name;
        const std::optional<qint64> bytes = figure.bytes();
        const QString size = bytes && *bytes > 0 ? formatBytes(*bytes) : QString();
        QListWidgetItem* item = sidebar_->item(row);
        item->setText(size.isEmpty() || sidebarNarrow_ ? name
                                                       : name + QStringLiteral("   ") + size);
        if (figure.id != Areas::projects)
            item->setToolTip(size.isEmpty() ? QString() : name + QStringLiteral(": ") + size);
    }
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    if (std::exchange(sidebarNarrow_, width() < narrowSidebarBelow) != sidebarNarrow_)
        fitSidebar();
}

void MainWindow::fitSidebar() {
    int width = sidebarWidth;
    if (sidebarNarrow_) {
        int longest = 0;
        for (const AreaRow& area : Areas::all())
            longest = std::max(longest, sidebar_->fontMetrics().horizontalAdvance(area.name));
        // The icon, its gap and the row's margins on either side of the name.
        width = std::min(sidebarWidth, longest + sidebar_->iconSize().width() + 32);
    }
    sidebar_->setMinimumWidth(width - (sidebarNarrow_ ? 0 : 10));
    split_->setSizes({width, std::max(0, split_->width() - width - split_->handleWidth())});
    updateSidebarSizes();
}

} // namespace corvane
