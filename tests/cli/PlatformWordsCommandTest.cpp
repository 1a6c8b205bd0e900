#include "cli/Command.h"
#include "platform/ProcessRunner.h"
#include "support/ForeignWords.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace corvane;
using test::s;

// Every command as a user first meets it, with no developer tools installed: its listing (or
// why it needs more), and its help. None may name what only the other system has.
TEST(PlatformWordsCommandTest, NoCommandSpeaksTheOtherSystemsWords) {
    const test::NoDeveloperTools noTools;
    const auto run = [](const QStringList& arguments) {
        const ProcessResult result =
            ProcessRunner::system().run(s(CORVANE_EXECUTABLE), arguments, {}, {}, 60);
        return QString::fromUtf8(result.standardOutput + result.standardError);
    };
    QStringList outputs;
    const auto add = [&](const QStringList& arguments) {
        for (const QString& line : run(arguments).split(u'\n', Qt::SkipEmptyParts))
            outputs << arguments.join(u' ') + s(": ") + line;
    };
    add({s("--help")});
    for (const cli::Command& command : cli::commandTable()) {
        const QString name = QString::fromStdString(command.name);
        add({name});
        add({name, s("--help")});
    }
    EXPECT_EQ(test::foreignWordLines(outputs), QString());
}
