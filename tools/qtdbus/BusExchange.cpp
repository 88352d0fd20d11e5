#include "qtdbus/BusExchange.h"

#include <QDBusConnection>
#include <QDBusMessage>

namespace {

constexpr int exchangeLimit = 1000; // milliseconds

} // namespace

void exchangeWithBus(const QDBusConnection &connection)
{
    const QDBusMessage ping =
        QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                       QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
    connection.call(ping, QDBus::Block, exchangeLimit);
}
