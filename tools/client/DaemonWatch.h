#ifndef DAEMON_WATCH_H
#define DAEMON_WATCH_H

#include "client/Records.h"

#include <QDBusConnection>
#include <QObject>
#include <QSet>

/**
 * Reports the states of the modules and every change, without gaps or repetitions.
 *
 * It subscribes first, then asks for the current states. The bus delivers both in the order in which the daemon sent
 * them, so the reply includes every change that arrived before it: of the reply only the modules are reported that no
 * change has reported. All this is repeated whenever a daemon appears on the bus.
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
    /// The state of a module that is reported for the first time.
    void present(const QString &name, const QString &state);
    void changed(const QString &name, const QString &oldState, const QString &newState);
    void stepDone(int value, const QString &name);
    /// The daemon answered ListModules with an error.
    void refused(const QDBusMessage &reply);

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
    QSet<QString> m_known; ///< the modules of this daemon that a signal has reported
};

#endif
