// Codex's "config.toml": whether it reads as TOML decides whether it is ever edited.
#include "FuzzSupport.h"
#include "agents/TomlKey.h"
#include "agents/TomlSyntax.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text = QString::fromUtf8(corvane::fuzz::bytes(data, size));
    corvane::TomlSyntax::problem(text);
    corvane::TomlKey::decoded(text);
    return 0;
}
