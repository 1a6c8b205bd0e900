#pragma once

#include "scanning/ScanModel.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// `high`: a name specific enough to trust; `medium`: a generic name trusted only when git agrees.
enum class CatalogTier { high, medium };

struct CatalogMatch {
    ArtifactKind kind;
    CatalogTier tier;

    bool operator==(const CatalogMatch&) const = default;
};

size_t qHash(const CatalogMatch& match, size_t seed = 0) noexcept;

// The folder names that are regenerable artifacts: a fixed built-in table, plus the user's custom
// rules. A custom rule never overrides or rescues a built-in name.
struct ArtifactCatalog {
    struct Entry {
        ArtifactKind kind;
        CatalogTier tier;
        // Empty: no condition. Otherwise at least one of these names must sit beside the folder.
        QStringList requiredSiblings;
    };

    struct CustomRuleTriple {
        QString name;
        ArtifactKind kind;
        CatalogTier tier;
    };

    static std::optional<CatalogMatch> match(const QString& name,
                                             const QSet<QString>& siblingNames);
    // The tier of `name` in either table, whatever its sibling condition.
    static std::optional<CatalogTier> tierOf(const QString& name);
    // True when `name` is in either table, whatever its sibling condition.
    static bool isKnownArtifactName(const QString& name);
    // Replaces the custom table. Names are trimmed of spaces and tabs; empty names and names with
    // "/" are dropped; a later rule with the same name wins.
    static void setCustomRules(const QList<CustomRuleTriple>& rules);
    // The built-in rows in table order, for views that list them.
    static QList<QPair<QString, Entry>> builtInRows();
};

} // namespace corvane
