#ifndef REASON_H
#define REASON_H

#include "client/Records.h"

class BusClient;

/// The module for which the start-up waits: the first one that is launched and not ready. Null if there is none.
[[nodiscard]] const ModuleInfo *moduleWaitedFor(const ModuleList &modules, const StepList &steps);

/// Whether the step file holds the start-up: from step 5 on it goes on by itself.
[[nodiscard]] bool isHeld(const ModuleList &modules, const StepList &steps, int reached);

/// Why the module is not running, in one line, with the root cause: that of the last module that it waits for, through
/// dependencies and steps. Asks the daemon for what the records do not say.
[[nodiscard]] QString reasonNotRunning(const ModuleInfo &module, const ModuleList &modules, const BusClient &client);

#endif
