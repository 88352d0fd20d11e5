#ifndef PROGRAM_CHECK_H
#define PROGRAM_CHECK_H

#include "verify/Findings.h"

#include <QSet>
#include <QStringList>

/// What is in the module directory.
struct Programs
{
    QStringList names; ///< of the modules, in ascending order
    QSet<QString> lost; ///< those of them that cannot be executed
    QStringList broken; ///< links that lead to nothing
};

/// Checks that each module in the module directory can be executed, and on the same machine as the others. A module of
/// `played` is treated as installed if the directory has no program for it.
Programs checkPrograms(const QStringList &played, Findings &findings);

#endif
