#ifndef DEPENDENCY_CHECK_H
#define DEPENDENCY_CHECK_H

#include "verify/ModuleCheck.h"

/// Reports all dependencies that prevent the daemon from starting: on modules that are not installed or start in
/// another step, and cycles. The daemon itself logs only the first.
void checkDependencies(const InstalledModules &modules, Findings &findings);

#endif
