#include "devtools/AndroidCatalog.h"

#include "devtools/AndroidProperties.h"
#include "platform/CheckedSum.h"
#include "platform/Locations.h"
#include "platform/OpenFileGuard.h"
#include "platform/PathIdentity.h"
#include "platform/Paths.h"
#include "platform/SizeCalculator.h"
#include "platform/TrashService.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QUuid>
#include <algorithm>

namespace corvane::AndroidCatalog {
namespace {

constexpr double lsofTimeout = 30.0;
constexpr double psTimeout = 10.0;
// Enough to see whether a snapshot is being saved or loaded without handing lsof a huge list.
constexpr int maxSnapshotFiles = 256;

using AndroidProperties::Properties;

std::optional<QString> value(const Properties& properties, const char* key) {
    const QString found = properties.value(QString::fromLatin1(key));
    return found.isEmpty() ? std::nullopt : std::optional(found);
}

QString fromEnvironment(const char* name) {
    return qEnvironmentVariable(name).trimmed();
}

bool isRealFolder(const QString& path) {
    const QFileInfo info(path);
    return info.isDir() && !info.isSymLink();
}

// The visible subfolders of `folder` that are real folders; links could lead out of the SDK.
QStringList subfolders(const QString& folder) {
    QStringList found;
    const QFileInfoList entries =
        QDir(folder).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks);
    for (const QFileInfo& entry : entries)
        found.append(Paths::joined(folder, entry.fileName()));
    return found;
}

QString tagLabel(const QString& tagID) {
    static const QHash<QString, QString> labels = {
        {QStringLiteral("default"), QString()},
        {QStringLiteral("google_apis"), QStringLiteral("Google APIs")},
        {QStringLiteral("google_apis_playstore"), QStringLiteral("Google Play")},
        {QStringLiteral("android-automotive"), QStringLiteral("Android Automotive")},
        {QStringLiteral("android-automotive-playstore"),
         QStringLiteral("Android Automotive with Google Play")},
    };
    const auto found = labels.constFind(tagID);
    return found == labels.cend() ? tagID : *found;
}

// "34" from a folder named "android-34"; previews keep their code name.
QString apiLevel(const Properties& properties, const QString& folderName) {
    if (const auto level = value(properties, "AndroidVersion.ApiLevel")) {
        if (const auto codeName = value(properties, "AndroidVersion.CodeName"))
            return *codeName;
        return *level;
    }
    const QString prefix = QStringLiteral("android-");
    return folderName.startsWith(prefix) ? folderName.mid(prefix.size()) : folderName;
}

QString withVersion(const QString& name, const std::optional<QString>& version) {
    return version ? name + u' ' + *version : name;
}

AndroidComponent component(AndroidComponentKind kind, const QString& url, QStringList& problems) {
    const QString propertiesPath = Paths::joined(url, QStringLiteral("source.properties"));
    const Properties properties = AndroidProperties::read(propertiesPath, &problems);
    AndroidComponent item;
    item.kind = kind;
    item.url = url;
    item.version = value(properties, "Pkg.Revision");
    const QFileInfo stamp(QFileInfo::exists(propertiesPath) ? propertiesPath : url);
    if (const QDateTime modified = stamp.lastModified(); modified.isValid())
        item.modifiedAt = modified;
    const QString folderName = Paths::lastComponent(url);
    switch (kind) {
    case AndroidComponentKind::systemImage: {
        const QString abiFolder = folderName;
        const QString tagFolder = Paths::lastComponent(Paths::parentPath(url));
        const QString apiFolder = Paths::lastComponent(Paths::parentPath(Paths::parentPath(url)));
        QStringList parts = {QStringLiteral("System Image Android"),
                             apiLevel(properties, apiFolder)};
        const QString tag =
            value(properties, "SystemImage.TagDisplay").value_or(tagLabel(tagFolder));
        if (!tag.isEmpty())
            parts.append(tag);
        parts.append(value(properties, "SystemImage.Abi").value_or(abiFolder));
        item.displayName = parts.join(u' ');
        break;
    }
    case AndroidComponentKind::platform:
        item.displayName = QStringLiteral("Android ") + apiLevel(properties, folderName);
        break;
    case AndroidComponentKind::sources:
        item.displayName =
            QStringLiteral("Sources for Android ") + apiLevel(properties, folderName);
        break;
    case AndroidComponentKind::buildTools:
        item.displayName = QStringLiteral("Build Tools ") + item.version.value_or(folderName);
        break;
    case AndroidComponentKind::ndk:
        item.displayName = QStringLiteral("NDK ") + item.version.value_or(folderName);
        break;
    case AndroidComponentKind::cmake:
        item.displayName = QStringLiteral("CMake ") + item.version.value_or(folderName);
        break;
    case AndroidComponentKind::emulator:
        item.displayName = withVersion(QStringLiteral("Android Emulator"), item.version);
        break;
    case AndroidComponentKind::platformTools:
        item.displayName = withVersion(QStringLiteral("Platform Tools"), item.version);
        break;
    }
    return item;
}

// "Build Tools 9.0.0" before "Build Tools 34.0.0": runs of digits compare as numbers.
bool naturalLess(const QString& a, const QString& b) {
    qsizetype i = 0;
    qsizetype j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i].isDigit() && b[j].isDigit()) {
            qsizetype endA = i;
            qsizetype endB = j;
            while (endA < a.size() && a[endA].isDigit())
                ++endA;
            while (endB < b.size() && b[endB].isDigit())
                ++endB;
            const QString numberA =
                a.mid(i, endA - i).remove(QRegularExpression(QStringLiteral("^0+")));
            const QString numberB =
                b.mid(j, endB - j).remove(QRegularExpression(QStringLiteral("^0+")));
            if (numberA.size() != numberB.size())
                return numberA.size() < numberB.size();
            if (numberA != numberB)
                return numberA < numberB;
            i = endA;
            j = endB;
            continue;
        }
        if (a[i] != b[j])
            return a[i] < b[j];
        ++i;
        ++j;
    }
    return a.size() - i < b.size() - j;
}

