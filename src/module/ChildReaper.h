#ifndef CHILD_REAPER_H
#define CHILD_REAPER_H

#include <QObject>
#include <QSet>

class ChildProcess;

/**
 * Brings `SIGCHLD` into the event loop and has every child looked at that is waited for. Nobody else's child is reaped,
 * and a handler that was there before is still called.
 */
class ChildReaper : public QObject
{
    Q_OBJECT

public:
    /// Made at the first call, for the life of the process.
    static ChildReaper &instance();

    void add(ChildProcess *child) { m_children.insert(child); }
    void remove(ChildProcess *child) { m_children.remove(child); }

private:
    ChildReaper();

    void childEnded();

    int m_readEnd = -1;
    QSet<ChildProcess *> m_children;
};

#endif
