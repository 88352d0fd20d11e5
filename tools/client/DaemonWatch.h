#ifndef DAEMON_WATCH_H
#define DAEMON_WATCH_H

#include "client/Records.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>

/**
 * Follows the modules' states without a gap and without a repetition.
 *
 * It subscribes first and asks for the present state then. Both come over one connection in the order in which the
 * daemon sent them, so a change that arrives before the answer is already part of it: such a change is told as it
 * comes, and from the answer only what has not been told. The same begins anew whenever a daemon appears on the bus.
 */
class DaemonWatch : public QObject
{
    Q_OBJECT

public:
    explicit DaemonWatch(const QDBusConnection &connection);

    void begin();

Q_SIGNALS:
    void appeared();
    void vanished();
    void busLost();
    /// What a module's state is when it is first seen.
    void present(const QString &name, const QString &state);
    void changed(const QString &name, const QString &oldState, const QString &newState);
    void stepDone(int value, const QString &name);
    /// The daemon answered with an error instead of its modules.
    void refused(const QString &text);

private Q_SLOTS:
    void ownerChanged(const QString &name, const QString &oldOwner, const QString &newOwner);
    void moduleStateChanged(const QString &name, const QString &oldState, const QString &newState,
                            const QDBusMessage &message);
    void stepReached(int value, const QString &name, const QDBusMessage &message);

private:
    void daemonIs(const QString &owner);
    void readPresent();

    QDBusConnection m_connection;
    QString m_owner;
    QHash<QString, QString> m_states; ///< as told so far, of this daemon
};

#endif
