#ifndef START_WALK_H
#define START_WALK_H

#include <QHash>

class InitStep;
class Module;
class SupervisionState;

/**
 * One start of a step's forest.
 *
 * A module with several parents is reached from each of them, and each visit counts and warns. In a ladder of diamonds
 * the visits double with each rung, so beyond some thousands of visits the walk remembers what a visit in which no
 * module came up has counted, and counts the same again as long as no other module has come up since.
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

    qint64 visit(Module &node);
    qint64 startSons(Module &node);

    InitStep &m_step;
    const SupervisionState &m_state;
    QHash<const Module *, Visit> m_visits; ///< those in which nothing came up
    int m_count = 0; ///< of visits
    quint64 m_started = 0; ///< modules that this walk has brought up
};

#endif
