#include "platform/OwnFile.h"

#include "platform/InputLimits.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace corvane;
using test::s;

namespace {

// Records are objects with a text "name"; anything else is of a shape this version does not know.
bool isRecord(const QJsonValue& value) {
    return value.toObject().value(s("name")).isString();
}

OwnFile catalogAt(const QString& path) {
    return OwnFile(path, s("The test list"), {OwnFile::Layout::array, {}, isRecord});
}

QJsonValue named(const QString& name) {
    return QJsonObject{{s("name"), name}};
}

OwnFile::Change appending(const QString& name) {
    return [name](QList<QJsonValue>& records) { records.append(named(name)); };
}

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList asideCopies(const QString& folder) {
    return QDir(folder).entryList({s("list.unreadable-*.json")}, QDir::Files);
}

} // namespace

TEST(OwnFile, TwoWritersAtOnceKeepEveryRecord) {
    const QString path = test::makeTempDir() + s("/list.json");
    constexpr int perWriter = 25;
    std::vector<std::thread> writers;
    for (const char* writer : {"a", "b"}) {
        writers.emplace_back([&path, writer] {
            const OwnFile file = catalogAt(path);
            for (int i = 0; i < perWriter; ++i)
                EXPECT_EQ(file.update(appending(s(writer) + QString::number(i))).error, QString());
        });
    }
    for (std::thread& writer : writers)
        writer.join();
    const OwnFile::Contents contents = catalogAt(path).load();
    EXPECT_EQ(contents.state, OwnFile::State::whole);
    EXPECT_EQ(contents.records.size(), 2 * perWriter);
}

TEST(OwnFile, AnUnreadableFileIsNeverEmptyAndIsKeptBeforeAnythingIsWrittenOverIt) {
    const QString folder = test::makeTempDir();
    const QString path = folder + s("/list.json");
    const OwnFile file = catalogAt(path);
    EXPECT_EQ(file.load().state, OwnFile::State::missing);
    EXPECT_FALSE(file.load().problem);

    // Cut short, not JSON at all, or JSON of the wrong type.
    for (const QByteArray& bytes : {QByteArray("[{\"name\": \"a\"}, {\"na"), QByteArray("\x89PNG"),
                                    QByteArray("{\"name\": \"a\"}"), QByteArray()}) {
        QDir(folder).removeRecursively();
        test::writeFile(path, bytes);
        const OwnFile::Contents contents = file.load();
        EXPECT_EQ(contents.state, OwnFile::State::unreadable) << bytes.constData();
        ASSERT_TRUE(contents.problem);
        EXPECT_TRUE(contents.problem->contains(path)) << contents.problem->toStdString();

        // A change that would take it for empty is refused when asked, and writes nothing.
        EXPECT_NE(file.update(appending(s("b")), OwnFile::WhenUnreadable::refuse).error, QString());
        EXPECT_EQ(contentsOf(path), bytes);

        const OwnFile::Outcome outcome = file.update(appending(s("b")));
        EXPECT_EQ(outcome.error, QString());
        const QStringList copies = asideCopies(folder);
        ASSERT_EQ(copies.size(), 1);
        EXPECT_EQ(contentsOf(folder + u'/' + copies.first()), bytes);
        EXPECT_TRUE(outcome.notice.contains(copies.first())) << outcome.notice.toStdString();
        EXPECT_EQ(file.load().records, QList<QJsonValue>{named(s("b"))});
    }

    // A second unreadable file never replaces the first copy.
    test::writeFile(path, "garbage one");
    ASSERT_EQ(file.update(appending(s("c"))).error, QString());
    test::writeFile(path, "garbage two");
    ASSERT_EQ(file.update(appending(s("d"))).error, QString());
    const QStringList copies = asideCopies(folder);
    ASSERT_EQ(copies.size(), 3);
    QStringList kept;
    for (const QString& copy : copies)
        kept.append(QString::fromUtf8(contentsOf(folder + u'/' + copy)));
    EXPECT_TRUE(kept.contains(s("garbage one")) && kept.contains(s("garbage two")));
}

