#pragma once

#include "apps/AppTypes.h"
#include "apps/LibraryMatcher.h"
#include "platform/OwnFile.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// One Linux app as this system last listed it, with the folders its data was found in then.
struct SeenApp {
    // How the app is told apart from one listing to the next: "entry:<desktop file id>",
    // "snap:<name>", or "file:<path>" for an AppImage no entry names.
    QString key;
    QString name;
    AppSource source = AppSource::other;
    // The names its data was found by: desktop file id, StartupWMClass, program, snap name.
    QStringList identities;
    std::optional<QString> desktopEntry;
    // Its program (an AppImage, an executable) or, for a snap, "/snap/<name>".
    QString program;
    QList<DataMatch> data;
    QDateTime lastSeen;

    bool operator==(const SeenApp&) const = default;
};

// The apps of a Linux desktop this system has listed, kept in a file of its own
// ("seen-apps.json" in its data folder). A folder in "~/.config" may belong to any command-line
// tool, so data is only ever called a leftover when it was found with an app that was listed here
// and is gone now: this record is what remembers whose it was.
class SeenApps {
public:
    static QString defaultPath();
    explicit SeenApps(QString path = defaultPath());

    static QString keyOf(const InstalledApp& app);
    static SeenApp fromApp(const InstalledApp& app, const QDateTime& seenAt);

    struct Read {
        QList<SeenApp> apps;
        // Why the file could not be read (wholly or in part), for the user.
        std::optional<QString> problem;
    };
    Read load() const;
    // Records `listed` as seen now. Apps seen before and not listed now stay recorded while one of
    // their folders is still there, so that their data can be offered once they are gone. Returns
    // what the user must hear (a file set aside, a file that could not be saved), else nothing.
    std::optional<QString> remember(const QList<InstalledApp>& listed,
                                    const QDateTime& now = QDateTime::currentDateTimeUtc()) const;

private:
    OwnFile file() const;

    QString path_;
};

} // namespace corvane
