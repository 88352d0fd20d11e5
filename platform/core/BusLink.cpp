#include "core/BusLink.h"

#include "qtdbus/BusExchange.h"

#include <jov/BusNames.h>
#include <jov/Log.h>

#include <QDBusConnectionInterface>
#include <QDBusError>

namespace {

constexpr int retryInterval = 1000;

QString newConnectionName(const QString &component)
{
    static int count = 0;
    return QStringLiteral("%1-%2").arg(component, QString::number(++count));
}

} // namespace

BusLink::BusLink(const QString &component, QObject *object)
    : m_component(component)
    , m_object(object)
    , m_connection(QString())
{
    m_retry.setInterval(retryInterval);
    connect(&m_retry, &QTimer::timeout, this, &BusLink::retry);
}

BusLink::~BusLink()
{
    const QSignalBlocker silent(this);
    drop();
}

bool BusLink::open()
{
    if (isOpen()) {
        return true;
    }
    m_connectionName = newConnectionName(m_component);
    m_connection = QDBusConnection::connectToBus(QDBusConnection::SystemBus, m_connectionName);
    m_connection.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                         QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                         SLOT(slot_disconnected()));
    exchangeWithBus(m_connection);
    // Asked after the hook is set: a bus that went away before it would never be reported.
    if (!isOpen()) {
        m_errorText = m_connection.lastError().message();
        drop();
        return false;
    }
    Q_EMIT opened();
    return true;
}

bool BusLink::takeName()
{
    const QString object = BusNames::object(m_component);
    const QString service = BusNames::service(m_component);
    // The bus methods are those of the adaptors, or the scriptable slots of the class.
    const auto methods = QDBusConnection::ExportAdaptors | QDBusConnection::ExportScriptableSlots;
    if (!m_connection.registerObject(object, m_object, methods)) {
        m_errorText = QStringLiteral("the object %1 cannot be served").arg(object);
        return false;
    }
    if (!m_connection.registerService(service)) {
        const QDBusConnectionInterface *bus = m_connection.interface();
        const QDBusError error = bus ? bus->lastError() : m_connection.lastError();
        m_errorText = error.isValid()
            ? QStringLiteral("the bus name %1 cannot be taken: %2").arg(service, error.message())
            : QStringLiteral("the bus name %1 is already owned: is another one running?").arg(service);
        m_connection.unregisterObject(object);
        return false;
    }
    m_wantsName = true;
    m_hasName = true;
    m_errorText.clear();
    return true;
}

void BusLink::close()
{
    if (isOpen()) {
        // Only then may the object go: QtDBus's thread passes on the object's last signals by looking it up.
        exchangeWithBus(m_connection);
        // Not left to the end of the connection, which a slot that threw through QtDBus keeps alive.
        if (m_hasName) {
            m_connection.unregisterObject(BusNames::object(m_component));
            m_connection.unregisterService(BusNames::service(m_component));
        }
    }
    m_retry.stop();
    m_wantsName = false;
    drop();
}

void BusLink::drop()
{
    m_hasName = false;
    m_connection = QDBusConnection(QString());
    if (!m_connectionName.isEmpty()) {
        QDBusConnection::disconnectFromBus(m_connectionName);
        m_connectionName.clear();
        Q_EMIT closed();
    }
}

void BusLink::slot_disconnected()
{
    // The message of an earlier connection may come after the next one was made.
    if (isOpen() || m_connectionName.isEmpty()) {
        return;
    }
    Log::error("%1: the bus is lost, trying again every second", m_component);
    drop();
    m_retry.start();
}

void BusLink::retry()
{
    if (!open()) {
        return;
    }
    const QString knownError = m_errorText;
    if (m_wantsName && !m_hasName && !takeName()) {
        if (m_errorText != knownError) {
            Log::error("%1: %2", m_component, m_errorText);
        }
        return;
    }
    m_retry.stop();
    Log::info("%1: the bus is there again", m_component);
}
