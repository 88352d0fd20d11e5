#include "module/ChildReaper.h"

#include "module/ChildProcess.h"

#include <QElapsedTimer>

#include <algorithm>
#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Of the time between two searches: it takes up to a millisecond to search thousands.
constexpr int childrenPerMillisecond = 50;

} // namespace

ChildReaper &ChildReaper::instance()
{
    // Never destroyed: children may be, until the very end.
    static ChildReaper &reaper = *new ChildReaper;
    return reaper;
}

ChildReaper::ChildReaper()
    : m_bridge({SIGCHLD})
{
    m_search.setSingleShot(true);
    connect(&m_search, &QTimer::timeout, this, &ChildReaper::reapEnded);
    connect(&m_bridge, &SignalBridge::raised, this, [this](int /*signal*/, const QVector<int> &senders) {
        std::for_each(senders.cbegin(), senders.cend(), [this](pid_t pid) { ask(pid); });
        // Signals that come together are one, so the kernel is asked for others, too. It looks among all children: the
        // more there are, the more seldom.
        if (!m_search.isActive()) {
            m_search.start(m_children.size() / childrenPerMillisecond);
        }
    });
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
        if (!m_children.contains(ended.si_pid) && !m_givenUp.contains(ended.si_pid)) {
            // Somebody else's, which hides ours.
            askEach();
            return;
        }
        ask(ended.si_pid);
    }
}

void ChildReaper::askEach()
{
    const QList<pid_t> pids = m_children.keys() + m_givenUp.keys();
    std::for_each(pids.cbegin(), pids.cend(), [this](pid_t pid) { ask(pid); });
}

void ChildReaper::ask(pid_t pid)
{
    siginfo_t ended = {};
    const bool isOurs = m_children.contains(pid) || m_givenUp.contains(pid);
    if (!isOurs || waitid(P_PID, id_t(pid), &ended, WEXITED | WNOHANG | WNOWAIT) != 0 || ended.si_pid != pid) {
        return;
    }
    // What an end leads to may run the event loop, come here again, and destroy children.
    if (ChildProcess *child = m_children.take(pid)) {
        child->reap();
    } else if (m_givenUp.remove(pid) > 0) {
        waitpid(pid, nullptr, WNOHANG);
    }
}
