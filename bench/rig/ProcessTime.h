#ifndef PROCESS_TIME_H
#define PROCESS_TIME_H

#include <QStringList>

/// The milliseconds of a process's whole life, its output thrown away. It must succeed.
[[nodiscard]] double processTime(const QString &program, const QStringList &arguments);

#endif
