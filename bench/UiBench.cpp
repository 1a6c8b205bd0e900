// Scans a folder in the real main window, drawn on Qt's offscreen platform, and reports how long
// the window could not have answered the user: the longest gap between two ticks of a 10 ms
// timer on the main thread while the scan runs. With --overview the window shows the overview,
// which loads every area at once over a fake home (see tests/support/OverviewHome) while the scan
// runs. With --filter it types into the project list's filter over 2,000 projects instead
// (FilterBench).
// With --disk-map the window shows the disk map of the same folder, which fills in from its own
// walk while the scan runs. With --agent-storage HOME it opens the coding agents' Storage tab over
// that home instead (AgentStorageUiBench).

#include "AgentStorageUiBench.h"
#include "FilterBench.h"
#include "TimedApplication.h"
#include "platform/ByteFormat.h"
#include "scanning/ScanEngine.h"
#include "shell/DiskMapView.h"
#include "shell/MainWindow.h"
#include "support/OverviewHome.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <optional>
#include <sys/resource.h>

namespace {

constexpr int tickInterval = 10;
constexpr double gapLimitMs = 50.0;

struct Gaps {
    QElapsedTimer clock;
    QList<double> gapsMs;

    void tick() {
        gapsMs.append(static_cast<double>(clock.nsecsElapsed()) / 1e6);
        clock.restart();
    }

    double longest() const {
        return gapsMs.isEmpty() ? 0 : *std::max_element(gapsMs.cbegin(), gapsMs.cend());
    }

