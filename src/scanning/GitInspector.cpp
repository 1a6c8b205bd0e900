#include "scanning/GitInspector.h"

#include "platform/DirectoryReader.h"
#include "platform/InputLimits.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "scanning/GitClient.h"

#include <QDir>
#include <QFileInfo>
#include <QTimeZone>
#include <algorithm>

namespace corvane {
namespace {

std::optional<ProcessResult> runGit(const QString& repo, const QStringList& arguments,
                                    const CancellationToken& cancellation) {
    try {
        return GitClient::run(repo, arguments, std::nullopt, cancellation);
    } catch (const ProcessRunnerError&) {
        return std::nullopt;
    }
}

// Standard output of a run that exited with 0; nothing for every other outcome.
std::optional<QByteArray> outputOfSuccess(const QString& repo, const QStringList& arguments,
                                          const CancellationToken& cancellation) {
    const std::optional<ProcessResult> result = runGit(repo, arguments, cancellation);
    if (!result || result->exitCode != 0)
        return std::nullopt;
    return result->standardOutput;
}

// The text after the first `count` fields separated by single spaces; paths keep their spaces.
std::optional<QByteArray> afterFields(const QByteArray& record, int count) {
    qsizetype position = 0;
    for (int field = 0; field < count; ++field) {
        const qsizetype space = record.indexOf(' ', position);
        if (space < 0)
            return std::nullopt;
        position = space + 1;
    }
    return record.mid(position);
}

QByteArray fieldAt(const QByteArray& record, int index) {
    const QList<QByteArray> fields = record.split(' ');
    return index < fields.size() ? fields[index] : QByteArray();
}

std::optional<int> signedCount(const QByteArray& text, char sign) {
    if (!text.startsWith(sign))
        return std::nullopt;
    bool ok = false;
    const int value = text.mid(1).toInt(&ok);
    if (!ok || value < 0)
        return std::nullopt;
    return value;
}

// "+<ahead> -<behind>". A line that cannot be read counts as absent, which can only make the
// verdict more careful (an upstream without counts is treated as gone).
void readAheadBehind(const QByteArray& value, GitStatusReport& report) {
    std::optional<int> ahead;
    std::optional<int> behind;
    for (const QByteArray& part : value.split(' ')) {
        if (const auto count = signedCount(part, '+'))
            ahead = count;
        else if (const auto count = signedCount(part, '-'))
            behind = count;
    }
    if (!ahead || !behind)
        return;
    report.hasAheadBehind = true;
    report.ahead = *ahead;
    report.behind = *behind;
}

void readHeader(const QByteArray& record, GitStatusReport& report) {
    static const QByteArray head("# branch.head ");
    static const QByteArray upstream("# branch.upstream ");
    static const QByteArray aheadBehind("# branch.ab ");
    if (record.startsWith(head)) {
        const QByteArray name = record.mid(head.size());
        if (name == "(detached)")
            report.branch.reset();
        else
            report.branch = QString::fromUtf8(name);
    } else if (record.startsWith(upstream)) {
        report.hasUpstream = true;
    } else if (record.startsWith(aheadBehind)) {
        readAheadBehind(record.mid(aheadBehind.size()), report);
    }
}

std::optional<GitChange> changeFrom(const QByteArray& record) {
    using Kind = GitChange::Kind;
    auto change = [](const std::optional<QByteArray>& path, Kind kind) -> std::optional<GitChange> {
        if (!path)
            return std::nullopt;
        return GitChange{QString::fromUtf8(*path), kind};
    };
    if (record.startsWith("? "))
        return change(record.mid(2), Kind::untracked);
    if (record.startsWith("u "))
        return change(afterFields(record, 10), Kind::conflicted);
    if (record.startsWith("2 "))
        return change(afterFields(record, 9), Kind::renamed);
    if (record.startsWith("1 ")) {
        const QByteArray states = fieldAt(record, 1);
        const Kind kind = states.contains('D')   ? Kind::deleted
                          : states.contains('A') ? Kind::added
                                                 : Kind::modified;
        return change(afterFields(record, 8), kind);
    }
    return std::nullopt;
}

// The status as git would give it without any user settings that change what it shows: every
// untracked file, every change inside submodules (also those .gitmodules or the configuration
// asks to leave out), and renames as renames.
QStringList statusArguments() {
    return {QStringLiteral("status"),
            QStringLiteral("--porcelain=v2"),
            QStringLiteral("--branch"),
            QStringLiteral("-z"),
            QStringLiteral("--untracked-files=normal"),
            QStringLiteral("--ignore-submodules=none"),
            QStringLiteral("--find-renames")};
}

} // namespace

GitStatusReport GitInspector::parseStatus(const QByteArray& output) {
    GitStatusReport report;
    InputLimits::Records split = InputLimits::split(output, '\0');
    if (!split.records) {
        report.problem = split.problem;
        return report;
    }
    QList<QByteArray>& records = *split.records;
    records.removeIf([](const QByteArray& record) { return record.isEmpty(); });
    for (qsizetype index = 0; index < records.size(); ++index) {
        const QByteArray& record = records[index];
        if (record.startsWith('#')) {
            readHeader(record, report);
            continue;
        }
        if (record.startsWith("! "))
            continue; // an ignored file, which holds no work of its own
        // A record that cannot be read (cut short, or of a kind this version does not know) may
        // be a change all the same: it counts as one, under its own text, so that the project is
        // never taken for clean.
        const GitChange change = changeFrom(record).value_or(
            GitChange{QString::fromUtf8(record), GitChange::Kind::modified});
        // The record after a rename is the path it had before, whatever it looks like.
        if (record.startsWith("2 "))
            ++index;
        if (report.changes.size() < GitDetails::maxReportedChanges)
            report.changes.append(change);
    }
    return report;
}

GitStatus GitInspector::decideStatus(const GitStatusReport& report, bool hasRemote) {
    if (report.problem)
        return GitStatus::notARepo();
    if (!report.changes.isEmpty())
        return GitStatus::dirty(static_cast<int>(report.changes.size()));
    if (report.hasAheadBehind && report.ahead > 0)
        return GitStatus::aheadOfRemote(report.ahead);
    if (!report.hasUpstream)
        return hasRemote ? GitStatus::noUpstream() : GitStatus::noRemote();
    if (!report.hasAheadBehind || report.ahead != 0)
        return GitStatus::upstreamGone();
    // Commits only behind the upstream are not local work: nothing here would be lost.
    return GitStatus::fullySynced();
}

std::optional<GitRemote> GitInspector::chooseRemote(const QByteArray& remoteListing) {
    // Lines are "name<TAB>url (fetch)", "name<TAB>url (push)", or "name<TAB>" for a remote
    // without a URL; a bare name (the short listing) is read too.
    static const QString fetchSuffix = QStringLiteral(" (fetch)");
    // A listing over the limits names no remote, which never makes the verdict less careful.
    const InputLimits::Records lines = InputLimits::split(remoteListing);
    if (!lines.records)
        return std::nullopt;
    QList<GitRemote> remotes;
    for (const QByteArray& raw : *lines.records) {
        const QString line = QString::fromUtf8(raw);
        const qsizetype tab = line.indexOf(u'\t');
        const QString name = line.left(tab).trimmed();
        if (name.isEmpty())
            continue;
        if (remotes.isEmpty() || remotes.last().name != name)
            remotes.append(GitRemote{name, std::nullopt});
        const QString rest = tab < 0 ? QString() : line.mid(tab + 1);
        if (rest.endsWith(fetchSuffix) && !remotes.last().fetchURL)
            remotes.last().fetchURL = rest.chopped(fetchSuffix.size()).trimmed();
    }
    const auto origin = std::find_if(remotes.cbegin(), remotes.cend(), [](const GitRemote& remote) {
        return remote.name == QLatin1String("origin");
    });
    if (origin != remotes.cend())
        return *origin;
    if (remotes.isEmpty())
        return std::nullopt;
    return remotes.first();
}

GitDetails GitInspector::inspect(const QString& repo, const CancellationToken& cancellation) {
    if (cancellation.isCancelled())
        return GitDetails{};
    const std::optional<QByteArray> statusOutput =
        outputOfSuccess(repo, statusArguments(), cancellation);
    if (!statusOutput)
        return GitDetails{};
    const GitStatusReport report = parseStatus(*statusOutput);
    if (report.problem) {
        GitDetails refused;
        refused.problem =
            InputLimits::refusal(QStringLiteral("git status in ") + repo, *report.problem);
        return refused;
    }

    // The names and their URLs come from one run: every git start costs about as much as the
    // work of these small commands.
    std::optional<GitRemote> remote;
    const QStringList remoteArguments{QStringLiteral("remote"), QStringLiteral("-v")};
    if (const auto listing = outputOfSuccess(repo, remoteArguments, cancellation))
        remote = chooseRemote(*listing);

    GitDetails details;
    details.status = decideStatus(report, remote.has_value());
    GitStatusReport committed = report;
    committed.changes.clear();
    details.pushState = decideStatus(committed, remote.has_value());
    details.branch = report.branch;
    details.changes = report.changes;
    if (remote)
        details.remoteURL = remote->fetchURL;
    // A user who has git show signatures gets their verdict printed before the date.
    const QStringList logArguments{QStringLiteral("log"), QStringLiteral("-1"),
                                   QStringLiteral("--no-show-signature"),
                                   QStringLiteral("--format=%ct")};
    if (const auto log = outputOfSuccess(repo, logArguments, cancellation)) {
        bool ok = false;
        const qint64 seconds = QString::fromUtf8(*log).trimmed().toLongLong(&ok);
        if (ok)
            details.lastCommitDate = QDateTime::fromSecsSinceEpoch(seconds, QTimeZone::utc());
    }
    return details;
}

GitRefReport GitInspector::parseRefs(const QByteArray& refListing) {
    static const QString branchPrefix = QStringLiteral("refs/heads/");
    GitRefReport report;
    const InputLimits::Records lines = InputLimits::split(refListing);
    if (!lines.records) {
        report.problem = lines.problem;
        return report;
    }
    for (const QByteArray& raw : *lines.records) {
        if (raw.isEmpty())
            continue;
        const QString line = QString::fromUtf8(raw);
        if (line.startsWith(QLatin1String("refs/stash\t")))
            report.hasStash = true;
        else if (line.startsWith(branchPrefix))
            report.localBranches += line.mid(branchPrefix.size()) + u'\n';
        else
            report.localBranches += line + u'\n'; // unreadable, and so counted as unsafe
    }
    return report;
}

LocalWorkListings GitInspector::localWork(const QString& repo,
                                          const CancellationToken& cancellation) {
    const QStringList refArguments{
        QStringLiteral("for-each-ref"),
        QStringLiteral("--format=%(refname)%09%(upstream)%09%(upstream:track)"),
        QStringLiteral("refs/heads"), QStringLiteral("refs/stash")};
    const std::optional<QByteArray> refs = outputOfSuccess(repo, refArguments, cancellation);
    if (!refs)
        return {};
    const GitRefReport report = parseRefs(*refs);
    // A listing refused counts as one git could not give: unknown, and so unsafe.
    if (report.problem)
        return {};
    LocalWorkListings listings{QString(), report.localBranches};
    // Without the stash ref, "stash list" prints nothing, so it is only run when there is one.
    if (report.hasStash) {
        const QStringList stashArguments{QStringLiteral("stash"), QStringLiteral("list")};
        const std::optional<QByteArray> stash = outputOfSuccess(repo, stashArguments, cancellation);
        listings.stashList = stash ? std::optional(QString::fromUtf8(*stash)) : std::nullopt;
    }
    return listings;
}

bool GitInspector::hasLocalOnlyWork(const LocalWorkListings& listings) {
    const auto& [stashList, localBranches] = listings;
    if (!stashList || !localBranches)
        return true;
    if (!stashList->trimmed().isEmpty())
        return true;
    for (const QString& line : localBranches->split(u'\n', Qt::SkipEmptyParts)) {
        const QStringList fields = line.split(u'\t');
        // A line we cannot read is a branch we cannot vouch for.
        if (fields.size() < 3)
            return true;
        const QString& upstream = fields[1];
        const QString& tracking = fields[2];
        if (upstream.isEmpty() || tracking.contains(QLatin1String("gone")) ||
            tracking.contains(QLatin1String("ahead")))
            return true;
    }
    return false;
}

bool GitInspector::hasLinkedWorktrees(const QString& repo) {
    // A stale entry (its folder deleted by hand, never pruned) counts too: telling the two apart
    // is not worth offering a repository whose worktree may still be somewhere.
    const QDir worktrees(Paths::joined(repo, QStringLiteral(".git/worktrees")));
    return !worktrees.isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System |
                              QDir::NoDotAndDotDot);
}

