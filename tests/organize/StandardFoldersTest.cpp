#include "organize/StandardFolders.h"

#include "platform/Locations.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <gtest/gtest.h>

namespace corvane {
namespace {

using test::s;

QString homeWith(const QStringList& folders) {
    const QString home = test::makeTempDir(s("home"));
    for (const QString& folder : folders)
        QDir().mkpath(home + u'/' + folder);
    return home;
}

QStringList under(const QString& home, const QStringList& names) {
    QStringList paths;
    for (const QString& name : names)
        paths.append(home + u'/' + name);
    return paths;
}

TEST(StandardFolders, WithoutUserDirsTheUsualNamesThatExistCount) {
    if (Locations::isMac())
        GTEST_SKIP() << "the XDG folders are read outside macOS only";
    const QString home =
        homeWith({s("Documents"), s("Videos"), s("Applications"), s("Library"), s("code")});
    test::ScopedEnvironment config("XDG_CONFIG_HOME", home + s("/.config"));
    test::writeFile(home + s("/Shared/.localized"));
    test::writeFile(home + s("/code/app/.localized"));

    EXPECT_EQ(StandardFolders::of(home),
              under(home, {s("Documents"), s("Videos"), s("Applications"), s("Shared")}));
    EXPECT_TRUE(StandardFolders::isStandard(home + s("/Shared/"), home));
    EXPECT_FALSE(StandardFolders::isStandard(home + s("/code"), home));
    EXPECT_FALSE(StandardFolders::isStandard(home + s("/code/app"), home));
}

TEST(StandardFolders, UserDirsNameTheFoldersAndTheHomeItselfSwitchesOneOff) {
    if (Locations::isMac())
        GTEST_SKIP() << "the XDG folders are read outside macOS only";
    const QString home = homeWith({s("Documents"), s("Dokumente"), s("Media/Musik"), s("Bilder")});
    test::ScopedEnvironment config("XDG_CONFIG_HOME", home + s("/.config"));
    test::writeFile(home + s("/.config/user-dirs.dirs"), "# written by xdg-user-dirs-update\n"
                                                         "XDG_DESKTOP_DIR=\"$HOME/\"\n"
                                                         "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n"
                                                         "XDG_MUSIC_DIR=\"$HOME/Media/Musik\"\n"
                                                         "XDG_PICTURES_DIR=\"" +
                                                             home.toUtf8() + "/Bilder\"\n");

    EXPECT_EQ(StandardFolders::of(home),
              under(home, {s("Dokumente"), s("Media/Musik"), s("Bilder")}));
}

} // namespace
} // namespace corvane
