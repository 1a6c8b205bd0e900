#include "platform/UpdateCheck.h"

#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QSettings>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

constexpr int patience = 20000;

QByteArray item(const char* version, const char* link = "https://corvane.app/download/") {
    return QByteArray("<item><title>Corvane Clean ") + version + "</title><version>" + version +
           "</version><link>" + link + "</link></item>";
}

QByteArray feed(const QByteArray& items) {
    return "<?xml version=\"1.0\"?><rss version=\"2.0\"><channel><title>Corvane Clean</title>" +
           items + "</channel></rss>";
}

// A web server on 127.0.0.1 that answers every GET with one canned response, or never answers.
class FeedServer : public QObject {
public:
    FeedServer() {
        EXPECT_TRUE(m_server.listen(QHostAddress::LocalHost, 0));
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection())
                serve(socket);
        });
    }

    void answer(int status, const QByteArray& body) {
        m_status = status;
        m_body = body;
        m_silent = false;
    }
    void neverAnswer() { m_silent = true; }

    QUrl url() const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1/appcast.xml").arg(m_server.serverPort()));
    }
    int requests = 0;

private:
    void serve(QTcpSocket* socket) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
            QByteArray& request = m_pending[socket];
            request += socket->readAll();
            if (!request.contains("\r\n\r\n"))
                return;
            ++requests;
            if (m_silent)
                return;
            socket->write("HTTP/1.1 " + QByteArray::number(m_status) +
                          " Canned\r\nContent-Type: application/rss+xml\r\nContent-Length: " +
                          QByteArray::number(m_body.size()) + "\r\nConnection: close\r\n\r\n" +
                          m_body);
            socket->disconnectFromHost();
        });
    }

    QTcpServer m_server;
    QHash<QTcpSocket*, QByteArray> m_pending;
    int m_status = 200;
    QByteArray m_body;
    bool m_silent = false;
};

class UpdateCheckerTest : public testing::Test {
protected:
    void SetUp() override {
        QSettings settings;
        settings.remove(QLatin1String(UpdateSettings::lastCheckKey));
        settings.remove(QLatin1String(UpdateSettings::checksForUpdatesKey));
        checker.setFeedUrl(server.url());
    }

    // Runs the daily check at `now`; false when none started.
    bool dailyCheck(const QDateTime& now) {
        QSignalSpy finished(&checker, &UpdateChecker::finished);
        if (!checker.checkIfDue(now))
            return false;
        EXPECT_TRUE(finished.wait(patience));
        return true;
    }

    void checkNow() {
        QSignalSpy finished(&checker, &UpdateChecker::finished);
        checker.checkNow();
        ASSERT_TRUE(finished.wait(patience));
    }

    const QString current = QCoreApplication::applicationVersion();
    const QDateTime monday = QDateTime(QDate(2025, 3, 3), QTime(9, 0), Qt::UTC);
    FeedServer server;
    UpdateChecker checker;
    QSignalSpy available{&checker, &UpdateChecker::updateAvailable};
    QSignalSpy upToDate{&checker, &UpdateChecker::upToDate};
    QSignalSpy failed{&checker, &UpdateChecker::checkFailed};
};

} // namespace

TEST(DottedVersions, CompareNumberByNumberWithMissingPartsAsZero) {
    EXPECT_GT(compareDottedVersions(s("1.10"), s("1.9")), 0);
    EXPECT_LT(compareDottedVersions(s("1.2.3"), s("1.3")), 0);
    EXPECT_LT(compareDottedVersions(s("0.9.9"), s("1")), 0);
    EXPECT_EQ(compareDottedVersions(s("1.2"), s("1.2.0.0")), 0);
    EXPECT_GT(compareDottedVersions(s("1.2.0.1"), s("1.2")), 0);
    EXPECT_EQ(compareDottedVersions(s("01.002"), s("1.2")), 0);
    EXPECT_GT(compareDottedVersions(s("2.100000000000000000000"), s("2.99999999999999999999")), 0);
    EXPECT_EQ(compareDottedVersions(s("0.0"), s("0")), 0);
}

