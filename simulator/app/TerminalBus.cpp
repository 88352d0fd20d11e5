#include "app/TerminalBus.h"

#include "client/BusClient.h"
#include "contract/InspectionNames.h"
#include "qtdbus/BusExchange.h"

#include <jov/BusNames.h>

namespace {

constexpr int replyLimit = 5000; // ms

QDBusMessage message(const QString &interface, const QString &method)
{
    return QDBusMessage::createMethodCall(BusClient::service(), BusClient::path(), interface, method);
}

} // namespace

bool TerminalBus::connectTo(const QString &address)
{
    m_bus = QDBusConnection::connectToBus(address, QStringLiteral("simulator"));
    exchangeWithBus(m_bus);
    return m_bus.isConnected();
}

QDBusMessage TerminalBus::inspect(const QString &method) const
{
    return m_bus.call(message(Inspect::interface, method), QDBus::Block, replyLimit);
}

void TerminalBus::stopDaemon() const
{
    m_bus.send(message(BusNames::methodInterface(), QStringLiteral("stopManager")));
}

void TerminalBus::sendEvent(const QString &name, const QVariantMap &arguments) const
{
    QDBusMessage signal =
        QDBusMessage::createSignal(QStringLiteral("/simulator"), BusNames::eventInterface(), BusNames::eventMember());
    signal << name << arguments;
    m_bus.send(signal);
}