QList<AndroidComponent> listComponents(const QString& sdk, QStringList& problems) {
    QList<AndroidComponent> found;
    auto addEach = [&](AndroidComponentKind kind, const QStringList& urls) {
        for (const QString& url : urls)
            found.append(component(kind, url, problems));
    };
    auto addOne = [&](AndroidComponentKind kind, const char* name) {
        const QString url = Paths::joined(sdk, QString::fromLatin1(name));
        if (isRealFolder(url))
            found.append(component(kind, url, problems));
    };
    // system-images/android-<API>/<tag>/<abi>
    for (const QString& api : subfolders(Paths::joined(sdk, QStringLiteral("system-images")))) {
        for (const QString& tag : subfolders(api))
            addEach(AndroidComponentKind::systemImage, subfolders(tag));
    }
    addEach(AndroidComponentKind::platform,
            subfolders(Paths::joined(sdk, QStringLiteral("platforms"))));
    addEach(AndroidComponentKind::buildTools,
            subfolders(Paths::joined(sdk, QStringLiteral("build-tools"))));
    addEach(AndroidComponentKind::ndk, subfolders(Paths::joined(sdk, QStringLiteral("ndk"))));
    addOne(AndroidComponentKind::ndk, "ndk-bundle");
    addEach(AndroidComponentKind::sources,
            subfolders(Paths::joined(sdk, QStringLiteral("sources"))));
    addEach(AndroidComponentKind::cmake, subfolders(Paths::joined(sdk, QStringLiteral("cmake"))));
    addOne(AndroidComponentKind::emulator, "emulator");
    addOne(AndroidComponentKind::platformTools, "platform-tools");

    std::stable_sort(found.begin(), found.end(),
                     [](const AndroidComponent& a, const AndroidComponent& b) {
                         if (a.kind != b.kind)
                             return a.kind < b.kind;
                         return naturalLess(a.displayName, b.displayName);
                     });
    return found;
}

// Where a registration points: "path" when that folder is there, else "path.rel" below the
// ".android" folder (a home moved by a migration leaves "path" stale), else "path" as written.
std::optional<QString> registeredFolder(const Properties& registration) {
    const std::optional<QString> absolute = value(registration, "path");
    const std::optional<QString> relative = value(registration, "path.rel");
    if (absolute && QDir::isAbsolutePath(*absolute) && QFileInfo(*absolute).isDir())
        return Paths::standardized(*absolute);
    if (relative && !QDir::isAbsolutePath(*relative))
        return Paths::standardized(Paths::joined(androidUserDir(), *relative));
    if (absolute && QDir::isAbsolutePath(*absolute))
        return Paths::standardized(*absolute);
    return std::nullopt;
}

std::optional<QDateTime> lastUsed(const QString& folder) {
    QDateTime latest;
    const QFileInfoList entries = QDir(folder).entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    for (const QFileInfo& entry : entries) {
        const QDateTime modified = entry.lastModified();
        if (modified.isValid() && (!latest.isValid() || modified > latest))
            latest = modified;
    }
    return latest.isValid() ? std::optional(latest) : std::nullopt;
}

