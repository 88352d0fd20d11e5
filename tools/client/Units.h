#ifndef UNITS_H
#define UNITS_H

#include <QString>

/// Figures as people read them.
namespace Units {

/// "3.4 ms", "123 ms", "1.23 s", "2 min 03 s".
[[nodiscard]] QString duration(quint64 microseconds);
/// "512 kB", "12.3 MB", "1.20 GB", in steps of 1024.
[[nodiscard]] QString memory(qint64 kilobytes);
/// Microseconds of CLOCK_MONOTONIC, the clock of all the daemon's times.
[[nodiscard]] quint64 now();

} // namespace Units

#endif