QSet<QString> GitInspector::submodulesAmong(const QString& repo, const QStringList& trees,
                                            const CancellationToken& cancellation) {
    const QString root = Paths::standardized(repo);
    // Paths are paths, not patterns: a folder may be named "[draft]*".
    QStringList arguments{QStringLiteral("--literal-pathspecs"), QStringLiteral("ls-files"),
                          QStringLiteral("--stage"), QStringLiteral("-z"), QStringLiteral("--")};
    for (const QString& tree : trees) {
        if (const std::optional<QString> relative = Paths::pathInside(tree, root))
            arguments.append(*relative);
    }
    QSet<QString> submodules;
    if (arguments.size() == 5)
        return submodules;
    const std::optional<QByteArray> listing = outputOfSuccess(repo, arguments, cancellation);
    if (!listing)
        return submodules;
    // "<mode> <object> <stage>\t<path>"; a gitlink has mode 160000. A tracked file below a
    // nested tree's folder is listed too, under its own path, which names no tree. A listing over
    // the limits is one git could not give.
    const InputLimits::Records records = InputLimits::split(*listing, '\0');
    if (!records.records)
        return submodules;
    for (const QByteArray& record : *records.records) {
        const qsizetype tab = record.indexOf('\t');
        if (tab > 0 && record.startsWith("160000 "))
            submodules.insert(Paths::joined(root, QString::fromUtf8(record.mid(tab + 1))));
    }
    return submodules;
}

