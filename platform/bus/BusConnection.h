#ifndef BUS_CONNECTION_H
#define BUS_CONNECTION_H

#include "bus/BusMessage.h"
#include "bus/BusOutbox.h"
#include "bus/BusWatches.h"
#include "bus/CallLimiter.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QTimer>

#include <deque>
#include <functional>

struct DBusConnection;

struct BusLimits
{
    int answer = 5000; ///< milliseconds that the bus has to answer a new connection
    int callsPerSecond = 1000; ///< method calls of one sender; those beyond are refused
    int messagesPerTurn = 64; ///< handled before the event loop gets its turn
    int millisecondsPerTurn = 5;
    int heldCalls = 4000; ///< that come during a synchronous call; those beyond are refused
    long received = 2L * 1024 * 1024; ///< bytes; beyond them nothing more is read
    long queued = 4L * 1024 * 1024; ///< bytes that the bus has not taken; beyond them nothing more is sent
};

/**
 * A connection of its own to the system bus, in the thread of the event loop, which it never keeps from its other work:
 *
 * - Nothing but callAndWait() and close() waits for the bus, and these have a limit. A bus that accepts connections and
 *   never answers is a connection that never opens.
 * - Messages are handled a few at a time. Between them the event loop serves descriptors, timers and posted events,
 *   however fast messages come; what is not read yet waits in the socket.
 * - Handlers may run nested event loops, in which the next messages are handled, and may close or destroy this.
 *
 *     closed   --open()-->                                  opening
 *     opening  --the bus answers: opened()-->               open
 *     opening  --refused, or no answer in time: closed()--> closed
 *     open     --the bus is lost: closed()-->               closed
 *     any      --close()-->                                 closed
 */
class BusConnection : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<void(BusMessage)>;

    explicit BusConnection(const BusLimits &limits = BusLimits());
    ~BusConnection() override;

    /// Gets every signal and every method call that is not refused.
    void setHandler(const Handler &handler) { m_handler = handler; }

    /// True when it is under way; opened() or closed() follows. False when nobody listens, see errorText().
    bool open();
    /// Gives what was sent so many milliseconds to reach the bus, and leaves it. Emits nothing.
    void close(int limit = 1000);

    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    [[nodiscard]] bool isClosed() const { return !m_connection; }
    [[nodiscard]] QString errorText() const { return m_errorText; }
    /// Grows with every connection: a reply goes only to the one that its call came over.
    [[nodiscard]] quint64 generation() const { return m_generation; }

    /// False when it is closed, or when the bus does not take what was sent before. See BusOutbox for the moment of the
    /// write.
    bool send(const BusMessage &message);
    /// Sends a method call. `reply` is called later, once, with the reply or, after `limit` milliseconds or when the
    /// connection is lost or closed, with an error; not when this is destroyed. False when it cannot be sent: no reply
    /// comes.
    bool call(const BusMessage &message, int limit, const Handler &reply);
    /**
     * Sends a method call and waits for its reply, `limit` milliseconds at most, in which nothing else of the process
     * runs. Messages that come meanwhile are handled afterwards. Always returns a reply, if need be an error of its
     * own.
     */
    [[nodiscard]] BusMessage callAndWait(const BusMessage &message, int limit);

    /// For all connections: while `isInterrupted` is true, callAndWait() does not wait. A signal handler that
    /// makes it true ends the wait at once.
    static void setInterruption(bool (*isInterrupted)());

Q_SIGNALS:
    void opened();
    void closed();

private:
    struct PendingCall
    {
        Handler reply;
        QTimer *limit;
    };

    void greet();
    void lose(const QString &reason);
    void drop();
    void readAndDispatch(quintptr watch);
    void dispatch();
    void rest();
    [[nodiscard]] BusMessage pop();
    [[nodiscard]] bool hasMore() const;
    [[nodiscard]] bool admits(const BusMessage &message, bool isHeld = false);
    void handle(BusMessage message);
    void expect(quint32 serial, int limit, const Handler &reply);
    void finish(quint32 serial, BusMessage reply);
    [[nodiscard]] quint32 sendNumbered(const BusMessage &message);
    [[nodiscard]] BusMessage waitForReply(quint32 serial, int limit);
    void hold(BusMessage message);

    const BusLimits m_limits;
    Handler m_handler;
    BusWatches m_watches;
    BusOutbox m_outbox;
    DBusConnection *m_connection = nullptr;
    CallLimiter m_limiter;
    QHash<quint32, PendingCall> m_pending;
    std::deque<BusMessage> m_held; ///< came during a synchronous call
    QTimer m_more; ///< runs while there are messages to handle that were read already
    QElapsedTimer m_busy;
    QString m_errorText;
    quint64 m_generation = 0;
    quint32 m_lastSerial = 0;
    bool m_isOpen = false;
};

#endif
