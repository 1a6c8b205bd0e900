#pragma once

#include <QString>
#include <optional>

namespace corvane {

// The user and host of an SSH destination are data: they reach ssh as one operand, never as an
// option. Checked when a destination is saved (settings, `destinations add-ssh`) and again before
// every ssh call, since a saved list can be edited by hand.
struct SshLogin {
    // Why `user`@`host` cannot be used, in words for the user, or nothing when it can: neither may
    // be empty, start with "-", or hold white space or control characters; the user holds no "@";
    // the host is a name (letters, digits, ".", "-", "_") or an IPv4 or IPv6 address.
    static std::optional<QString> problem(const QString& user, const QString& host);
    // "user@host" split at its last "@"; nothing when there is no "@".
    static std::optional<std::pair<QString, QString>> split(const QString& login);
};

} // namespace corvane
