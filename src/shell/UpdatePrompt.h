#pragma once

#include "platform/UpdateCheck.h"

#include <QCoreApplication>
#include <QString>
#include <QUrl>
#include <functional>

class QMessageBox;
class QWidget;

namespace corvane {

// Opens a web page in the user's browser; returns whether it could.
using UrlOpener = std::function<bool(const QUrl&)>;

// A sheet (window-modal message box, object name "updatePrompt") asking "Corvane Clean 1.2 is
// available (you have 1.1). Open its download page?" with "Open Download Page" as the default
// and "Not Now". Choosing the first hands the page to `open` (the desktop's browser unless a
// test gives another); nothing is downloaded by the app. It deletes itself when closed; the
// caller opens it.
QMessageBox*
makeUpdatePrompt(QWidget* window, const UpdateOffer& offer,
                 const QString& currentVersion = QCoreApplication::applicationVersion(),
                 UrlOpener open = {});

// What "Check for Updates…" says when there is nothing newer ("updateNotice", "You're up to
// date") or the feed failed ("updateNotice" with the reason); the sheet deletes itself.
QMessageBox*
makeUpToDateNotice(QWidget* window,
                   const QString& currentVersion = QCoreApplication::applicationVersion());
QMessageBox* makeUpdateFailureNotice(QWidget* window, const QString& message);

inline const QString openDownloadPageTitle = QStringLiteral("Open Download Page");
inline const QString notNowTitle = QStringLiteral("Not Now");

} // namespace corvane
