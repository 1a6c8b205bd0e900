// Draws the application icon into the build folder given as the only argument: AppIcon.png
// (1024 pixels), AppIcon.icns for the macOS bundle and AppIcon-<N>.png in the sizes the desktop's
// icon theme folders hold.

#include "shell/AppIcon.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <cstdio>

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: corvane_icon_maker OUTPUT_FOLDER\n");
        return 2;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    if (!QDir().mkpath(folder.path())) {
        std::fprintf(stderr, "Could not make %s\n", argv[1]);
        return 1;
    }
    if (!corvane::paintAppIcon(1024).save(folder.filePath(QStringLiteral("AppIcon.png")))) {
        std::fprintf(stderr, "Could not write AppIcon.png\n");
        return 1;
    }
    for (const int size : {128, 256, 512}) {
        const QString name = QStringLiteral("AppIcon-%1.png").arg(size);
        if (!corvane::paintAppIcon(size).save(folder.filePath(name))) {
            std::fprintf(stderr, "Could not write %s\n", qPrintable(name));
            return 1;
        }
    }
    const QByteArray icns = corvane::icnsData();
    QFile file(folder.filePath(QStringLiteral("AppIcon.icns")));
    if (icns.isEmpty() || !file.open(QIODevice::WriteOnly) || file.write(icns) != icns.size()) {
        std::fprintf(stderr, "Could not write AppIcon.icns\n");
        return 1;
    }
    return 0;
}
