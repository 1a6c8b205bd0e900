#include "agents/AgentModel.h"

#include <array>

namespace corvane {
namespace {

struct KindNames {
    const char* raw;
    const char* display;
};

constexpr std::array<KindNames, 5> kindNames{{
    {"claudeCode", "Claude Code"},
    {"codex", "Codex"},
    {"cursor", "Cursor"},
    {"vscode", "VS Code"},
    {"antigravity", "Antigravity"},
}};

} // namespace

const QList<AgentKind>& allAgentKinds() {
    static const QList<AgentKind> kinds{AgentKind::claudeCode, AgentKind::codex, AgentKind::cursor,
                                        AgentKind::vscode, AgentKind::antigravity};
    return kinds;
}

QString rawValue(AgentKind kind) {
    return QLatin1String(kindNames[static_cast<size_t>(kind)].raw);
}

QString displayName(AgentKind kind) {
    return QLatin1String(kindNames[static_cast<size_t>(kind)].display);
}

std::optional<AgentKind> agentKindFromRaw(const QString& raw) {
    for (size_t index = 0; index < kindNames.size(); ++index) {
        if (raw == QLatin1String(kindNames[index].raw))
            return static_cast<AgentKind>(index);
    }
    return std::nullopt;
}

} // namespace corvane
