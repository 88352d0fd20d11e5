#ifndef PARAMETERS_CHECK_H
#define PARAMETERS_CHECK_H

#include "contract/FileNames.h"
#include "verify/Findings.h"

#include <QStringList>

/// What other checks need of platform.ini.
struct TerminalParameters
{
    QString ddrSize = PlatformKey::defaultMemorySize; ///< the terminal's memory size
    bool hasRebootFallback = false;
};

/// Checks platform.ini. `modules` are the names that a section can have besides those of the platform.
TerminalParameters checkParameters(const QStringList &modules, Findings &findings);

#endif
