// corvane_bench: the engine's phases run alone over a make-workspace tree, for timing from
// bench/run-bench.sh, each checked against what the workspace's manifest says should be found.

#include "Manifest.h"
#include "platform/Paths.h"
#include "platform/SizeCalculator.h"
#include "platform/WorkQueue.h"
#include "scanning/DirectoryWalker.h"
#include "scanning/GitIgnoreEvaluator.h"
#include "scanning/GitInspector.h"
#include "scanning/ScanEngine.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QTextStream>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace corvane::bench {
namespace {

enum ExitStatus { exitOk = 0, exitMismatch = 1, exitBadInput = 2 };

struct Options {
    std::string manifest;
    std::string root;
    int threads = WorkQueue::defaultWidth();
    bool quiet = false;
};

QTextStream& out() {
    static QTextStream stream(stdout);
    return stream;
}

std::optional<Manifest> load(const Options& options) {
    QString error;
    std::optional<Manifest> manifest =
        Manifest::read(QFile::decodeName(options.manifest.c_str()),
                       QFile::decodeName(options.root.c_str()), error);
    if (!manifest)
        std::fprintf(stderr, "corvane_bench: %s\n", qPrintable(error));
    return manifest;
}

// At most `limit` lines of `paths`, then how many more there are.
void listSome(const QString& heading, QStringList paths, const QString& root, int limit = 10) {
    if (paths.isEmpty())
        return;
    paths.sort();
    out() << "  " << heading << " (" << paths.size() << "):\n";
    for (qsizetype i = 0; i < std::min<qsizetype>(limit, paths.size()); ++i)
        out() << "    " << paths[i].mid(root.size() + 1) << '\n';
    if (paths.size() > limit)
        out() << "    ... and " << paths.size() - limit << " more\n";
}

QStringList missingFrom(const QStringList& expected, const QSet<QString>& found) {
    QStringList missing;
    for (const QString& path : expected) {
        if (!found.contains(path))
            missing.append(path);
    }
    return missing;
}

QStringList notIn(const QSet<QString>& found, const QSet<QString>& expected) {
    QStringList extra;
    for (const QString& path : found) {
        if (!expected.contains(path))
            extra.append(path);
    }
    return extra;
}

// The size phase alone: every artifact folder of the manifest, measured as a scan measures its
// items, one SizeCalculator call per folder on a work queue as wide as the scan's.
int runSizes(const Options& options) {
    const std::optional<Manifest> manifest = load(options);
    if (!manifest)
        return exitBadInput;
    QElapsedTimer timer;
    timer.start();
    std::vector<qint64> sizes(static_cast<size_t>(manifest->artifacts.size()), 0);
    {
        WorkQueue measurements(options.threads);
        for (qsizetype i = 0; i < manifest->artifacts.size(); ++i)
            measurements.enqueue([&sizes, &manifest, i] {
                sizes[size_t(i)] = SizeCalculator::size(manifest->artifacts[i]);
            });
        measurements.waitUntilIdle();
    }
    const qint64 elapsed = timer.elapsed();
    if (options.quiet)
        return exitOk;

    qint64 total = 0;
    qint64 expectedTotal = 0;
    QStringList differing;
    for (qsizetype i = 0; i < manifest->artifacts.size(); ++i) {
        const QString& path = manifest->artifacts[i];
        const qint64 expected = manifest->artifactBytes.value(path, -1);
        total += sizes[size_t(i)];
        expectedTotal += std::max<qint64>(expected, 0);
        if (expected != sizes[size_t(i)])
            differing.append(QStringLiteral("%1: measured %2, manifest %3")
                                 .arg(path)
                                 .arg(sizes[size_t(i)])
                                 .arg(expected));
    }
    out() << "sizes: " << manifest->artifacts.size() << " artifact folders, " << total
          << " bytes allocated, measured in " << elapsed << " ms on at most " << options.threads
          << " threads\n"
          << "  manifest: " << expectedTotal << " bytes; " << differing.size()
          << " folders differ\n";
    listSome(QStringLiteral("differing folders"), differing, manifest->workspace);
    return differing.isEmpty() ? exitOk : exitMismatch;
}

// The walker alone over the whole workspace, compared with the projects and artifact folders the
// manifest lists.
int runWalk(const Options& options) {
    const std::optional<Manifest> manifest = load(options);
    if (!manifest)
        return exitBadInput;
    QElapsedTimer timer;
    timer.start();
    int progressEvents = 0;
    DirectoryWalker walker(manifest->workspace, {}, [&](const ScanEvent& event) {
        progressEvents += event.kind == ScanEvent::Kind::progress ? 1 : 0;
    });
    const DirectoryWalker::WalkResult result = walker.walk();
    const qint64 elapsed = timer.elapsed();
    if (options.quiet)
        return exitOk;

    QSet<QString> projects;
    for (const Project& project : result.projects)
        projects.insert(project.url);
    QSet<QString> candidates;
    for (const QSet<QString>& found : result.candidatesByProject)
        candidates.unite(found);

    // A clone inside a repository is a project of its own (".git" is a marker); a project without
    // any marker file cannot be told from a plain folder, and the project buried 17 levels down
    // lies beyond the walk's depth: neither should be found, nor the folders inside them.
    const QStringList& unmarked = manifest->unmarkedProjects;
    const auto findable = [&unmarked](const QString& path) {
        return std::none_of(unmarked.begin(), unmarked.end(), [&path](const QString& project) {
            return Paths::isUnder(path, project);
        });
    };
    QStringList expectedProjects = manifest->projects;
    expectedProjects.append(
        manifest->oddCases.value(QStringLiteral("repository_inside_repository")));
    expectedProjects.removeAll(QString());
    expectedProjects.removeIf([&](const QString& path) { return !findable(path); });
    const QSet<QString> expectedProjectSet(expectedProjects.begin(), expectedProjects.end());
    QStringList expectedCandidates = manifest->artifacts + manifest->committedArtifacts;
    expectedCandidates.removeIf([&](const QString& path) { return !findable(path); });
    const QSet<QString> expectedCandidateSet(expectedCandidates.begin(), expectedCandidates.end());
    const QString tooDeep = manifest->oddCases.value(QStringLiteral("project_17_levels_down"));

    const QStringList missingProjects = missingFrom(expectedProjects, projects);
    const QStringList extraProjects = notIn(projects, expectedProjectSet);
    const QStringList missingCandidates = missingFrom(expectedCandidates, candidates);
    const QStringList extraCandidates = notIn(candidates, expectedCandidateSet);
    out() << "walk: " << walker.visitedDirCount() << " folders visited, " << progressEvents
          << " progress events, " << result.projects.size() << " projects (manifest "
          << expectedProjectSet.size() << "), " << candidates.size()
          << " candidate folders (manifest " << expectedCandidateSet.size() << "), in " << elapsed
          << " ms\n"
          << "  not expected: " << unmarked.size()
          << " projects without a marker file, and the project below the depth limit\n";
    listSome(QStringLiteral("projects missing"), missingProjects, manifest->workspace);
    listSome(QStringLiteral("projects not in the manifest"), extraProjects, manifest->workspace);
    listSome(QStringLiteral("candidates missing"), missingCandidates, manifest->workspace);
    listSome(QStringLiteral("candidates not in the manifest"), extraCandidates,
             manifest->workspace);
    const bool foundTooDeep = !tooDeep.isEmpty() && projects.contains(tooDeep);
    if (foundTooDeep)
        out() << "  found the project below the depth limit: " << tooDeep << '\n';
    const bool matches = missingProjects.isEmpty() && extraProjects.isEmpty() &&
                         missingCandidates.isEmpty() && extraCandidates.isEmpty() && !foundTooDeep;
    return matches ? exitOk : exitMismatch;
}

// The manifest's artifact folders, NUL-separated, for timing other tools over the same folders.
int runListArtifacts(const Options& options) {
    const std::optional<Manifest> manifest = load(options);
    if (!manifest)
        return exitBadInput;
    for (const QString& path : manifest->artifacts) {
        const QByteArray encoded = QFile::encodeName(path);
        std::fwrite(encoded.constData(), 1, size_t(encoded.size()), stdout);
        std::fputc('\0', stdout);
    }
    return exitOk;
}

// The whole scan as the app runs it, events drained on this thread's event loop.
int runScan(const Options& options) {
    const std::optional<Manifest> manifest = load(options);
    if (!manifest)
        return exitBadInput;
    QElapsedTimer clock;
    clock.start();
    std::unique_ptr<ScanStream> stream = ScanEngine::scan(manifest->workspace, ScanOptions{});
    qint64 projects = 0, items = 0, bytes = 0, batches = 0;
    QEventLoop loop;
    QObject::connect(stream.get(), &ScanStream::eventsArrived, &loop,
                     [&](const QList<ScanEvent>& events) {
                         ++batches;
                         for (const ScanEvent& event : events) {
                             if (event.kind == ScanEvent::Kind::projectDiscovered)
                                 ++projects;
                             else if (event.kind == ScanEvent::Kind::itemsClassified)
                                 items += event.items.size();
                             else if (event.kind == ScanEvent::Kind::sizeUpdated)
                                 bytes += event.bytes;
                             else if (event.kind == ScanEvent::Kind::scanCompleted)
                                 loop.quit();
                         }
                     });
    loop.exec();
    if (!options.quiet)
        out() << "scan: " << projects << " projects, " << items << " items, " << bytes
              << " bytes measured (whole projects included), " << batches
              << " deliveries to the event loop, in " << clock.elapsed() << " ms\n";
    return exitOk;
}

// The projects of the manifest that are the root of a working tree.
QStringList repositories(const Manifest& manifest) {
    QStringList repos;
    for (const QString& project : manifest.projects) {
        if (QFileInfo::exists(project + QStringLiteral("/.git")))
            repos.append(project);
    }
    return repos;
}

// Every git command a scan runs for one repository, through the same wrapper the engine uses.
int runGit(const Options& options) {
    const std::optional<Manifest> manifest = load(options);
    if (!manifest)
        return exitBadInput;
    const QStringList repos = repositories(*manifest);
    QElapsedTimer clock;
    clock.start();
    int synced = 0;
    for (const QString& repo : repos) {
        const GitDetails details = GitInspector::inspect(repo);
        GitInspector::localWork(repo);
        GitIgnoreEvaluator::ignoredDirectoriesOutsideCatalog(repo);
        GitIgnoreEvaluator::ignoredPaths(repo, {repo + QStringLiteral("/node_modules")});
        synced += details.status == GitStatus::fullySynced() ? 1 : 0;
    }
    if (!options.quiet)
        out() << "git: " << repos.size() << " repositories (" << synced << " fully synced) in "
              << clock.elapsed() << " ms\n";
    return exitOk;
}

int runListRepos(const Options& options) {
    const std::optional<Manifest> manifest = load(options);
    if (!manifest)
        return exitBadInput;
    for (const QString& repo : repositories(*manifest))
        out() << repo << '\n';
    return exitOk;
}

struct BenchCommand {
    const char* name;
    const char* help;
    std::function<int(const Options&)> run;
};

const std::vector<BenchCommand>& commands() {
    static const std::vector<BenchCommand> table{
        {"sizes", "Measure every artifact folder of the manifest as a scan measures its items",
         runSizes},
        {"walk", "Walk the workspace and compare projects and candidates with the manifest",
         runWalk},
        {"list-artifacts", "Print the manifest's artifact folders, NUL-separated",
         runListArtifacts},
        {"scan", "Run the whole scan (walk, git, classification, sizes) until scanCompleted",
         runScan},
        {"git", "Inspect every repository of the manifest with the git wrapper, one by one",
         runGit},
        {"list-repos", "Print the manifest's repositories, one per line", runListRepos},
    };
    return table;
}

} // namespace
} // namespace corvane::bench

int main(int argc, char** argv) {
    using namespace corvane::bench;
    QCoreApplication application(argc, argv);
    CLI::App app{"Times the phases of a Corvane Clean scan over a make-workspace tree",
                 "corvane_bench"};
    app.require_subcommand(1);
    Options options;
    int status = exitOk;
    for (const BenchCommand& command : commands()) {
        CLI::App* sub = app.add_subcommand(command.name, command.help);
        sub->add_option("--manifest", options.manifest, "the workspace's *-manifest.json")
            ->required();
        sub->add_option("--root", options.root, "the workspace, when not where the manifest says");
        sub->add_option("--threads", options.threads, "measurement threads")
            ->check(CLI::Range(1, 256));
        sub->add_flag("--quiet", options.quiet, "print nothing; for timing");
        sub->callback([&status, &options, &command] { status = command.run(options); });
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int code = app.exit(error);
        return code == 0 ? exitOk : exitBadInput;
    }
    return status;
}
