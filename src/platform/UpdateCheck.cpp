#include "platform/UpdateCheck.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSettings>
#include <QXmlStreamReader>

#ifndef CORVANE_APPCAST_URL
#define CORVANE_APPCAST_URL "https://corvane.app/appcast.xml"
#endif

namespace corvane {

namespace {

// An appcast lists a few releases; anything much larger is not one.
constexpr qint64 maximumFeedBytes = 1024 * 1024;

// A part without its leading zeros, so numbers of any length compare as text.
QStringView significant(QStringView part) {
    qsizetype first = 0;
    while (first < part.size() - 1 && part[first] == u'0')
        ++first;
    return part.mid(first);
}

int compareParts(QStringView a, QStringView b) {
    a = significant(a);
    b = significant(b);
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    return a.compare(b);
}

bool isWebPage(const QUrl& url) {
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == u"https" || url.scheme() == u"http");
}

UpdateOffer readItem(QXmlStreamReader& xml) {
    UpdateOffer offer;
    while (xml.readNextStartElement()) {
        if (xml.name() == u"title")
            offer.title = xml.readElementText().trimmed();
        else if (xml.name() == u"version")
            offer.version = xml.readElementText().trimmed();
        else if (xml.name() == u"link")
            offer.downloadPage = QUrl(xml.readElementText().trimmed(), QUrl::StrictMode);
        else
            xml.skipCurrentElement();
    }
    return offer;
}

} // namespace

bool isDottedVersion(const QString& version) {
    if (version.isEmpty())
        return false;
    const QList<QStringView> parts = QStringView(version).split(u'.');
    for (QStringView part : parts) {
        if (part.isEmpty())
            return false;
        for (QChar c : part) {
            if (c < u'0' || c > u'9')
                return false;
        }
    }
    return true;
}

int compareDottedVersions(const QString& a, const QString& b) {
    const QList<QStringView> left = QStringView(a).split(u'.');
    const QList<QStringView> right = QStringView(b).split(u'.');
    const qsizetype count = std::max(left.size(), right.size());
    const QStringView zero = u"0";
    for (qsizetype i = 0; i < count; ++i) {
        const int order =
            compareParts(i < left.size() ? left[i] : zero, i < right.size() ? right[i] : zero);
        if (order != 0)
            return order < 0 ? -1 : 1;
    }
    return 0;
}

Appcast readAppcast(const QByteArray& data) {
    Appcast appcast;
    QXmlStreamReader xml(data);
    if (!xml.readNextStartElement() || xml.name() != u"rss") {
        appcast.error = QStringLiteral("The update feed is not an RSS feed.");
        return appcast;
    }
    while (xml.readNextStartElement()) {
        if (xml.name() != u"channel") {
            xml.skipCurrentElement();
            continue;
        }
        while (xml.readNextStartElement()) {
            if (xml.name() != u"item") {
                xml.skipCurrentElement();
                continue;
            }
            UpdateOffer offer = readItem(xml);
            if (isDottedVersion(offer.version) && isWebPage(offer.downloadPage))
                appcast.offers.append(std::move(offer));
        }
    }
    // A feed cut short is not trusted in part: the missing rest may hold the newest release.
    if (xml.hasError()) {
        appcast.offers.clear();
        appcast.error =
            QStringLiteral("The update feed could not be read: %1").arg(xml.errorString());
    } else if (appcast.offers.isEmpty()) {
        appcast.error = QStringLiteral("The update feed lists no versions.");
    }
    return appcast;
}

std::optional<UpdateOffer> newerOffer(const QList<UpdateOffer>& offers,
                                      const QString& currentVersion) {
    const UpdateOffer* newest = nullptr;
    for (const UpdateOffer& offer : offers) {
        if (newest == nullptr || compareDottedVersions(offer.version, newest->version) > 0)
            newest = &offer;
    }
    if (newest == nullptr)
        return std::nullopt;
    // A build without a usable version of its own is offered nothing rather than everything.
    if (!isDottedVersion(currentVersion) ||
        compareDottedVersions(newest->version, currentVersion) <= 0)
        return std::nullopt;
    return *newest;
}

