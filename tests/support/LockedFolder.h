#pragma once

#include <QString>

namespace corvane::test {

// Makes a folder refuse new entries and moves, even for root: the immutable flag where the file
// system has it, else no write permission on the folder itself (a folder moved to another parent
// must rewrite its ".." entry). Undone when it goes out of scope.
class LockedFolder {
public:
    explicit LockedFolder(const QString& folder);
    ~LockedFolder();
    LockedFolder(const LockedFolder&) = delete;
    LockedFolder& operator=(const LockedFolder&) = delete;

    // Whether a move of the folder into `elsewhere` really fails here.
    bool refusesMoves(const QString& elsewhere) const;

private:
    QString folder_;
    bool immutable_ = false;
};

} // namespace corvane::test
