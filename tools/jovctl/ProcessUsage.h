#ifndef PROCESS_USAGE_H
#define PROCESS_USAGE_H

#include <QtGlobal>

#include <optional>

/// What one process uses.
struct ProcessUsage
{
    qint64 virtualKb = 0;
    qint64 residentKb = 0;
    quint64 microseconds = 0; ///< of processor time
    int threads = 0;

    /// Nothing if there is no such process.
    [[nodiscard]] static std::optional<ProcessUsage> read(uint pid);
};

/// The terminal's memory in kB; 0 if it cannot be read.
[[nodiscard]] qint64 totalMemoryKb();
/// What the kernel can give to new processes without swapping, in kB; 0 if it cannot be read.
[[nodiscard]] qint64 availableMemoryKb();

#endif
