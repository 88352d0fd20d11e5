#include "core/EventSubscriptions.h"

#include <jov/JovException.h>

#include <QPointer>

#include <algorithm>

bool EventSubscriptions::add(const QString &name, QObject *receiver, const char *slot)
{
    const std::optional<EventSlot> found = EventSlot::find(receiver, slot);
    if (!found) {
        return false;
    }
    QVector<Subscription> &list = m_subscriptions[name];
    const auto isSame = [&](const Subscription &s) { return s.receiver == receiver && s.slot == *found; };
    if (std::any_of(list.cbegin(), list.cend(), isSame)) {
        return true;
    }
    list.append({++m_lastNumber, receiver, *found});
    m_names.insert(receiver, name);
    connect(receiver, &QObject::destroyed, this, &EventSubscriptions::removeReceiver, Qt::UniqueConnection);
    if (list.size() == 1) {
        Q_EMIT nameTaken(name);
    }
    return true;
}

bool EventSubscriptions::remove(const QString &name, QObject *receiver, const char *slot)
{
    const auto list = m_subscriptions.find(name);
    const std::optional<EventSlot> found = EventSlot::find(receiver, slot);
    if (list == m_subscriptions.end() || !found) {
        return false;
    }
    const auto isSame = [&](const Subscription &s) { return s.receiver == receiver && s.slot == *found; };
    const auto subscription = std::find_if(list->begin(), list->end(), isSame);
    if (subscription == list->end()) {
        return false;
    }
    list->erase(subscription);
    m_names.remove(receiver, name);
    if (list->isEmpty()) {
        m_subscriptions.erase(list);
        Q_EMIT nameGone(name);
    }
    return true;
}

void EventSubscriptions::removeReceiver(const QObject *receiver)
{
    QStringList gone;
    const auto isOfReceiver = [&](const Subscription &s) { return s.receiver == receiver; };
    const QStringList names = m_names.values(receiver);
    m_names.remove(receiver);
    for (const QString &name : names) {
        const auto list = m_subscriptions.find(name);
        if (list == m_subscriptions.end()) {
            continue; // It had two slots for this name.
        }
        list->erase(std::remove_if(list->begin(), list->end(), isOfReceiver), list->end());
        if (list->isEmpty()) {
            gone.append(name);
            m_subscriptions.erase(list);
        }
    }
    for (const QString &name : qAsConst(gone)) {
        Q_EMIT nameGone(name);
    }
}

bool EventSubscriptions::isAlive(const QString &name, quint64 number) const
{
    const auto list = m_subscriptions.constFind(name);
    return list != m_subscriptions.cend()
        && std::any_of(list->cbegin(), list->cend(), [&](const Subscription &s) { return s.number == number; });
}

void EventSubscriptions::deliver(const JovEvent &event)
{
    const QPointer<EventSubscriptions> self(this);
    const QString name = event.getEvtName();
    const QVector<Subscription> list = m_subscriptions.value(name);
    for (const Subscription &subscription : list) {
        if (!isAlive(name, subscription.number)) {
            continue;
        }
        try {
            subscription.slot.call(subscription.receiver, event);
        } catch (JovException *thrown) { // NOLINT(misc-throw-by-value-catch-by-reference): the platform throws pointers
            logAndDelete(thrown);
        }
        if (!self) {
            return;
        }
    }
}
