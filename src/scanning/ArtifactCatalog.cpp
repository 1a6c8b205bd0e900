#include "scanning/ArtifactCatalog.h"

#include <QHash>
#include <mutex>

namespace corvane {
namespace {

using Row = QPair<QString, ArtifactCatalog::Entry>;

QList<Row> makeBuiltInRows() {
    using K = ArtifactKind;
    const auto high = CatalogTier::high;
    const auto medium = CatalogTier::medium;
    auto row = [](const char* name, K kind, CatalogTier tier, QStringList siblings = {}) {
        return Row{QString::fromLatin1(name), ArtifactCatalog::Entry{kind, tier, siblings}};
    };
    return {
        row("node_modules", K::dependencies, high),
        row(".venv", K::virtualEnv, high),
        row("venv", K::virtualEnv, high),
        row(".tox", K::virtualEnv, high),
        row("__pycache__", K::cache, high),
        row(".pytest_cache", K::cache, high),
        row(".mypy_cache", K::cache, high),
        row(".ruff_cache", K::cache, high),
        row("DerivedData", K::buildOutput, high),
        row("Pods", K::dependencies, high, {QStringLiteral("Podfile")}),
        row(".next", K::buildOutput, high),
        row(".nuxt", K::buildOutput, high),
        row(".svelte-kit", K::buildOutput, high),
        row(".gradle", K::cache, high),
        row(".dart_tool", K::cache, high),
        row(".turbo", K::cache, high),
        row(".parcel-cache", K::cache, high),
        row(".angular", K::cache, high),
        row(".terraform", K::dependencies, high),
        row("target", K::buildOutput, high,
            {QStringLiteral("Cargo.toml"), QStringLiteral("pom.xml")}),
        row("build", K::buildOutput, medium),
        row("dist", K::buildOutput, medium),
        row("out", K::buildOutput, medium),
        row("output", K::buildOutput, medium),
        row(".output", K::buildOutput, medium),
        row("coverage", K::buildOutput, medium),
        row(".cache", K::cache, medium),
        row("tmp", K::cache, medium),
        row("bin", K::buildOutput, medium),
        row("obj", K::buildOutput, medium),
        row("vendor", K::dependencies, medium),
    };
}

using Table = QHash<QString, ArtifactCatalog::Entry>;

// Built once on first use and never changed, so readers need no lock.
const Table& builtInTable() {
    static const Table table = [] {
        Table built;
        for (const Row& row : makeBuiltInRows())
            built.insert(row.first, row.second);
        return built;
    }();
    return table;
}

// The custom table is swapped whole by the settings while scan threads read it.
struct CustomTable {
    std::mutex lock;
    Table entries;
};

CustomTable& customTable() {
    static CustomTable table;
    return table;
}

std::optional<ArtifactCatalog::Entry> customEntry(const QString& name) {
    CustomTable& custom = customTable();
    std::lock_guard guard(custom.lock);
    const auto found = custom.entries.constFind(name);
    if (found == custom.entries.cend())
        return std::nullopt;
    return *found;
}

QString trimmedOfSpacesAndTabs(const QString& name) {
    qsizetype start = 0;
    qsizetype end = name.size();
    auto blank = [](QChar c) { return c == u' ' || c == u'\t'; };
    while (start < end && blank(name[start]))
        ++start;
    while (end > start && blank(name[end - 1]))
        --end;
    return name.mid(start, end - start);
}

} // namespace

size_t qHash(const CatalogMatch& match, size_t seed) noexcept {
    return qHashMulti(seed, static_cast<int>(match.kind), static_cast<int>(match.tier));
}

std::optional<CatalogMatch> ArtifactCatalog::match(const QString& name,
                                                   const QSet<QString>& siblingNames) {
    std::optional<Entry> entry;
    if (const auto builtIn = builtInTable().constFind(name); builtIn != builtInTable().cend())
        entry = *builtIn;
    else
        entry = customEntry(name);
    if (!entry)
        return std::nullopt;
    if (!entry->requiredSiblings.isEmpty()) {
        const bool satisfied =
            std::any_of(entry->requiredSiblings.cbegin(), entry->requiredSiblings.cend(),
                        [&](const QString& sibling) { return siblingNames.contains(sibling); });
        if (!satisfied)
            return std::nullopt;
    }
    return CatalogMatch{entry->kind, entry->tier};
}

std::optional<CatalogTier> ArtifactCatalog::tierOf(const QString& name) {
    if (const auto builtIn = builtInTable().constFind(name); builtIn != builtInTable().cend())
        return builtIn->tier;
    if (const std::optional<Entry> custom = customEntry(name))
        return custom->tier;
    return std::nullopt;
}

bool ArtifactCatalog::isKnownArtifactName(const QString& name) {
    return tierOf(name).has_value();
}

void ArtifactCatalog::setCustomRules(const QList<CustomRuleTriple>& rules) {
    Table fresh;
    for (const CustomRuleTriple& rule : rules) {
        const QString name = trimmedOfSpacesAndTabs(rule.name);
        if (name.isEmpty() || name.contains(u'/'))
            continue;
        fresh.insert(name, Entry{rule.kind, rule.tier, {}});
    }
    CustomTable& custom = customTable();
    std::lock_guard guard(custom.lock);
    custom.entries.swap(fresh);
}

QList<QPair<QString, ArtifactCatalog::Entry>> ArtifactCatalog::builtInRows() {
    return makeBuiltInRows();
}

} // namespace corvane
