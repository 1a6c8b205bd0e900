#include "organize/ShellProfile.h"

#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

using test::s;

ShellReferences scanned(const char* text, const QString& home = s("/Users/me"),
                        bool macRules = true) {
    ShellReferences references;
    ShellProfile::scan(s(text), s(".zshrc"), home, macRules, references);
    return references;
}

TEST(ShellProfile, FindsTheHomeInEachSpellingAndStopsAtWhatEndsAPath) {
    const ShellReferences references =
        scanned("export PATH=\"$HOME/code/tool/bin:$PATH\"\n"
                "source ${HOME}/dotfiles/aliases.sh; echo done\n"
                "alias work='cd /Users/me/My\\ Projects/site'\n"
                "[ -f `echo $HOME/quoted`'x' ] && eval \"$(cat $HOME/env/)\"\n"
                "cp /mnt/Users/me/backup $HOME2/x /tmp/x\n"
                "VAR=$HOME/a/../b/./c}rest\n");
    const QMap<QString, QString> expected{{s("/Users/me/code/tool/bin"), s(".zshrc")},
                                          {s("/Users/me/dotfiles/aliases.sh"), s(".zshrc")},
                                          {s("/Users/me/My Projects/site"), s(".zshrc")},
                                          {s("/Users/me/quoted"), s(".zshrc")},
                                          {s("/Users/me/env"), s(".zshrc")},
                                          {s("/Users/me/b/c"), s(".zshrc")}};
    EXPECT_EQ(references.paths, expected);
}

TEST(ShellProfile, OnlySearchPathLinesGiveToolFolders) {
    const ShellReferences references = scanned("export PATH=\"$HOME/bin:$PATH\"\n"
                                               "PATH+=:$HOME/.cargo/bin\n"
                                               "source $HOME/code/env.sh\n"
                                               "export MANPATH=$HOME/man\n"
                                               "path=(\n"
                                               "  $HOME/go/bin\n"
                                               "  $path)\n"
                                               "alias x=$HOME/after\n"
                                               "typeset -U fpath=($HOME/zfunc $fpath)\n");
    EXPECT_EQ(references.toolFolders, QStringList({s("/Users/me/bin"), s("/Users/me/.cargo/bin"),
                                                   s("/Users/me/go/bin"), s("/Users/me/zfunc")}));
    EXPECT_EQ(references.paths.size(), 7);
}

TEST(ShellProfile, ReadsTheProfilesInOrderAndTheFirstKeepsAPath) {
    const QString home = test::makeTempDir(s("home"));
    test::writeFile(home + s("/.bashrc"), "export PATH=$HOME/code/tool/bin:$PATH\n");
    test::writeFile(home + s("/.zshrc"), "export PATH=\"$HOME/code/tool/bin:$PATH\"\n");
    test::writeFile(home + s("/.zprofile"), "source " + home.toUtf8() + "/code/env/init.sh\n");
    test::writeFile(home + s("/.unrelated"), "$HOME/never/read\n");

    const ShellReferences references = ShellProfile::read(home, false);
    EXPECT_EQ(references.paths.value(home + s("/code/tool/bin")), s(".zshrc"));
    EXPECT_EQ(references.paths.value(home + s("/code/env/init.sh")), s(".zprofile"));
    EXPECT_FALSE(references.paths.contains(home + s("/never/read")));

    // The folder holding both is named after the profile read first.
    EXPECT_EQ(ShellProfile::profileUsing(references, home + s("/code")), s(".zprofile"));
    EXPECT_EQ(ShellProfile::profileUsing(references, home + s("/code/tool")), s(".zshrc"));
    EXPECT_EQ(ShellProfile::profileUsing(references, home + s("/code/tool/bin/")), s(".zshrc"));
    EXPECT_EQ(ShellProfile::profileUsing(references, home + s("/code/tool/bin/x")), std::nullopt);
    EXPECT_EQ(ShellProfile::profileUsing(references, home + s("/code/too")), std::nullopt);
}

TEST(ShellProfile, AFolderWhoseNameStartsLikeAReferenceIsNotUsed) {
    const ShellReferences references = scanned("export CODEX_HOME=$HOME/codex\n");
    EXPECT_EQ(ShellProfile::profileUsing(references, s("/Users/me/code")), std::nullopt);
    EXPECT_EQ(ShellProfile::profileUsing(references, s("/Users/me/codex")), s(".zshrc"));
}

} // namespace
} // namespace corvane
