#pragma once

// A fake Linux desktop for the apps tests: system and user application entries, a snap, AppImages
// and XDG data, with stand-ins of snap and dpkg that record their arguments in dir +
// "/snap-arguments" and "/dpkg-arguments".

#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>

namespace corvane::test {

// A Linux home with the system's entries (a packaged editor, a snap, a Flatpak export, hidden and
// menu-less ones), the user's own (an AppImage's), AppImages in the usual folders, XDG data, and a
// stand-in snap that records its arguments and answers `list`, `list -- <name>` and `remove`.
struct LinuxHome {
    LinuxHome() {
        const QString home = fakeHome();
        // Like snap: `list -- <name>` names one snap or says none matches; `remove` removes.
        writeScript(snapTool, "printf '%s\\n' \"$@\" >> '" + dir.toUtf8() +
                                  "/snap-arguments'\ncat > '" + dir.toUtf8() +
                                  "/snap-table' <<'EOF'\n"
                                  "Name      Version   Rev    Tracking       Publisher   Notes\n"
                                  "core22    20240111  1122   latest/stable  canonical✓  base\n"
                                  "firefox   123.0-2   3836   latest/stable  mozilla✓    -\n"
                                  "hello     2.10      42     latest/stable  canonical✓  -\n"
                                  "EOF\n"
                                  "case \"$1 $2\" in\n"
                                  "'list --') grep -q \"^$3 \" \"$0-table\" && "
                                  "grep -E \"^(Name|$3) \" \"$0-table\" && exit 0\n"
                                  "  echo 'error: no matching snaps installed' >&2; exit 1;;\n"
                                  "'remove --') echo \"$3 removed\"; exit 0;;\n"
                                  "esac\ncat '" +
                                  dir.toUtf8() + "/snap-table'\n");
        // Like dpkg -S: the editor's entry is the example-editor package's, nothing else is.
        writeScript(dpkgTool,
                    "printf '%s\\n' \"$@\" >> \"$0-arguments\"\n"
                    "case \"$2 $3\" in\n"
                    "'-- '*/org.example.Editor.desktop) echo \"example-editor: $3\"; exit 0;;\n"
                    "esac\n"
                    "echo \"dpkg-query: no path found matching pattern $3\" >&2; exit 1\n");
        entry(system + s("/applications/org.example.Editor.desktop"),
              "Name=Editor\nName[de]=Bearbeiter\nExec=lsof %F\nIcon=org.example.Editor\n"
              "StartupWMClass=editor-window\n");
        entry(system + s("/applications/org.example.Quiet.desktop"),
              "Name=Quiet\nExec=lsof\nNoDisplay=true\n");
        entry(system + s("/applications/org.example.Removed.desktop"), "Name=Removed\nExec=git\n");
        entry(user + s("/org.example.Removed.desktop"), "Hidden=true\n");
        entry(system + s("/applications/org.gimp.GIMP.desktop"),
              "Name=GIMP\nExec=/usr/bin/flatpak run org.gimp.GIMP\nX-Flatpak=org.gimp.GIMP\n");
        entry(snapd + s("/applications/firefox_firefox.desktop"),
              "Name=Firefox\nExec=env BAMF_DESKTOP_FILE_HINT=/x /snap/bin/firefox %u\n"
              "Icon=/snap/firefox/current/default256.png\nX-SnapInstanceName=firefox\n");
        obsidian = home + s("/Applications/Obsidian-1.4.16.AppImage");
        writeFile(obsidian, QByteArray(3000, 'x'));
        entry(user + s("/appimagekit-obsidian.desktop"),
              "Name=Obsidian\nExec=\"" + obsidian.toUtf8() +
                  "\" --no-sandbox %U\nIcon=appimagekit-obsidian\nStartupWMClass=obsidian\n"
                  "X-AppImage-Version=1.4.16\n");
        writeFile(home + s("/AppImages/Tool.AppImage"), QByteArray(500, 'x'));
        writeFile(home + s("/snap/firefox/common/profile"), QByteArray(100, 'd'));
        for (const char* path : {"/.config/org.example.Editor/settings.ini",
                                 "/.cache/editor-window/tiles", "/.config/obsidian/prefs.json",
                                 "/.cache/obsidian/GPUCache", "/.local/state/obsidian/log",
                                 "/.config/Editor/named-like", "/.config/ripgrep/config"})
            writeFile(dir + QString::fromLatin1(path), QByteArray(100, 'd'));
    }
    // What lies in the shared fake home goes, so that other tests never see these apps.
    ~LinuxHome() {
        const QString home = fakeHome();
        QDir(home + s("/AppImages")).removeRecursively();
        QDir(home + s("/snap")).removeRecursively();
        QFile::remove(obsidian);
    }
    LinuxHome(const LinuxHome&) = delete;
    LinuxHome& operator=(const LinuxHome&) = delete;

    static void entry(const QString& path, const QByteArray& keys) {
        writeFile(path, "# made by hand\n[Desktop Entry]\nType=Application\n" + keys +
                            "\n[Desktop Action New]\nName=Other\nExec=other\n");
    }

    QString dir = makeTempDir(s("linux"));
    QString system = dir + s("/share");
    QString snapd = dir + s("/snapd/desktop");
    // The XDG homes are the fixture's own: the fake home's (git's configuration among them) stay.
    ScopedEnvironment configHome{"XDG_CONFIG_HOME", dir + s("/.config")};
    ScopedEnvironment cacheHome{"XDG_CACHE_HOME", dir + s("/.cache")};
    ScopedEnvironment dataHome{"XDG_DATA_HOME", dir + s("/.local/share")};
    ScopedEnvironment stateHome{"XDG_STATE_HOME", dir + s("/.local/state")};
    QString user = dir + s("/.local/share/applications");
    QString snapTool = dir + s("/snap");
    QString dpkgTool = dir + s("/dpkg");
    QString obsidian;
    ScopedEnvironment dataDirs{"XDG_DATA_DIRS", system + u':' + snapd};
    ScopedEnvironment snap{"CORVANE_TOOL_SNAP", snapTool};
    ScopedEnvironment noFlatpak{"CORVANE_TOOL_FLATPAK", dir + s("/no-flatpak")};
    ScopedEnvironment dpkg{"CORVANE_TOOL_DPKG", dpkgTool};
    ScopedEnvironment noRpm{"CORVANE_TOOL_RPM", dir + s("/no-rpm")};
};

} // namespace corvane::test
