#include "client/DaemonWatch.h"

#include "client/BusClient.h"
#include "contract/InspectionNames.h"

#include <QDBusPendingCallWatcher>

namespace {

const QString busService = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");

} // namespace

DaemonWatch::DaemonWatch(const QDBusConnection &connection)
    : m_connection(connection)
{ }

void DaemonWatch::begin()
{
    // The sender is checked on arrival: with a service name, QtDBus drops a new owner's first signals, because it
    // learns of the owner too late.
    m_connection.connect(QString(), BusClient::path(), Inspect::interface, Inspect::moduleStateChanged, this,
                         SLOT(moduleStateChanged(QString, QString, QString, QDBusMessage)));
    m_connection.connect(QString(), BusClient::path(), Inspect::interface, Inspect::stepDoneSignal, this,
                         SLOT(stepReached(int, QString, QDBusMessage)));
    m_connection.connect(busService, busPath, busService, QStringLiteral("NameOwnerChanged"), {BusClient::service()},
                         QString(), this, SLOT(ownerChanged(QString, QString, QString)));
    m_connection.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                         QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                         SIGNAL(busLost()));
    QDBusMessage question =
        QDBusMessage::createMethodCall(busService, busPath, busService, QStringLiteral("GetNameOwner"));
    question << BusClient::service();
    auto *watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(question), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusMessage reply = watcher->reply();
        daemonIs(reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toString() : QString());
    });
}

void DaemonWatch::ownerChanged(const QString &, const QString &, const QString &newOwner)
{
    daemonIs(newOwner);
}

void DaemonWatch::daemonIs(const QString &owner)
{
    if (owner == m_owner && !owner.isEmpty()) {
        return;
    }
    m_owner = owner;
    m_known.clear();
    if (owner.isEmpty()) {
        Q_EMIT vanished();
        return;
    }
    Q_EMIT appeared();
    readPresent();
}

void DaemonWatch::readPresent()
{
    const QDBusMessage question =
        QDBusMessage::createMethodCall(m_owner, BusClient::path(), Inspect::interface, Inspect::listModules);
    auto *watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(question), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, owner = m_owner] {
        watcher->deleteLater();
        if (owner != m_owner) {
            return;
        }
        const QDBusMessage reply = watcher->reply();
        if (reply.type() != QDBusMessage::ReplyMessage) {
            Q_EMIT refused(reply);
            return;
        }
        const ModuleList modules = readModules(reply);
        for (const ModuleInfo &module : modules) {
            if (!m_known.contains(module.name)) {
                m_known.insert(module.name);
                Q_EMIT present(module.name, module.stateText);
            }
        }
    });
}

void DaemonWatch::moduleStateChanged(const QString &name, const QString &oldState, const QString &newState,
                                     const QDBusMessage &message)
{
    if (message.service() == m_owner) {
        m_known.insert(name);
        Q_EMIT changed(name, oldState, newState);
    }
}

void DaemonWatch::stepReached(int value, const QString &name, const QDBusMessage &message)
{
    if (message.service() == m_owner) {
        Q_EMIT stepDone(value, name);
    }
}
