#ifndef EVENT_BUS_H
#define EVENT_BUS_H

#include "core/BusLink.h"
#include "core/EventSubscriptions.h"

#include <QDBusMessage>
#include <QObject>
#include <QSet>

/**
 * The events of a component, and its link to the bus that they come over.
 *
 * Which events the bus daemon passes on is a trade. While the component subscribes to few names each has a match rule
 * of its own, and nobody else's events wake it. The system bus allows 512 rules a connection, and QtDBus writes the
 * name into the rule neither escaped nor as UTF-8, so past thirty-two names, and for any name that is not plain ASCII,
 * one rule brings all events and the look-up is ours. A name keeps the rule that it was given; an event whose name has
 * one of its own is taken from that one alone, so none is lost or doubled when the other rule comes or goes.
 */
class EventBus : public QObject
{
    Q_OBJECT

public:
    /// `component` is the component's name, `object` what is served under it.
    EventBus(const QString &component, QObject *object);

    [[nodiscard]] BusLink &link() { return m_link; }
    [[nodiscard]] const BusLink &link() const { return m_link; }
    [[nodiscard]] EventSubscriptions &subscriptions() { return m_subscriptions; }
    /// False without a bus, and when the message holds what cannot travel.
    bool send(const QDBusMessage &message) const;

private Q_SLOTS:
    void slot_ownEvent(const QDBusMessage &message);
    void slot_anyEvent(const QDBusMessage &message);

private:
    void takeRules();
    void forgetRules();
    void takeRule(const QString &name);
    void dropRule(const QString &name);
    void deliver(const QString &name, const QDBusMessage &message);

    EventSubscriptions m_subscriptions;
    QSet<QString> m_ownNames; ///< names with a match rule of their own
    QSet<QString> m_sharedNames; ///< names behind the rule for all events, which is there while this is not empty
    BusLink m_link;
};

#endif