QList<AndroidAVD> listAVDs(const QString& sdk, QStringList& problems) {
    QList<AndroidAVD> found;
    const QString home = avdHome();
    const QFileInfoList registrations = QDir(home).entryInfoList(
        {QStringLiteral("*.ini")}, QDir::Files | QDir::NoSymLinks | QDir::Hidden, QDir::Name);
    for (const QFileInfo& registrationFile : registrations) {
        const Properties registration =
            AndroidProperties::read(registrationFile.absoluteFilePath(), &problems);
        const std::optional<QString> folder = registeredFolder(registration);
        if (!folder)
            continue;
        AndroidAVD avd;
        avd.name = registrationFile.completeBaseName();
        avd.url = *folder;
        avd.iniURL = Paths::joined(home, registrationFile.fileName());
        avd.isRemovable = isRealFolder(avd.url);
        const Properties config = AndroidProperties::read(
            Paths::joined(avd.url, QStringLiteral("config.ini")), &problems);
        avd.deviceName = value(config, "hw.device.name");
        avd.target = value(config, "target");
        if (!avd.target)
            avd.target = value(registration, "target");
        if (const auto sysdir = value(config, "image.sysdir.1")) {
            avd.systemImageURL = Paths::standardized(
                QDir::isAbsolutePath(*sysdir) ? *sysdir : Paths::joined(sdk, *sysdir));
        }
        if (avd.isRemovable)
            avd.lastUsedAt = lastUsed(avd.url);
        found.append(avd);
    }
    return found;
}

// The SDK and AVDs as they are on disk now, without sizes or the running check.
AndroidInventory listing() {
    const QString sdk = sdkRoot();
    AndroidInventory inventory;
    inventory.components = listComponents(sdk, inventory.problems);
    inventory.avds = listAVDs(sdk, inventory.problems);
    for (AndroidComponent& image : inventory.components) {
        if (image.kind != AndroidComponentKind::systemImage)
            continue;
        // By the folder's identity: an AVD may name its image through a link to the SDK, or in
        // another case on a volume that ignores case.
        for (const AndroidAVD& avd : inventory.avds) {
            if (avd.systemImageURL && PathIdentity::same(*avd.systemImageURL, image.url))
                image.avdNames.append(avd.name);
        }
        image.avdNames.sort();
    }
    return inventory;
}

// The files a running emulator holds open in its AVD folder.
QStringList heldFiles(const QString& avdFolder) {
    QStringList files;
    for (const char* name : {"userdata-qemu.img", "userdata-qemu.img.qcow2"}) {
        const QString path = Paths::joined(avdFolder, QString::fromLatin1(name));
        if (QFileInfo(path).isFile())
            files.append(path);
    }
    QDirIterator snapshots(Paths::joined(avdFolder, QStringLiteral("snapshots")),
                           QDir::Files | QDir::NoSymLinks | QDir::Hidden,
                           QDirIterator::Subdirectories);
    for (int count = 0; snapshots.hasNext() && count < maxSnapshotFiles; ++count)
        files.append(snapshots.next());
    return files;
}

bool isEmulatorName(const QString& name) {
    return name.startsWith(QStringLiteral("emulator")) ||
           name.startsWith(QStringLiteral("qemu-")) || name == QStringLiteral("qemu");
}

[[noreturn]] void checkFailed(const QString& detail) {
    throw AndroidCatalogError::processCheckFailed(detail);
}

bool isInsideStrictly(const QString& canonicalItem, const QString& canonicalRoot) {
    return canonicalItem != canonicalRoot && Paths::isUnder(canonicalItem, canonicalRoot);
}

// One item's files as they move into and out of staging.
struct Part {
    QString original;
    QString staged;
};

struct Unit {
    QString url;
    QString name;
    qint64 sizeBytes = 0;
    // Where its staging folder lies: a folder on the same volume as the item.
    QString stagingParent;
    QList<Part> parts;
};

QString safeFileName(const QString& name) {
    QString safe = name;
    safe.replace(u'/', u'-');
    safe.replace(u':', u'-');
    if (safe.isEmpty() || safe.startsWith(u'.'))
        safe.prepend(u'_');
    return safe;
}

