#ifndef REASON_H
#define REASON_H

#include "client/Records.h"

class BusClient;

/// Why the module is not running, in one line. Asks the daemon for what the records do not say.
[[nodiscard]] QString reasonNotRunning(const ModuleInfo &module, const ModuleList &modules, const BusClient &client);

#endif
