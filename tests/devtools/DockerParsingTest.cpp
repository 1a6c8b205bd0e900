#include "devtools/DockerFixtures.h"
#include "devtools/DockerService.h"
#include "support/TestEnvironment.h"

#include <QTimeZone>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

QDateTime utc(const char* isoText) {
    QDateTime time = QDateTime::fromString(s(isoText), Qt::ISODate);
    time.setTimeZone(QTimeZone::utc());
    return time;
}

const QString postgresID =
    s("sha256:5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c");
const QString nodeID = s("sha256:9c7a54a9a43cca047013b82af109fe963fde787f63f9e016fdc3384500c2823d");
const QString danglingID =
    s("sha256:0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d");
const QString legacyUntaggedID =
    s("sha256:3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f");
const QString apiID = s("sha256:4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a");

// What the captured report says, references aside (they come from the image listing).
DockerSnapshot expectedReport() {
    DockerSnapshot snapshot;
    snapshot.images = {
        {postgresID,
         s("postgres"),
         s("16"),
         utc("2024-06-03T16:00:00"),
         453'000'000,
         453'100'000,
         1,
         {}},
        {nodeID,
         s("node"),
         s("20-alpine"),
         utc("2024-03-01T10:46:40"),
         1'000'000'000,
         991'800'000,
         0,
         {}},
        {danglingID,
         s("<none>"),
         s("<none>"),
         utc("2023-11-14T22:13:20"),
         1'230'000'000,
         1'227'000'000,
         0,
         {}},
        {legacyUntaggedID, s("<none>"), s("<none>"), utc("2023-07-22T04:26:40"), 0, 0, 0, {}},
        // "N/A" unique size: nothing promised.
        {apiID,
         s("registry.example.com/acme/api"),
         s("1.4.2"),
         utc("2024-06-04T11:20:00"),
         87'700'000,
         0,
         2,
         {}},
    };
    snapshot.containers = {
        {s("4f2c1a9e8b7d6c5a4f3e2d1c0b9a8f7e6d5c4b3a2f1e0d9c8b7a6f5e4d3c2b1a"), s("shop-db-1"),
         s("postgres:16"), s("running"), s("Up 3 hours"), 63, utc("2024-06-03T16:10:00"),
         s("shop")},
        {s("a1b2c3d4e5f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f90"),
         s("api-test,other/link"), apiID, s("exited"), s("Exited (137) 2 days ago"), 1'230'000,
         utc("2024-06-05T15:06:40"), std::nullopt},
    };
    snapshot.volumes = {
        {s("shop_pgdata"), 48'210'000, 1, false, s("shop")},
        {s("0f5e9c3b2a1d4e6f8a7b9c0d1e2f3a4b5c6d7e8f9a0b1c2d3e4f5a6b7c8d9e0f"), 0, 0, true,
         std::nullopt},
        // "-1" links and "-1B": no usage data, counted as none.
        {s("empty-labels"), 0, 0, false, std::nullopt},
    };
    // 12.5MB + 734MB never or no longer in use, 4.1kB in use.
    snapshot.buildCache = {3, 746'504'100, 746'500'000, utc("2024-06-04T12:00:01")};
    return snapshot;
}

void expectSameReport(const DockerSnapshot& actual, const DockerSnapshot& expected) {
    ASSERT_EQ(actual.images.size(), expected.images.size());
    for (qsizetype i = 0; i < expected.images.size(); ++i)
        EXPECT_EQ(actual.images[i], expected.images[i]) << "image " << i;
    ASSERT_EQ(actual.containers.size(), expected.containers.size());
    for (qsizetype i = 0; i < expected.containers.size(); ++i)
        EXPECT_EQ(actual.containers[i], expected.containers[i]) << "container " << i;
    ASSERT_EQ(actual.volumes.size(), expected.volumes.size());
    for (qsizetype i = 0; i < expected.volumes.size(); ++i)
        EXPECT_EQ(actual.volumes[i], expected.volumes[i]) << "volume " << i;
    EXPECT_EQ(actual.buildCache, expected.buildCache);
    EXPECT_EQ(actual.imageTotalBytes, expected.imageTotalBytes);
}

QByteArray reversedLines(const QByteArray& text) {
    QList<QByteArray> lines = text.trimmed().split('\n');
    std::reverse(lines.begin(), lines.end());
    return lines.join('\n') + '\n';
}

} // namespace

