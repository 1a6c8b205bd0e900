#include "shell/AppModels.h"

namespace corvane {

AppModels::AppModels(ScanStarter starter)
    : session(toasts, std::move(starter))
    , caches(toasts)
    , agents(toasts)
    , organize(toasts, OrganizeModel::Services::system())
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
    // Moved projects leave the scanned folder or arrive in it; the scan shows them where they are.
    QObject::connect(&organize, &OrganizeModel::actionFinished, &session, [this] {
        if (session.rootURL() && !session.isScanning())
            session.rescan();
    });
}

} // namespace corvane
