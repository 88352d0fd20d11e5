#ifndef POSTPONED_LOG_PROGRAMS_H
#define POSTPONED_LOG_PROGRAMS_H

#include "system/ForkedTask.h"

#include <QSet>

/**
 * Starts the log programs that the daemon has put off if the daemon ends before, even when it is killed: otherwise
 * modules would write to pipes that nobody reads.
 *
 * A process of its own, which exists while there are any: during the start-up, and after the end of a log program.
 */
class PostponedLogPrograms
{
public:
    static PostponedLogPrograms &instance();

    /// `readEnd` is to become the standard input of `command`, and identifies it. False if nobody would start it.
    bool add(int readEnd, const QByteArray &command);
    void remove(int readEnd);

private:
    PostponedLogPrograms();
    bool send(int readEnd, const QByteArray &command, std::size_t controlSize);

    ForkedTask m_task{"am-log-programs", ForkedTask::Streams::Kept};
    QSet<int> m_readEnds;
};

#endif
