#ifndef LOG_ARCHIVE_H
#define LOG_ARCHIVE_H

#include "system/ForkedTask.h"

#include <QObject>
#include <QTimer>

#include <functional>

class SupervisionState;

/**
 * Packs the logs into `/log/log.var.tar.gz` after a crash. Earlier archives are kept as `.1`, the newest, to `.5`; the
 * oldest of them go while less than a tenth of the file system is free. An archive that is cut off, by the limit of
 * time or by the end of the daemon, gets the suffix `.partial`.
 *
 * A child process does it: the event loop goes on, also when the disk does not answer.
 */
class LogArchive : public QObject
{
    Q_OBJECT

public:
    explicit LogArchive(const SupervisionState &state);

    /// Calls `then` when the archive is complete, or the limit has passed. After one that is in progress.
    void make(const std::function<void()> &then);
    /// Calls it now. The archive goes on.
    void release();
    /// The daemon ends: cuts the archive off, and calls it.
    void cutOff();

private:
    void begin();
    void ended(const QByteArray &output, int error);
    void hang();

    const SupervisionState &m_state;
    ForkedTask m_task{"am-archive", ForkedTask::Streams::Kept};
    QTimer m_limit; ///< of a task that does not keep its own
    std::function<void()> m_then; ///< who waits
    bool m_again = false; ///< another one was asked for meanwhile
};

#endif
