#ifndef EARLY_CHECK_H
#define EARLY_CHECK_H

#include "verify/ModuleCheck.h"

/// Reports modules with an `early` that names unknown modules or has no effect, and the one that must not have it.
void checkEarly(const InstalledModules &modules, const StepTable &steps, Findings &findings);

#endif
