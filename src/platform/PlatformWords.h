#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

// The names of the platform's own programs, places and services, in the words of the system the
// app runs on: a Linux user never reads "Finder", a Mac user never reads "the file manager".
// Every text that names one of them takes the word from here.
struct PlatformWords {
    // "macOS" / "Linux".
    QString systemName;
    // "Finder" / "the file manager".
    QString fileManager;
    // Where the system keeps logins: "the Keychain" / "the system's keyring".
    QString keyring;
    // What runs Docker for the user: "Docker Desktop" / "the Docker engine".
    QString dockerEngine;
    // What to install to have Docker: "Docker Desktop, OrbStack or Colima" / "the Docker engine".
    QString dockerChoices;
    // "System Settings" / "the desktop's settings".
    QString systemSettings;
    // Where a command is run by hand: "Terminal" / "a terminal".
    QString terminal;
    // What a privileged command asks for: "your Mac password" / "your password".
    QString password;
    // What the system says when a folder of the home is one of its own: "a standard macOS folder"
    // / "a standard folder of your home".
    QString standardFolder;
    // Where apps keep their data for the user: "your Library" / "your home's data folders".
    QString appDataPlace;
    // Which of an app's data is ticked when it is removed, and why the rest is not.
    QString appDataTicked;

    // Sentences only one system needs the way it words them.
    // A removal the system refused for lack of permission; %1 is the item.
    QString permissionRefused;
    // After Docker removed something; empty where the space is back at once.
    QString dockerSpaceNote;
    // What an SSH "no route to host" most likely means here.
    QString noRouteToHost;
    // How a share's login gets saved once, after a mount failed.
    QString saveShareLogin;
    // The menu entry that shows an item where it lies: "Reveal in Finder" / "Show in Files".
    QString revealInFileManager;
    // Where the Apps page looks for installed apps: "the Applications folders" / "the desktop's
    // menus, Flatpak, Snap and AppImage folders".
    QString appsPlace;

    static const PlatformWords& forMac();
    static const PlatformWords& forLinux();
    // The words of the system this build runs on.
    static const PlatformWords& here();
    // Words only the other system has, which never show on this one ("Finder", "Keychain", ...).
    static const QStringList& foreignWords();
};

// "Finder" → "Finder", "the file manager" → "The file manager": the word opening a sentence.
QString sentenceStart(const QString& word);

} // namespace corvane