TEST(DockerParsing, SizeTextsInDecimalUnitsIncludingExponentForm) {
    struct Case {
        const char* text;
        std::optional<qint64> bytes;
    };
    const Case cases[] = {
        {"0B", 0},
        {"63B", 63},
        {"1.5kB", 1500},
        {"4.096KB", 4096},
        {".5GB", 500'000'000},
        {"12.MB", 12'000'000},
        {"453MB", 453'000'000},
        {"1.23GB", 1'230'000'000},
        {"746.5MB", 746'500'000},
        {"1000MB", 1'000'000'000},
        {"  48.21MB \t", 48'210'000},
        // C's %g switches to an exponent when the rounded value needs a fourth digit.
        {"1e+03MB", 1'000'000'000},
        {"2.5e+02kB", 250'000},
        {"5e-01kB", 500},
        // The text stops at the first space or "(".
        {"0B (virtual 1.2GB)", 0},
        {"2B(virtual 21.5MB)", 2},
        {"1.397GB (75%)", 1'397'000'000},
        {"1.2 GB", std::nullopt},
        {"12", std::nullopt},
        {"-1B", std::nullopt},
        {"N/A", std::nullopt},
        {"", std::nullopt},
        {"1.5mb", std::nullopt},
        {"1.5PB", std::nullopt},
        {"12.5MB*", std::nullopt},
        {"1e+MB", std::nullopt},
        {"1e+999MB", std::nullopt},
        {"9.3e+06TB", std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(DockerService::parseSize(s(c.text)), c.bytes) << c.text;
}

TEST(DockerParsing, DatesReadTheirOffsetAndIgnoreFractionAndZoneName) {
    struct Case {
        const char* text;
        const char* utcTime; // nullptr: no date
    };
    const Case cases[] = {
        {"2024-06-03 18:00:00 +0200 CEST", "2024-06-03T16:00:00"},
        {"2024-06-03 09:00:00 -0700 PDT", "2024-06-03T16:00:00"},
        {"2024-06-03 13:00:00 -0300 -03", "2024-06-03T16:00:00"},
        {"2024-06-03 21:30:00 +0530 IST", "2024-06-03T16:00:00"},
        {"2024-06-01 10:11:12.123456789 +0000 UTC", "2024-06-01T10:11:12"},
        {"2024-06-04 12:00:01.5 +0000 UTC", "2024-06-04T12:00:01"},
        {"  2024-06-03   18:00:00  +0200  CEST ", "2024-06-03T16:00:00"},
        {"2024-06-03 18:00:00 +0200", "2024-06-03T16:00:00"},
        {"2024-01-01 00:30:00 +0100 CET", "2023-12-31T23:30:00"},
        {"", nullptr},
        {"2024-06-03T18:00:00Z", nullptr},
        {"2024-06-03 18:00 +0200 CEST", nullptr},
        {"2024-06-03 18:00:00 +02:00 CEST", nullptr},
        {"2024-02-30 10:00:00 +0000 UTC", nullptr},
        {"2024-06-03 24:00:00 +0000 UTC", nullptr},
        {"2024-06-03 18:00:00 +0275 XYZ", nullptr},
    };
    for (const Case& c : cases) {
        const std::optional<QDateTime> parsed = DockerService::parseDate(s(c.text));
        if (!c.utcTime) {
            EXPECT_FALSE(parsed) << c.text;
            continue;
        }
        ASSERT_TRUE(parsed) << c.text;
        EXPECT_EQ(*parsed, utc(c.utcTime)) << c.text;
        EXPECT_EQ(parsed->timeSpec(), Qt::UTC) << c.text;
    }
}

TEST(DockerParsing, TheCapturedReportsOfCli28And29ReadTheSame) {
    expectSameReport(DockerService::parseReport(test::docker::report28), expectedReport());
    expectSameReport(DockerService::parseReport(test::docker::report29), expectedReport());
    EXPECT_EQ(DockerService::parseReport(test::docker::emptyReport), DockerSnapshot());
}

TEST(DockerParsing, AnythingButTheFourArraysIsAnUnexpectedReport) {
    const QByteArray notReports[] = {
        "",
        "\n",
        "Cannot connect to the Docker daemon",
        "[]",
        R"({"Images":[],"Containers":[],"Volumes":[]})",
        R"({"Images":null,"Containers":[],"Volumes":[],"BuildCache":[]})",
        R"({"Images":["x"],"Containers":[],"Volumes":[],"BuildCache":[]})",
        R"({"Images":[],"Containers":[],"Volumes":[],"BuildCache":[])",
    };
    for (const QByteArray& text : notReports) {
        try {
            DockerService::parseReport(text);
            ADD_FAILURE() << "accepted: " << text.constData();
        } catch (const DockerServiceError& error) {
            EXPECT_EQ(error.kind(), DockerServiceError::Case::commandFailed);
            EXPECT_EQ(error.message(), s("Docker returned an unexpected report."));
        }
    }
}

TEST(DockerParsing, TheImageListingGroupsEveryNameOfAnImageWhateverTheLineOrder) {
    const QStringList postgresNames = {s("postgres:16"), s("postgres:latest")};
    const QStringList apiNames = {s("localhost:5000/api:dev"),
                                  s("registry.example.com/acme/api:1.4.2")};
    for (const QByteArray& listing :
         {test::docker::imageListing, reversedLines(test::docker::imageListing)}) {
        const QHash<QString, QStringList> references = DockerService::parseImageReferences(listing);
        EXPECT_EQ(references.value(postgresID), postgresNames);
        EXPECT_EQ(references.value(apiID), apiNames);
        EXPECT_EQ(references.value(nodeID), QStringList{s("node:20-alpine")});
        // Listed, but with no name to remove it by.
        EXPECT_TRUE(references.contains(danglingID));
        EXPECT_TRUE(references.value(danglingID).isEmpty());
        EXPECT_EQ(references.size(), 5);
    }
    const QHash<QString, QStringList> cli29 =
        DockerService::parseImageReferences(test::docker::imageListing29);
    EXPECT_FALSE(cli29.contains(danglingID));
    EXPECT_EQ(cli29.value(apiID), apiNames);
    EXPECT_TRUE(DockerService::parseImageReferences({}).isEmpty());
    EXPECT_THROW(DockerService::parseImageReferences("not json\n"), DockerServiceError);
}

TEST(DockerParsing, TheImageTotalIsTheImagesLineOfTheShortReport) {
    EXPECT_EQ(DockerService::parseImageTotal(test::docker::totals), 1'850'000'000);
    EXPECT_EQ(DockerService::parseImageTotal(test::docker::emptyTotals), 0);
    EXPECT_EQ(DockerService::parseImageTotal({}), std::nullopt);
    EXPECT_EQ(DockerService::parseImageTotal("garbage\n"), std::nullopt);
    EXPECT_EQ(DockerService::parseImageTotal(R"({"Size":"1GB","Type":"Containers"})"),
              std::nullopt);
}

TEST(DockerParsing, ThePrunedAmountIsTheLastTotalLineOfEitherBuilder) {
    struct Case {
        const char* name;
        QByteArray output;
        std::optional<qint64> bytes;
    };
    const Case cases[] = {
        {"legacy", test::docker::pruneLegacy, 746'500'000},
        {"legacy, nothing", test::docker::pruneLegacyNothing, 0},
        {"buildx", test::docker::pruneBuildx, 746'500'000},
        {"buildx, nothing", "Total:\t0B\n", 0},
        {"two totals", "Total: 1MB\nTotal reclaimed space: 2MB\n", 2'000'000},
        {"total in a table row", "Total reclaimed space: 2MB\n  Total: 9GB\n", 2'000'000},
        {"no total", "Deleted build cache objects:\nabc\n", std::nullopt},
        {"unreadable amount", "Total reclaimed space: lots\n", std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(DockerService::parsePrunedBytes(c.output), c.bytes) << c.name;
}

TEST(DockerParsing, RunningContainersAndItemsInUseSayWhyTheyStay) {
    DockerContainer container;
    for (const char* state : {"running", "restarting"}) {
        container.state = s(state);
        EXPECT_EQ(DockerService::removalBlockedReason(container),
                  s("Stop this container before removing it."))
            << state;
    }
    for (const char* state : {"exited", "created", "paused", "dead"}) {
        container.state = s(state);
        EXPECT_EQ(DockerService::removalBlockedReason(container), std::nullopt) << state;
    }
    DockerImage image;
    EXPECT_EQ(DockerService::removalBlockedReason(image), std::nullopt);
    image.containerCount = 1;
    EXPECT_EQ(DockerService::removalBlockedReason(image),
              s("A container uses this image. Remove the container first."));
    DockerVolume volume;
    EXPECT_EQ(DockerService::removalBlockedReason(volume), std::nullopt);
    volume.containerCount = 3;
    EXPECT_EQ(DockerService::removalBlockedReason(volume),
              s("A container uses this volume. Remove the container first."));
}
