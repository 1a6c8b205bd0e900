#pragma once

#include <QString>
#include <QTextStream>
#include <cstdio>
#include <functional>

namespace corvane::cli {

// Where a command writes, and whether a person is there: live progress only goes to a terminal,
// and questions are only asked on one. Tests write into strings and answer for the person.
class Console {
public:
    // The process's standard output and error, with the flags read from the terminal.
    Console(FILE* out, FILE* err);
    Console(QString* out, QString* err);
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    QTextStream out;
    QTextStream err;
    // Standard error is a terminal: progress lines may be redrawn there.
    bool showsProgress = false;
    // Standard input is a terminal: `ask` reaches a person.
    bool canAsk = false;
    // Shows `question` and tells whether the answer was yes.
    std::function<bool(const QString& question)> ask;
};

} // namespace corvane::cli
