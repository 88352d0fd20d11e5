#ifndef STOP_WALK_H
#define STOP_WALK_H

#include "initstep/StopAhead.h"

#include <QSet>

class Module;

/**
 * One stop of a forest, sons before parents. What hangs below a node is walked once, however many parents lead to it:
 * after the first visit all of it is stopped.
 */
class StopWalk
{
public:
    /// `ahead`: everything below these nodes is stopped as soon as its dependents have ended.
    explicit StopWalk(const QList<Module *> &ahead = {})
        : m_ahead(ahead)
    { }

    /// Returns how many modules ended when they were asked to.
    qint64 stop(Module &node);

private:
    bool stopNode(Module &node);

    StopAhead m_ahead;
    QSet<const Module *> m_visited;
};

#endif
