#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace corvane {

// One application of a Linux desktop: the "[Desktop Entry]" group of a ".desktop" file, with the
// keys that tell which app it is and who installed it. Localised keys ("Name[de]") are ignored:
// identities are never translated.
struct DesktopEntry {
    // The desktop file id: the path below an "applications" folder with "/" as "-", without
    // ".desktop" ("org.gnome.TextEditor", "kde4-kate").
    QString id;
    // The ".desktop" file.
    QString path;
    QString name;
    // Exec's program as written, unquoted, after any `env VAR=value`: "/usr/bin/gedit", "gedit",
    // "/home/ann/Applications/Obsidian.AppImage".
    QString program;
    QString icon;
    QString startupWMClass;
    // X-Flatpak and X-SnapInstanceName: the app's id when Flatpak or Snap exported the entry.
    QString flatpakId;
    QString snapName;
    // X-AppImage-Version, written by the tools that integrate AppImages.
    QString appImageVersion;
    // NoDisplay or Hidden: not an app the user sees in the menus (Hidden also hides an entry of
    // the same id in the folders after this one).
    bool noDisplay = false;
    bool hidden = false;

    // Nothing when the file is no application entry: no "[Desktop Entry]" group, another Type,
    // or no Name (a Hidden entry is read whatever else it lacks).
    static std::optional<DesktopEntry> parse(const QByteArray& text, const QString& path,
                                             const QString& id);
    // Also nothing when the file cannot be read or is over InputLimits::smallFileBytes; then
    // `problem` says why, naming the file.
    static std::optional<DesktopEntry> read(const QString& path, const QString& id,
                                            QString* problem = nullptr);
    // Exec's program: the first word, quotes and backslash escapes removed, after `env` and its
    // assignments.
    static QString programOf(const QString& exec);
};

} // namespace corvane
