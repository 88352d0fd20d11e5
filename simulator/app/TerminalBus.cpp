#include "TerminalBus.h"

#include "BusNames.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <limits>

namespace {

const QString connectionName = QStringLiteral("simulator");
const QString daemonComponent = QStringLiteral("ApplicationManager");

} // namespace

TerminalBus::TerminalBus()
    : m_bus(connectionName)
{
    registerDBusApplicationConfig();
}

bool TerminalBus::connectTo(const QString &address)
{
    m_bus = QDBusConnection::connectToBus(address, connectionName);
    if (!m_bus.isConnected()) {
        QDBusConnection::disconnectFromBus(connectionName);
        return false;
    }
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    return m_bus.connect(bus, QStringLiteral("/org/freedesktop/DBus"), bus, QStringLiteral("NameOwnerChanged"), this,
                         SLOT(ownerChanged(QString, QString, QString)))
        && m_bus.connect(QString(), QString(), BusNames::eventInterface(), BusNames::eventMember(), this,
                         SIGNAL(event(QString, QVariantMap)));
}

void TerminalBus::ownerChanged(const QString &service, const QString &, const QString &newOwner)
{
    if (service == BusNames::service(daemonComponent)) {
        m_daemonIsThere = !newOwner.isEmpty();
        if (m_daemonIsThere) {
            Q_EMIT daemonAppeared();
        }
    } else if (newOwner.isEmpty()) {
        Q_EMIT componentGone(service);
    }
}

void TerminalBus::call(const QString &method, const QVariantList &arguments, const Answer &answer)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        BusNames::service(daemonComponent), BusNames::object(daemonComponent), BusNames::methodInterface(), method);
    message.setArguments(arguments);
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message, std::numeric_limits<int>::max()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, answer] {
        watcher->deleteLater();
        answer(watcher->reply());
    });
}

void TerminalBus::listModules(const ListAnswer &answer)
{
    call(QStringLiteral("getModulesList"), {}, [answer](const QDBusMessage &reply) {
        const QDBusPendingReply<ListApplicationConfig> list(reply);
        answer(list.isValid() ? list.value() : ListApplicationConfig());
    });
}

void TerminalBus::sendEvent(const QString &name, const QVariantMap &arguments)
{
    QDBusMessage signal =
        QDBusMessage::createSignal(QStringLiteral("/simulator"), BusNames::eventInterface(), BusNames::eventMember());
    signal << name << arguments;
    m_bus.send(signal);
}
