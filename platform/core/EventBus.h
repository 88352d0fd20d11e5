#ifndef EVENT_BUS_H
#define EVENT_BUS_H

#include "core/Announcements.h"
#include "core/BusLink.h"
#include "core/EventSubscriptions.h"

#include <QObject>
#include <QSet>

/**
 * The events of a component, and its link to the bus that they come over.
 *
 * Each of a few names has a match rule of its own, so that nobody else's events wake the component. If there are more,
 * or one that is too long for a rule, a single rule brings all events from then on, until no subscription is left.
 * The look-up is ours in any case, so an event comes once whatever rules there are.
 *
 * A rule is requested without waiting for an answer. The bus takes what one connection sends in order: the rule holds
 * for all that happens because of what is sent after it.
 */
class EventBus : public QObject
{
    Q_OBJECT

public:
    /// `component` is the component's name, `target` what is served under it.
    EventBus(const QString &component, QObject &target);

    [[nodiscard]] BusLink &link() { return m_link; }
    [[nodiscard]] EventSubscriptions &subscriptions() { return m_subscriptions; }

    /// False without a bus, and when it holds what cannot travel.
    bool notify(const QString &name, const QVariantMap &arguments);
    /// Gives an event that came from the bus to its subscribers; other signals are left alone.
    void receive(BusMessage signal);

private:
    void takeRules();
    void forgetRules();
    void takeRule(const QString &name);
    void dropRule(const QString &name);
    void sendRule(const char *method, const QString &rule);

    const QString m_path;
    EventSubscriptions m_subscriptions;
    QSet<QString> m_ownNames; ///< names with a match rule of their own
    bool m_hasCommonRule = false; ///< and no other
    BusLink m_link;
    Announcements m_announcements;
};

#endif
