#ifndef PROC_READER_H
#define PROC_READER_H

#include "monitoring/ProcFile.h"

#include <QString>

#include <chrono>

/**
 * The figures of `/proc`: memory in kB, processor time in clock ticks.
 *
 * Nothing fails: an empty pid, a process that has ended, a file that is missing or cannot be read give 0 and at most a
 * debug line. What travels on the bus has 32 bits and saturates. Copy it freely.
 */
class ProcReader
{
public:
    explicit ProcReader(const QString &procRoot = QStringLiteral("/proc"));

    /**
     * The sum of the first numbers of all lines of "/proc/PID/FILE" that start with "FIELD:". One reader serves files
     * with one such line ("status", "VmSize") and files with one for each mapping ("smaps", "Rss").
     */
    [[nodiscard]] int getMemoryUsage(const QString &pid, const QString &file = QStringLiteral("smaps"),
                                     const QString &field = QStringLiteral("Rss")) const;

    /// The same in 64 bits, for reckoning.
    [[nodiscard]] qint64 memoryUsage(const QString &pid, const QString &file, const QString &field) const;

    [[nodiscard]] int getTotalMemory() const;
    [[nodiscard]] int getFreeMemory() const;
    [[nodiscard]] qint64 totalMemory() const;

    [[nodiscard]] qint64 getProcessTicks(const QString &pid) const;

    /// The share of one processor that the process used during `period`, for which the caller is blocked. 1.0 is all of
    /// it.
    [[nodiscard]] double getCpuUsage(const QString &pid,
                                     std::chrono::milliseconds period = std::chrono::seconds(2)) const;

private:
    [[nodiscard]] bool read(const QString &pid, const QString &file, const ProcFile::Sink &sink) const;
    [[nodiscard]] qint64 meminfo(const QByteArray &field) const;

    QString m_procRoot;
};

#endif