TEST(DottedVersions, OnlyDigitsBetweenDotsAreVersions) {
    EXPECT_TRUE(isDottedVersion(s("1")));
    EXPECT_TRUE(isDottedVersion(s("10.0.12")));
    for (const char* bad : {"", "v1.2", "1..2", "1.2.", ".1", "1.2b", "1.2 ", "١.٢"})
        EXPECT_FALSE(isDottedVersion(s(bad))) << bad;
}

TEST(Appcast, ReadsEveryUsableItemAndSkipsTheOthers) {
    const Appcast appcast = readAppcast(
        feed(item("1.2.0") + "<item><title>No version</title><link>https://x.y/</link></item>" +
             item("1.3beta") + item("9.0", "javascript:alert(1)") +
             item("9.1", "file:///etc/passwd") + item("1.10", "http://corvane.app/1.10/")));
    EXPECT_EQ(appcast.error, QString());
    ASSERT_EQ(appcast.offers.size(), 2);
    EXPECT_EQ(appcast.offers[0].version, s("1.2.0"));
    EXPECT_EQ(appcast.offers[0].title, s("Corvane Clean 1.2.0"));
    EXPECT_EQ(appcast.offers[0].downloadPage, QUrl(s("https://corvane.app/download/")));
    EXPECT_EQ(appcast.offers[1].downloadPage, QUrl(s("http://corvane.app/1.10/")));
}

TEST(Appcast, BrokenFeedsAreErrorsWithoutOffers) {
    for (const QByteArray& broken :
         {QByteArray(), QByteArray("<html><body>Moved</body></html>"),
          feed(item("1.0")).chopped(20), feed({}), feed(item("1.0", "not a url"))}) {
        const Appcast appcast = readAppcast(broken);
        EXPECT_FALSE(appcast.error.isEmpty()) << broken.constData();
        EXPECT_TRUE(appcast.offers.isEmpty()) << broken.constData();
    }
}

TEST(Appcast, TheNewestOfferIsChosenOnlyWhenNewerThanTheRunningVersion) {
    const QList<UpdateOffer> offers =
        readAppcast(feed(item("1.9") + item("1.10") + item("1.2"))).offers;
    EXPECT_EQ(newerOffer(offers, s("1.4"))->version, s("1.10"));
    EXPECT_FALSE(newerOffer(offers, s("1.10.0")).has_value());
    EXPECT_FALSE(newerOffer(offers, s("2")).has_value());
    EXPECT_FALSE(newerOffer({}, s("1.0")).has_value());
    EXPECT_FALSE(newerOffer(offers, QString()).has_value());
}

TEST(Appcast, TheEnvironmentOverridesTheBuiltInFeed) {
    qunsetenv("CORVANE_APPCAST_URL");
    const QUrl builtIn = appcastUrl();
    EXPECT_TRUE(builtIn.isValid());
    EXPECT_EQ(builtIn.scheme(), s("https"));
    qputenv("CORVANE_APPCAST_URL", "http://127.0.0.1:1/feed.xml");
    EXPECT_EQ(appcastUrl(), QUrl(s("http://127.0.0.1:1/feed.xml")));
    EXPECT_EQ(UpdateChecker().feedUrl(), QUrl(s("http://127.0.0.1:1/feed.xml")));
    qunsetenv("CORVANE_APPCAST_URL");
}

TEST_F(UpdateCheckerTest, ANewerVersionIsOfferedWithItsDownloadPage) {
    server.answer(200, feed(item("0.0.1") + item("999.1", "https://corvane.app/999/")));
    ASSERT_TRUE(dailyCheck(monday));
    ASSERT_EQ(available.size(), 1);
    const auto offer = available[0][0].value<UpdateOffer>();
    EXPECT_EQ(offer.version, s("999.1"));
    EXPECT_EQ(offer.title, s("Corvane Clean 999.1"));
    EXPECT_EQ(offer.downloadPage, QUrl(s("https://corvane.app/999/")));
    EXPECT_EQ(upToDate.size() + failed.size(), 0);
    EXPECT_EQ(UpdateSettings::lastCheck(), monday);
}

