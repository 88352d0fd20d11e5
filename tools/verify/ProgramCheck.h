#ifndef PROGRAM_CHECK_H
#define PROGRAM_CHECK_H

#include "verify/Findings.h"

#include <QStringList>

/// Checks that each module in the module directory can be executed, and on the same machine as the others. Returns the
/// names of the modules in ascending order.
QStringList checkPrograms(Findings &findings);

#endif
