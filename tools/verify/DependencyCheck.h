#ifndef DEPENDENCY_CHECK_H
#define DEPENDENCY_CHECK_H

#include "verify/ModuleCheck.h"

/// Dependencies that keep the daemon from starting: on what is not installed or starts in another step, and cycles. All
/// of them, where the daemon gives up at the first.
void checkDependencies(const InstalledModules &modules, Findings &findings);

#endif
