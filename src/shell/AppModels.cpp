#include "shell/AppModels.h"

namespace corvane {

AppModels::AppModels(ScanStarter starter)
    : session(toasts, std::move(starter))
    , caches(toasts)
    , agents(toasts)
    , navigation(session) {
    // The agent history is gathered for the projects each scan found, once the scan is done.
    QObject::connect(&session, &ScanSession::isScanningChanged, &agents, [this] {
        if (session.isScanning())
            return;
        QStringList folders;
        for (const Project& project : session.projects())
            folders.append(project.url);
        agents.setProjectFolders(folders);
        agents.reload();
    });
}

} // namespace corvane
