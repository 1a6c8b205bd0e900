#include "shell/AreaPages.h"

#include "platform/Locations.h"
#include "shell/AIModelsView.h"
#include "shell/AgentsView.h"
#include "shell/AndroidView.h"
#include "shell/AppsView.h"
#include "shell/ArchivedView.h"
#include "shell/CachesView.h"
#include "shell/CleanupsView.h"
#include "shell/DiskMapView.h"
#include "shell/DockerView.h"
#include "shell/OrganizeView.h"
#include "shell/OverviewView.h"
#include "shell/ProjectsView.h"
#include "shell/SimulatorsView.h"

#include <QHash>
#include <QStyle>

namespace corvane {
namespace {

using Factory = std::function<AreaPage(AppModels&, const AreaOpener&, QWidget*)>;

// One factory per row of the table of areas.
const QHash<QString, Factory>& factories() {
    static const QHash<QString, Factory> table{
        {Areas::overview,
         [](AppModels& m, const AreaOpener& open, QWidget* parent) {
             auto* view = new OverviewView(m.overview, parent);
             QObject::connect(view, &OverviewView::areaRequested, view, open);
             return AreaPage{view};
         }},
        {Areas::projects, [](AppModels& m, const AreaOpener&,
                             QWidget* parent) { return AreaPage{new ProjectsView(m, parent)}; }},
        {QStringLiteral("caches"),
         [](AppModels& m, const AreaOpener&, QWidget* parent) {
             return AreaPage{new CachesView(m.caches, parent)};
         }},
        {QStringLiteral("agents"),
         [](AppModels& m, const AreaOpener&, QWidget* parent) {
             return AreaPage{new AgentsView(m.agents, m.session, parent, &m.agentStorage)};
         }},
        {QStringLiteral("organize"),
         [](AppModels& m, const AreaOpener&, QWidget* parent) {
             // The plan is made when the page is first shown; Reload makes it again.
             return AreaPage{new OrganizeView(m.organize, parent), [&organize = m.organize] {
                                 if (!organize.hasLoaded() && !organize.isLoading())
                                     organize.reload();
                             }};
         }},
        {QStringLiteral("archived"),
         [](AppModels& m, const AreaOpener&, QWidget* parent) {
             // Drives come and go: whether each copy can be reached is looked at on every visit.
             return AreaPage{new ArchivedView(m.archives, parent),
                             [&archives = m.archives] { archives.reload(); }};
         }},
        {QStringLiteral("docker"),
         [](AppModels& m, const AreaOpener&, QWidget* parent) {
             return AreaPage{new DockerView(m.docker, parent)};
         }},
        {QStringLiteral("simulators"),
         [](AppModels& m, const AreaOpener&, QWidget* parent) {
             return AreaPage{new SimulatorsView(m.simulators, parent)};
         }},
        {QStringLiteral("android"),
         [](AppModels& m, const AreaOpener&, QWidget* parent) {
             return AreaPage{new AndroidView(m.android, parent)};
         }},
        {QStringLiteral("aiModels"),
         [](AppModels& m, const AreaOpener&, QWidget* parent) {
             return AreaPage{new AIModelsView(m.aiModels, parent)};
         }},
        {QStringLiteral("apps"),
         [](AppModels& m, const AreaOpener&, QWidget* parent) {
             return AreaPage{new AppsView(m.apps, m.homebrew, parent)};
         }},
        {QStringLiteral("diskMap"),
         [](AppModels& m, const AreaOpener&, QWidget* parent) {
             auto* view = new DiskMapView(m.diskMap, parent);
             view->setKeepSession(m.session);
             // The scanned folder by default; a map already drawn stays until the user asks.
             return AreaPage{view, [view, &m] {
                                 if (!m.diskMap.folder().isEmpty())
                                     return;
                                 const std::optional<QString>& root = m.session.rootURL();
                                 view->showFolder(root ? *root : Locations::homeDir());
                             }};
         }},
        {QStringLiteral("cleanups"),
         [](AppModels& m, const AreaOpener&, QWidget* parent) {
             return AreaPage{new CleanupsView(m.cleanups, parent)};
         }},
    };
    return table;
}

} // namespace

AreaPage makeAreaPage(const QString& areaID, AppModels& models, const AreaOpener& open,
                      QWidget* parent) {
    const Factory factory = factories().value(areaID);
    Q_ASSERT_X(factory, "makeAreaPage", "an area of the table without a page");
    return factory(models, open, parent);
}

QIcon areaIcon(const QString& iconKey, const QStyle& style) {
    static const QHash<QString, QStyle::StandardPixmap> pictures{
        {QStringLiteral("disk"), QStyle::SP_DriveHDIcon},
        {QStringLiteral("folder"), QStyle::SP_DirIcon},
        {QStringLiteral("info"), QStyle::SP_FileDialogInfoView},
        {QStringLiteral("link"), QStyle::SP_DirLinkIcon},
        {QStringLiteral("network"), QStyle::SP_DriveNetIcon},
        {QStringLiteral("computer"), QStyle::SP_ComputerIcon},
        {QStringLiteral("desktop"), QStyle::SP_DesktopIcon},
        {QStringLiteral("optical"), QStyle::SP_DriveCDIcon},
        {QStringLiteral("details"), QStyle::SP_FileDialogDetailedView},
        {QStringLiteral("trash"), QStyle::SP_TrashIcon},
        {QStringLiteral("contents"), QStyle::SP_FileDialogContentsView},
    };
    return style.standardIcon(pictures.value(iconKey, QStyle::SP_FileIcon));
}

} // namespace corvane
