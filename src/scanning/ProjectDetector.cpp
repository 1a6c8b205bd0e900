#include "scanning/ProjectDetector.h"

namespace corvane {

const QSet<QString>& ProjectDetector::markerSet() {
    static const QSet<QString> markers{
        QStringLiteral(".git"),
        QStringLiteral("package.json"),
        QStringLiteral("pnpm-workspace.yaml"),
        QStringLiteral("Cargo.toml"),
        QStringLiteral("go.mod"),
        QStringLiteral("pyproject.toml"),
        QStringLiteral("setup.py"),
        QStringLiteral("requirements.txt"),
        QStringLiteral("Package.swift"),
        QStringLiteral("pubspec.yaml"),
        QStringLiteral("Gemfile"),
        QStringLiteral("composer.json"),
        QStringLiteral("mix.exs"),
        QStringLiteral("build.gradle"),
        QStringLiteral("build.gradle.kts"),
        QStringLiteral("settings.gradle"),
        QStringLiteral("settings.gradle.kts"),
        QStringLiteral("pom.xml"),
        QStringLiteral("CMakeLists.txt"),
    };
    return markers;
}

bool ProjectDetector::isProjectRoot(const QString& name) {
    return markerSet().contains(name) || name.endsWith(QLatin1String(".xcodeproj")) ||
           name.endsWith(QLatin1String(".xcworkspace"));
}

QStringList ProjectDetector::markers(const QStringList& names) {
    QStringList found;
    for (const QString& name : names) {
        if (isProjectRoot(name))
            found.append(name);
    }
    return found;
}

} // namespace corvane
