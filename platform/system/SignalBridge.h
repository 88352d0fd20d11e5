#ifndef SIGNAL_BRIDGE_H
#define SIGNAL_BRIDGE_H

#include <QObject>
#include <QVector>

#include <vector>

/**
 * Brings signals of the system into the event loop. A signal that arrives several times before the loop reads it is
 * raised once. It is unblocked in the calling thread: the process may have been started with it blocked.
 *
 * The handlers stay for the life of the process, and a handler that was there before is still called. When the bridge
 * is destroyed, its signals only reach the filter. Of two bridges for one signal the later one has it.
 */
class SignalBridge : public QObject
{
    Q_OBJECT

public:
    /// Runs in the handler, while the bridge's other signals are blocked in the same thread: it must make only
    /// async-signal-safe calls. Returns whether the event loop gets the signal.
    using Filter = bool (*)(int signal);

    /// With a filter, which acts at once, a system call that is interrupted fails with EINTR; otherwise it goes on.
    explicit SignalBridge(const std::vector<int> &signalNumbers, Filter filter = nullptr);

Q_SIGNALS:
    /// The processes that sent it, or, for SIGCHLD, that have ended; some may be missing.
    void raised(int signal, const QVector<int> &senders);

private:
    void deliver();

    int m_readEnd = -1;
};

#endif
