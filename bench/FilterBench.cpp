#include "FilterBench.h"

#include "TimedApplication.h"
#include "scanning/ScanStream.h"
#include "shell/FilterBar.h"
#include "shell/MainWindow.h"
#include "shell/ProjectTreeModel.h"
#include "shell/ProjectsView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTreeView>
#include <algorithm>
#include <cstdio>
#include <memory>

namespace corvane::bench {
namespace {

constexpr int projectCount = 2000;
constexpr double keyLimitMs = 30.0;

// Names as a folder of projects has them: a few words reused across clients and years, so that
// namesakes and shared path parts occur as they do on a real disk.
Project madeUp(const QString& root, int index) {
    static const QStringList names{QStringLiteral("api"),
                                   QStringLiteral("web"),
                                   QStringLiteral("billing-service"),
                                   QStringLiteral("dashboard"),
                                   QStringLiteral("mobile-app"),
                                   QStringLiteral("infra"),
                                   QStringLiteral("docs"),
                                   QStringLiteral("auth"),
                                   QStringLiteral("landing"),
                                   QStringLiteral("worker"),
                                   QStringLiteral("cli"),
                                   QStringLiteral("design-system")};
    const QString name =
        names[index % names.size()] + (index % 3 == 0 ? QString::number(index) : QString());
    const QString url = QStringLiteral("%1/client%2/%3/%4")
                            .arg(root)
                            .arg(index % 40)
                            .arg(2015 + index % 10)
                            .arg(name);
    return Project{QUuid::createUuid(), name,        url, {QStringLiteral("package.json")},
                   std::nullopt,        std::nullopt};
}

QList<ScanEvent> eventsOf(const Project& project, int index) {
    CleanableItem modules(project.id, project.url + QStringLiteral("/node_modules"),
                          QStringLiteral("node_modules"), ArtifactKind::dependencies,
                          CleanConfidence::safe);
    GitDetails details;
    details.status = index % 5 == 0 ? GitStatus::dirty(index % 7 + 1) : GitStatus::fullySynced();
    details.lastCommitDate = QDateTime::currentDateTimeUtc().addDays(-index);
    return {ScanEvent::projectDiscovered(project), ScanEvent::gitStatusUpdated(project.id, details),
            ScanEvent::itemsClassified(project.id, {modules}),
            ScanEvent::sizeUpdated(modules.id, qint64(1'000'000) * (index % 977 + 1))};
}

void settle() {
    for (int pass = 0; pass < 3; ++pass)
        QCoreApplication::processEvents();
}

struct KeyTime {
    double wallMs = 0;
    // What the main thread itself spent on the key, without the time it waited for a core.
    double cpuMs = 0;
};

// Sends one key to `field` and waits until the list has followed it; the time it took.
KeyTime press(QLineEdit& field, int key, const QString& text) {
    QElapsedTimer clock;
    clock.start();
    const double cpuBefore = threadCpuMs();
    QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(&field, &down);
    QKeyEvent up(QEvent::KeyRelease, key, Qt::NoModifier, text);
    QApplication::sendEvent(&field, &up);
    settle();
    return {static_cast<double>(clock.nsecsElapsed()) / 1e6, threadCpuMs() - cpuBefore};
}

double median(QList<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int runFilterBench(int argc, char** argv) {
    TimedApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Corvane"));
    QApplication::setApplicationName(QStringLiteral("Corvane Clean UI bench"));
    QTemporaryDir root;
    std::shared_ptr<ScanEventSink> sink;
    AppModels models([&sink](const QString&, const ScanOptions&) {
        ScanStream::Pair pair = ScanStream::create();
        sink = pair.sink;
        return std::move(pair.stream);
    });
    MainWindow window(models);
    window.resize(1280, 800);
    window.show();
    window.scanFolder(root.path());
    if (!sink) {
        std::fprintf(stderr, "corvane_ui_bench: the window did not start a scan\n");
        return 2;
    }
    QList<ScanEvent> events;
    for (int index = 0; index < projectCount; ++index)
        events += eventsOf(madeUp(root.path(), index), index);
    events.append(ScanEvent::scanCompleted());
    sink->send(events);
    while (models.session.isScanning() ||
           window.projectsView().projectModel().rowCount() < projectCount)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    settle();

    QLineEdit& field =
        *window.projectsView().projectView()->parentWidget()->findChild<FilterBar*>()->field();
    field.setFocus();
    settle();
    application.forget();
    const QString query = QStringLiteral("billing");
    QList<double> keys;
    QList<double> cpu;
    const auto type = [&](int key, const QString& text) {
        const KeyTime time = press(field, key, text);
        keys.append(time.wallMs);
        cpu.append(time.cpuMs);
    };
    for (const QChar letter : query)
        type(letter.unicode(), QString(letter));
    const int narrowed = window.projectsView().projectModel().shownRowCount();
    for (qsizetype left = query.size(); left > 0; --left)
        type(Qt::Key_Backspace, QString());
    if (qEnvironmentVariableIsSet("FILTER_BENCH_KEYS")) {
        for (const double key : std::as_const(keys))
            std::printf("%.1f ", key);
        std::printf("\n");
    }
    const double longest = *std::max_element(keys.cbegin(), keys.cend());
    std::printf("ui bench: typing \"%s\" into the filter over %d projects (down to %d) and "
                "deleting it: %lld keys, median %.1f ms, longest %.1f ms (limit %.0f ms): %s; "
                "the main thread's own time a key: median %.1f ms, longest %.1f ms\n",
                qPrintable(query), projectCount, narrowed, static_cast<long long>(keys.size()),
                median(keys), longest, keyLimitMs, longest < keyLimitMs ? "ok" : "TOO LONG",
                median(cpu), *std::max_element(cpu.cbegin(), cpu.cend()));
    std::printf("ui bench: slowest events while typing: %s\n",
                qPrintable(application.slowest().join(QStringLiteral("; "))));
    return longest < keyLimitMs ? 0 : 1;
}

} // namespace corvane::bench
