#pragma once

#include "platform/Cancellation.h"
#include "platform/ProcessRunner.h"

#include <QByteArray>
#include <QString>
#include <optional>

namespace corvane {

// The system's package manager, asked which package installed a file, so that the user can be
// told the command that removes it. This system never runs that command: removing a package
// needs root and may take other packages with it, which the package manager asks about itself.
struct SystemPackages {
    struct Owner {
        // The package that installed the file.
        std::optional<QString> package;
        // The command that removes it: "sudo apt remove gedit".
        std::optional<QString> command;
        // Why no package is known.
        QString problem;
    };

    // Locations::toolPath("dpkg", "/usr/bin/dpkg") and ("rpm", "/usr/bin/rpm").
    static QString dpkgPath();
    static QString rpmPath();

    // `dpkg -S -- <file>`; where there is no dpkg, `rpm -qf --queryformat '%{NAME}\n' -- <file>`.
    static Owner ownerOf(const QString& file, const ProcessRunner& runner = ProcessRunner::system(),
                         const CancellationToken& cancellation = {});

    // The one package dpkg's "<package>: <path>" lines name for exactly `file` ("gedit",
    // "libfoo:amd64"); nothing when none does, or when several share it ("a, b: <path>").
    static std::optional<QString> packageFromDpkg(const QByteArray& output, const QString& file);
    // The one name rpm printed, one per line.
    static std::optional<QString> packageFromRpm(const QByteArray& output);
};

} // namespace corvane
