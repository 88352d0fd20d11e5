#include "core/EventBus.h"

#include "qtdbus/EventValue.h"
#include "qtdbus/MatchText.h"

#include <jov/BusNames.h>
#include <jov/Log.h>

#include <QDBusArgument>

#include <algorithm>

namespace {

constexpr int mostOwnRules = 32;
const QString eventSignature = QStringLiteral("sa{sv}");

QString nameOf(const QDBusMessage &message)
{
    return message.arguments().value(0).toString();
}

// One rule and one hook of QtDBus; an empty `match` stands for all events.
void connectEvents(QDBusConnection connection, const QStringList &match, QObject *receiver, const char *slot)
{
    connection.connect(QString(), QString(), BusNames::eventInterface(), BusNames::eventMember(), match, eventSignature,
                       receiver, slot);
}

void disconnectEvents(QDBusConnection connection, const QStringList &match, QObject *receiver, const char *slot)
{
    connection.disconnect(QString(), QString(), BusNames::eventInterface(), BusNames::eventMember(), match,
                          eventSignature, receiver, slot);
}

} // namespace

EventBus::EventBus(const QString &component, QObject *object)
    : m_link(component, object)
{
    connect(&m_link, &BusLink::opened, this, &EventBus::takeRules);
    connect(&m_link, &BusLink::closed, this, &EventBus::forgetRules);
    connect(&m_subscriptions, &EventSubscriptions::nameTaken, this, &EventBus::takeRule);
    connect(&m_subscriptions, &EventSubscriptions::nameGone, this, &EventBus::dropRule);
}

bool EventBus::send(const QDBusMessage &message) const
{
    return m_link.isOpen() && EventValue::canTravel(message) && m_link.connection().send(message);
}

void EventBus::takeRules()
{
    const QStringList names = m_subscriptions.names();
    for (const QString &name : names) {
        takeRule(name);
    }
}

void EventBus::forgetRules()
{
    m_ownNames.clear();
    m_sharedNames.clear();
}

void EventBus::takeRule(const QString &name)
{
    if (!m_link.isOpen()) {
        return;
    }
    if (fitsMatchRule(name) && m_ownNames.size() < mostOwnRules) {
        m_ownNames.insert(name);
        connectEvents(m_link.connection(), {name}, this, SLOT(slot_ownEvent(QDBusMessage)));
        return;
    }
    if (m_sharedNames.isEmpty()) {
        connectEvents(m_link.connection(), {}, this, SLOT(slot_anyEvent(QDBusMessage)));
    }
    m_sharedNames.insert(name);
}

void EventBus::dropRule(const QString &name)
{
    if (m_ownNames.remove(name)) {
        disconnectEvents(m_link.connection(), {name}, this, SLOT(slot_ownEvent(QDBusMessage)));
    } else if (m_sharedNames.remove(name) && m_sharedNames.isEmpty()) {
        disconnectEvents(m_link.connection(), {}, this, SLOT(slot_anyEvent(QDBusMessage)));
    }
}

void EventBus::slot_ownEvent(const QDBusMessage &message)
{
    const QString name = nameOf(message);
    if (m_ownNames.contains(name)) {
        deliver(name, message);
    }
}

void EventBus::slot_anyEvent(const QDBusMessage &message)
{
    const QString name = nameOf(message);
    if (!m_ownNames.contains(name)) {
        deliver(name, message);
    }
}

void EventBus::deliver(const QString &name, const QDBusMessage &message)
{
    if (!m_subscriptions.contains(name)) {
        return;
    }
    if (message.signature() != eventSignature) {
        Log::debug("event %1 of %2 has the signature %3: ignored", name, message.service(), message.signature());
        return;
    }
    m_subscriptions.deliver(JovEvent(name, qdbus_cast<QVariantMap>(message.arguments().at(1))));
}
