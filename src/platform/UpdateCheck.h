#pragma once

// Tells the user when a newer version of the app is published. The appcast is RSS whose items
// each name one release:
//
//   <rss version="2.0"><channel>
//     <item>
//       <title>Corvane Clean 1.2</title>
//       <version>1.2.0</version>
//       <link>https://corvane.app/download/</link>
//     </item>
//   </channel></rss>
//
// Nothing is ever downloaded or installed: an offer only points at the release's download page.

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>
#include <chrono>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

namespace corvane {

struct UpdateOffer {
    QString version;
    QString title;
    QUrl downloadPage;
};

// A version of dot-separated numbers ("1", "1.2", "1.2.10"), no letters.
bool isDottedVersion(const QString& version);

// Negative, zero or positive as `a` is older than, the same as or newer than `b`, comparing the
// numbers part by part ("1.10" is newer than "1.9") and missing parts as 0 ("1.2" is "1.2.0").
// Both must be dotted versions.
int compareDottedVersions(const QString& a, const QString& b);

struct Appcast {
    QList<UpdateOffer> offers; // the usable items, in feed order
    QString error;             // why the feed could not be read; empty when it could
};

// Reads an appcast. Items without a dotted version or an http(s) download page are skipped,
// since they could not be offered; a feed with no usable item at all is an error.
Appcast readAppcast(const QByteArray& xml);

// The newest offer that is newer than `currentVersion`, or none.
std::optional<UpdateOffer> newerOffer(const QList<UpdateOffer>& offers,
                                      const QString& currentVersion);

// The feed set at build time, unless the environment variable CORVANE_APPCAST_URL names another.
QUrl appcastUrl();

// User defaults of the check.
namespace UpdateSettings {
inline constexpr auto checksForUpdatesKey = "checksForUpdates";
inline constexpr auto lastCheckKey = "lastUpdateCheck";

bool checksForUpdates(); // defaults to true
void setChecksForUpdates(bool enabled);
QDateTime lastCheck(); // invalid when never checked
} // namespace UpdateSettings

// Fetches the appcast on the thread it lives on (the main thread) and reports what it found.
class UpdateChecker : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::hours interval{24};

    explicit UpdateChecker(QObject* parent = nullptr);
    ~UpdateChecker() override;

    void setFeedUrl(const QUrl& url) { m_feedUrl = url; }
    QUrl feedUrl() const { return m_feedUrl; }
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }

    // The daily check: starts one when the setting allows it and the last attempt is at least a
    // day before `now`, recording `now` as the attempt so a broken feed waits until tomorrow.
    // Only a newer version is reported; being up to date and failures stay silent. Returns
    // whether a check started.
    bool checkIfDue(const QDateTime& now = QDateTime::currentDateTimeUtc());

    // "Check for Updates…": always checks and reports every outcome, also joining a daily
    // check that is already under way.
    void checkNow();

    bool isChecking() const { return m_reply != nullptr; }

signals:
    void updateAvailable(const corvane::UpdateOffer& offer);
    void upToDate();
    void checkFailed(const QString& message);
    // After every check, whatever its outcome, including the silent ones.
    void finished();

private:
    void start();
    void onFinished();
    void fail(const QString& message);

    QNetworkAccessManager* m_network;
    QNetworkReply* m_reply = nullptr; // the check under way
    QUrl m_feedUrl;
    std::chrono::milliseconds m_timeout{15000};
    bool m_reportsEverything = false;
};

} // namespace corvane

Q_DECLARE_METATYPE(corvane::UpdateOffer)
