#ifndef PROCESS_TIME_H
#define PROCESS_TIME_H

#include <QStringList>

/// The milliseconds of a process's whole life, its output thrown away. It must succeed.
[[nodiscard]] double processTime(const QString &program, const QStringList &arguments);

/// The milliseconds that a process has been on a processor, all its threads together.
[[nodiscard]] double processorTime(qint64 pid);

/// The milliseconds that all processes have been on a processor that ended as descendants of this one and were reaped.
[[nodiscard]] double processorTimeOfEnded();

/// This process and all that it starts from now on run on the first processor alone, or on all of them again.
void useOneProcessor(bool one);

#endif
