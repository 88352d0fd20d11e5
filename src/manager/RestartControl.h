#ifndef RESTART_CONTROL_H
#define RESTART_CONTROL_H

#include <QObject>

class SupervisionState;

/// What a restart consists of, in this order.
class RestartSteps
{
public:
    virtual ~RestartSteps() = default;

    virtual void stopEverything() = 0;
    virtual void clearAllLists() = 0;
    /// A new start: nothing has failed, nothing is checked yet.
    virtual void beginStart() = 0;
    /// False when the files cannot be used: the daemon then ends.
    [[nodiscard]] virtual bool buildAll() = 0;
    virtual void startEverything() = 0;
    /// The start-up goes on where the stop has interrupted it.
    virtual void resumeProgression() = 0;
    virtual void endDaemon() = 0;
};

/**
 * Full restarts, and the reboot lock that can hold one back.
 *
 * A restart stops everything at once. Clearing the lists and starting again needs the stack to itself: frames of walks
 * and waits below would hold nodes that are gone. So during a wait the second half is delayed until the last
 * of them has returned. Requests in between are merged into one restart, and the end of the daemon takes
 * precedence.
 *
 *     idle       --request-->                    stopping
 *     stopping   --no wait below-->              starting
 *     stopping   --waits below, they return-->   starting
 *     starting   --request-->                    stopping, and so on
 */
class RestartControl : public QObject
{
    Q_OBJECT

public:
    /// What to do after the stop, the thorough one last: it covers the other.
    enum class Kind { None, StartAgain, Rebuild };

    RestartControl(SupervisionState &state, RestartSteps &steps);

    /// Stops everything, then starts again. When this returns it is done, or, where it had to be delayed, accepted.
    void request(Kind kind);

    /// A restart that the lock may hold back, and that is dropped before step 5.
    void requestUnlessLocked(int currentStep);
    void lock() { m_locked = true; }
    void unlock(int currentStep);
    void reset();

private:
    void _restartAll();
    void proceed();
    void startAgain(Kind kind);

    SupervisionState &m_state;
    RestartSteps &m_steps;
    Kind m_pending = Kind::None;
    bool m_requesting = false; ///< the stop of a request is on the stack
    bool m_locked = false; ///< the platform holds restarts back
    bool m_heldBack = false; ///< one was asked for under the lock
};

#endif
