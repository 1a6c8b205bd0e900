#include "devtools/DockerLookup.h"

#include "devtools/DockerFixtures.h"
#include "devtools/DockerService.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

const QString postgresID =
    s("sha256:5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c");
const QString nodeID = s("sha256:9c7a54a9a43cca047013b82af109fe963fde787f63f9e016fdc3384500c2823d");
const QString danglingID =
    s("sha256:0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d");
const QString apiID = s("sha256:4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a");
const QString stoppedContainer =
    s("a1b2c3d4e5f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f90");

// The captured report with the names the image listing gives, as a load puts them together.
DockerSnapshot listed() {
    DockerSnapshot snapshot = DockerService::parseReport(test::docker::report28);
    const QHash<QString, QStringList> names =
        DockerService::parseImageReferences(test::docker::imageListing);
    for (DockerImage& image : snapshot.images)
        image.references = names.value(image.id);
    return snapshot;
}

} // namespace

TEST(DockerLookup, AnImageIsFoundByWhatTheListingShows) {
    const DockerSnapshot snapshot = listed();
    const struct {
        const char* typed;
        QString id;
    } cases[] = {
        {"postgres:latest", postgresID},   // a name the report itself does not show
        {"postgres", postgresID},          // no tag means ":latest"
        {"localhost:5000/api:dev", apiID}, // a registry port is no tag
        {"node:20-alpine", nodeID},
        {"0e2f4a6c8e0b", danglingID}, // the 12 characters the listing shows
        {"9c7a", nodeID},             // a prefix only it has
        {"sha256:9c7a54a9a43c", nodeID},
        {"9C7A54A9A43C", nodeID},
        {"sha256:0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d", danglingID},
    };
    for (const auto& each : cases) {
        const DockerMatch match = DockerLookup::image(snapshot, s(each.typed));
        EXPECT_EQ(match.id, each.id) << each.typed << ": " << match.problem.toStdString();
    }

    EXPECT_EQ(DockerLookup::image(snapshot, s("node:18")).problem,
              s("No image is named node:18; `corvane docker` lists them."));
    // "<none>" names no image, however many untagged ones there are.
    EXPECT_FALSE(DockerLookup::image(snapshot, s("<none>")).id.has_value());
    EXPECT_FALSE(DockerLookup::image(snapshot, s(":")).id.has_value());

    DockerSnapshot twins = snapshot;
    DockerImage twin;
    twin.id = s("sha256:9c7a00ff") + QString(56, u'0');
    twins.images.append(twin);
    const DockerMatch ambiguous = DockerLookup::image(twins, s("9c7a"));
    EXPECT_FALSE(ambiguous.id.has_value());
    EXPECT_EQ(ambiguous.problem,
              s("9c7a begins the ids of several images (9c7a54a9a43c, 9c7a00ff0000); give more "
                "of it."));
}

TEST(DockerLookup, ContainersByNameOrIdAndVolumesByName) {
    const DockerSnapshot snapshot = listed();
    EXPECT_EQ(DockerLookup::container(snapshot, s("api-test")).id, stoppedContainer);
    EXPECT_EQ(DockerLookup::container(snapshot, s("other/link")).id, stoppedContainer);
    EXPECT_EQ(DockerLookup::container(snapshot, s("a1b2c3d4e5f6")).id, stoppedContainer);
    EXPECT_FALSE(DockerLookup::container(snapshot, s("api")).id.has_value());
    EXPECT_EQ(DockerLookup::volume(snapshot, s("shop_pgdata")).id, s("shop_pgdata"));
    EXPECT_FALSE(DockerLookup::volume(snapshot, s("shop")).id.has_value());
}
