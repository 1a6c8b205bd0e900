// The head of a Claude Code session (JSON lines), where its working folder is written.
#include "FuzzSupport.h"
#include "agents/SessionHead.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray input = corvane::fuzz::bytes(data, size);
    corvane::SessionHead::firstCwdIn(input);
    corvane::SessionHead::firstCwd(
        corvane::fuzz::scratchFile(QStringLiteral("session.jsonl"), input));
    return 0;
}
