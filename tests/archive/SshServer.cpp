#include "SshServer.h"

#include "platform/ProcessRunner.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane::test {
namespace {

const QString sshd = QStringLiteral("/usr/sbin/sshd");

sockaddr_in loopback(quint16 port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// A port that was free a moment ago: the kernel's choice for a socket bound to port 0.
quint16 freePort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    quint16 port = 0;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
        port = ntohs(address.sin_port);
    ::close(fd);
    return port;
}

bool acceptsConnections(quint16 port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = loopback(port);
    const bool connected =
        ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return connected;
}

QString keygen(const QString& keyFile) {
    const ProcessResult result = ProcessRunner::system().run(
        QStringLiteral("/usr/bin/ssh-keygen"),
        {s("-q"), s("-t"), s("ed25519"), s("-N"), s(""), s("-f"), keyFile});
    return result.exitCode == 0 ? QString() : QString::fromUtf8(result.standardError);
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

QByteArray bytes(const QString& text) {
    return text.toUtf8();
}

} // namespace

std::unique_ptr<SshServer> SshServer::start(QString& whyNot) {
    if (!QFile::exists(sshd)) {
        whyNot = s("no OpenSSH server at /usr/sbin/sshd");
        return nullptr;
    }
    std::unique_ptr<SshServer> server(new SshServer(makeTempDir(s("sshd"))));
    const quint16 port = freePort();
    whyNot = port == 0 ? s("no free port on 127.0.0.1") : server->prepare(port);
    if (whyNot.isEmpty())
        whyNot = server->launch(port);
    return whyNot.isEmpty() ? std::move(server) : nullptr;
}

SshServer::SshServer(const QString& folder)
    : folder_(folder) {
    const passwd* entry = ::getpwuid(::geteuid());
    user_ = entry ? QString::fromLocal8Bit(entry->pw_name) : s("root");
}

SshServer::~SshServer() {
    if (daemon_.state() == QProcess::NotRunning)
        return;
    daemon_.terminate();
    if (!daemon_.waitForFinished(5000))
        daemon_.kill();
    daemon_.waitForFinished(5000);
}

QString SshServer::prepare(quint16 port) {
    for (const QString& folder : {home(), shims(), storage()})
        QDir().mkpath(folder);
    for (const char* key : {"host_key", "client_key", "refused_key"})
        if (const QString problem = keygen(folder_ + u'/' + s(key)); !problem.isEmpty())
            return s("ssh-keygen failed: ") + problem;

    // The options before the key put each session in the test folder, never in root's home.
    const QByteArray sessionEnvironment = "environment=\"HOME=" + bytes(home()) +
                                          "\",environment=\"PATH=" + bytes(shims()) +
                                          ":/usr/bin:/bin\" ";
    writeFile(folder_ + s("/authorized_keys"),
              sessionEnvironment + readAll(folder_ + s("/client_key.pub")) + '\n');
    writeFile(folder_ + s("/sshd_config"),
              "ListenAddress 127.0.0.1\nPort " + QByteArray::number(port) + "\nHostKey " +
                  bytes(folder_) + "/host_key\nAuthorizedKeysFile " + bytes(folder_) +
                  "/authorized_keys\nPidFile " + bytes(folder_) +
                  "/sshd.pid\n"
                  "PasswordAuthentication no\nKbdInteractiveAuthentication no\n"
                  "PubkeyAuthentication yes\nStrictModes no\nUsePAM no\nPermitRootLogin yes\n"
                  "PermitUserEnvironment HOME,PATH\nPermitUserRC no\n");

    writeFile(folder_ + s("/ssh_config"),
              "Host *\n  Port " + QByteArray::number(port) +
                  "\n  IdentitiesOnly yes\n  IdentityAgent none\n  UserKnownHostsFile " +
                  bytes(folder_) +
                  "/known_hosts\n  GlobalKnownHostsFile /dev/null\n"
                  "  StrictHostKeyChecking no\n  LogLevel ERROR\n");
    for (const auto& [wrapper, key] :
         {std::pair{client(), s("client_key")}, std::pair{refusedClient(), s("refused_key")}})
        writeScript(wrapper, "exec /usr/bin/ssh -F '" + bytes(folder_) + "/ssh_config' -i '" +
                                 bytes(folder_ + u'/' + key) + "' \"$@\"\n");
    return {};
}

QString SshServer::launch(quint16 port) {
    // The privilege separation folder sshd insists on when it runs as root.
    if (::geteuid() == 0 && !QFile::exists(s("/run/sshd")) && ::mkdir("/run/sshd", 0755) != 0 &&
        !QFile::exists(s("/run/sshd")))
        return s("could not create /run/sshd");
    // To a file: a pipe nobody reads would stop sshd once it filled up.
    const QString log = folder_ + s("/sshd.log");
    daemon_.setStandardOutputFile(log);
    daemon_.setStandardErrorFile(log);
    daemon_.start(sshd, {s("-D"), s("-e"), s("-f"), folder_ + s("/sshd_config")});
    if (!daemon_.waitForStarted(5000))
        return s("sshd did not start: ") + daemon_.errorString();
    for (int attempt = 0; attempt < 200; ++attempt) {
        if (acceptsConnections(port))
            return {};
        if (daemon_.waitForFinished(25))
            return s("sshd stopped: ") + QString::fromUtf8(readAll(log));
    }
    return s("sshd does not accept connections on port ") + QString::number(port);
}

} // namespace corvane::test
