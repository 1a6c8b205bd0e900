// An editor's "workspace.json", read from a storage folder as the history index reads it.
#include "FuzzSupport.h"
#include "agents/EditorWorkspaces.h"

#include <QDir>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corvane;
    const QString storage = fuzz::scratch().filePath(QStringLiteral("workspaceStorage"));
    QDir().mkpath(storage + QStringLiteral("/0123abcd"));
    fuzz::scratchFile(QStringLiteral("workspaceStorage/0123abcd/workspace.json"),
                      fuzz::bytes(data, size));
    EditorStorage editor;
    editor.url = storage;
    for (const AgentWorkspace& workspace : EditorWorkspaces::read(editor, true)) {
        if (!workspace.folder.startsWith(u'/'))
            __builtin_trap();
    }
    return 0;
}
