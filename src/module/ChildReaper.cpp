#include "module/ChildReaper.h"

#include "module/ChildProcess.h"

#include <QElapsedTimer>

#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

ChildReaper &ChildReaper::instance()
{
    // Never destroyed: children may be, until the very end.
    static ChildReaper &reaper = *new ChildReaper;
    return reaper;
}

ChildReaper::ChildReaper()
    : m_bridge({SIGCHLD})
{
    connect(&m_bridge, &SignalBridge::raised, this, &ChildReaper::reapEnded);
}

void ChildReaper::giveUp(pid_t pid, const QString &name)
{
    m_children.remove(pid);
    m_givenUp.insert(pid, name);
    reapEnded();
}

void ChildReaper::waitForGivenUp(int limit)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (!QStringList(m_givenUp.values()).join(QString()).isEmpty() && elapsed.elapsed() < limit) {
        usleep(1000);
        reapEnded();
    }
}

void ChildReaper::reapEnded()
{
    for (;;) {
        siginfo_t ended = {};
        if (waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT) != 0 || ended.si_pid == 0) {
            return;
        }
        // What an end leads to may run the event loop, come here again, and destroy children.
        if (ChildProcess *child = m_children.take(ended.si_pid)) {
            child->reap();
        } else if (m_givenUp.remove(ended.si_pid) > 0) {
            waitpid(ended.si_pid, nullptr, WNOHANG);
        } else {
            // Somebody else's, which hides ours.
            askEach();
            return;
        }
    }
}

void ChildReaper::askEach()
{
    const auto hasEnded = [](pid_t pid) {
        siginfo_t ended = {};
        return waitid(P_PID, id_t(pid), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid == pid;
    };
    for (const pid_t pid : m_children.keys()) {
        if (m_children.contains(pid) && hasEnded(pid)) {
            m_children.take(pid)->reap();
        }
    }
    for (const pid_t pid : m_givenUp.keys()) {
        if (hasEnded(pid) && m_givenUp.remove(pid) > 0) {
            waitpid(pid, nullptr, WNOHANG);
        }
    }
}
