#ifndef MODULE_TABLE_H
#define MODULE_TABLE_H

#include "client/Records.h"
#include "client/Table.h"

/// A row for each module. Its JSON objects have every key of the inspection interface.
[[nodiscard]] Table moduleTable(const ModuleList &modules);

#endif