QUrl appcastUrl() {
    const QString overridden = qEnvironmentVariable("CORVANE_APPCAST_URL");
    return QUrl(overridden.isEmpty() ? QStringLiteral(CORVANE_APPCAST_URL) : overridden);
}

namespace UpdateSettings {

bool checksForUpdates() {
    return QSettings().value(QLatin1String(checksForUpdatesKey), true).toBool();
}

void setChecksForUpdates(bool enabled) {
    QSettings().setValue(QLatin1String(checksForUpdatesKey), enabled);
}

QDateTime lastCheck() {
    return QSettings().value(QLatin1String(lastCheckKey)).toDateTime();
}

} // namespace UpdateSettings

UpdateChecker::UpdateChecker(QObject* parent)
    : QObject(parent)
    , m_network(new QNetworkAccessManager(this))
    , m_feedUrl(appcastUrl()) {
    qRegisterMetaType<UpdateOffer>();
}

UpdateChecker::~UpdateChecker() {
    if (m_reply != nullptr) {
        m_reply->disconnect(this);
        m_reply->abort();
    }
}

bool UpdateChecker::checkIfDue(const QDateTime& now) {
    if (isChecking() || !UpdateSettings::checksForUpdates())
        return false;
    const QDateTime last = UpdateSettings::lastCheck();
    // A last check in the future means the clock was wrong then or is now; checking is harmless.
    if (last.isValid() && last <= now && last.secsTo(now) < std::chrono::seconds(interval).count())
        return false;
    QSettings().setValue(QLatin1String(UpdateSettings::lastCheckKey), now);
    m_reportsEverything = false;
    start();
    return isChecking();
}

void UpdateChecker::checkNow() {
    m_reportsEverything = true;
    if (isChecking())
        return;
    QSettings().setValue(QLatin1String(UpdateSettings::lastCheckKey),
                         QDateTime::currentDateTimeUtc());
    start();
}

void UpdateChecker::start() {
    if (!m_feedUrl.isValid()) {
        fail(QStringLiteral("No update feed is set."));
        return;
    }
    QNetworkRequest request(m_feedUrl);
    request.setTransferTimeout(static_cast<int>(m_timeout.count()));
    request.setHeader(QNetworkRequest::UserAgentHeader, QCoreApplication::applicationName() + u'/' +
                                                            QCoreApplication::applicationVersion());
    m_reply = m_network->get(request);
    connect(m_reply, &QNetworkReply::downloadProgress, this, [this](qint64 received, qint64) {
        if (received > maximumFeedBytes && m_reply != nullptr)
            m_reply->abort();
    });
    connect(m_reply, &QNetworkReply::finished, this, &UpdateChecker::onFinished);
}

void UpdateChecker::onFinished() {
    QNetworkReply* reply = m_reply;
    m_reply = nullptr;
    if (reply == nullptr)
        return;
    reply->deleteLater();
    // Qt reports an HTTP error status as a network error too; the status says more.
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status != 0 && status != 200) {
        fail(QStringLiteral("The update feed answered with HTTP status %1.").arg(status));
        return;
    }
    if (reply->error() != QNetworkReply::NoError) {
        fail(QStringLiteral("The update feed could not be reached: %1").arg(reply->errorString()));
        return;
    }
    const Appcast appcast = readAppcast(reply->read(maximumFeedBytes));
    if (!appcast.error.isEmpty()) {
        fail(appcast.error);
        return;
    }
    const bool reportsEverything = m_reportsEverything;
    m_reportsEverything = false;
    if (const auto offer = newerOffer(appcast.offers, QCoreApplication::applicationVersion()))
        emit updateAvailable(*offer);
    else if (reportsEverything)
        emit upToDate();
    emit finished();
}

void UpdateChecker::fail(const QString& message) {
    const bool reportsEverything = m_reportsEverything;
    m_reportsEverything = false;
    if (reportsEverything)
        emit checkFailed(message);
    emit finished();
}

} // namespace corvane
