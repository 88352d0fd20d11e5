#ifndef PARENT_REPORT_H
#define PARENT_REPORT_H

#include <sys/types.h>

/**
 * The report of the start-up to the process that started the daemon and waits: `SIGUSR1` for success, `SIGUSR2` for
 * failure.
 *
 * It goes only to the process that was the parent at the fork: an orphan's new parent is not always process 1, and must
 * not get a signal that would end it. There is one report; the parent ends on it.
 */
class ParentReport
{
public:
    /// `parent`: the pid at the fork; 0: no report.
    void setParent(pid_t parent) { m_parent = parent; }

    void send(bool startFailed);

private:
    pid_t m_parent = 0;
};

#endif
