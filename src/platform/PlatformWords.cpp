#include "platform/PlatformWords.h"

#include "platform/Locations.h"

namespace corvane {

const PlatformWords& PlatformWords::forMac() {
    static const PlatformWords words{
        QStringLiteral("macOS"),
        QStringLiteral("Finder"),
        QStringLiteral("the Keychain"),
        QStringLiteral("Docker Desktop"),
        QStringLiteral("Docker Desktop, OrbStack or Colima"),
        QStringLiteral("System Settings"),
        QStringLiteral("Terminal"),
        QStringLiteral("your Mac password"),
        QStringLiteral("a standard macOS folder"),
        QStringLiteral("your Library"),
        QStringLiteral("Caches, logs and window state are ticked. Application Support, containers "
                       "and preferences can hold your documents or settings, so they are not."),
        QStringLiteral("macOS needs your permission to remove %1: use Show in Finder and drag it "
                       "to the Trash."),
        QStringLiteral(" Docker Desktop gives the space back to macOS within a few minutes."),
        QStringLiteral("Blocked by macOS Local Network privacy. Allow Corvane Clean under System "
                       "Settings > Privacy & Security > Local Network."),
        QStringLiteral("Connect to it once in Finder (Cmd+K) so macOS saves the login."),
        QStringLiteral("Reveal in Finder"),
        QStringLiteral("the Applications folders")};
    return words;
}

const PlatformWords& PlatformWords::forLinux() {
    static const PlatformWords words{
        QStringLiteral("Linux"),
        QStringLiteral("the file manager"),
        QStringLiteral("the system's keyring"),
        QStringLiteral("the Docker engine"),
        QStringLiteral("the Docker engine"),
        QStringLiteral("the desktop's settings"),
        QStringLiteral("a terminal"),
        QStringLiteral("your password"),
        QStringLiteral("a standard folder of your home"),
        QStringLiteral("your home's data folders"),
        QStringLiteral("Caches are ticked. Configuration, data and state can hold your documents "
                       "or settings, so they are not."),
        QStringLiteral("You have no permission to remove %1: open its folder in the file manager "
                       "to see who owns it."),
        QString(),
        QStringLiteral("No route to the server: check that it is on and on a network this "
                       "computer reaches."),
        QStringLiteral("Connect to it once in the file manager so the system's keyring saves the "
                       "login."),
        QStringLiteral("Show in Files"),
        QStringLiteral("the desktop's menus, Flatpak, Snap and AppImage folders")};
    return words;
}

const PlatformWords& PlatformWords::here() {
    return Locations::isMac() ? forMac() : forLinux();
}

const QStringList& PlatformWords::foreignWords() {
    // Whole words and phrases a user of the other system would not know; matched as words, so
    // "macOS" does not hide in "macOSX" and "Terminal" still may in "terminal".
    static const QStringList onMac{QStringLiteral("macOS"),
                                   QStringLiteral("Finder"),
                                   QStringLiteral("Keychain"),
                                   QStringLiteral("Docker Desktop"),
                                   QStringLiteral("System Settings"),
                                   QStringLiteral("System Preferences"),
                                   QStringLiteral("Privacy & Security"),
                                   QStringLiteral("Full Disk Access"),
                                   QStringLiteral("Mac password"),
                                   QStringLiteral("your Mac"),
                                   QStringLiteral("Terminal"),
                                   QStringLiteral("your Library"),
                                   QStringLiteral("Cmd+")};
    static const QStringList onLinux{
        QStringLiteral("the file manager"), QStringLiteral("the system's keyring"),
        QStringLiteral("the Docker engine"), QStringLiteral("the desktop's settings"),
        QStringLiteral("systemctl")};
    return Locations::isMac() ? onLinux : onMac;
}

QString sentenceStart(const QString& word) {
    if (word.isEmpty())
        return word;
    return word.front().toUpper() + word.mid(1);
}

} // namespace corvane
