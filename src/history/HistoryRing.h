#ifndef HISTORY_RING_H
#define HISTORY_RING_H

#include <QByteArray>

#include <sys/types.h>

/**
 * The two files of the history: records are appended to `file`; when it is full it takes the place of `old`. Neither is
 * ever larger than `half`.
 *
 * The functions may only be called in a process that nobody waits for without a limit, because a disk can hang. They
 * may be called in a forked child of the daemon, which has one thread.
 */
struct HistoryRing
{
    QByteArray folder;
    QByteArray file;
    QByteArray old;
    off_t half = 0;

    HistoryRing() = default;
    /// `path` is a path of this machine, `size` that of both files together in bytes.
    HistoryRing(const QByteArray &path, off_t size);

    /**
     * Appends a line, which has to end with a line feed, and writes it to the disk. A last line that was cut by a loss
     * of power is closed first. 0, or the number of the error.
     */
    [[nodiscard]] int append(const QByteArray &line) const;

    /// Adds the last `most` bytes of both files to `text`, older ones first. 0, or the number of the error.
    [[nodiscard]] int readTail(QByteArray &text, off_t most) const;
};

#endif
