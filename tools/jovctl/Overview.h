#ifndef OVERVIEW_H
#define OVERVIEW_H

#include "client/Failure.h"

class BusClient;

/// Prints the state of the whole terminal on one screen. NotUp if a module of a step is not running.
ExitStatus showOverview(const BusClient &client, bool asJson);

#endif
