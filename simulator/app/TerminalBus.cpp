#include "TerminalBus.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>

#include <limits>

namespace {

const QString connectionName = QStringLiteral("simulator");
const QString daemonName = QStringLiteral("com.velmora.Jovara.ApplicationManager");
const QString daemonPath = QStringLiteral("/ApplicationManager");
const QString callInterface = QStringLiteral("com.velmora.Jovara.JovInterface");
const QString eventInterface = QStringLiteral("com.velmora.Jovara.JovEvent");
const QString eventMember = QStringLiteral("event");

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
    watchDaemon();
    return m_bus.connect(QString(), QString(), eventInterface, eventMember, this, SIGNAL(event(QString, QVariantMap)));
}

void TerminalBus::watchDaemon()
{
    auto *watcher = new QDBusServiceWatcher(
        daemonName, m_bus, QDBusServiceWatcher::WatchForRegistration | QDBusServiceWatcher::WatchForUnregistration,
        this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] {
        m_daemonIsThere = true;
        Q_EMIT daemonAppeared();
    });
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] { m_daemonIsThere = false; });
}

void TerminalBus::call(const QString &method, const QVariantList &arguments, const Answer &answer)
{
    QDBusMessage message = QDBusMessage::createMethodCall(daemonName, daemonPath, callInterface, method);
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
    QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/simulator"), eventInterface, eventMember);
    signal << name << arguments;
    m_bus.send(signal);
}
