#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <optional>

namespace corvane::test {

// Text for fixtures and expectations, short enough to keep each case on one line.
inline QString s(const char* text) {
    return QString::fromUtf8(text);
}

// Whether trashed items land in the freedesktop Trash of the fake home, "files/<name>" with an
// "info/<name>.trashinfo" record each (Linux). On macOS they land in the stand-in folder that
// takes the place of "files" (CORVANE_TRASH_DIR), without any record.
#ifdef Q_OS_MACOS
inline constexpr bool freedesktopTrash = false;
#else
inline constexpr bool freedesktopTrash = true;
#endif
inline constexpr const char* noFreedesktopTrash =
    "the macOS Trash keeps no .trashinfo record nor a Trash folder tests can lock";

// The temporary folder that stands in for the user's home in this test process.
QString fakeHome();

// Points HOME, the XDG folders (XDG_DATA_DIRS too) and snap at fresh temporary folders;
// returns false (and says why on standard error) when that could not be made safe.
bool isolateFromRealHome();
void removeFakeHome();
// Empties the fake home and what lies beside it, keeping their paths: the next test of the same
// process starts as the first did.
void emptyFakeHome();

// A fresh folder inside the fake home, removed with it.
QString makeTempDir(const QString& prefix = QStringLiteral("t"));

// Writes `contents` to `path`, creating folders on the way.
void writeFile(const QString& path, const QByteArray& contents = {});

// Writes an executable shell script (for stand-ins of tools that cannot run here).
void writeScript(const QString& path, const QByteArray& body);

// Sets an environment variable for one scope and puts the old value back afterwards.
class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const QString& value);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    QByteArray name_;
    std::optional<QByteArray> previous_;
};

} // namespace corvane::test
