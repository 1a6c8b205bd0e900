#pragma once

#include "scanning/ScanModel.h"

#include <QHash>
#include <QList>
#include <QUuid>

// The names the project list shows: a project's folder name, and for projects that share one,
// as much of the folders above as tells them apart ("api — clientA" beside "api — clientB").
namespace corvane::ProjectNames {

// The shown name of each project whose name another project has too; the rest show their name.
QHash<QUuid, QString> distinguished(const QList<Project>& projects);

} // namespace corvane::ProjectNames
