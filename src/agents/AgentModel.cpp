#include "agents/AgentModel.h"

#include "platform/ShellWords.h"

#include <algorithm>
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

// A plain identifier stays as it is, so the command reads naturally; anything else is quoted.
QString shellWord(const QString& word) {
    const bool plain = !word.isEmpty() && std::all_of(word.begin(), word.end(), [](QChar c) {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') ||
               c == u'-' || c == u'_' || c == u'.';
    });
    return plain && !word.startsWith(u'-') ? word : shellQuoted(word);
}

} // namespace

std::optional<QString> resumeCommand(const AgentSession& session) {
    QString resume;
    switch (session.agent) {
    case AgentKind::claudeCode:
        resume = QStringLiteral("claude --resume ");
        break;
    case AgentKind::codex:
        resume = QStringLiteral("codex resume ");
        break;
    default:
        return std::nullopt;
    }
    if (session.id.isEmpty())
        return std::nullopt;
    return QStringLiteral("cd ") + shellQuoted(session.cwd) + QStringLiteral(" && ") + resume +
           shellWord(session.id);
}

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
