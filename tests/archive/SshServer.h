#pragma once

#include <QProcess>
#include <QString>
#include <memory>

namespace corvane::test {

// A real OpenSSH server on 127.0.0.1 for one test, living wholly in the test's temporary folder:
// its own host key, a client key it accepts and one it refuses, and an ssh wrapper for each key
// that the code under test reaches through CORVANE_TOOL_SSH (ssh takes its home folder from the
// user database, not from HOME, so its settings can only come in on the command line). Every
// session gets HOME = `home()` and a PATH that starts with `shims()`.
class SshServer {
public:
    // A running server, or nothing with `whyNot` saying what failed.
    static std::unique_ptr<SshServer> start(QString& whyNot);
    ~SshServer();
    SshServer(const SshServer&) = delete;
    SshServer& operator=(const SshServer&) = delete;

    QString user() const { return user_; }
    QString host() const { return QStringLiteral("127.0.0.1"); }
    QString login() const { return user_ + u'@' + host(); }
    // The sessions' HOME, where "~" leads.
    QString home() const { return folder_ + QStringLiteral("/server-home"); }
    // Scripts placed here stand in for the server's own tools.
    QString shims() const { return folder_ + QStringLiteral("/server-shims"); }
    // A folder for remote paths that the test chooses.
    QString storage() const { return folder_ + QStringLiteral("/server-storage"); }
    // ssh with the key the server accepts, and with one it does not know.
    QString client() const { return folder_ + QStringLiteral("/ssh-accepted"); }
    QString refusedClient() const { return folder_ + QStringLiteral("/ssh-refused"); }

private:
    explicit SshServer(const QString& folder);
    QString prepare(quint16 port);
    QString launch(quint16 port);

    QString folder_;
    QString user_;
    QProcess daemon_;
};

} // namespace corvane::test
