#ifndef CHILD_REAPER_H
#define CHILD_REAPER_H

#include "system/SignalBridge.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <sys/types.h>

class ChildProcess;

/**
 * Reaps, at every `SIGCHLD`, the children that have ended: those whose owner waits for them, and those that were killed
 * and given up or let go by their owner. Nobody else's child is reaped.
 */
class ChildReaper : public QObject
{
    Q_OBJECT

public:
    /// Made at the first call, for the life of the process. The first call is that of the entry: it aborts the process
    /// if no descriptor is left.
    static ChildReaper &instance();

    void add(pid_t pid, ChildProcess *child) { m_children.insert(pid, child); }
    /// The owner goes. The child is killed, but not waited for: a debugger or an uninterruptible sleep can hold it.
    void giveUp(pid_t pid, const QString &name);
    /// The owner goes, and the child continues.
    void letGo(pid_t pid) { giveUp(pid, QString()); }
    /// Whether a child of that name was given up and has not ended yet.
    [[nodiscard]] bool holds(const QString &name) const { return m_givenUp.key(name, 0) != 0; }
    /// Waits for the children that were killed, `limit` milliseconds at most.
    void waitForGivenUp(int limit);

private:
    ChildReaper();

    void reapEnded();
    void askEach();
    void ask(pid_t pid);

    SignalBridge m_bridge;
    QTimer m_search; ///< for ended children that no signal has named
    QHash<pid_t, ChildProcess *> m_children;
    QHash<pid_t, QString> m_givenUp; ///< without a name: let go
};

#endif
