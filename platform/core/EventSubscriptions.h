#ifndef EVENT_SUBSCRIPTIONS_H
#define EVENT_SUBSCRIPTIONS_H

#include "core/EventSlot.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QVector>

/**
 * Who wants which event. Knows nothing of the bus.
 *
 * A slot may subscribe, unsubscribe, delete receivers (also the owner of this) and turn the event loop while an event
 * is being delivered: a subscription is looked at again right before its call, and one made during the delivery gets
 * the next event.
 */
class EventSubscriptions : public QObject
{
    Q_OBJECT

public:
    /// False when the receiver has no slot that an event could be given to.
    bool add(const QString &name, QObject *receiver, const char *slot);
    /// False when there was no such subscription.
    bool remove(const QString &name, QObject *receiver, const char *slot);
    [[nodiscard]] bool contains(const QString &name) const { return m_subscriptions.contains(name); }
    [[nodiscard]] bool isEmpty() const { return m_subscriptions.isEmpty(); }
    [[nodiscard]] QStringList names() const { return m_subscriptions.keys(); }

    /// An exception that a slot throws is logged; the next receiver gets the event all the same.
    void deliver(const JovEvent &event);

Q_SIGNALS:
    /// The first subscription of this name was made.
    void nameTaken(const QString &name);
    /// The last one is gone, because it was removed or its receiver destroyed.
    void nameGone(const QString &name);

private:
    struct Subscription
    {
        quint64 number; ///< never given twice, so that a new one is not taken for its predecessor
        QObject *receiver;
        EventSlot slot;
    };

    void removeReceiver(const QObject *receiver);
    [[nodiscard]] bool isAlive(const QString &name, quint64 number) const;

    QHash<QString, QVector<Subscription>> m_subscriptions;
    QMultiHash<const QObject *, QString> m_names; ///< of each receiver, one for each of its subscriptions
    quint64 m_lastNumber = 0;
};

#endif
