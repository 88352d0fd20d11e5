#ifndef START_WALK_H
#define START_WALK_H

#include <QHash>

class InitStep;
class Module;
class SupervisionState;

/**
 * One start of a step's forest.
 *
 * A module with several parents is reached from each of them, and every further visit finds it running and only walks
 * on to its sons. In a ladder of diamonds that doubles the visits with each rung, so the walk remembers what a visit
 * below a running node counted, and counts the same again as long as no other module has been started since.
 */
class StartWalk
{
public:
    StartWalk(InitStep &step, const SupervisionState &state)
        : m_step(step)
        , m_state(state)
    { }

    /// Starts the node, if it does not run yet, and what hangs below it. Returns the count (see InitStep).
    qint64 start(Module &node);

private:
    struct Visit
    {
        quint64 started;
        qint64 count;
    };

    qint64 startSons(Module &node);

    InitStep &m_step;
    const SupervisionState &m_state;
    QHash<const Module *, Visit> m_visits;
    quint64 m_started = 0; ///< modules that this walk has brought up
};

#endif
