#include "shell/Reveal.h"

#include "platform/BackgroundJobs.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "platform/ProcessRunner.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace corvane::Reveal {

QString actionTitle() {
    return Locations::isMac() ? QStringLiteral("Reveal in Finder")
                              : QStringLiteral("Show in Files");
}

void show(const QString& path) {
    if (!Locations::isMac()) {
        // File managers differ in how they select an item; every one opens a folder.
        const QString folder = QFileInfo(path).isDir() ? path : Paths::parentPath(path);
        QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
        return;
    }
    runInBackground([path] {
        try {
            // The path is absolute, so `open` never takes it for an option.
            ProcessRunner::system().run(Locations::toolPath(Locations::Tool::open),
                                        {QStringLiteral("-R"), path}, std::nullopt, {}, 30.0);
        } catch (const ProcessRunnerError&) {
            // Finder not answering is nothing the page can do anything about.
        }
    });
}

} // namespace corvane::Reveal
