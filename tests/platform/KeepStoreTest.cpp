#include "platform/KeepStore.h"

#include "support/TestEnvironment.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(KeepStore, MarksRoundTripSortedAndStandardizedAndFollowAMovedFolder) {
    const QString folder = test::makeTempDir(s("keep"));
    const KeepStore store(folder + s("/support/keep.json"));
    EXPECT_EQ(store.load().paths, QStringList());
    EXPECT_FALSE(store.load().error);

    ASSERT_EQ(store.add(s("/code/web/")), QString());
    ASSERT_EQ(store.add(s("/code/api/../app")), QString());
    ASSERT_EQ(store.add(s("/code/app/vendor")), QString());
    ASSERT_EQ(store.add(s("/code/app")), QString());
    const QStringList marks{s("/code/app"), s("/code/app/vendor"), s("/code/web")};
    EXPECT_EQ(store.load().paths, marks);
    EXPECT_EQ(
        contentsOf(store.url()),
        QByteArray("[\n    \"/code/app\",\n    \"/code/app/vendor\",\n    \"/code/web\"\n]\n"));

    // Everything at or inside the moved folder follows it; a neighbour with the same prefix stays.
    ASSERT_EQ(store.add(s("/code/app-old")), QString());
    ASSERT_EQ(store.follow(s("/code/app"), s("/archive/app")), QString());
    EXPECT_EQ(store.load().paths, (QStringList{s("/archive/app"), s("/archive/app/vendor"),
                                               s("/code/app-old"), s("/code/web")}));

    // A folder kept by the one around it stays kept where it goes; the folder around keeps its
    // own mark, and a move within a kept folder adds nothing.
    ASSERT_EQ(store.follow(s("/code/web/site"), s("/code/web/www")), QString());
    ASSERT_EQ(store.follow(s("/code/web/www"), s("/sites/www")), QString());
    EXPECT_EQ(store.load().paths,
              (QStringList{s("/archive/app"), s("/archive/app/vendor"), s("/code/app-old"),
                           s("/code/web"), s("/sites/www")}));
    ASSERT_EQ(store.remove(s("/sites/www")), QString());

    ASSERT_EQ(store.remove(s("/archive/app/vendor")), QString());
    ASSERT_EQ(store.remove(s("/nowhere")), QString());
    EXPECT_EQ(store.load().paths,
              (QStringList{s("/archive/app"), s("/code/app-old"), s("/code/web")}));
}

TEST(KeepStore, AFileThatCannotBeReadIsReportedAndNeverOverwritten) {
    const QString folder = test::makeTempDir(s("keep-bad"));
    for (const QByteArray& contents :
         {QByteArray("{ broken"), QByteArray("{\"paths\": []}"), QByteArray("[\"/ok\", \"/cut")}) {
        const KeepStore store(folder + s("/keep.json"));
        test::writeFile(store.url(), contents);
        const KeepStore::Marks marks = store.load();
        ASSERT_TRUE(marks.error) << contents.constData();
        EXPECT_TRUE(marks.error->contains(store.url() + s(" could not be read")))
            << qPrintable(*marks.error);
        EXPECT_TRUE(marks.paths.isEmpty());
        for (const QString& error : {store.add(s("/code/app")), store.remove(s("/ok")),
                                     store.follow(s("/ok"), s("/elsewhere"))})
            EXPECT_TRUE(error.contains(store.url())) << qPrintable(error);
        EXPECT_EQ(contentsOf(store.url()), contents);
    }
}

// Entries of a shape this version does not know may protect folders it cannot see: they are
// reported and kept, and the readable marks still bind and can change.
TEST(KeepStore, EntriesThisVersionCannotReadNeverDropTheReadableMarks) {
    const KeepStore store(test::makeTempDir(s("keep-partly")) + s("/keep.json"));
    test::writeFile(store.url(), R"(["/ok", 7, "relative/path", {"path": "/future"}])");
    KeepStore::Marks marks = store.load();
    EXPECT_EQ(marks.paths, QStringList{s("/ok")});
    ASSERT_TRUE(marks.error);
    EXPECT_TRUE(marks.error->contains(s("3 records"))) << qPrintable(*marks.error);

    ASSERT_EQ(store.add(s("/code/app")), QString());
    EXPECT_EQ(store.load().paths, (QStringList{s("/code/app"), s("/ok")}));
    const QByteArray written = contentsOf(store.url());
    EXPECT_TRUE(written.contains("relative/path") && written.contains("/future"))
        << written.constData();
}

TEST(KeepStore, AFolderIsProtectedInsideAKeptFolderAndWhenItHoldsOne) {
    const QStringList marks{s("/code/app"), s("/code/tool/vendor")};
    EXPECT_TRUE(KeepStore::protects(marks, s("/code/app")));
    EXPECT_TRUE(KeepStore::protects(marks, s("/code/app/node_modules")));
    // Trashing the whole tool would take its kept vendor folder along.
    EXPECT_TRUE(KeepStore::protects(marks, s("/code/tool")));
    EXPECT_FALSE(KeepStore::protects(marks, s("/code/tool/target")));
    EXPECT_FALSE(KeepStore::protects(marks, s("/code/app-two")));
    EXPECT_TRUE(KeepStore::isInsideKept(marks, s("/code/app/node_modules")));
    EXPECT_FALSE(KeepStore::isInsideKept(marks, s("/code/tool")));
}

TEST(KeepStore, AFolderKeptThroughALinkIsKeptThroughItsRealPathAndTheOtherWayRound) {
    const QString real = test::makeTempDir(s("keep-real"));
    const QString linked = test::makeTempDir(s("keep-links")) + s("/code");
    ASSERT_TRUE(QFile::link(real, linked));
    test::writeFile(real + s("/app/node_modules/x.js"), "x");
    test::writeFile(real + s("/tool/target/y.o"), "y");

    const QStringList throughLink{linked + s("/app")};
    EXPECT_TRUE(KeepStore::protects(throughLink, real + s("/app/node_modules")));
    EXPECT_TRUE(KeepStore::protects(throughLink, real));
    EXPECT_FALSE(KeepStore::protects(throughLink, real + s("/tool/target")));
    const QStringList throughRealPath{real + s("/app")};
    EXPECT_TRUE(KeepStore::isInsideKept(throughRealPath, linked + s("/app/node_modules")));
    EXPECT_TRUE(KeepStore::protects(throughRealPath, linked));

    // Unmarking through the other spelling takes the mark away.
    const KeepStore store(test::makeTempDir(s("keep-store")) + s("/keep.json"));
    ASSERT_EQ(store.add(linked + s("/app")), QString());
    ASSERT_EQ(store.remove(real + s("/app")), QString());
    EXPECT_TRUE(store.load().paths.isEmpty());
}
