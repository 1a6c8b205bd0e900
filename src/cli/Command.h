#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace corvane::cli {

// Exit statuses of the `corvane` command.
enum ExitStatus : int {
    exitOk = 0,
    exitSomeFailed = 1,
    exitRefusedOrBadArguments = 2,
};

// One subcommand: its name, its one-line help and the function that declares its options on
// the subcommand and installs the handler. The handler stores the exit status in `status`.
struct Command {
    std::string name;
    std::string help;
    std::function<void(CLI::App& subcommand, int& status)> define;
};

// Every subcommand, in the order `--help` lists them.
const std::vector<Command>& commandTable();

// Runs the command line; returns the process's exit status.
int runCommandLine(int argc, char** argv);

} // namespace corvane::cli