// A name not yet used inside `folder`: "name", "name 2", "name 3"…
QString unusedName(const QString& folder, const QString& name, const QString& suffix = {}) {
    QString candidate = name + suffix;
    for (int n = 2; QFileInfo::exists(Paths::joined(folder, candidate)) ||
                    QFileInfo(Paths::joined(folder, candidate)).isSymLink();
         ++n)
        candidate = name + u' ' + QString::number(n) + suffix;
    return candidate;
}

bool moveItem(const QString& from, const QString& to) {
    // QFile::rename moves folders within a volume and copies a single file across volumes, which
    // is what an AVD's small ".ini" may need beside a folder on another disk.
    return QFile::rename(from, to);
}

// Moves a staged part back; the caller reports what could not be.
bool putBack(const Part& part) {
    QDir().mkpath(Paths::parentPath(part.original));
    return !QFileInfo::exists(part.original) && !QFileInfo(part.original).isSymLink() &&
           moveItem(part.staged, part.original);
}

QString restoreFailure(const Part& part) {
    return QStringLiteral("Could not restore ") + part.original;
}

// Stages, trashes and, on failure, puts back one folder's worth of units.
void removeGroup(const QString& parent, QList<Unit> units, const PlatformTrash& trash,
                 AndroidRemovalResult& result) {
    auto fail = [&](const Unit& unit, const QString& message) {
        result.failures.append({unit.url, unit.name, message});
    };
    const QString stagingName =
        QStringLiteral(".android-trash-") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    QString staging = Paths::joined(parent, stagingName);
    if (!QDir(parent).mkdir(stagingName)) {
        for (const Unit& unit : units)
            fail(unit, AndroidCatalogError::trashFailed(
                           QStringLiteral("could not create a staging folder in ") + parent)
                           .message());
        return;
    }

    QList<Unit> staged;
    for (Unit& unit : units) {
        qsizetype moved = 0;
        for (Part& part : unit.parts) {
            part.staged = Paths::joined(staging, unusedName(staging, part.staged));
            if (!moveItem(part.original, part.staged))
                break;
            ++moved;
        }
        if (moved == unit.parts.size()) {
            staged.append(unit);
            continue;
        }
        QStringList messages = {AndroidCatalogError::trashFailed(QStringLiteral("could not move ") +
                                                                 unit.parts[moved].original +
                                                                 QStringLiteral(" aside"))
                                    .message()};
        for (qsizetype i = 0; i < moved; ++i) {
            if (!putBack(unit.parts[i]))
                messages.append(restoreFailure(unit.parts[i]));
        }
        fail(unit, messages.join(QStringLiteral("; ")));
    }

    if (!staged.isEmpty()) {
        // Whoever opens the Trash should recognise what this folder is.
        const QString recognisable = unusedName(
            parent,
            QStringLiteral("Android items removed by Corvane Clean ") +
                QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd 'at' HH.mm.ss")));
        const QString named = Paths::joined(parent, recognisable);
        if (QDir(parent).rename(stagingName, recognisable)) {
            staging = named;
            for (Unit& unit : staged) {
                for (Part& part : unit.parts)
                    part.staged = Paths::joined(staging, Paths::lastComponent(part.staged));
            }
        }
        const TrashOutcome outcome = TrashService::trash({staging}, parent, trash);
        if (outcome.failures.isEmpty()) {
            for (const Unit& unit : staged) {
                result.removed.append(unit.url);
                result.freedBytes = checkedSum(result.freedBytes, unit.sizeBytes);
            }
            return;
        }
        const QString reason = outcome.failures.first().message;
        for (const Unit& unit : staged) {
            QStringList messages = {AndroidCatalogError::trashFailed(reason).message()};
            for (const Part& part : unit.parts) {
                if (!putBack(part))
                    messages.append(restoreFailure(part));
            }
            fail(unit, messages.join(QStringLiteral("; ")));
        }
    }
    // Empty unless something could not be put back, which then stays where the user can find it.
    QDir(parent).rmdir(Paths::lastComponent(staging));
}

} // namespace

QString sdkRoot() {
    for (const char* name : {"ANDROID_HOME", "ANDROID_SDK_ROOT"}) {
        if (const QString root = fromEnvironment(name); !root.isEmpty())
            return Paths::standardized(root);
    }
    return Paths::joined(Locations::homeDir(), Locations::isMac()
                                                   ? QStringLiteral("Library/Android/sdk")
                                                   : QStringLiteral("Android/Sdk"));
}

QString avdHome() {
    if (const QString home = fromEnvironment("ANDROID_AVD_HOME"); !home.isEmpty())
        return Paths::standardized(home);
    return Paths::joined(androidUserDir(), QStringLiteral("avd"));
}

