#include "Manifest.h"

#include "platform/Paths.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace corvane::bench {
namespace {

QStringList absolute(const QString& root, const QJsonValue& relativePaths) {
    QStringList paths;
    for (const QJsonValue& value : relativePaths.toArray())
        paths.append(Paths::joined(root, value.toString()));
    return paths;
}

} // namespace

std::optional<Manifest> Manifest::read(const QString& path, const QString& workspace,
                                       QString& error) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return std::nullopt;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    const QJsonObject top = document.object();
    if (parseError.error != QJsonParseError::NoError || !top.value(u"projects").isArray()) {
        error = QStringLiteral("%1 is not a make-workspace manifest").arg(path);
        return std::nullopt;
    }

    Manifest manifest;
    manifest.workspace =
        Paths::standardized(workspace.isEmpty() ? top.value(u"workspace").toString() : workspace);
    const QString& root = manifest.workspace;
    for (const QJsonValue& value : top.value(u"projects").toArray()) {
        const QJsonObject project = value.toObject();
        const QString projectPath = Paths::joined(root, project.value(u"path").toString());
        manifest.projects.append(projectPath);
        if (project.value(u"markers").toArray().isEmpty())
            manifest.unmarkedProjects.append(projectPath);
        manifest.projects.append(absolute(root, project.value(u"nested_projects")));
        manifest.artifacts.append(absolute(root, project.value(u"artifacts")));
        manifest.committedArtifacts.append(absolute(root, project.value(u"committed_artifacts")));
        const QJsonObject sizes = project.value(u"artifact_sizes").toObject();
        for (auto it = sizes.begin(); it != sizes.end(); ++it) {
            const qint64 bytes = it.value().toObject().value(u"allocated").toInteger();
            manifest.artifactBytes.insert(Paths::joined(root, it.key()), bytes);
        }
    }
    const QJsonObject odd = top.value(u"odd_cases").toObject();
    for (auto it = odd.begin(); it != odd.end(); ++it)
        manifest.oddCases.insert(it.key(), Paths::joined(root, it.value().toString()));
    return manifest;
}

} // namespace corvane::bench
