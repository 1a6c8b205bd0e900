#include "archive/ArchiveCatalog.h"

#include "support/TestEnvironment.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTimeZone>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace corvane;
using test::s;

namespace corvane {
// A record as its JSON, so a failed comparison shows which field differs.
void PrintTo(const ArchiveRecord& record, std::ostream* out) {
    *out << QJsonDocument(ArchiveCatalog::recordJson(record)).toJson(QJsonDocument::Compact).data();
}
} // namespace corvane

namespace {

ArchiveCatalog catalogIn(const QString& folder) {
    return ArchiveCatalog{folder + s("/archive-catalog.json")};
}

QSet<QString> keysOf(const QJsonObject& object) {
    const QStringList keys = object.keys();
    return QSet<QString>(keys.begin(), keys.end());
}

QJsonObject parsed(const char* json) {
    return QJsonDocument::fromJson(json).object();
}

ArchiveRecord folderRecord() {
    ArchiveRecord record;
    record.id = QUuid::createUuid();
    record.name = s("Café ✓");
    record.originalPath = s("/home/me/code/Café ✓");
    record.location = ArchiveLocation::folder(s("/media/Drive/CorvaneArchive/Café ✓"));
    // Milliseconds that a truncating reader would lose one of.
    record.archivedAt = QDateTime(QDate(2024, 5, 1), QTime(14, 30, 0, 123), QTimeZone::utc());
    record.agentSessionCount = 3;
    return record;
}

ArchiveRecord restoredSshRecord() {
    ArchiveRecord record;
    record.id = QUuid::createUuid();
    record.name = s("api");
    record.originalPath = s("/home/me/code/api");
    record.location = ArchiveLocation::ssh(s("me"), s("nas.local"), s("~/CorvaneArchive"));
    record.archivedAt = QDateTime::fromMSecsSinceEpoch(1'700'000'000'999, QTimeZone::utc());
    record.agentSessionCount = 0;
    record.restoredAt = QDateTime::fromMSecsSinceEpoch(1'700'000'123'457, QTimeZone::utc());
    record.restoredPath = s("/home/me/elsewhere/api");
    record.restores = {{record.archivedAt.addDays(1), s("/home/me/code/api")},
                       {*record.restoredAt, *record.restoredPath}};
    record.relink = QJsonObject{{s("codexThreads"), 2}, {s("warnings"), QJsonArray{s("x")}}};
    return record;
}

} // namespace

TEST(ArchiveCatalog, AnUnreadableCatalogIsReportedAndUnknownRecordsNeverHideTheOthers) {
    const QString folder = test::makeTempDir(s("catalog-unreadable"));
    const ArchiveCatalog catalog = catalogIn(folder);
    EXPECT_EQ(catalog.read().records, QList<ArchiveRecord>());
    EXPECT_FALSE(catalog.read().problem);

    const QByteArray valid = QJsonDocument(QJsonArray{ArchiveCatalog::recordJson(folderRecord())})
                                 .toJson(QJsonDocument::Compact);
    for (const QByteArray& content :
         {QByteArray("{not json"), QByteArray("{}"), valid.left(valid.size() / 2), QByteArray()}) {
        test::writeFile(catalog.url, content);
        const ArchiveCatalog::Contents contents = catalog.read();
        EXPECT_TRUE(contents.records.isEmpty()) << content.constData();
        ASSERT_TRUE(contents.problem) << content.constData();
        EXPECT_TRUE(contents.problem->contains(catalog.url));
    }

    // A record without an id and one from a newer version sit beside a readable one.
    test::writeFile(catalog.url,
                    valid.left(valid.size() - 1) + R"(,{"name":"x"},{"future":{"kind":2}}])");
    const QList<ArchiveRecord> readable = catalog.load();
    ASSERT_EQ(readable.size(), 1);
    ASSERT_TRUE(catalog.read().problem);
    EXPECT_TRUE(catalog.read().problem->contains(s("2 records")));
    const ArchiveRecord added = restoredSshRecord();
    ASSERT_EQ(catalog.append(added).error, QString());
    EXPECT_EQ(catalog.load(), (QList<ArchiveRecord>{readable.first(), added}));
    QFile file(catalog.url);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QJsonArray stored = QJsonDocument::fromJson(file.readAll()).array();
    EXPECT_EQ(stored.size(), 4);
    EXPECT_TRUE(stored.contains(QJsonObject{{s("name"), s("x")}}));
}

// Two archives finishing at once, in this process or two, each add their record to the catalog
// as it is stored then: none is lost.
TEST(ArchiveCatalog, ArchivesAddedAtOnceKeepEveryRecord) {
    const ArchiveCatalog catalog = catalogIn(test::makeTempDir(s("catalog-at-once")));
    constexpr int perWriter = 15;
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 2; ++writer) {
        writers.emplace_back([&catalog] {
            for (int i = 0; i < perWriter; ++i) {
                ArchiveRecord record = folderRecord();
                record.id = QUuid::createUuid();
                EXPECT_EQ(catalog.append(record).error, QString());
            }
        });
    }
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_EQ(catalog.load().size(), 2 * perWriter);
}

