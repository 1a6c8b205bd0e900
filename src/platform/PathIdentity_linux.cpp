#include <QByteArray>
#include <sys/vfs.h>

namespace corvane::PathIdentity {

// Linux file systems tell names apart by their bytes, except the ones made for other systems:
// FAT and exFAT drives, and NTFS through either driver.
bool volumeIgnoresCase(const QByteArray& existingPath) {
    struct statfs info {};
    if (::statfs(existingPath.constData(), &info) != 0)
        return false;
    switch (static_cast<unsigned long>(info.f_type)) {
    case 0x4d44UL:     // FAT
    case 0x2011BAB0UL: // exFAT
    case 0x5346544eUL: // NTFS (ntfs-3g)
    case 0x7366746eUL: // NTFS (ntfs3)
        return true;
    default:
        return false;
    }
}

} // namespace corvane::PathIdentity
