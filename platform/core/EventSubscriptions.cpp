#include "EventSubscriptions.h"

#include "Log.h"

#include <QDBusVariant>

#include <algorithm>

namespace {

/// The value that a slot with one plain parameter gets; invalid when none can be told.
QVariant valueFor(const QMetaMethod &method, const JovEvent &event)
{
    const QVariantMap arguments = event.arguments();
    const auto named = arguments.constFind(QString::fromUtf8(method.parameterNames().constFirst()));
    QVariant value = named != arguments.cend() ? *named : arguments.size() == 1 ? arguments.first() : QVariant();
    if (value.userType() == qMetaTypeId<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    const int type = method.parameterType(0);
    if (value.userType() != type && !value.convert(type)) {
        return {};
    }
    return value;
}

} // namespace

QMetaMethod EventSubscriptions::findSlot(const QObject *receiver, const char *slot)
{
    if (!receiver || !slot || *slot == '\0') {
        return {};
    }
    qRegisterMetaType<JovEvent>("JovEvent");
    // SLOT() puts the digit in front.
    const char *signature = *slot == '1' ? slot + 1 : slot;
    const QMetaObject *type = receiver->metaObject();
    const QMetaMethod method = type->method(type->indexOfMethod(QMetaObject::normalizedSignature(signature)));
    const bool callable = method.isValid() && method.methodType() != QMetaMethod::Signal
        && (method.parameterCount() == 0
            || (method.parameterCount() == 1 && method.parameterType(0) != QMetaType::UnknownType));
    return callable ? method : QMetaMethod();
}

bool EventSubscriptions::add(const QString &name, QObject *receiver, const char *slot)
{
    const QMetaMethod method = findSlot(receiver, slot);
    if (!method.isValid()) {
        return false;
    }
    QList<Subscription> &list = m_subscriptions[name];
    const Subscription subscription{receiver, method};
    if (!list.contains(subscription)) {
        list.append(subscription);
    }
    return true;
}

bool EventSubscriptions::remove(const QString &name, QObject *receiver, const char *slot)
{
    const auto list = m_subscriptions.find(name);
    if (list == m_subscriptions.end()) {
        return false;
    }
    const bool removed = list->removeOne({receiver, findSlot(receiver, slot)});
    if (list->isEmpty()) {
        m_subscriptions.erase(list);
    }
    return removed;
}

void EventSubscriptions::deliver(const JovEvent &event)
{
    const QString name = event.getEvtName();
    const QList<Subscription> receivers = m_subscriptions.value(name);
    bool someGone = false;
    for (const Subscription &subscription : receivers) {
        if (!subscription.receiver) {
            someGone = true;
        } else if (m_subscriptions.value(name).contains(subscription)) {
            call(subscription, event);
        }
    }
    if (someGone) {
        removeGone(name);
    }
}

void EventSubscriptions::removeGone(const QString &name)
{
    const auto list = m_subscriptions.find(name);
    if (list == m_subscriptions.end()) {
        return;
    }
    list->erase(std::remove_if(list->begin(), list->end(), [](const Subscription &s) { return !s.receiver; }),
                list->end());
    if (list->isEmpty()) {
        m_subscriptions.erase(list);
    }
}

void EventSubscriptions::call(const Subscription &subscription, const JovEvent &event)
{
    const QMetaMethod &method = subscription.method;
    if (method.parameterCount() == 0) {
        method.invoke(subscription.receiver, Qt::DirectConnection);
    } else if (method.parameterType(0) == qMetaTypeId<JovEvent>()) {
        method.invoke(subscription.receiver, Qt::DirectConnection, Q_ARG(JovEvent, event));
    } else {
        const QVariant value = valueFor(method, event);
        if (!value.isValid()) {
            Log::warning("event '%1' has no argument that fits %2 : not delivered", event.getEvtName(),
                         QString::fromUtf8(method.methodSignature()));
            return;
        }
        method.invoke(subscription.receiver, Qt::DirectConnection,
                      QGenericArgument(value.typeName(), value.constData()));
    }
}
