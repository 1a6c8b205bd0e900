#include "cli/KeepCommand.h"

#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/JsonOutput.h"
#include "platform/Paths.h"
#include "scanning/ScanSession.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <memory>

namespace corvane::cli {
namespace {

// `kept`: one object per mark with its `path` and whether the folder still `exists`.
QJsonObject marksJson(const QStringList& paths) {
    QJsonArray array;
    for (const QString& path : paths)
        array.append(QJsonObject{{QStringLiteral("path"), path},
                                 {QStringLiteral("exists"), QFileInfo(path).isDir()}});
    return {{QStringLiteral("kept"), array}};
}

void printMarks(const QStringList& paths, Console& console) {
    if (paths.isEmpty()) {
        console.out << "Nothing is marked Keep.\n";
        return;
    }
    console.out << "Kept folders (a clean never takes them or anything in them):\n";
    for (const QString& path : paths)
        console.out << "  " << path << (QFileInfo(path).isDir() ? "" : "  (no longer there)")
                    << '\n';
}

int list(const ScanSession& session, const KeepRequest& request, Console& console) {
    if (session.keepError()) {
        console.err << *session.keepError() << '\n';
        return exitSomeFailed;
    }
    if (request.json)
        printJson(console, marksJson(session.keptPaths()));
    else
        printMarks(session.keptPaths(), console);
    return exitOk;
}

// Whether the change is one to make; says why not on the console otherwise.
std::optional<int> refusal(const ScanSession& session, const KeepRequest& request,
                           const QString& path, Console& console) {
    const bool marked = session.keptPaths().contains(path);
    if (request.action == KeepRequest::Action::add && !QFileInfo(path).isDir()) {
        console.err << "No such folder: " << path << '\n';
        return exitRefusedOrBadArguments;
    }
    if (request.action == KeepRequest::Action::remove && !marked) {
        console.err << path << " is not marked Keep.";
        if (KeepStore::isInsideKept(session.keptPaths(), path))
            console.err << " It lies in a kept folder; remove that folder's mark instead.";
        console.err << '\n';
        return exitRefusedOrBadArguments;
    }
    if (request.action == KeepRequest::Action::add && marked && !request.json) {
        console.out << path << " is already kept.\n";
        return exitOk;
    }
    return std::nullopt;
}

} // namespace

int runKeep(const KeepRequest& request, Console& console) {
    ToastCenter toasts;
    ScanSession session(toasts, {});
    if (request.action == KeepRequest::Action::list)
        return list(session, request, console);

    const QString path = Paths::absoluteStandardized(request.path);
    if (const std::optional<int> status = refusal(session, request, path, console))
        return *status;
    const bool keep = request.action == KeepRequest::Action::add;
    if (const QString error = session.setKept(path, keep); !error.isEmpty()) {
        console.err << error << '\n';
        return exitSomeFailed;
    }
    if (request.json)
        printJson(console, marksJson(session.keptPaths()));
    else if (keep)
        console.out << "Kept " << path << ": a clean never takes it or anything in it.\n";
    else
        console.out << path << " is no longer kept.\n";
    return exitOk;
}

void defineKeepCommand(CLI::App& command, int& status) {
    struct Options {
        std::string path;
        bool remove = false;
        bool list = false;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    command.add_option("PATH", options->path, "The project or item folder to keep");
    CLI::Option* remove =
        command.add_flag("--remove", options->remove, "Remove the Keep mark of PATH");
    command.add_flag("--list", options->list, "List the kept folders")->excludes(remove);
    command.add_flag("--json", options->json, "Print one JSON document on standard output");
    command.callback([options, &status] {
        Console console(stdout, stderr);
        KeepRequest request;
        request.json = options->json;
        request.path = QFile::decodeName(options->path.c_str());
        if (options->list) {
            request.action = KeepRequest::Action::list;
        } else if (options->path.empty()) {
            console.err << "Name the folder to keep (or to --remove), or ask for --list.\n";
            status = exitRefusedOrBadArguments;
            return;
        } else {
            request.action =
                options->remove ? KeepRequest::Action::remove : KeepRequest::Action::add;
        }
        status = runKeep(request, console);
    });
}

} // namespace corvane::cli