TEST(OwnFile, RecordsOfAnUnknownShapeAreCarriedThroughAndTheReadableOnesUsed) {
    const QString folder = test::makeTempDir();
    const QString path = folder + s("/list.json");
    const OwnFile file = catalogAt(path);
    const QJsonObject future{{s("kind"), s("from a newer version")}, {s("nested"), QJsonArray{1}}};
    test::writeFile(path, QJsonDocument(QJsonArray{named(s("a")), future, 7}).toJson());

    const OwnFile::Contents contents = file.load();
    EXPECT_EQ(contents.state, OwnFile::State::partlyReadable);
    EXPECT_EQ(contents.records, QList<QJsonValue>{named(s("a"))});
    ASSERT_TRUE(contents.problem);
    EXPECT_TRUE(contents.problem->contains(s("2 records"))) << contents.problem->toStdString();

    const OwnFile::Outcome first = file.update(appending(s("b")));
    EXPECT_EQ(first.error, QString());
    EXPECT_FALSE(first.notice.isEmpty());
    ASSERT_EQ(asideCopies(folder).size(), 1);
    // Later changes keep the same unknown records and make no new copy of them.
    const OwnFile::Outcome second = file.update(appending(s("c")));
    EXPECT_EQ(second.notice, QString());
    EXPECT_EQ(asideCopies(folder).size(), 1);

    const QJsonArray written = QJsonDocument::fromJson(contentsOf(path)).array();
    EXPECT_TRUE(written.contains(future) && written.contains(7));
    EXPECT_EQ(file.load().records,
              (QList<QJsonValue>{named(s("a")), named(s("b")), named(s("c"))}));
}

TEST(OwnFile, KeyedListsAndMembersKeepWhatSurroundsThem) {
    const QString folder = test::makeTempDir();
    const QString keyedPath = folder + s("/keyed.json");
    const OwnFile keyed(keyedPath, s("The keyed list"),
                        {OwnFile::Layout::keyedArray, s("items"), isRecord});
    test::writeFile(keyedPath, R"({"items": [], "version": 3})");
    ASSERT_EQ(keyed.update(appending(s("a"))).error, QString());
    const QJsonObject document = QJsonDocument::fromJson(contentsOf(keyedPath)).object();
    EXPECT_EQ(document.value(s("version")).toInt(), 3);
    EXPECT_EQ(document.value(s("items")).toArray(), QJsonArray{named(s("a"))});

    const QString membersPath = folder + s("/members.json");
    const OwnFile members(membersPath, s("The mapping"),
                          {OwnFile::Layout::members, {}, [](const QJsonValue& member) {
                               return member.toObject().begin().value().isString();
                           }});
    test::writeFile(membersPath, R"({"known": "/a", "odd": 5})");
    const OwnFile::Outcome outcome = members.update([](QList<QJsonValue>& records) {
        records.append(QJsonObject{{s("added"), s("/b")}});
    });
    EXPECT_EQ(outcome.error, QString());
    EXPECT_EQ(QJsonDocument::fromJson(contentsOf(membersPath)).object(),
              (QJsonObject{{s("known"), s("/a")}, {s("odd"), 5}, {s("added"), s("/b")}}));
}

TEST(OwnFile, AFileLargerThanTheLimitIsUnreadableAndKeptWholeBeforeItIsReplaced) {
    const QString folder = test::makeTempDir();
    const QString path = folder + s("/list.json");
    // Valid JSON, only far larger than any list of ours can grow.
    QByteArray huge(InputLimits::fileBytes + 1, ' ');
    huge[0] = '[';
    huge[huge.size() - 1] = ']';
    test::writeFile(path, huge);
    const OwnFile file = catalogAt(path);

    const OwnFile::Contents contents = file.load();
    EXPECT_EQ(contents.state, OwnFile::State::unreadable);
    ASSERT_TRUE(contents.problem);
    EXPECT_TRUE(contents.problem->contains(s("larger than 64 MB")))
        << contents.problem->toStdString();
    EXPECT_TRUE(contents.problem->contains(path));

    // The bytes it never read are still kept, all of them, before the list begins again.
    ASSERT_EQ(file.update(appending(s("a"))).error, QString());
    const QStringList copies = asideCopies(folder);
    ASSERT_EQ(copies.size(), 1);
    EXPECT_TRUE(contentsOf(folder + u'/' + copies.first()) == huge);
    EXPECT_EQ(file.load().records, QList<QJsonValue>{named(s("a"))});
}

TEST(OwnFile, AListOfMoreRecordsThanTheLimitIsUnreadableAndNamed) {
    const QString path = test::makeTempDir() + s("/list.json");
    const OwnFile file = catalogAt(path);
    // Records this version does not know count too: it is the length of the list that is
    // refused.
    const QByteArray exactly = "[" + QByteArray("0,").repeated(InputLimits::recordCount - 1) + "0";
    test::writeFile(path, exactly + "]");
    EXPECT_EQ(file.load().state, OwnFile::State::partlyReadable);

    test::writeFile(path, exactly + ",0]");
    const OwnFile::Contents contents = file.load();
    EXPECT_EQ(contents.state, OwnFile::State::unreadable);
    ASSERT_TRUE(contents.problem);
    EXPECT_TRUE(contents.problem->contains(path));
    EXPECT_TRUE(contents.problem->contains(s("it holds more than 1000000 entries")))
        << contents.problem->toStdString();
}
