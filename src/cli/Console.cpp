#include "cli/Console.h"

#include <unistd.h>

namespace corvane::cli {
namespace {

bool askOnTerminal(QTextStream& err, const QString& question) {
    err << question << Qt::flush;
    QTextStream in(stdin);
    const QString answer = in.readLine().trimmed();
    return answer.compare(QLatin1String("y"), Qt::CaseInsensitive) == 0 ||
           answer.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0;
}

} // namespace

Console::Console(FILE* outFile, FILE* errFile)
    : out(outFile)
    , err(errFile)
    , showsProgress(::isatty(::fileno(errFile)) == 1)
    , canAsk(::isatty(STDIN_FILENO) == 1)
    , ask([this](const QString& question) { return askOnTerminal(err, question); }) {}

Console::Console(QString* outText, QString* errText)
    : out(outText)
    , err(errText)
    , ask([](const QString&) { return false; }) {}

} // namespace corvane::cli