bool GitInspector::submoduleIsOnRemote(const QString& tree, const CancellationToken& cancellation) {
    const std::optional<QByteArray> status = outputOfSuccess(tree, statusArguments(), cancellation);
    if (!status)
        return false;
    if (const GitStatusReport report = parseStatus(*status);
        report.problem || !report.changes.isEmpty())
        return false;
    // A submodule usually sits on no branch at all, so its upstream says nothing: the commit it
    // is at must be on the remote, as the last fetch saw it.
    const QStringList containing{
        QStringLiteral("for-each-ref"),        QStringLiteral("--count=1"),
        QStringLiteral("--contains"),          QStringLiteral("HEAD"),
        QStringLiteral("--format=%(refname)"), QStringLiteral("refs/remotes")};
    const std::optional<QByteArray> remoteRefs = outputOfSuccess(tree, containing, cancellation);
    if (!remoteRefs || remoteRefs->trimmed().isEmpty())
        return false;
    return !hasLocalOnlyWork(localWork(tree, cancellation));
}

std::optional<QString> GitInspector::enclosingWorkingTree(const QString& path) {
    // As in the scan, a repository in the home folder (dotfiles) is no working tree for the
    // folders in it.
    const QString home = Paths::standardized(Locations::homeDir());
    const QString canonicalHome = DirectoryReader::canonicalPath(home).value_or(home);
    QString folder = Paths::standardized(path);
    while (!folder.isEmpty()) {
        if (folder == home || folder == canonicalHome)
            return std::nullopt;
        if (QFileInfo::exists(Paths::joined(folder, QStringLiteral(".git"))))
            return folder;
        if (folder == QLatin1String("/"))
            break;
        folder = Paths::parentPath(folder);
    }
    return std::nullopt;
}

} // namespace corvane
