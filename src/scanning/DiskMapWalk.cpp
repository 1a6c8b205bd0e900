#include "scanning/DiskMapWalk.h"

#include "platform/Paths.h"
#include "platform/SizeCalculator.h"
#include "scanning/ArtifactCatalog.h"
#include "scanning/ProjectDetector.h"

#include <QElapsedTimer>
#include <QFile>
#include <cerrno>
#include <cstring>

namespace corvane {
namespace {

// The entry names that decide a folder's category: project markers, and the files some catalog
// names need beside them ("Podfile" for "Pods").
std::unordered_set<std::string> makeNotedNames() {
    std::unordered_set<std::string> names;
    for (const QString& marker : ProjectDetector::markerSet())
        names.insert(QFile::encodeName(marker).toStdString());
    for (const auto& row : ArtifactCatalog::builtInRows()) {
        for (const QString& sibling : row.second.requiredSiblings)
            names.insert(QFile::encodeName(sibling).toStdString());
    }
    return names;
}

QString skipMessage(int errorCode) {
    switch (errorCode) {
    case ENOENT:
        return QStringLiteral("Vanished while it was measured");
    case EXDEV:
        return QStringLiteral("On another volume; not measured");
    default:
        return QStringLiteral("Could not be read: %1")
            .arg(QString::fromLocal8Bit(std::strerror(errorCode)));
    }
}

class MapVisitor : public FolderVisitor {
public:
    MapVisitor(const QString& root, const DiskMapWalk::Options& options,
               const DiskMapWalk::BatchHandler& onBatch)
        : root_(Paths::standardized(root))
        , options_(options)
        , onBatch_(onBatch)
        , notedNames_(makeNotedNames()) {
        clock_.start();
    }

    const std::unordered_set<std::string>& notedNames() const override { return notedNames_; }

    void folderEntered(std::string_view name, qint64 fileBytes,
                       const std::vector<std::string>& noted) override {
        Level level;
        level.folder = nextFolder_++;
        level.name =
            QFile::decodeName(QByteArray(name.data(), static_cast<qsizetype>(name.size())));
        level.path = stack_.empty() ? root_ : Paths::joined(stack_.back().path, level.name);
        level.category = categoryOf(level);
        for (const std::string& entry : noted)
            level.noted.insert(QFile::decodeName(QByteArray::fromStdString(entry)));
        MapEvent event;
        event.kind = MapEvent::Kind::entered;
        event.folder = level.folder;
        event.parent = stack_.empty() ? level.folder : stack_.back().folder;
        event.category = level.category;
        event.fileBytes = fileBytes;
        event.name = stack_.empty() ? root_ : level.name;
        stack_.push_back(std::move(level));
        send(std::move(event));
    }

    void folderLeft() override {
        MapEvent event;
        event.kind = MapEvent::Kind::left;
        event.folder = stack_.back().folder;
        stack_.pop_back();
        send(std::move(event));
    }

    void folderSkipped(std::string_view name, int errorCode) override {
        MapEvent event;
        event.kind = MapEvent::Kind::skipped;
        event.parent = stack_.back().folder;
        event.name =
            QFile::decodeName(QByteArray(name.data(), static_cast<qsizetype>(name.size())));
        event.message = skipMessage(errorCode);
        send(std::move(event));
    }

    void flush() {
        if (!pending_.isEmpty())
            onBatch_(std::exchange(pending_, {}));
        clock_.restart();
    }

private:
    struct Level {
        quint32 folder = 0;
        QString name;
        QString path;
        MapCategory category = MapCategory::other;
        QSet<QString> noted;
    };

    MapCategory categoryOf(const Level& level) const {
        if (!stack_.empty() && stack_.back().category != MapCategory::other)
            return stack_.back().category;
        const auto known = options_.knownFolders.constFind(level.path);
        if (known != options_.knownFolders.cend())
            return *known;
        if (stack_.empty())
            return MapCategory::other;
        const QSet<QString>& siblings = stack_.back().noted;
        const std::optional<CatalogMatch> match = ArtifactCatalog::match(level.name, siblings);
        // A generic name is an artifact only inside a project, as the scan would find it.
        if (!match || (match->tier == CatalogTier::medium && siblings.isEmpty()))
            return MapCategory::other;
        return mapCategoryOf(match->kind);
    }

    void send(MapEvent event) {
        pending_.append(std::move(event));
        if (clock_.elapsed() >= options_.batchIntervalMs)
            flush();
    }

    QString root_;
    const DiskMapWalk::Options& options_;
    const DiskMapWalk::BatchHandler& onBatch_;
    const std::unordered_set<std::string> notedNames_;
    std::vector<Level> stack_;
    quint32 nextFolder_ = 0;
    MapEvents pending_;
    QElapsedTimer clock_;
};

} // namespace

void DiskMapWalk::run(const QString& root, const Options& options, const BatchHandler& onBatch,
                      const CancellationToken& cancellation) {
    MapVisitor visitor(root, options, onBatch);
    SizeCalculator::walk(root, visitor, cancellation);
    visitor.flush();
}

} // namespace corvane
