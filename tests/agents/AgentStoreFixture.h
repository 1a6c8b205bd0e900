#pragma once

// A whole fake agent home written in the agents' own formats: Claude Code history with companion
// folders, file history and to-do lists, Codex's database and session logs, editor workspaces,
// and every kind of file that must never be removed.

#include "agents/AgentLocations.h"
#include "agents/AgentStorage.h"

#include <QHash>
#include <QString>
#include <QStringList>

namespace corvane::test {

struct FakeAgentHome {
    AgentLocations locations;
    // Where the projects live; some of the folders the history names are gone.
    QString work;
    // Session ids by role.
    QString liveSession = QStringLiteral("5b539e53-47c8-4996-bc4e-3896a787c8ab");
    QString olderLiveSession = QStringLiteral("0c1d2e3f-0000-4000-8000-000000000001");
    QString sharedA = QStringLiteral("aaaaaaaa-0000-4000-8000-00000000000a");
    QString sharedB = QStringLiteral("bbbbbbbb-0000-4000-8000-00000000000b");
    QString orphan = QStringLiteral("dddddddd-0000-4000-8000-00000000000d");
    QString moved = QStringLiteral("eeeeeeee-0000-4000-8000-00000000000e");
    QString withMemory = QStringLiteral("ffffffff-0000-4000-8000-00000000000f");
    QString codexThread = QStringLiteral("0199a3c2-5d1e-7f20-9b41-2c6e8d0a4f11");
    // Missing project folder -> where it is now.
    QHash<QString, QString> newPlaces;
    // Every file and folder that must never be removed, nor anything holding one.
    QStringList neverTouched;
    // Editor workspace folders: of a project that exists, and of one that is gone.
    QString liveWorkspace;
    QString goneWorkspace;
    // Sub-agent transcripts loose in a history folder, as older versions kept them: one of a
    // session that is there, one whose session is gone.
    QString looseOfSession;
    QString looseAlone;
    // Records of the Claude app: of a project that exists, one that is gone, one that moved.
    QString liveRecord;
    QString goneRecord;
    QString movedRecord;

    AgentStorage::Inputs inputs() const;
};

// In `home`, or in a fresh temporary home when none is given.
FakeAgentHome makeFakeAgentHome(const QString& home = {});

} // namespace corvane::test