QString androidUserDir() {
    return Paths::joined(Locations::homeDir(), QStringLiteral(".android"));
}

bool isRunning(const QString& avdFolder, const ProcessRunner& runner) {
    const QStringList files = heldFiles(avdFolder);
    if (files.isEmpty())
        return false;
    ProcessResult lsof;
    try {
        // "-w": warnings about unrelated mounts would otherwise look like a failed inspection.
        lsof = runner.run(Locations::toolPath(Locations::Tool::lsof),
                          QStringList{QStringLiteral("-w"), QStringLiteral("-F"),
                                      QStringLiteral("pcn"), QStringLiteral("--")} +
                              files,
                          std::nullopt, {}, lsofTimeout);
    } catch (const ProcessRunnerError&) {
        checkFailed(lsofIncompleteText);
    }
    // Exit 1 says some of the named files are not open (or one went meanwhile), which is the
    // usual answer: a running emulator holds its disk image but rarely its snapshot files. What
    // it printed are the files that are open. Any other status left some files unseen.
    if (lsof.exitCode != 0 && lsof.exitCode != 1)
        checkFailed(lsofIncompleteText);

    QList<qint64> pids;
    for (const QByteArray& line : lsof.standardOutput.split('\n')) {
        if (!line.startsWith('p'))
            continue;
        bool ok = false;
        const qint64 pid = line.mid(1).toLongLong(&ok);
        if (!ok || pid <= 0 || line.mid(1).startsWith('+'))
            checkFailed(invalidProcessIDText);
        if (!pids.contains(pid))
            pids.append(pid);
    }
    if (pids.isEmpty()) {
        if (lsof.exitCode == 1)
            return false;
        checkFailed(lsofIncompleteText);
    }

    for (const qint64 pid : pids) {
        ProcessResult ps;
        try {
            ps = runner.run(Locations::toolPath(Locations::Tool::ps),
                            {QStringLiteral("-o"), QStringLiteral("comm="), QStringLiteral("-p"),
                             QString::number(pid)},
                            std::nullopt, {}, psTimeout);
        } catch (const ProcessRunnerError& error) {
            checkFailed(error.description());
        }
        const QString name = OpenFileGuard::processName(QString::fromUtf8(ps.standardOutput));
        // A holder that exited between the two calls could have been the emulator.
        if (ps.exitCode != 0 || name.isEmpty())
            checkFailed(processChangedText);
        if (isEmulatorName(name))
            return true;
    }
    return false;
}

AndroidInventory inventory(const ProcessRunner& runner, const CancellationToken& cancellation) {
    AndroidInventory found = listing();
    for (AndroidComponent& item : found.components)
        item.sizeBytes = SizeCalculator::size(item.url, cancellation);
    for (AndroidAVD& avd : found.avds) {
        if (!avd.isRemovable)
            continue;
        avd.sizeBytes = SizeCalculator::size(avd.url, cancellation);
        if (avd.iniURL)
            avd.sizeBytes = checkedSum(avd.sizeBytes, SizeCalculator::size(*avd.iniURL));
        try {
            avd.isRunning = isRunning(avd.url, runner);
        } catch (const AndroidCatalogError&) {
            avd.isRunning = false;
        }
    }
    return found;
}

std::optional<QString> removalBlockedReason(const AndroidComponent& component) {
    if (isRequired(component.kind))
        return AndroidCatalogError::requiredComponent(component.displayName).message();
    if (!component.avdNames.isEmpty())
        return AndroidCatalogError::imageInUse(component.avdNames).message();
    return std::nullopt;
}

std::optional<QString> removalBlockedReason(const AndroidAVD& avd) {
    if (!avd.isRemovable)
        return androidAVDNotRemovableText;
    if (avd.isRunning)
        return AndroidCatalogError::runningAVD(avd.name).message();
    return std::nullopt;
}