    double percentile(double share) const {
        if (gapsMs.isEmpty())
            return 0;
        QList<double> sorted = gapsMs;
        std::sort(sorted.begin(), sorted.end());
        return sorted[static_cast<qsizetype>(share * static_cast<double>(sorted.size() - 1))];
    }
};

// The most memory the process ever held, in MiB.
double peakMemoryMiB() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
#ifdef Q_OS_MACOS
    return static_cast<double>(usage.ru_maxrss) / (1024.0 * 1024.0);
#else
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
#endif
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (argc > 1 && qstrcmp(argv[1], "--filter") == 0)
        return corvane::bench::runFilterBench(argc, argv);
    if (argc > 1 && qstrcmp(argv[1], "--agent-storage") == 0)
        return corvane::bench::runAgentStorageBench(argc, argv);
    const bool withOverview = argc > 1 && qstrcmp(argv[1], "--overview") == 0;
    const bool withDiskMap = argc > 1 && qstrcmp(argv[1], "--disk-map") == 0;
    std::optional<corvane::test::OverviewHome> overviewHome;
    if (withDiskMap) {
        --argc;
        ++argv;
    }
    if (withOverview) {
        --argc;
        ++argv;
        // Before the application reads where its folders are.
        if (!corvane::test::isolateFromRealHome()) {
            std::fprintf(stderr, "corvane_ui_bench: could not make a fake home\n");
            return 2;
        }
        overviewHome.emplace(corvane::test::fakeHome());
    }
    corvane::bench::TimedApplication application(argc, argv);
    // Its own settings name: the bench never reads or changes the app's settings.
    QApplication::setOrganizationName(QStringLiteral("Corvane"));
    QApplication::setApplicationName(QStringLiteral("Corvane Clean UI bench"));
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 2 || arguments.size() > 3 || !QFileInfo(arguments[1]).isDir()) {
        std::fprintf(stderr,
                     "usage: corvane_ui_bench [--overview | --disk-map] FOLDER [SCREENSHOT.png]\n");
        return 2;
    }
    const QString folder = QFileInfo(arguments[1]).absoluteFilePath();

    corvane::AppModels models(corvane::ScanEngine::scan);
    corvane::ScanSession& session = models.session;
    corvane::MainWindow window(models);
    window.show();

    Gaps gaps;
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    ticker.setInterval(tickInterval);
    QObject::connect(&ticker, &QTimer::timeout, &ticker, [&gaps] { gaps.tick(); });
    QElapsedTimer scanClock;
    qint64 overviewMs = -1;
    corvane::OverviewModel& overview = models.overview;
    corvane::DiskMapModel& diskMap = models.diskMap;
    qint64 diskMapMs = -1;
    const auto quitWhenDone = [&] {
        const bool overviewDone =
            !withOverview || (overview.isComplete() && overview.trashBytes().has_value());
        const bool diskMapDone = !withDiskMap || (diskMap.hasLoaded() && !diskMap.isLoading());
        if (withDiskMap && diskMapDone && diskMapMs < 0 && scanClock.isValid())
            diskMapMs = scanClock.elapsed();
        // Nothing is done before the scan has started.
        if (!scanClock.isValid())
            return;
        if (overviewDone && overviewMs < 0 && withOverview)
            overviewMs = scanClock.elapsed();
        if (session.isScanning() || !overviewDone || !diskMapDone)
            return;
        // A moment more, so the views' last updates after the end are measured too.
        QTimer::singleShot(500, &application, &QCoreApplication::quit);
    };
    QObject::connect(&session, &corvane::ScanSession::isScanningChanged, &application,
                     quitWhenDone);
    QObject::connect(&overview, &corvane::OverviewModel::changed, &application, quitWhenDone);
    QObject::connect(&diskMap, &corvane::InventoryModel::isLoadingChanged, &application,
                     quitWhenDone);

    // Let the window settle before the clock starts.
    QTimer::singleShot(200, &application, [&] {
        application.forget();
        gaps.clock.start();
        scanClock.start();
        ticker.start();
        if (withOverview)
            window.showOverview();
        window.scanFolder(folder);
        if (withDiskMap) {
            window.page<corvane::DiskMapView>()->showFolder(folder);
            window.showArea(QStringLiteral("diskMap"));
        }
        if (!session.isScanning())
            QCoreApplication::quit();
    });
    QApplication::exec();
    ticker.stop();
    if (arguments.size() == 3 && !window.grab().save(arguments[2]))
        std::fprintf(stderr, "corvane_ui_bench: could not save %s\n", qPrintable(arguments[2]));

    if (withOverview) {
        QStringList areas;
        for (const corvane::OverviewArea& area : overview.areas())
            areas.append(area.name + QStringLiteral(" ") +
                         (area.bytes() ? corvane::formatBytes(*area.bytes()) : area.note()));
        std::printf("ui bench: the overview had every area after %.1f s: %s\n",
                    static_cast<double>(overviewMs) / 1000.0, qPrintable(areas.join(u", ")));
        overviewHome.reset();
        corvane::test::removeFakeHome();
    }
    if (withDiskMap) {
        const corvane::DiskMapModel::Node* root = diskMap.node(corvane::DiskMapModel::rootFolder);
        std::printf("ui bench: the disk map measured %s in %.1f s and keeps %zu folders; peak "
                    "memory %.0f MiB\n",
                    qPrintable(corvane::formatBytes(root ? root->bytes : 0)),
                    static_cast<double>(diskMapMs) / 1000.0, diskMap.nodeCount(), peakMemoryMiB());
    }
    if (!session.rootURL()) {
        std::fprintf(stderr, "corvane_ui_bench: %s was not scanned\n", qPrintable(folder));
        return 2;
    }
    qsizetype items = 0;
    for (const auto& list : session.itemsByProject())
        items += list.size();
    const double longest = gaps.longest();
    std::printf("ui bench: scanned %lld projects and %lld items (%s measured) in %.1f s in the "
                "window\n",
                static_cast<long long>(session.projects().size()), static_cast<long long>(items),
                qPrintable(corvane::formatBytes(session.measuredBytes())),
                static_cast<double>(scanClock.elapsed()) / 1000.0);
    std::printf("ui bench: main-thread timer every %d ms: %lld ticks, median gap %.1f ms, 99th "
                "percentile %.1f ms, longest %.1f ms (limit %.0f ms): %s\n",
                tickInterval, static_cast<long long>(gaps.gapsMs.size()), gaps.percentile(0.5),
                gaps.percentile(0.99), longest, gapLimitMs,
                longest < gapLimitMs ? "ok" : "TOO LONG");
    std::printf("ui bench: slowest events on the main thread: %s\n",
                qPrintable(application.slowest().join(QStringLiteral("; "))));
    return longest < gapLimitMs ? 0 : 1;
}
