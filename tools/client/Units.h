#ifndef UNITS_H
#define UNITS_H

#include <QString>

/// Numbers for people.
namespace Units {

/// "3.4 ms", "123 ms", "1.23 s", "2 min 03 s".
[[nodiscard]] QString duration(quint64 microseconds);
/// "512 kB", "12.3 MB", "1.20 GB", 1024 of a unit make the next.
[[nodiscard]] QString memory(qint64 kilobytes);
/// "N ms ago" of a time of now(), or "never" of 0.
[[nodiscard]] QString ago(quint64 time);
/// Microseconds of CLOCK_MONOTONIC, the clock of all times that the daemon reports.
[[nodiscard]] quint64 now();

} // namespace Units

#endif