AndroidRemovalResult remove(const QList<AndroidComponent>& components,
                            const QList<AndroidAVD>& avds, const ProcessRunner& runner,
                            const PlatformTrash& trash, bool dryRun) {
    AndroidRemovalResult result;
    const AndroidInventory now = listing();
    const QString sdk = TrashService::canonicalPath(sdkRoot());
    const QString home = TrashService::canonicalPath(avdHome());
    QList<Unit> units;
    auto fail = [&](const QString& url, const QString& name, const AndroidCatalogError& error) {
        result.failures.append({url, name, error.message()});
    };

    for (const AndroidComponent& wanted : components) {
        const auto current =
            std::find_if(now.components.cbegin(), now.components.cend(),
                         [&](const AndroidComponent& c) { return c.url == wanted.url; });
        if (current == now.components.cend() || current->kind != wanted.kind) {
            fail(wanted.url, wanted.displayName, AndroidCatalogError::missingItem(wanted.url));
            continue;
        }
        const QString canonical = TrashService::canonicalPath(wanted.url);
        if (!isInsideStrictly(canonical, sdk) || QFileInfo(wanted.url).isSymLink()) {
            fail(wanted.url, wanted.displayName, AndroidCatalogError::invalidLocation(wanted.url));
            continue;
        }
        if (isRequired(current->kind)) {
            fail(wanted.url, wanted.displayName,
                 AndroidCatalogError::requiredComponent(current->displayName));
            continue;
        }
        if (!current->avdNames.isEmpty()) {
            fail(wanted.url, wanted.displayName,
                 AndroidCatalogError::imageInUse(current->avdNames));
            continue;
        }
        units.append({wanted.url,
                      wanted.displayName,
                      wanted.sizeBytes,
                      sdk,
                      {{canonical, safeFileName(current->displayName)}}});
    }

    for (const AndroidAVD& wanted : avds) {
        const auto current =
            std::find_if(now.avds.cbegin(), now.avds.cend(), [&](const AndroidAVD& a) {
                return wanted.iniURL ? a.iniURL == wanted.iniURL : a.url == wanted.url;
            });
        if (current == now.avds.cend() || current->url != wanted.url || !current->iniURL ||
            !QFileInfo::exists(current->url)) {
            fail(wanted.url, wanted.name, AndroidCatalogError::missingItem(wanted.url));
            continue;
        }
        // The registration must lie in the AVD home; the folder in it too, or, when the
        // registration points elsewhere, be an ".avd" folder that holds nothing Android needs.
        const QString ini = TrashService::canonicalPath(*current->iniURL);
        const QString folder = TrashService::canonicalPath(current->url);
        const bool iniSafe = Paths::parentPath(ini) == home &&
                             ini.endsWith(QStringLiteral(".ini")) &&
                             !QFileInfo(*current->iniURL).isSymLink();
        const bool folderSafe =
            isRealFolder(current->url) &&
            (isInsideStrictly(folder, home) ||
             (folder.endsWith(QStringLiteral(".avd")) && !Paths::isUnder(home, folder) &&
              !Paths::isUnder(sdk, folder) && !Paths::isUnder(Locations::homeDir(), folder)));
        if (!iniSafe || !folderSafe) {
            fail(wanted.url, wanted.name,
                 AndroidCatalogError::invalidLocation(iniSafe ? wanted.url : *current->iniURL));
            continue;
        }
        try {
            if (isRunning(current->url, runner)) {
                fail(wanted.url, wanted.name, AndroidCatalogError::runningAVD(current->name));
                continue;
            }
        } catch (const AndroidCatalogError& error) {
            fail(wanted.url, wanted.name, error);
            continue;
        }
        const QString stem = safeFileName(current->name);
        units.append(
            {wanted.url,
             wanted.name,
             wanted.sizeBytes,
             Paths::parentPath(folder),
             {{folder, stem + QStringLiteral(".avd")}, {ini, stem + QStringLiteral(".ini")}}});
    }

    // Staging moves items aside before the trash step sees them, so Keep is checked here, for a
    // dry run as for a real one.
    units.removeIf([&](const Unit& unit) {
        for (const Part& part : unit.parts) {
            if (const std::optional<QString> kept = TrashService::keepRefusal(part.original)) {
                result.failures.append({unit.url, unit.name, *kept});
                return true;
            }
        }
        return false;
    });

    if (dryRun) {
        for (const Unit& unit : units) {
            result.removed.append(unit.url);
            result.freedBytes = checkedSum(result.freedBytes, unit.sizeBytes);
        }
        return result;
    }
    // One staging folder per parent, so every move into it stays on one volume.
    QStringList parents;
    for (const Unit& unit : units) {
        if (!parents.contains(unit.stagingParent))
            parents.append(unit.stagingParent);
    }
    for (const QString& parent : parents) {
        QList<Unit> group;
        for (const Unit& unit : units) {
            if (unit.stagingParent == parent)
                group.append(unit);
        }
        removeGroup(parent, group, trash, result);
    }
    return result;
}

} // namespace corvane::AndroidCatalog
