#ifndef BOOT_TABLES_H
#define BOOT_TABLES_H

#include "client/BootAnalysis.h"
#include "client/Table.h"

/// A row for each step of the start-up.
[[nodiscard]] Table stepTable(const BootRecord &record);

/// The time in a suitable unit; in JSON in microseconds.
[[nodiscard]] Table::Cell durationCell(quint64 microseconds);

#endif
