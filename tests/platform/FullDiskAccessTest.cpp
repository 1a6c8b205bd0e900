#include "platform/FullDiskAccess.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace corvane;
using test::s;

TEST(FullDiskAccessTest, AGuardedItemCountsAsReadOnlyOnceItsContentWasRead) {
    const QString library = test::makeTempDir(s("library"));
    QDir(library).mkpath(s("Mail/V10"));
    QDir(library).mkpath(s("Safari"));
    test::writeFile(library + s("/TCC.db"), "SQLite format 3");
    test::writeFile(library + s("/empty.db"), "");
    QFile::link(library + s("/Mail"), library + s("/MailLink"));

    EXPECT_EQ(readGuarded(library + s("/Mail")), GuardedRead::Read);
    EXPECT_EQ(readGuarded(library + s("/Safari")), GuardedRead::Read);
    EXPECT_EQ(readGuarded(library + s("/TCC.db")), GuardedRead::Read);
    EXPECT_EQ(readGuarded(library + s("/empty.db")), GuardedRead::Read);
    // Neither a missing item nor a link (which the privacy layer does not guard) tells anything.
    EXPECT_EQ(readGuarded(library + s("/Messages")), GuardedRead::Unknown);
    EXPECT_EQ(readGuarded(library + s("/MailLink")), GuardedRead::Unknown);

    // A plain permission problem (EACCES) is not the privacy layer's refusal. Root reads anyway.
    if (::geteuid() != 0) {
        QFile::setPermissions(library + s("/TCC.db"), {});
        QFile::setPermissions(library + s("/Safari"), QFile::ExeOwner);
        EXPECT_EQ(readGuarded(library + s("/TCC.db")), GuardedRead::Unknown);
        EXPECT_EQ(readGuarded(library + s("/Safari")), GuardedRead::Unknown);
        QFile::setPermissions(library + s("/Safari"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
}

TEST(FullDiskAccessTest, TheFirstItemThatTellsDecides) {
    using enum GuardedRead;
    EXPECT_EQ(fullDiskAccessFrom({Unknown, Refused, Read}), FullDiskAccess::Missing);
    EXPECT_EQ(fullDiskAccessFrom({Unknown, Read, Refused}), FullDiskAccess::Granted);
    // Nothing guarded on this account: nothing is hidden either.
    EXPECT_EQ(fullDiskAccessFrom({Unknown, Unknown, Unknown}), FullDiskAccess::Granted);
}
