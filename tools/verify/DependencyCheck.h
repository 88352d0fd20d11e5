#ifndef DEPENDENCY_CHECK_H
#define DEPENDENCY_CHECK_H

#include "verify/ModuleCheck.h"

/// Reports all dependencies that prevent the daemon from starting: on modules that are not installed or start in
/// another step, and cycles. The daemon itself logs only the first. Then those on modules that cannot be started; they
/// make the dependent module a lost one, too.
void checkDependencies(InstalledModules &modules, Findings &findings);

#endif
