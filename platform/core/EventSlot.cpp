#include "core/EventSlot.h"

#include "bus/BusTypes.h"

#include <jov/Log.h>

std::optional<EventSlot> EventSlot::find(const QObject *receiver, const char *slot)
{
    if (!receiver || !slot) {
        return std::nullopt;
    }
    // moc's table knows the type of a parameter by its name alone.
    static const int typeOfEvents = qRegisterMetaType<JovEvent>("JovEvent");
    Q_UNUSED(typeOfEvents)
    const char *signature = *slot == '1' ? slot + 1 : slot;
    const QMetaObject *type = receiver->metaObject();
    const QMetaMethod method = type->method(type->indexOfMethod(QMetaObject::normalizedSignature(signature)));
    const int parameters = method.parameterCount();
    const bool callable = method.isValid() && method.methodType() != QMetaMethod::Signal
        && (parameters == 0 || (parameters == 1 && method.parameterType(0) != QMetaType::UnknownType));
    return callable ? std::optional(EventSlot(method)) : std::nullopt;
}

void EventSlot::call(QObject *receiver, const JovEvent &event) const
{
    if (m_method.parameterCount() == 0) {
        m_method.invoke(receiver, Qt::AutoConnection);
        return;
    }
    if (m_method.parameterType(0) == qMetaTypeId<JovEvent>()) {
        m_method.invoke(receiver, Qt::AutoConnection, Q_ARG(JovEvent, event));
        return;
    }
    const std::optional<QVariant> value = valueFor(event);
    if (!value) {
        Log::warning("event %1 has no argument that fits %2: not delivered", event.getEvtName(),
                     QString::fromUtf8(m_method.methodSignature()));
        return;
    }
    const bool wholeVariant = m_method.parameterType(0) == QMetaType::QVariant;
    const void *data = wholeVariant ? static_cast<const void *>(&*value) : value->constData();
    m_method.invoke(receiver, Qt::AutoConnection, QGenericArgument(m_method.parameterTypes().constFirst(), data));
}

std::optional<QVariant> EventSlot::valueFor(const JovEvent &event) const
{
    const QVariantMap arguments = event.arguments();
    const auto named = arguments.constFind(QString::fromUtf8(m_method.parameterNames().constFirst()));
    if (named != arguments.cend()) {
        return BusTypes::converted(*named, m_method.parameterType(0));
    }
    if (arguments.size() == 1) {
        return BusTypes::converted(arguments.first(), m_method.parameterType(0));
    }
    return std::nullopt;
}
