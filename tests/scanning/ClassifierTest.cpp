#include "scanning/Classifier.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

QString s(const char* text) {
    return QString::fromUtf8(text);
}

Project projectAt(const QString& folder, std::optional<QString> repo = std::nullopt) {
    return Project{QUuid::createUuid(), folder.section(u'/', -1), folder, {}, repo, std::nullopt};
}

// name -> (kind, confidence), in the order the classifier returned them.
QList<std::tuple<QString, ArtifactKind, CleanConfidence>>
summary(const QList<CleanableItem>& items) {
    QList<std::tuple<QString, ArtifactKind, CleanConfidence>> rows;
    for (const CleanableItem& item : items)
        rows.append({item.name, item.kind, item.confidence});
    return rows;
}

} // namespace

TEST(Classifier, ConfidenceDependsOnTierGitAndSiblings) {
    const QString root = test::makeTempDir();
    for (const char* folder : {"node_modules", "build", "dist", "Pods", "target", "generated",
                               "src", "App.xcodeproj", ".git", "package.json", "ios/Pods"})
        QDir().mkpath(root + u'/' + s(folder));
    test::writeFile(root + s("/Cargo.toml"));
    test::writeFile(root + s("/ios/Podfile"));
    QStringList candidates;
    for (const char* folder : {"node_modules", "build", "dist", "Pods", "target", "generated",
                               "src", "App.xcodeproj", ".git", "package.json", "ios/Pods"})
        candidates.append(root + u'/' + s(folder));
    // Everything is ignored except "dist" and "src": markers stay out even then.
    QSet<QString> ignored(candidates.cbegin(), candidates.cend());
    ignored.remove(root + s("/dist"));
    ignored.remove(root + s("/src"));
    const Project project = projectAt(root, root);

    const QList<CleanableItem> items = Classifier::classify(project, candidates, ignored, true);
    using K = ArtifactKind;
    using C = CleanConfidence;
    ASSERT_EQ(items.size(), 7);
    EXPECT_EQ(summary(items),
              (QList<std::tuple<QString, K, C>>{{s("build"), K::buildOutput, C::safe},
                                                {s("dist"), K::buildOutput, C::caution},
                                                {s("generated"), K::unknown, C::ignoredButUnknown},
                                                {s("node_modules"), K::dependencies, C::safe},
                                                {s("Pods"), K::unknown, C::ignoredButUnknown},
                                                {s("Pods"), K::dependencies, C::safe},
                                                {s("target"), K::buildOutput, C::safe}}));
    for (const CleanableItem& item : items)
        EXPECT_EQ(item.projectID, project.id);
    EXPECT_EQ(items[4].url, root + s("/Pods"));
    EXPECT_EQ(items[5].url, root + s("/ios/Pods"));

    // Without git a generic name is never more than "caution".
    const QList<CleanableItem> noRepo =
        Classifier::classify(projectAt(root), {root + s("/build")}, {root + s("/build")}, false);
    ASSERT_EQ(noRepo.size(), 1);
    EXPECT_EQ(noRepo[0].confidence, C::caution);
    EXPECT_TRUE(Classifier::classify(projectAt(s("/nowhere")), {}, {}, true).isEmpty());
}

TEST(Classifier, SortsByNameIgnoringCaseAndKeepsOrderOfEqualNames) {
    const QString root = test::makeTempDir();
    QStringList candidates;
    for (const char* path : {"b/build", "beta", "a/build", "Alpha", "alpha", "Gamma"}) {
        QDir().mkpath(root + u'/' + s(path));
        candidates.append(root + u'/' + s(path));
    }
    const QSet<QString> ignored(candidates.cbegin(), candidates.cend());
    QStringList order;
    for (const CleanableItem& item :
         Classifier::classify(projectAt(root), candidates, ignored, true))
        order.append(item.url.mid(root.size() + 1));
    EXPECT_EQ(order, (QStringList{s("Alpha"), s("alpha"), s("beta"), s("b/build"), s("a/build"),
                                  s("Gamma")}));
}
