#ifndef BOOT_TABLES_H
#define BOOT_TABLES_H

#include "client/BootAnalysis.h"
#include "client/Table.h"

/// A row for each step of the start-up.
[[nodiscard]] Table stepTable(const BootRecord &record);

/// A time for people, and in microseconds for programs.
[[nodiscard]] Table::Cell durationCell(quint64 microseconds);

#endif
