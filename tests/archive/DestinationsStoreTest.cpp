#include "archive/DestinationsStore.h"

#include "support/TestEnvironment.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// The settings outlive a test; each test starts and ends without the key.
class DestinationsStoreTest : public ::testing::Test {
protected:
    void SetUp() override { QSettings().remove(DestinationsStore::settingsKey); }
    void TearDown() override { QSettings().remove(DestinationsStore::settingsKey); }

    static void store(const QByteArray& text) {
        QSettings().setValue(DestinationsStore::settingsKey, QString::fromUtf8(text));
    }
    static QJsonArray stored() {
        const QString text = QSettings().value(DestinationsStore::settingsKey).toString();
        return QJsonDocument::fromJson(text.toUtf8()).array();
    }
};

} // namespace

TEST_F(DestinationsStoreTest, AddedDestinationsHaveDefaultsAndSurviveARestart) {
    QList<SavedDestination> saved;
    {
        DestinationsStore first;
        QSignalSpy changed(&first, &DestinationsStore::destinationsChanged);
        const QUuid smbID = first.add(SavedDestination::Kind::smb);
        const QUuid sshID = first.add(SavedDestination::Kind::ssh);
        EXPECT_NE(smbID, sshID);
        EXPECT_EQ(first.destinations().at(1),
                  (SavedDestination{
                      sshID, SavedDestination::Kind::ssh, {}, {}, {}, {}, s("~/CorvaneArchive")}));

        SavedDestination nas = first.destinations().at(0);
        nas.name = s("NAS");
        nas.smbURL = s("smb://nas.local/archive");
        first.update(nas);
        EXPECT_EQ(changed.count(), 3);
        saved = first.destinations();
    }
    EXPECT_EQ(DestinationsStore().destinations(), saved);
    EXPECT_EQ(saved.at(0).smbURL, s("smb://nas.local/archive"));
}

TEST_F(DestinationsStoreTest, StoredAsJsonTextWithExactlyTheFieldNames) {
    DestinationsStore store;
    const QUuid id = store.add(SavedDestination::Kind::ssh);
    store.update({id, SavedDestination::Kind::ssh, s("Box"), {}, s("me"), s("box.lan"), s("/srv")});

    const QJsonArray array = stored();
    ASSERT_EQ(array.size(), 1);
    const QJsonObject object = array.at(0).toObject();
    EXPECT_EQ(object.keys(), (QStringList{s("host"), s("id"), s("kind"), s("name"), s("remotePath"),
                                          s("smbURL"), s("user")}));
    EXPECT_EQ(object.value(s("id")).toString(), id.toString(QUuid::WithoutBraces).toUpper());
    EXPECT_EQ(object.value(s("kind")).toString(), s("ssh"));
    EXPECT_EQ(object.value(s("host")).toString(), s("box.lan"));
    EXPECT_EQ(object.value(s("remotePath")).toString(), s("/srv"));
}

TEST_F(DestinationsStoreTest, RemoveAndUpdateChangeOnlyTheGivenDestination) {
    DestinationsStore store;
    const QUuid keep = store.add(SavedDestination::Kind::smb);
    const QUuid drop = store.add(SavedDestination::Kind::ssh);
    QSignalSpy changed(&store, &DestinationsStore::destinationsChanged);

    store.remove(drop);
    EXPECT_EQ(changed.count(), 1);
    // An unknown id changes nothing and is not saved.
    store.remove(drop);
    store.update({QUuid::createUuid(), SavedDestination::Kind::smb, s("Ghost"), {}, {}, {}, {}});
    EXPECT_EQ(changed.count(), 1);

    ASSERT_EQ(stored().size(), 1);
    EXPECT_EQ(QUuid(stored().at(0).toObject().value(s("id")).toString()), keep);
    EXPECT_EQ(DestinationsStore().destinations().size(), 1);
}

TEST_F(DestinationsStoreTest, NamedFindsTheFirstDestinationWithThatName) {
    DestinationsStore store;
    for (const char* name : {"Office", "NAS", "NAS"}) {
        store.add(SavedDestination::Kind::smb);
        SavedDestination destination = store.destinations().last();
        destination.name = s(name);
        store.update(destination);
    }
    ASSERT_TRUE(store.named(s("NAS")));
    EXPECT_EQ(store.named(s("NAS"))->id, store.destinations().at(1).id);
    EXPECT_FALSE(store.named(s("nas")));
}

TEST_F(DestinationsStoreTest, AbsentValuesAreEmptyAndUnreadableOnesAreReportedNeverDropped) {
    EXPECT_TRUE(DestinationsStore().destinations().isEmpty());
    EXPECT_FALSE(DestinationsStore().problem());
    const QByteArray valid = R"({"id":"8e0f2d8a-1c3b-4b7e-9a55-0d5b2c1e7f10","kind":"smb",)"
                             R"("name":"NAS","smbURL":"smb://nas/a","user":"","host":"",)"
                             R"("remotePath":"~/CorvaneArchive"})";
    // Lower-case ids, as other writers produce them, are read.
    store("[" + valid + "]");
    ASSERT_EQ(DestinationsStore().destinations().size(), 1);
    EXPECT_EQ(DestinationsStore().destinations().at(0).id,
              QUuid(s("{8E0F2D8A-1C3B-4B7E-9A55-0D5B2C1E7F10}")));
    EXPECT_FALSE(DestinationsStore().problem());

    for (const QByteArray& garbage :
         {QByteArray("not json"), QByteArray("{}"), QByteArray("[1]"),
          QByteArray(valid).replace("\"smb\"", "\"ftp\"").prepend('[').append(']')}) {
        store(garbage);
        EXPECT_TRUE(DestinationsStore().destinations().isEmpty()) << garbage.constData();
        EXPECT_TRUE(DestinationsStore().problem()) << garbage.constData();
    }
    // One destination this version cannot read never hides the others, and stays stored.
    store("[" + valid + R"(,{"id":"x","kind":"smb"}])");
    DestinationsStore partly;
    EXPECT_EQ(partly.destinations().size(), 1);
    EXPECT_TRUE(partly.problem());
    partly.add(SavedDestination::Kind::ssh);
    EXPECT_EQ(stored().size(), 3);
}

// The app's settings page and the command line each hold a store; neither loses the other's.
TEST_F(DestinationsStoreTest, TwoStoresChangingTheListKeepEachOthersDestinations) {
    DestinationsStore app;
    DestinationsStore commandLine;
    const QUuid first = app.add(SavedDestination::Kind::smb);
    const QUuid second = commandLine.add(SavedDestination::Kind::ssh);
    app.remove(QUuid::createUuid());
    SavedDestination renamed = app.destinations().first();
    renamed.name = s("NAS");
    app.update(renamed);

    const QList<SavedDestination> kept = DestinationsStore().destinations();
    ASSERT_EQ(kept.size(), 2);
    EXPECT_EQ(kept.at(0).id, first);
    EXPECT_EQ(kept.at(0).name, s("NAS"));
    EXPECT_EQ(kept.at(1).id, second);
}
