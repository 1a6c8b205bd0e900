#include "archive/RemoteTree.h"

#include "platform/InputLimits.h"

#include <QList>
#include <algorithm>
#include <vector>

namespace corvane {
namespace {

// The marker at the top of a copy in progress is not part of the copy.
QString prunedFind() {
    return QStringLiteral("find . -path ./") + QString::fromLatin1(ArchiveService::partialMarker) +
           QStringLiteral(" -prune -o ");
}

QByteArray withoutDotSlash(const QByteArray& path) {
    return path.startsWith("./") ? path.mid(2) : path;
}

// Reads the digest lines: "<hex>  <name>", or "\<hex>  <escaped name>" for a name that holds a
// newline or a backslash. Only the digest is taken; the order is that of the sorted list.
std::optional<std::vector<QByteArray>> digestsIn(const QByteArray& text, QString& problem) {
    const InputLimits::Records lines = InputLimits::split(text);
    if (!lines.records) {
        problem = lines.problem;
        return std::nullopt;
    }
    std::vector<QByteArray> digests;
    for (const QByteArray& line : *lines.records) {
        if (line.isEmpty())
            continue;
        QByteArray hex = line.startsWith('\\') ? line.mid(1) : line;
        hex = hex.left(hex.indexOf(' '));
        const QByteArray digest = QByteArray::fromHex(hex);
        if (hex.isEmpty() || digest.toHex() != hex.toLower())
            return std::nullopt;
        digests.push_back(digest);
    }
    return digests;
}

} // namespace

QString RemoteTree::toolsProbe() {
    return QStringLiteral("tool=none; for t in b2sum sha256sum shasum; do if command -v \"$t\" "
                          ">/dev/null 2>&1 && \"$t\" </dev/null >/dev/null 2>&1; then tool=$t; "
                          "break; fi; done; echo \"$tool\"; "
                          "(tar --version 2>/dev/null | head -n 1); echo");
}

RemoteTools RemoteTree::parseTools(const QByteArray& toolLine, const QByteArray& tarLine) {
    RemoteTools tools;
    const QByteArray tool = toolLine.trimmed();
    if (tool == "b2sum") {
        tools.digestCommand = QStringLiteral("b2sum");
        tools.algorithm = DigestAlgorithm::blake2b512;
    } else if (tool == "sha256sum") {
        tools.digestCommand = QStringLiteral("sha256sum");
        tools.algorithm = DigestAlgorithm::sha256;
    } else if (tool == "shasum") {
        tools.digestCommand = QStringLiteral("shasum -a 256");
        tools.algorithm = DigestAlgorithm::sha256;
    }
    tools.gnuTar = tarLine.contains("GNU tar");
    return tools;
}

QString RemoteTree::manifestCommand(const RemoteTools& tools) {
    const QString find = prunedFind();
    // printf repeats its format for every name find hands it: one record per entry, no fork each.
    return find + QStringLiteral("-type d -exec printf 'd%s\\0' {} + && ") + find +
           QStringLiteral("-type f -exec printf 'f%s\\0' {} + && ") + find +
           QStringLiteral("! -type d ! -type f ! -type l -exec printf 'o%s\\0' {} + && ") + find +
           QStringLiteral("-type l -exec sh -c 'for l do printf \"l%s\\0%s\\0\" \"$l\" "
                          "\"$(readlink -- \"$l\")\"; done' sh {} + && printf '=\\0' && ") +
           find + QStringLiteral("-type f -print0 | LC_ALL=C sort -z | xargs -0 ") +
           tools.digestCommand + QStringLiteral(" --");
}

std::optional<TreeManifest> RemoteTree::parseManifest(const QByteArray& output, QString* problem) {
    // Set when the answer is over a limit; any other answer that is not a manifest has none.
    std::optional<QString> refused;
    const auto refuse = [&]() -> std::optional<TreeManifest> {
        if (problem && refused)
            *problem = *refused;
        return std::nullopt;
    };
    TreeManifest manifest;
    std::vector<QByteArray> files;
    qsizetype at = 0;
    auto field = [&](QByteArray& into) {
        const qsizetype end = output.indexOf('\0', at);
        if (end < 0)
            return false;
        if ((refused = InputLimits::tooLong(end - at)))
            return false;
        into = output.mid(at, end - at);
        at = end + 1;
        return true;
    };
    while (at < output.size()) {
        const char kind = output[at++];
        QByteArray path;
        if (kind == '=' && at < output.size() && output[at] == '\0') {
            ++at;
            break;
        }
        if (!field(path))
            return refuse();
        path = withoutDotSlash(path);
        // find names every entry, the top as "."; an empty name is no entry of the tree.
        if (path.isEmpty())
            return std::nullopt;
        if (path == ".")
            continue;
        TreeEntry& entry = manifest.entries[path];
        if ((refused = InputLimits::tooManyRecords(qsizetype(manifest.entries.size()))))
            return refuse();
        switch (kind) {
        case 'd':
            entry.kind = TreeEntry::Kind::folder;
            break;
        case 'f':
            entry.kind = TreeEntry::Kind::file;
            files.push_back(path);
            break;
        case 'o':
            entry.kind = TreeEntry::Kind::other;
            break;
        case 'l':
            entry.kind = TreeEntry::Kind::link;
            if (!field(entry.linkTarget))
                return refuse();
            break;
        default:
            return std::nullopt;
        }
    }
    QString digestProblem;
    const std::optional<std::vector<QByteArray>> digests = digestsIn(output.mid(at), digestProblem);
    if (!digestProblem.isEmpty())
        refused = digestProblem;
    // With no files, xargs still runs the tool once, on its empty input.
    if (!digests || (!files.empty() && digests->size() != files.size()))
        return refuse();
    std::sort(files.begin(), files.end());
    for (size_t index = 0; index < files.size(); ++index)
        manifest.entries[files[index]].digest = (*digests)[index];
    return manifest;
}

QString RemoteTree::countCommand() {
    const QString find = prunedFind();
    // One character per name, so a newline in a name cannot add to the count.
    return find + QStringLiteral("-type f -exec printf '%.0sx' {} + | wc -c && (") + find +
           QStringLiteral("-type f -exec stat -c %s {} + 2>/dev/null") +
           QStringLiteral(R"sh( | awk '{s+=$1} END {printf "%.0f\n", s}') && )sh") +
           QStringLiteral("find . -mindepth 1 -maxdepth 1 ! -name ") +
           QString::fromLatin1(ArchiveService::partialMarker) +
           QStringLiteral(" -exec printf '%.0sx' {} + | wc -c");
}

} // namespace corvane
