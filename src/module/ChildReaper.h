#ifndef CHILD_REAPER_H
#define CHILD_REAPER_H

#include "system/SignalBridge.h"

#include <QObject>
#include <QSet>

class ChildProcess;

/// Looks, at every `SIGCHLD`, at each child that is waited for. Nobody else's child is reaped.
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

    SignalBridge m_bridge;
    QSet<ChildProcess *> m_children;
};

#endif
