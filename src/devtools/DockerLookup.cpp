#include "devtools/DockerLookup.h"

#include <QRegularExpression>

namespace corvane {
namespace {

const QString digestPrefix = QStringLiteral("sha256:");

QString withoutDigestPrefix(const QString& id) {
    return id.startsWith(digestPrefix) ? id.mid(digestPrefix.size()) : id;
}

// "postgres" means "postgres:latest"; a ":" before the last "/" is a registry's port.
QString withTag(const QString& name) {
    const qsizetype slash = name.lastIndexOf(u'/');
    return name.indexOf(u':', slash + 1) < 0 ? name + QStringLiteral(":latest") : name;
}

DockerMatch none(const char* kind, const QString& name) {
    return {std::nullopt, QStringLiteral("No %1 is named %2; `corvane docker` lists them.")
                              .arg(QLatin1String(kind), name)};
}

// The one id that begins with `prefix`, or why there is not exactly one.
DockerMatch byIDPrefix(const QStringList& ids, const QString& typed, const char* kind) {
    static const QRegularExpression hex(QStringLiteral("^[0-9a-f]+$"));
    const QString prefix = withoutDigestPrefix(typed.toLower());
    if (!hex.match(prefix).hasMatch())
        return none(kind, typed);
    QStringList found;
    for (const QString& id : ids) {
        const QString bare = withoutDigestPrefix(id);
        if (bare == prefix)
            return {id, {}};
        if (bare.startsWith(prefix))
            found.append(id);
    }
    if (found.size() == 1)
        return {found.first(), {}};
    if (found.isEmpty())
        return none(kind, typed);
    QStringList shortIDs;
    for (const QString& id : found)
        shortIDs.append(withoutDigestPrefix(id).left(12));
    return {std::nullopt,
            QStringLiteral("%1 begins the ids of several %2s (%3); give more of it.")
                .arg(typed, QLatin1String(kind), shortIDs.join(QStringLiteral(", ")))};
}

} // namespace

DockerMatch DockerLookup::image(const DockerSnapshot& snapshot, const QString& name) {
    const QString wanted = withTag(name);
    QStringList ids;
    for (const DockerImage& image : snapshot.images) {
        if (image.references.contains(wanted) ||
            (!image.isUntagged() && image.displayName() == wanted))
            return {image.id, {}};
        ids.append(image.id);
    }
    return byIDPrefix(ids, name, "image");
}

DockerMatch DockerLookup::container(const DockerSnapshot& snapshot, const QString& name) {
    QStringList ids;
    for (const DockerContainer& container : snapshot.containers) {
        // Names are joined with ","; Docker prints them without their leading "/".
        const QString bare = name.startsWith(u'/') ? name.mid(1) : name;
        if (container.name.split(u',').contains(bare))
            return {container.id, {}};
        ids.append(container.id);
    }
    return byIDPrefix(ids, name, "container");
}

DockerMatch DockerLookup::volume(const DockerSnapshot& snapshot, const QString& name) {
    for (const DockerVolume& volume : snapshot.volumes) {
        if (volume.name == name)
            return {volume.name, {}};
    }
    return none("volume", name);
}

} // namespace corvane
