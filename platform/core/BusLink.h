#ifndef BUS_LINK_H
#define BUS_LINK_H

#include "bus/BusConnection.h"
#include "bus/BusObject.h"

#include <QObject>
#include <QTimer>

/**
 * A component's link to the bus, with the name and the object that it has there.
 *
 * open() makes the first connection. From then on a lost bus is survived: closed() is emitted, new attempts are made,
 * the first at once and the next after pauses that grow from 10 ms to 1 s, opened() is emitted when there is a bus
 * again, and the name is taken back if takeName() was called before. While the bus is there no timer runs.
 */
class BusLink : public QObject
{
    Q_OBJECT

public:
    /// `target` is what is served as the component; it must outlive this, or live as its owner.
    BusLink(const QString &component, QObject &target);
    ~BusLink() override;

    /// opened() follows when there is a bus, failed() when nobody listens there or it does not answer for long.
    void open();
    /// Serves the object, then takes the name: who sees the name gets answers. nameTaken() or failed() follows. Without
    /// a bus it opens one first.
    void takeName();
    /// Waits until what was sent has reached the bus (1 s at most), and leaves it for good.
    void close();

    [[nodiscard]] bool isOpen() const { return m_connection.isOpen(); }
    [[nodiscard]] BusConnection &connection() { return m_connection; }
    [[nodiscard]] BusObject &object() { return m_object; }

    /// Gets the signals of others.
    void setSignalHandler(const BusConnection::Handler &handler) { m_signalHandler = handler; }
    bool send(const BusMessage &message) { return m_connection.send(message); }
    /// Also a call of the component's own object, which is answered at once.
    [[nodiscard]] BusMessage callAndWait(const BusMessage &call, int limit);

Q_SIGNALS:
    void opened();
    void closed();
    void nameTaken();
    /// Before the component has had its bus, or its name; nothing is tried again.
    void failed(const QString &reason);

private:
    void receive(BusMessage message);
    void connectionOpened();
    void connectionClosed();
    void tryAgain();
    void connectAgain();
    void requestName();
    void nameAnswered(const BusMessage &reply);
    void nameRefused(const QString &reason);

    const QString m_component;
    BusConnection m_connection;
    BusConnection::Handler m_signalHandler;
    BusObject m_object;
    QTimer m_retry;
    QTimer m_patience; ///< runs until the first bus, or the name, is there
    int m_pause = 0; ///< before the next attempt
    bool m_isLost = false; ///< logged
    bool m_wantsName = false;
    bool m_hasName = false;
    bool m_hadName = false;
    QString m_knownRefusal;
};

#endif
