#include "support/TestEnvironment.h"

#include "platform/Locations.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace corvane::test {
namespace {

QString& homeRoot() {
    static QString root;
    return root;
}

QString realHome() {
    const passwd* entry = getpwuid(getuid());
    return entry ? QDir::cleanPath(QString::fromLocal8Bit(entry->pw_dir)) : QString();
}

void setVariable(const char* name, const QString& value) {
    ::setenv(name, QFile::encodeName(value).constData(), 1);
}

} // namespace

QString fakeHome() {
    return homeRoot() + QStringLiteral("/home");
}

bool isolateFromRealHome() {
    QByteArray pattern = QDir::tempPath().toLocal8Bit() + "/corvane-test-XXXXXX";
    if (!::mkdtemp(pattern.data())) {
        std::fprintf(stderr, "Could not make a temporary home folder\n");
        return false;
    }
    // Canonical, so paths the system resolves compare equal to the ones tests build.
    homeRoot() = QDir(QString::fromLocal8Bit(pattern)).canonicalPath();
    const QString home = fakeHome();
    QDir().mkpath(home);
    setVariable("HOME", home);
    setVariable("XDG_DATA_HOME", home + QStringLiteral("/.local/share"));
    setVariable("XDG_CONFIG_HOME", home + QStringLiteral("/.config"));
    setVariable("XDG_CACHE_HOME", home + QStringLiteral("/.cache"));
    setVariable("XDG_STATE_HOME", home + QStringLiteral("/.local/state"));
    // The system's shared data too (its application entries): tests see only what they make.
    setVariable("XDG_DATA_DIRS", home + QStringLiteral("/system/share"));
    setVariable("CORVANE_TOOL_SNAP", home + QStringLiteral("/no-snap"));
#ifdef Q_OS_MACOS
    // NSFileManager's Trash is the runner's own whatever HOME says: every test trashes into a
    // folder of its home instead, where the freedesktop Trash keeps its items on Linux.
    setVariable("CORVANE_TRASH_DIR", home + QStringLiteral("/.local/share/Trash/files"));
#endif

    const QString real = realHome();
    const QString seenHome = qEnvironmentVariable("HOME");
    const QString seenData = qEnvironmentVariable("XDG_DATA_HOME");
    const QString seenTrash = qEnvironmentVariable("CORVANE_TRASH_DIR");
    const bool trashIsolated = !Locations::isMac() || seenTrash.startsWith(home + u'/');
    const bool safe = seenHome == home && seenData.startsWith(home + u'/') && trashIsolated &&
                      (real.isEmpty() || (seenHome != real && !real.startsWith(seenHome + u'/')));
    if (!safe)
        std::fprintf(stderr, "Refusing to run: HOME, XDG_DATA_HOME or the Trash is not a "
                             "temporary folder\n");
    return safe;
}

void removeFakeHome() {
    if (homeRoot().isEmpty())
        return;
    // Tests may leave read-only folders behind (as Go's module cache is); open them up first.
    std::system(("chmod -R u+rwx '" + homeRoot().toLocal8Bit() + "' 2>/dev/null").constData());
    QDir(homeRoot()).removeRecursively();
}

void emptyFakeHome() {
    removeFakeHome();
    QDir().mkpath(fakeHome());
}

QString makeTempDir(const QString& prefix) {
    static int counter = 0;
    const QString path = homeRoot() + QStringLiteral("/%1-%2").arg(prefix).arg(++counter);
    QDir().mkpath(path);
    return path;
}

void writeFile(const QString& path, const QByteArray& contents) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        std::abort();
    file.write(contents);
}

void writeScript(const QString& path, const QByteArray& body) {
    writeFile(path, "#!/bin/sh\n" + body);
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                    QFileDevice::ExeOwner | QFileDevice::ReadGroup |
                                    QFileDevice::ExeGroup);
}

ScopedEnvironment::ScopedEnvironment(const char* name, const QString& value)
    : name_(name) {
    if (const char* old = std::getenv(name))
        previous_ = QByteArray(old);
    ::setenv(name, QFile::encodeName(value).constData(), 1);
}

ScopedEnvironment::~ScopedEnvironment() {
    if (previous_)
        ::setenv(name_.constData(), previous_->constData(), 1);
    else
        ::unsetenv(name_.constData());
}

} // namespace corvane::test
