#include "apps/AppSignature.h"

namespace corvane {

// Neither code signatures nor Spotlight exist here.
std::optional<QString> AppSignature::teamIdentifier(const QString&) {
    return std::nullopt;
}

std::optional<QDateTime> AppSignature::lastUsedAt(const QString&) {
    return std::nullopt;
}

} // namespace corvane
