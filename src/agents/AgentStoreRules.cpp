#include "agents/AgentStoreRules.h"

#include "platform/DirectoryReader.h"

#include <QFile>
#include <vector>

namespace corvane::AgentStoreRules {
namespace {

struct NamedKind {
    const char* name;
    const char* kind;
};

// Files by exact name.
constexpr NamedKind protectedFiles[] = {
    {".credentials.json", "Credentials"},
    {"auth.json", "Credentials"},
    {".claude.json", "Account and project settings"},
    {"settings.json", "Settings"},
    {"settings.local.json", "Settings"},
    {"config.toml", "Settings"},
    {"config.json", "Settings"},
    {"CLAUDE.md", "Instructions"},
    {"CLAUDE.local.md", "Instructions"},
    {"AGENTS.md", "Instructions"},
    {".mcp.json", "MCP configuration"},
    {"mcp.json", "MCP configuration"},
};

// Folders by exact name: whatever they hold stays.
constexpr NamedKind protectedFolders[] = {
    {"memory", "Memory"},         {"memories", "Memory"},     {"plugins", "Plugins"},
    {"commands", "Instructions"}, {"agents", "Instructions"}, {"skills", "Instructions"},
};

// A database is known by its name: opening every file to look for a header would cost a read
// per file of every tree measured.
constexpr const char* databaseSuffixes[] = {".sqlite", ".sqlite3", ".db", ".vscdb"};
constexpr const char* databaseCompanions[] = {"", "-wal", "-shm", "-journal", ".backup"};

bool isDatabaseName(const QString& name) {
    for (const char* suffix : databaseSuffixes) {
        for (const char* companion : databaseCompanions) {
            if (name.endsWith(QString(QLatin1String(suffix)) + QLatin1String(companion)))
                return true;
        }
    }
    return false;
}

// Depth first, through descriptors, so a link inside is looked at as a name and never followed.
std::optional<QString> firstProtectedInside(const QString& folder, const QStringList& ownParts) {
    std::vector<DirectoryReader> stack;
    stack.emplace_back(folder, DirectoryReader::Detail::kinds);
    if (!stack.back().isOpen())
        return std::nullopt;
    while (!stack.empty()) {
        DirectoryReader::Entry entry;
        if (!stack.back().next(entry)) {
            stack.pop_back();
            continue;
        }
        const QString name = QFile::decodeName(entry.name);
        const bool isFolder = entry.kind == EntryKind::directory;
        if (!ownParts.contains(name)) {
            if (std::optional<QString> kind = protectedKind(name, isFolder))
                return kind;
        }
        if (isFolder) {
            DirectoryReader child(stack.back(), entry.name);
            if (child.isOpen())
                stack.push_back(std::move(child));
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<QString> protectedKind(const QString& name, bool isFolder) {
    for (const NamedKind& file : protectedFiles) {
        if (name == QLatin1String(file.name))
            return QLatin1String(file.kind);
    }
    if (isFolder) {
        for (const NamedKind& folder : protectedFolders) {
            if (name == QLatin1String(folder.name))
                return QLatin1String(folder.kind);
        }
    }
    if (isDatabaseName(name))
        return QStringLiteral("Database");
    return std::nullopt;
}

std::optional<QString> refusal(const QString& path, const QStringList& ownParts) {
    const qsizetype slash = path.lastIndexOf(u'/');
    const QString name = path.mid(slash + 1);
    DirectoryReader folder(path, DirectoryReader::Detail::kinds);
    if (std::optional<QString> kind = protectedKind(name, folder.isOpen()))
        return kind;
    if (!folder.isOpen())
        return std::nullopt;
    return firstProtectedInside(path, ownParts);
}

const QStringList& workspaceStateFiles() {
    static const QStringList names{
        QStringLiteral("state.vscdb"), QStringLiteral("state.vscdb.backup"),
        QStringLiteral("state.vscdb-wal"), QStringLiteral("state.vscdb-shm"),
        QStringLiteral("state.vscdb-journal")};
    return names;
}

} // namespace corvane::AgentStoreRules
