#pragma once

// The commands that look at a copy on an SSH server, and how their answers are read. Every name
// on the server travels NUL-separated, so any file name (a newline in it included) is counted and
// compared right.

#include "archive/ArchiveService.h"
#include "archive/DigestAlgorithm.h"
#include "archive/TreeManifest.h"

#include <QByteArray>
#include <QString>
#include <optional>

namespace corvane {

// What the server offers for checking a copy, found once per run.
struct RemoteTools {
    // The digest program and its arguments up to the file names ("b2sum", "sha256sum" or
    // "shasum -a 256"); empty when the server has none, and copies are then counted.
    QString digestCommand;
    DigestAlgorithm algorithm = DigestAlgorithm::blake2b512;
    // Whether the server's tar is GNU tar, which needs --sparse to keep holes when it packs.
    bool gnuTar = false;

    bool canDigest() const { return !digestCommand.isEmpty(); }
};

struct RemoteTree {
    // Shell text that prints, on three lines after the caller's own output: the digest tool found
    // ("b2sum", "sha256sum", "shasum" or "none") and the first line of `tar --version`.
    static QString toolsProbe();
    // Reads the two lines that `toolsProbe` printed.
    static RemoteTools parseTools(const QByteArray& toolLine, const QByteArray& tarLine);

    // Shell text run in the copy's folder (after "cd -- <folder> && ") that lists every entry
    // with its kind, every link's target and the digest of every regular file; the marker at the
    // top is left out.
    static QString manifestCommand(const RemoteTools& tools);
    // The manifest the command printed, or nothing when the answer is not one. An answer over a
    // limit of InputLimits (a name, a digest line, the number of entries) is refused as a whole,
    // and then `problem` says which.
    static std::optional<TreeManifest> parseManifest(const QByteArray& output,
                                                     QString* problem = nullptr);

    // Shell text run in the copy's folder that prints the number of regular files, the sum of
    // their sizes and the number of top-level entries, one per line, the marker left out.
    static QString countCommand();
};

} // namespace corvane
