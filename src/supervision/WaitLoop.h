#ifndef WAIT_LOOP_H
#define WAIT_LOOP_H

#include <QObject>

#include <functional>

/**
 * Waits inside which the event loop turns, the only place of the daemon where it does so below the outermost level.
 *
 * A wait sleeps in the loop until the next event; its condition is tested after each turn of the loop, so a wait costs
 * neither processor time nor a delay. Any slot may run inside a wait and begin a wait of its own on top of it; the
 * lower one goes on when the upper one has ended.
 *
 * depth() is what protects the lists: while it is not 0 there are frames on the stack that hold nodes and records, and
 * nothing may be destroyed under them. idle() is emitted when the last of them is about to return.
 */
class WaitLoop : public QObject
{
    Q_OBJECT

public:
    enum class Outcome {
        Reached, ///< the condition came true in time
        TimedOut, ///< the limit passed; also when the condition came true only then
        Released ///< the application is ending
    };

    /// Waits until `reached` returns true, `limit` milliseconds at most (-1: no limit).
    Outcome waitUntil(const std::function<bool()> &reached, int limit = -1);

    /// How many waits are on the stack.
    [[nodiscard]] int depth() const { return m_depth; }

Q_SIGNALS:
    void idle();

private:
    int m_depth = 0;
};

#endif
