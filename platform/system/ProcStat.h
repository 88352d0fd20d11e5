#ifndef PROC_STAT_H
#define PROC_STAT_H

#include <QByteArray>

#include <optional>

#include <sys/types.h>

/// What `/proc/PID/stat` reports about a process. The name in parentheses is one field, whatever it contains.
struct ProcStat
{
    pid_t pid = 0;
    char state = '?'; ///< 'Z' for one that has ended and has not been waited for
    pid_t parent = 0;
    pid_t processGroup = 0;
    qint64 ownTicks = 0; ///< user and system time, in clock ticks
    qint64 childTicks = 0; ///< of the children that it waited for
    int threads = 0;
    quint64 startTime = 0; ///< in clock ticks since the boot: with the pid, it identifies the process
    qint64 virtualBytes = 0;
    qint64 residentPages = 0;

    /// Nothing if the text has fewer fields than the times need. Other fields that are missing are 0.
    [[nodiscard]] static std::optional<ProcStat> parse(const QByteArray &text);
    /// Nothing if there is no such process.
    [[nodiscard]] static std::optional<ProcStat> read(pid_t pid);
};

#endif
