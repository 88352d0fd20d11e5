#ifndef PROCESSES_H
#define PROCESSES_H

#include "support/Text.h"

#include <QList>
#include <QMap>
#include <QString>

#include <sys/types.h>

/// What `/proc` tells about the living processes below this one.
namespace Processes {

struct Process
{
    pid_t pid = 0;
    pid_t parent = 0;
    QString commandLine;
};

/// Also those that are dead and not reaped.
[[nodiscard]] QList<pid_t> children(pid_t pid);

/// Its words joined by blanks; a zombie has none.
[[nodiscard]] QByteArray commandLine(pid_t pid);

/// All descendants of `ancestor`, parents before children; zombies do not count.
[[nodiscard]] QList<Process> below(pid_t ancestor);

/// The modules among them by the name that they were given, with every process that plays it; what a module itself has
/// started does not count (a leak check at its end is a process of the same name).
[[nodiscard]] QMap<QString, QList<pid_t>> modulesBelow(pid_t ancestor);

/// What each open descriptor of a process is, by number.
[[nodiscard]] QMap<int, QString> descriptors(pid_t pid);

/// The number behind "FIELD:" in `/proc/PID/FILE`, over all such lines; -1 when there is none.
[[nodiscard]] qint64 figure(pid_t pid, const char *file, const char *field);

/// The process has a handler for the signal.
[[nodiscard]] bool catches(pid_t pid, int signal);

} // namespace Processes

#endif
