// "~/.claude.json": the per-project settings are copied to a moved project's new path by editing
// the text in place, then undone; whatever the file holds, the edit is verified or not made.
#include "FuzzSupport.h"
#include "agents/ClaudeConfigStep.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corvane;
    AgentLocations locations(fuzz::scratch().path());
    locations.claudeConfig =
        fuzz::scratchFile(QStringLiteral(".claude.json"), fuzz::bytes(data, size));
    RelinkReport report;
    const RelinkContext context{
        locations, {QStringLiteral("/w/a"), QStringLiteral("/w/b")}, RelinkMode::write, report};
    ClaudeConfigStep::run(context);
    ClaudeConfigStep::removeCopies(context);
    return 0;
}
