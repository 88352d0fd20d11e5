#include "bus/SignalRelay.h"

SignalRelay::SignalRelay(const QObject *object, const Receiver &receiver)
    : m_object(object)
    , m_receiver(receiver)
{
    const QMetaObject *type = object->metaObject();
    const int firstSlot = QObject::staticMetaObject.methodCount();
    for (int i = firstSlot; i < type->methodCount(); ++i) {
        if (type->method(i).methodType() == QMetaMethod::Signal) {
            QMetaObject::connect(object, i, this, i, Qt::DirectConnection);
        }
    }
}

int SignalRelay::qt_metacall(QMetaObject::Call call, int id, void **arguments)
{
    const int own = QObject::qt_metacall(call, id, arguments);
    if (own < 0 || call != QMetaObject::InvokeMetaMethod) {
        return own;
    }
    // Each signal is connected to the slot of its own number.
    const QMetaMethod signal = m_object->metaObject()->method(id);
    QVariantList values;
    for (int i = 0; i < signal.parameterCount(); ++i) {
        values.append(QVariant(signal.parameterType(i), arguments[i + 1]));
    }
    m_receiver(signal, values);
    return -1;
}
