#include "cli/Command.h"
#include "platform/AppIdentity.h"

#include <QCoreApplication>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    corvane::applyAppIdentity();
    return corvane::cli::runCommandLine(argc, argv);
}
