#ifndef STOP_WALK_H
#define STOP_WALK_H

#include <QSet>

class Module;

/**
 * One stop of a forest, sons before parents. What hangs below a node is walked once, however many parents lead to it:
 * after the first visit all of it is stopped.
 */
class StopWalk
{
public:
    /// Returns how many modules ended when they were asked to.
    qint64 stop(Module &node);

private:
    QSet<const Module *> m_visited;
};

#endif
