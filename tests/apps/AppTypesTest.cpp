#include "apps/AppTypes.h"

#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace corvane;
using test::s;

TEST(AppTypes, EachKindHasItsLibraryFolderAndTheLabelTheUserSees) {
    EXPECT_EQ(libraryFolder(AppDataItem::Kind::savedState), s("Saved Application State"));
    EXPECT_EQ(label(AppDataItem::Kind::savedState), s("Saved window state"));
    EXPECT_EQ(libraryFolder(AppDataItem::Kind::httpStorages), s("HTTPStorages"));
    EXPECT_EQ(label(AppDataItem::Kind::containers), s("Container"));
    EXPECT_EQ(allAppDataKinds().size(), 10);
    InstalledApp app;
    app.data = {{AppDataItem::Kind::caches, s("/a"), 5, true},
                {AppDataItem::Kind::logs, s("/b"), 7, true}};
    EXPECT_EQ(app.dataBytes(), 12);
}
