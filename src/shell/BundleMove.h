#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace corvane::MoveToApplications {

// The file operations moving a bundle is made of. The macOS build works on the disk (ditto,
// renamex_np, the Trash); a test records the calls and makes the ones it chooses fail. Each
// operation answers with the reason it failed, or nothing.
class BundleFiles {
public:
    virtual ~BundleFiles() = default;

    virtual bool exists(const QString& path) const = 0;
    // A copy that the system will not quarantine, and so will not translocate again.
    virtual std::optional<QString> copyWithoutQuarantine(const QString& from,
                                                         const QString& to) = 0;
    // Fails rather than replace anything at `to`.
    virtual std::optional<QString> rename(const QString& from, const QString& to) = 0;
    // Exchanges the two items in one step: at no moment is either name empty.
    virtual std::optional<QString> swap(const QString& first, const QString& second) = 0;
    virtual std::optional<QString> moveToTrash(const QString& path) = 0;
    // Removes a copy this move made and could not finish.
    virtual void removeUnfinishedCopy(const QString& path) = 0;
};

struct MoveOutcome {
    // The new copy is at the destination.
    bool installed = false;
    // The new copy has been started; this process should quit.
    bool relaunched = false;
    // Why nothing was installed, or what stayed behind although it was.
    QStringList problems;
};

// The name the copy is made under, next to `destination`: "<name> (older copy).app", since after
// a swap the older copy holds it on its way to the Trash; a number is added while it is taken.
QString temporaryName(const BundleFiles& files, const QString& destination);

// Copies `opened` to a temporary name beside `destination`, and only once the copy is whole puts
// it in place: renamed when nothing is there, swapped with an older copy, which then goes to the
// Trash. A failed copy or swap removes the temporary copy and leaves any installed app as it
// was. The opened bundle goes to the Trash too, unless a disk image holds it (which cannot
// change) or it is the system's read-only translocated copy.
MoveOutcome moveBundle(BundleFiles& files, const QString& opened, const QString& destination);

} // namespace corvane::MoveToApplications
