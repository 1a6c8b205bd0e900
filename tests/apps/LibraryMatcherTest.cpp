#include "apps/LibraryMatcher.h"

#include "AppFixtures.h"

#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::s;
using Kind = AppDataItem::Kind;

namespace {

class LibraryMatcherTest : public ::testing::Test {
protected:
    QString root = test::makeTempDir(s("library"));

    QString file(const QString& relative) {
        const QString path = root + QLatin1Char('/') + relative;
        test::writeFile(path, "x");
        return path;
    }
    QString folder(const QString& relative) { return QFileInfo(file(relative + s("/x"))).path(); }
    LibraryListing listing() const { return LibraryListing::read(root); }
};

TEST_F(LibraryMatcherTest, EachKindMatchesOnlyItsExactNames) {
    const QString id = s("com.example.notely");
    const QList<DataMatch> expected{
        {Kind::applicationSupport, folder(s("Application Support/com.example.notely")), true},
        {Kind::caches, folder(s("Caches/com.example.Notely")), true},
        {Kind::containers, folder(s("Containers/com.example.notely")), true},
        {Kind::groupContainers, folder(s("Group Containers/ABCDE12345.com.example.notely")), true},
        {Kind::groupContainers, folder(s("Group Containers/group.com.example.notely")), true},
        {Kind::preferences,
         file(
             s("Preferences/ByHost/com.example.notely.27074F01-7A93-5859-BAF3-0EB138E001D3.plist")),
         true},
        {Kind::preferences, file(s("Preferences/ByHost/com.example.notely.001122334455.plist")),
         true},
        {Kind::preferences, file(s("Preferences/com.example.notely.plist")), true},
        {Kind::savedState, folder(s("Saved Application State/com.example.notely.savedState")),
         true},
        {Kind::logs, folder(s("Logs/com.example.notely")), true},
        {Kind::httpStorages, folder(s("HTTPStorages/com.example.notely")), true},
        {Kind::httpStorages, file(s("HTTPStorages/com.example.notely.binarycookies")), true},
        {Kind::webKit, folder(s("WebKit/com.example.notely")), true},
        {Kind::launchAgents, file(s("LaunchAgents/com.example.notely.plist")), true},
    };
    // Names that only start with the identifier, or extend it, belong to someone else.
    for (const char* other :
         {"Caches/com.example.notelyx", "Caches/com.example.notely.helper",
          "Preferences/com.example.notelyx.plist", "Preferences/com.example.notely.plist.tmp",
          "Preferences/ByHost/com.example.notelyx.27074F01-7A93-5859-BAF3-0EB138E001D3.plist",
          "Preferences/ByHost/com.example.notely.helper.27074F01-7A93-5859-BAF3-0EB138E001D3.plist",
          "Preferences/ByHost/com.example.notely.helper.plist",
          "Group Containers/ABCDE12345.com.example.notelyx", "Group Containers/group.com.example",
          "Group Containers/abc.com.example.notely", "LaunchAgents/com.example.notely.agent.plist",
          "Saved Application State/com.example.notelyx.savedState"})
        file(s(other));

    const QList<DataMatch> matches = LibraryMatcher::matchesFor(listing(), id, s("Zz"));
    QList<DataMatch> sorted = expected;
    std::sort(sorted.begin(), sorted.end(), [](const DataMatch& a, const DataMatch& b) {
        return a.kind != b.kind ? a.kind < b.kind : a.path < b.path;
    });
    EXPECT_EQ(matches, sorted);

    // A known team narrows team-prefixed group containers to the app's own.
    const QList<DataMatch> withTeam =
        LibraryMatcher::matchesFor(listing(), id, s("Zz"), s("OTHERTEAM1"));
    EXPECT_EQ(std::count_if(withTeam.begin(), withTeam.end(),
                            [](const DataMatch& m) { return m.kind == Kind::groupContainers; }),
              1);
}

TEST_F(LibraryMatcherTest, FoldersNamedLikeTheAppAreOnlyPossiblyRelated) {
    const QString support = folder(s("Application Support/Visual Studio Code"));
    const QString caches = folder(s("Caches/VisualStudioCode"));
    const QString logs = folder(s("Logs/visual-studio-code"));
    // Only the kinds where apps use their names; a short name is too common to mean anything.
    folder(s("Containers/Visual Studio Code"));
    folder(s("Application Support/Go"));
    const QString exact = folder(s("Caches/com.microsoft.VSCode"));

    const QList<DataMatch> matches =
        LibraryMatcher::matchesFor(listing(), s("com.microsoft.VSCode"), s("Visual Studio Code"));
    EXPECT_EQ(matches, (QList<DataMatch>{{Kind::applicationSupport, support, false},
                                         {Kind::caches, caches, false},
                                         {Kind::caches, exact, true},
                                         {Kind::logs, logs, false}}));
    // Without an identifier only the name can match, and never exactly.
    const QList<DataMatch> nameless = LibraryMatcher::matchesFor(listing(), std::nullopt, s("Go"));
    EXPECT_TRUE(nameless.isEmpty());
    EXPECT_EQ(LibraryMatcher::matchesFor(listing(), std::nullopt, s("Visual Studio Code")).size(),
              3);
}

TEST_F(LibraryMatcherTest, LeftoversAreGroupedPerIdentifierAndKeepSystemAndSharedDataOut) {
    const QList<DataMatch> gone{
        {Kind::applicationSupport, folder(s("Application Support/com.example.gone")), true},
        {Kind::preferences, file(s("Preferences/ByHost/com.example.gone.001122334455.plist")),
         true},
        {Kind::preferences, file(s("Preferences/com.example.Gone.plist")), true},
        {Kind::savedState, folder(s("Saved Application State/com.example.gone.savedState")), true},
        {Kind::httpStorages, folder(s("HTTPStorages/com.example.gone")), true},
        {Kind::httpStorages, file(s("HTTPStorages/com.example.gone.binarycookies")), true},
    };
    const QString otherGroup = folder(s("Group Containers/group.org.other.tool"));
    // Installed (any case), its helper, system, vendor-shared (caches, launch agents, group
    // containers) and non-identifier names stay out.
    for (const char* kept :
         {"Caches/com.example.notely", "Caches/com.example.gone",
          "LaunchAgents/com.example.updater.agent.plist", "Caches/COM.EXAMPLE.NOTELY.helper",
          "Preferences/com.apple.finder.plist", "Caches/com.apple.Safari",
          "Group Containers/group.com.apple.notes", "Group Containers/systemgroup.com.apple.x.y",
          "Group Containers/ABCDE12345.com.example.shared", "Group Containers/UBF8T346G9.Office",
          "Application Support/org.freedesktop.Platform", "Application Support/Slack",
          "Logs/DiagnosticReports", "Preferences/loginwindow.plist", "Caches/com.example"})
        folder(s(kept));

    const QList<LibraryMatcher::Leftover> leftovers = LibraryMatcher::leftovers(
        listing(), {{{s("com.example.Notely"), s("/Applications/Notely.app")}}, {}});
    ASSERT_EQ(leftovers.size(), 2);
    EXPECT_EQ(leftovers[0].identifier, s("com.example.gone"));
    EXPECT_EQ(leftovers[0].matches, gone);
    EXPECT_EQ(leftovers[1],
              (LibraryMatcher::Leftover{
                  s("org.other.tool"), {{Kind::groupContainers, otherGroup, true}}, std::nullopt}));
}

TEST_F(LibraryMatcherTest, IdentifierOfReadsEachKindsNamingAndRejectsPlainNames) {
    EXPECT_EQ(LibraryMatcher::identifierOf(Kind::preferences, s("com.a.b.plist")), s("com.a.b"));
    EXPECT_EQ(
        LibraryMatcher::identifierOf(Kind::preferences, s("com.a.b.27074F01-7A93.plist"), true),
        s("com.a.b"));
    EXPECT_EQ(LibraryMatcher::identifierOf(Kind::preferences, s("com.a.b.plist"), true),
              std::nullopt);
    EXPECT_EQ(LibraryMatcher::identifierOf(Kind::savedState, s("com.a.b.savedState")),
              s("com.a.b"));
    EXPECT_EQ(LibraryMatcher::identifierOf(Kind::savedState, s("com.a.b")), std::nullopt);
    EXPECT_EQ(LibraryMatcher::identifierOf(Kind::groupContainers, s("group.com.a.b")),
              s("com.a.b"));
    EXPECT_EQ(LibraryMatcher::identifierOf(Kind::groupContainers, s("ABCDE12345.com.a.b")),
              s("com.a.b"));
    EXPECT_EQ(LibraryMatcher::identifierOf(Kind::groupContainers, s("ABCDE12345.com.apple.b")),
              std::nullopt);
    EXPECT_EQ(LibraryMatcher::identifierOf(Kind::caches, s("Google")), std::nullopt);
    EXPECT_EQ(LibraryMatcher::identifierOf(Kind::caches, s("com.google")), std::nullopt);
    EXPECT_EQ(LibraryMatcher::identifierOf(Kind::caches, s("My App 1.2.3")), std::nullopt);
    EXPECT_TRUE(LibraryMatcher::isSystemIdentifier(s("COM.APPLE.Safari")));
    EXPECT_FALSE(LibraryMatcher::isSystemIdentifier(s("com.applesauce.x")));
}

} // namespace