TEST_F(UpdateCheckerTest, TheSameVersionIsSilentDailyButReportedWhenAskedFor) {
    server.answer(200, feed(item(current.toUtf8().constData())));
    ASSERT_TRUE(dailyCheck(monday));
    EXPECT_EQ(available.size() + upToDate.size() + failed.size(), 0);

    checkNow();
    EXPECT_EQ(upToDate.size(), 1);
    EXPECT_EQ(available.size() + failed.size(), 0);
    EXPECT_EQ(server.requests, 2);
}

TEST_F(UpdateCheckerTest, ABrokenFeedIsSilentAndRetriedTheNextDayButNotTheSameDay) {
    server.answer(200, "<rss><channel><item><version>9.9</version>");
    ASSERT_TRUE(dailyCheck(monday));
    EXPECT_EQ(available.size() + upToDate.size() + failed.size(), 0);
    EXPECT_EQ(UpdateSettings::lastCheck(), monday);

    EXPECT_FALSE(dailyCheck(monday.addSecs(23 * 3600 + 59 * 60)));
    EXPECT_EQ(server.requests, 1);

    server.answer(200, feed(item("999.0")));
    ASSERT_TRUE(dailyCheck(monday.addDays(1)));
    EXPECT_EQ(server.requests, 2);
    EXPECT_EQ(available.size(), 1);
    EXPECT_EQ(UpdateSettings::lastCheck(), monday.addDays(1));
}

TEST_F(UpdateCheckerTest, FailuresAreReportedOnlyWhenAskedFor) {
    server.answer(404, "Not Found");
    ASSERT_TRUE(dailyCheck(monday));
    EXPECT_EQ(failed.size(), 0);

    checkNow();
    ASSERT_EQ(failed.size(), 1);
    EXPECT_TRUE(failed[0][0].toString().contains(s("404"))) << qPrintable(failed[0][0].toString());

    server.answer(200, "not xml at all");
    checkNow();
    EXPECT_EQ(failed.size(), 2);
    EXPECT_EQ(available.size() + upToDate.size(), 0);
}

TEST_F(UpdateCheckerTest, AFeedThatNeverAnswersTimesOut) {
    server.neverAnswer();
    checker.setTimeout(std::chrono::milliseconds(300));
    checkNow();
    EXPECT_EQ(failed.size(), 1);
    EXPECT_FALSE(checker.isChecking());
}

TEST_F(UpdateCheckerTest, AskingDuringTheDailyCheckJoinsItAndReportsItsOutcome) {
    server.answer(200, feed(item("0.0.1")));
    QSignalSpy finished(&checker, &UpdateChecker::finished);
    ASSERT_TRUE(checker.checkIfDue(monday));
    checker.checkNow();
    EXPECT_FALSE(checker.checkIfDue(monday.addDays(2)));
    ASSERT_TRUE(finished.wait(patience));
    EXPECT_EQ(upToDate.size(), 1);
    EXPECT_EQ(server.requests, 1);
}

TEST_F(UpdateCheckerTest, TurningTheSettingOffStopsTheDailyCheckButNotTheMenuItem) {
    EXPECT_TRUE(UpdateSettings::checksForUpdates());
    UpdateSettings::setChecksForUpdates(false);
    server.answer(200, feed(item("999.0")));
    EXPECT_FALSE(dailyCheck(monday));
    EXPECT_FALSE(dailyCheck(monday.addDays(30)));
    EXPECT_FALSE(UpdateSettings::lastCheck().isValid());
    EXPECT_EQ(server.requests, 0);

    checkNow();
    EXPECT_EQ(available.size(), 1);
    EXPECT_EQ(server.requests, 1);
}

TEST_F(UpdateCheckerTest, ALastCheckInTheFutureDoesNotBlockChecking) {
    QSettings().setValue(QLatin1String(UpdateSettings::lastCheckKey), monday.addYears(3));
    server.answer(200, feed(item("0.0.1")));
    EXPECT_TRUE(dailyCheck(monday));
    EXPECT_EQ(server.requests, 1);
}
