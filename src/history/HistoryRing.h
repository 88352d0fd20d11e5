#ifndef HISTORY_RING_H
#define HISTORY_RING_H

#include <QByteArray>

#include <cstddef>

#include <sys/types.h>

/**
 * The two files of the history: records are appended to `file`; when it is full it takes the place of `old`. Neither is
 * ever larger than `half`.
 *
 * The functions may only be called in a process that nobody waits for without a limit, because a disk can hang. They
 * are async-signal-safe, so that a forked child may call them.
 */
struct HistoryRing
{
    QByteArray folder;
    QByteArray file;
    QByteArray old;
    off_t half = 0;
    gid_t group = gid_t(-1); ///< of a new file; -1: that of the process

    HistoryRing() = default;
    /// `path` is a path of this machine, `size` that of both files together in bytes.
    HistoryRing(const QByteArray &path, off_t size);

    /**
     * Appends a line, which has to end with a line feed, and writes it to the disk. A last line that was cut by a loss
     * of power is closed first. 0, or the number of the error.
     */
    [[nodiscard]] int append(const char *line, std::size_t size) const noexcept;

    /// Writes the last `most` bytes of both files to `output`, older ones first. 0, or the number of the error.
    [[nodiscard]] int sendTail(int output, off_t most) const noexcept;
};

#endif
