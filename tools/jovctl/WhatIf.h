#ifndef WHAT_IF_H
#define WHAT_IF_H

#include "client/BootAnalysis.h"

/// Prints the start-up to expect if `words` ("parallel=STEP,..." and "early=MODULE:AFTER,...") were in the
/// configuration. Without words it tries the steps and the slowest modules, and prints what each one gains.
void printWhatIf(const BootRecord &record, const ModuleList &modules, const QStringList &words, bool asJson);

#endif
