#include "archive/SshLogin.h"

#include <QRegularExpression>

namespace corvane {
namespace {

bool hasBlankOrControl(const QString& text) {
    for (const QChar c : text)
        if (c.isSpace() || c.category() == QChar::Other_Control ||
            c.category() == QChar::Other_Format)
            return true;
    return false;
}

bool isHostName(const QString& host) {
    static const QRegularExpression name(QStringLiteral("^[A-Za-z0-9_](?:[A-Za-z0-9._-]*)$"));
    return name.match(host).hasMatch();
}

// Hexadecimal groups and colons, with at most one "::" and an optional IPv4 tail; ssh takes it
// bare after the "@".
bool isIPv6Address(const QString& host) {
    static const QRegularExpression address(QStringLiteral("^[0-9A-Fa-f:]*:[0-9A-Fa-f:.]*$"));
    return address.match(host).hasMatch() && host.count(QStringLiteral("::")) <= 1 &&
           !host.contains(QStringLiteral(":::"));
}

std::optional<QString> problemWithPart(const QString& what, const QString& text) {
    if (text.isEmpty())
        return QStringLiteral("The SSH %1 is empty.").arg(what);
    if (text.startsWith(u'-'))
        return QStringLiteral("The SSH %1 \"%2\" starts with \"-\".").arg(what, text);
    if (hasBlankOrControl(text))
        return QStringLiteral("The SSH %1 \"%2\" holds a blank or a control character.")
            .arg(what, text.simplified());
    return std::nullopt;
}

} // namespace

std::optional<QString> SshLogin::problem(const QString& user, const QString& host) {
    if (std::optional<QString> problem = problemWithPart(QStringLiteral("user"), user))
        return problem;
    if (std::optional<QString> problem = problemWithPart(QStringLiteral("host"), host))
        return problem;
    if (user.contains(u'@'))
        return QStringLiteral("The SSH user \"%1\" holds an \"@\".").arg(user);
    if (!isHostName(host) && !isIPv6Address(host))
        return QStringLiteral("The SSH host \"%1\" is neither a host name nor an address.")
            .arg(host);
    return std::nullopt;
}

std::optional<std::pair<QString, QString>> SshLogin::split(const QString& login) {
    const qsizetype at = login.lastIndexOf(u'@');
    if (at < 0)
        return std::nullopt;
    return std::pair(login.left(at), login.mid(at + 1));
}

} // namespace corvane
