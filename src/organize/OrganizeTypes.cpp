#include "organize/OrganizeTypes.h"

#include "platform/Paths.h"

namespace corvane {

const QList<OrganizeLayout>& allOrganizeLayouts() {
    static const QList<OrganizeLayout> layouts{OrganizeLayout::byAgent, OrganizeLayout::byOwner,
                                               OrganizeLayout::flat};
    return layouts;
}

QString rawValue(OrganizeLayout layout) {
    switch (layout) {
    case OrganizeLayout::byAgent:
        return QStringLiteral("byAgent");
    case OrganizeLayout::byOwner:
        return QStringLiteral("byOwner");
    case OrganizeLayout::flat:
        return QStringLiteral("flat");
    }
    return {};
}

// "by-agent" is also what earlier versions stored.
QString argumentName(OrganizeLayout layout) {
    switch (layout) {
    case OrganizeLayout::byAgent:
        return QStringLiteral("by-agent");
    case OrganizeLayout::byOwner:
        return QStringLiteral("by-owner");
    case OrganizeLayout::flat:
        return QStringLiteral("flat");
    }
    return {};
}

std::optional<OrganizeLayout> organizeLayoutFromRaw(const QString& raw) {
    for (OrganizeLayout layout : allOrganizeLayouts()) {
        if (rawValue(layout) == raw || argumentName(layout) == raw)
            return layout;
    }
    return std::nullopt;
}

QString displayName(OrganizeLayout layout) {
    switch (layout) {
    case OrganizeLayout::byAgent:
        return QStringLiteral("By agent");
    case OrganizeLayout::byOwner:
        return QStringLiteral("By owner");
    case OrganizeLayout::flat:
        return QStringLiteral("Flat");
    }
    return {};
}

QString caseName(OrganizeStatus::Case kind) {
    using Case = OrganizeStatus::Case;
    switch (kind) {
    case Case::busy:
        return QStringLiteral("busy");
    case Case::usedByShell:
        return QStringLiteral("usedByShell");
    case Case::ready:
        return QStringLiteral("ready");
    case Case::alreadyOrganized:
        return QStringLiteral("alreadyOrganized");
    case Case::destinationTaken:
        return QStringLiteral("destinationTaken");
    case Case::duplicateDestination:
        return QStringLiteral("duplicateDestination");
    case Case::otherDisk:
        return QStringLiteral("otherDisk");
    case Case::missing:
        return QStringLiteral("missing");
    }
    return {};
}

QString reasonText(const OrganizeStatus& status) {
    using Case = OrganizeStatus::Case;
    switch (status.kind) {
    case Case::busy:
        return status.detail + QStringLiteral(" is running inside it");
    case Case::usedByShell:
        return status.detail +
               QStringLiteral(" points into it; moving it would break your terminal setup");
    case Case::ready:
        return {};
    case Case::alreadyOrganized:
        return QStringLiteral("it is already in the destination");
    case Case::destinationTaken:
        return QStringLiteral("a folder with that name already exists at the destination");
    case Case::duplicateDestination:
        return QStringLiteral("another project goes to the same place");
    case Case::otherDisk:
        return QStringLiteral("it is on another disk, use Archive instead");
    case Case::missing:
        return QStringLiteral("it no longer exists");
    }
    return {};
}

QString OrganizeEntry::targetPath() const {
    QString target = destinationRoot;
    if (group)
        target = Paths::joined(target, *group);
    return Paths::joined(target, Paths::lastComponent(candidate.path));
}

QString OrganizeEntry::reasonSentence() const {
    if (status.kind == OrganizeStatus::Case::ready)
        return {};
    return Paths::lastComponent(candidate.path) + QStringLiteral(" is listed but cannot move: ") +
           reasonText(status);
}

} // namespace corvane
