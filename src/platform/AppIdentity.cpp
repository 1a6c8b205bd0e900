#include "platform/AppIdentity.h"

#include <QCoreApplication>

#ifndef CORVANE_VERSION
#define CORVANE_VERSION "0.0.0"
#endif

namespace corvane {

void applyAppIdentity() {
    QCoreApplication::setOrganizationName(QStringLiteral("Corvane"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("corvane.app"));
    QCoreApplication::setApplicationName(QStringLiteral("Corvane Clean"));
    QCoreApplication::setApplicationVersion(QStringLiteral(CORVANE_VERSION));
}

} // namespace corvane