TEST(ArchiveCatalog, RecordsRoundTripWithExactlyTheirKeys) {
    const ArchiveCatalog catalog = catalogIn(test::makeTempDir(s("catalog-round-trip")));
    const QList<ArchiveRecord> records{folderRecord(), restoredSshRecord()};

    ASSERT_EQ(catalog.save(records), QString());
    EXPECT_EQ(catalog.load(), records);

    QFile file(catalog.url);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    // Pretty-printed, as people may read it.
    EXPECT_TRUE(text.contains("\n    {"));
    const QJsonArray array = QJsonDocument::fromJson(text).array();
    ASSERT_EQ(array.size(), 2);
    const QJsonObject plain = array[0].toObject();
    const QJsonObject restored = array[1].toObject();
    const QSet<QString> required{s("id"),        s("name"),       s("originalPath"),
                                 s("location"),  s("archivedAt"), s("agentSessionCount"),
                                 s("verifiedBy")};
    EXPECT_EQ(keysOf(plain), required);
    EXPECT_EQ(keysOf(restored), (required + QSet<QString>{s("restoredAt"), s("restoredPath"),
                                                          s("relink"), s("restores")}));
    EXPECT_EQ(restored[s("restores")].toArray().at(0).toObject()[s("path")].toString(),
              s("/home/me/code/api"));

    EXPECT_EQ(plain[s("id")].toString(), records[0].id.toString(QUuid::WithoutBraces).toUpper());
    EXPECT_EQ(plain[s("location")].toObject(),
              parsed(R"({"folder":{"path":"/media/Drive/CorvaneArchive/Café ✓"}})"));
    EXPECT_EQ(restored[s("location")].toObject(),
              parsed(R"({"ssh":{"user":"me","host":"nas.local","basePath":"~/CorvaneArchive"}})"));
    // Seconds since 2001, with the fraction.
    EXPECT_NEAR(plain[s("archivedAt")].toDouble(), 736266600.123, 1e-6);
    EXPECT_EQ(plain[s("agentSessionCount")].toInteger(-1), 3);
    EXPECT_EQ(restored[s("relink")].toObject(), *records[1].relink);
}

TEST(ArchiveCatalog, ALocationNamesExactlyOneKnownCaseWithAllItsValues) {
    QString error;
    EXPECT_FALSE(ArchiveCatalog::locationFromJson(
        parsed(R"({"folder":{"path":"/a"},"ssh":{"user":"u","host":"h","basePath":"/b"}})"),
        &error));
    EXPECT_EQ(error, s("Invalid number of keys found, expected one."));
    error.clear();
    EXPECT_FALSE(ArchiveCatalog::locationFromJson(QJsonObject(), &error));
    EXPECT_EQ(error, s("Invalid number of keys found, expected one."));

    for (const char* json : {R"({"smb":{"path":"/a"}})", R"({"folder":"/a"})",
                             R"({"folder":{"where":"/a"}})", R"({"ssh":{"user":"u","host":"h"}})",
                             R"({"ssh":{"user":"u","host":"h","basePath":7}})"}) {
        error.clear();
        EXPECT_FALSE(ArchiveCatalog::locationFromJson(parsed(json), &error)) << json;
        EXPECT_FALSE(error.isEmpty()) << json;
    }
    EXPECT_EQ(ArchiveCatalog::locationFromJson(
                  parsed(R"({"ssh":{"user":"u","host":"h","basePath":"/b"}})")),
              ArchiveLocation::ssh(s("u"), s("h"), s("/b")));
}

TEST(ArchiveCatalog, ARecordWithAFractionalSessionCountOrAWrongOptionalIsNotRead) {
    QJsonObject object = ArchiveCatalog::recordJson(folderRecord());
    ASSERT_TRUE(ArchiveCatalog::recordFromJson(object));
    // null is how some writers say "not set".
    object.insert(s("restoredPath"), QJsonValue::Null);
    EXPECT_TRUE(ArchiveCatalog::recordFromJson(object));

    QJsonObject fractional = object;
    fractional.insert(s("agentSessionCount"), 1.5);
    QString error;
    EXPECT_FALSE(ArchiveCatalog::recordFromJson(fractional, &error));
    EXPECT_TRUE(error.contains(s("agentSessionCount"))) << qPrintable(error);
    QJsonObject wrongType = object;
    wrongType.insert(s("restoredAt"), s("yesterday"));
    EXPECT_FALSE(ArchiveCatalog::recordFromJson(wrongType));
}

TEST(ArchiveCatalog, ASaveThatCannotBeWrittenSaysWhy) {
    const QString folder = test::makeTempDir(s("catalog-unwritable"));
    // A file where the folder would have to be: refused even to root.
    test::writeFile(folder + s("/blocker"), "not a folder");
    const ArchiveCatalog catalog{folder + s("/blocker/archive-catalog.json")};

    EXPECT_FALSE(catalog.save({folderRecord()}).isEmpty());
    EXPECT_FALSE(catalog.append(folderRecord()).error.isEmpty());
    EXPECT_TRUE(catalog.load().isEmpty());
}
