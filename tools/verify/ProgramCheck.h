#ifndef PROGRAM_CHECK_H
#define PROGRAM_CHECK_H

#include "verify/Findings.h"

#include <QStringList>

/// Lists the module directory and checks that each module in it can be executed, and on the same machine as the others.
/// Returns the names of the modules, in ascending order.
QStringList checkPrograms(Findings &findings);

#endif
