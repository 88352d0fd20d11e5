#include "app/TerminalBus.h"

#include "client/BusClient.h"
#include "contract/InspectionNames.h"
#include "qtdbus/BusExchange.h"

#include <jov/BusNames.h>

#include <QDBusPendingCallWatcher>
#include <QTimer>

#include <limits>

namespace {

const QString connectionName = QStringLiteral("simulator");

QDBusMessage message(const QString &interface, const QString &method)
{
    return QDBusMessage::createMethodCall(BusClient::service(), BusClient::path(), interface, method);
}

} // namespace

TerminalBus::TerminalBus()
    : m_bus(connectionName)
{ }

bool TerminalBus::connectTo(const QString &address)
{
    m_bus = QDBusConnection::connectToBus(address, connectionName);
    if (!m_bus.isConnected()) {
        QDBusConnection::disconnectFromBus(connectionName);
        return false;
    }
    exchangeWithBus(m_bus);
    return true;
}

void TerminalBus::inspect(const QString &method, const Answer &answer)
{
    if (!m_bus.isConnected()) {
        QTimer::singleShot(0, this, [answer] { answer({}); });
        return;
    }
    const QDBusMessage question = message(Inspect::interface, method);
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(question, std::numeric_limits<int>::max()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, answer] {
        watcher->deleteLater();
        answer(watcher->reply());
    });
}

void TerminalBus::stopDaemon()
{
    m_bus.send(message(BusNames::methodInterface(), QStringLiteral("stopManager")));
}

void TerminalBus::sendEvent(const QString &name, const QVariantMap &arguments)
{
    QDBusMessage signal =
        QDBusMessage::createSignal(QStringLiteral("/simulator"), BusNames::eventInterface(), BusNames::eventMember());
    signal << name << arguments;
    m_bus.send(signal);
}
