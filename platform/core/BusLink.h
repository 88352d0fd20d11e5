#ifndef BUS_LINK_H
#define BUS_LINK_H

#include <QDBusConnection>
#include <QObject>
#include <QTimer>

/**
 * A component's connection to the bus, with the name and the object that it serves there.
 *
 * Closed until open() succeeds. From then on a lost bus is survived: closed() is emitted, a new try made every second,
 * opened() emitted when there is a bus again, and the name taken back if takeName() had ever got it. While the bus is
 * there no timer runs. Each connection is one of its own under a fresh name, because QtDBus cannot revive a broken one.
 */
class BusLink : public QObject
{
    Q_OBJECT

public:
    /// `object` is what is served as the component; it must outlive this, or live as its owner.
    BusLink(const QString &component, QObject *object);
    ~BusLink() override;

    /// True when there is a connection. A failure is not tried again by itself; the reason is in errorText().
    bool open();
    /// Serves the object, then takes the name: who sees the name gets answers. False, with the reason in errorText(),
    /// when somebody else owns it.
    bool takeName();
    /// Waits until what was sent has reached the bus (1 s at most), and leaves it for good.
    void close();

    [[nodiscard]] bool isOpen() const { return m_connection.isConnected(); }
    [[nodiscard]] QString errorText() const { return m_errorText; }
    [[nodiscard]] QDBusConnection connection() const { return m_connection; }

Q_SIGNALS:
    void opened();
    void closed();

private Q_SLOTS:
    void slot_disconnected();

private:
    void retry();
    void drop();

    const QString m_component;
    QObject *const m_object;
    QDBusConnection m_connection;
    QString m_connectionName;
    QString m_errorText;
    QTimer m_retry;
    bool m_wantsName = false;
    bool m_hasName = false;
};

#endif
