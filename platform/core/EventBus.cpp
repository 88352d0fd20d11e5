#include "EventBus.h"

#include "BusNames.h"
#include "Log.h"

#include <QDBusError>
#include <QDBusMetaType>
#include <QRegularExpression>

#include <algorithm>

namespace {

constexpr int mostOwnRules = 32;
constexpr int retryInterval = 1000;

const QString eventSignature = QStringLiteral("sa{sv}");

bool isPlain(const QString &name)
{
    static const QRegularExpression plain(QStringLiteral("\\A[A-Za-z0-9_.-]+\\z"));
    return plain.match(name).hasMatch();
}

/// Nothing is exported for a class without scriptable slots, so that an adaptor alone is what a bus browser sees.
QDBusConnection::RegisterOptions exportOf(const QObject *object)
{
    const QMetaObject *type = object->metaObject();
    for (int i = QObject::staticMetaObject.methodCount(); i < type->methodCount(); ++i) {
        if (type->method(i).attributes() & QMetaMethod::Scriptable) {
            return QDBusConnection::ExportAdaptors | QDBusConnection::ExportScriptableContents;
        }
    }
    return QDBusConnection::ExportAdaptors;
}

QString newConnectionName(const QString &component)
{
    static int count = 0;
    return QStringLiteral("%1-%2").arg(component).arg(++count);
}

} // namespace

EventBus::EventBus(const QString &component, QObject *object)
    : m_component(component)
    , m_object(object)
    , m_connection(QString())
{
    m_retry.setInterval(retryInterval);
    connect(&m_retry, &QTimer::timeout, this, &EventBus::reopen);
}

EventBus::~EventBus()
{
    close();
}

bool EventBus::open()
{
    m_connectionName = newConnectionName(m_component);
    m_connection = QDBusConnection::connectToBus(QDBusConnection::SystemBus, m_connectionName);
    if (!m_connection.isConnected()) {
        m_errorText = m_connection.lastError().message();
        close();
        return false;
    }
    m_connection.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                         QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                         SLOT(lost()));
    const QStringList names = m_subscriptions.names();
    for (const QString &name : names) {
        matchName(name);
    }
    return true;
}

bool EventBus::takeName()
{
    // The object first: a name on the bus means an object that answers.
    if (!m_connection.registerObject(BusNames::object(m_component), m_object, exportOf(m_object))) {
        m_errorText = QStringLiteral("the object %1 cannot be served").arg(BusNames::object(m_component));
        return false;
    }
    if (!m_connection.registerService(BusNames::service(m_component))) {
        const QString reason = m_connection.lastError().message();
        m_errorText = reason.isEmpty()
            ? QStringLiteral("the bus name %1 is already owned: is another one running?")
                  .arg(BusNames::service(m_component))
            : QStringLiteral("the bus name %1 cannot be taken: %2").arg(BusNames::service(m_component), reason);
        m_connection.unregisterObject(BusNames::object(m_component));
        return false;
    }
    m_wantsName = true;
    return true;
}

void EventBus::close()
{
    m_connection = QDBusConnection(QString());
    if (!m_connectionName.isEmpty()) {
        QDBusConnection::disconnectFromBus(m_connectionName);
        m_connectionName.clear();
    }
    m_ownRules.clear();
    m_matchesAll = false;
}

void EventBus::lost()
{
    if (m_retry.isActive()) {
        return;
    }
    Log::error("%1: the bus is lost, trying again every second", m_component);
    m_retry.start();
}

void EventBus::reopen()
{
    close();
    if (!open() || (m_wantsName && !takeName())) {
        Log::debug("%1: %2", m_component, m_errorText);
        return;
    }
    m_retry.stop();
    Log::info("%1: the bus is there again", m_component);
}

bool EventBus::subscribe(const QString &name, QObject *receiver, const char *slot)
{
    const bool isNew = !m_subscriptions.contains(name);
    if (!m_subscriptions.add(name, receiver, slot)) {
        return false;
    }
    if (isNew && m_connection.isConnected()) {
        matchName(name);
    }
    return true;
}

bool EventBus::unsubscribe(const QString &name, QObject *receiver, const char *slot)
{
    const bool removed = m_subscriptions.remove(name, receiver, slot);
    if (removed && !m_subscriptions.contains(name) && m_ownRules.remove(name)) {
        switchRule(name, false);
    }
    return removed;
}

void EventBus::matchName(const QString &name)
{
    if (m_matchesAll || m_ownRules.contains(name)) {
        return;
    }
    if (isPlain(name) && m_ownRules.size() < mostOwnRules) {
        m_ownRules.insert(name);
        switchRule(name, true);
    } else {
        matchAll();
    }
}

bool EventBus::switchRule(const QString &name, bool on)
{
    const QString interface = BusNames::eventInterface();
    const QString member = BusNames::eventMember();
    const char *slot = SLOT(ownRuleEvent(QDBusMessage));
    return on ? m_connection.connect(QString(), QString(), interface, member, {name}, eventSignature, this, slot)
              : m_connection.disconnect(QString(), QString(), interface, member, {name}, eventSignature, this, slot);
}

void EventBus::matchAll()
{
    m_matchesAll = true;
    m_connection.connect(QString(), QString(), BusNames::eventInterface(), BusNames::eventMember(), QStringList(),
                         eventSignature, this, SLOT(anyEvent(QDBusMessage)));
}

void EventBus::ownRuleEvent(const QDBusMessage &message)
{
    deliver(message);
}

void EventBus::anyEvent(const QDBusMessage &message)
{
    if (!m_ownRules.contains(message.arguments().value(0).toString())) {
        deliver(message);
    }
}

void EventBus::deliver(const QDBusMessage &message)
{
    const QString name = message.arguments().value(0).toString();
    if (message.signature() != eventSignature || !m_subscriptions.contains(name)) {
        return;
    }
    m_subscriptions.deliver(JovEvent(name, qdbus_cast<QVariantMap>(message.arguments().at(1))));
}

bool EventBus::send(const QDBusMessage &message) const
{
    return m_connection.isConnected() && m_connection.send(message);
}

QString BusNames::element(const QString &component)
{
    QString element = component;
    const auto isPlainCharacter = [](QChar c) {
        return c == QLatin1Char('_') || (c.unicode() < 128 && c.isLetterOrNumber());
    };
    std::replace_if(
        element.begin(), element.end(), [&](QChar c) { return !isPlainCharacter(c); }, QLatin1Char('_'));
    if (!element.isEmpty() && element.at(0).isDigit()) {
        element.prepend(QLatin1Char('_'));
    }
    return element;
}
