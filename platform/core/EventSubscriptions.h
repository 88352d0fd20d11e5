#ifndef EVENT_SUBSCRIPTIONS_H
#define EVENT_SUBSCRIPTIONS_H

#include "JovEvent.h"

#include <QHash>
#include <QList>
#include <QMetaMethod>
#include <QPointer>
#include <QStringList>

/**
 * Who wants which event, and how to call them. Knows nothing of the bus.
 *
 * A slot may subscribe, unsubscribe, delete receivers and turn the event loop while an event is being delivered: each
 * receiver is looked at again right before its call.
 */
class EventSubscriptions
{
public:
    /// False when the receiver has no slot that an event could be given to.
    bool add(const QString &name, QObject *receiver, const char *slot);
    bool remove(const QString &name, QObject *receiver, const char *slot);
    [[nodiscard]] bool contains(const QString &name) const { return m_subscriptions.contains(name); }
    [[nodiscard]] QStringList names() const { return m_subscriptions.keys(); }

    void deliver(const JovEvent &event);

private:
    struct Subscription
    {
        QPointer<QObject> receiver;
        QMetaMethod method;

        bool operator==(const Subscription &other) const
        {
            return receiver == other.receiver && method == other.method;
        }
    };

    static QMetaMethod findSlot(const QObject *receiver, const char *slot);
    static void call(const Subscription &subscription, const JovEvent &event);
    void removeGone(const QString &name);

    QHash<QString, QList<Subscription>> m_subscriptions;
};

#endif
