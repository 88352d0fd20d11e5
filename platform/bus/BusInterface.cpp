#include "bus/BusInterface.h"

#include "bus/BusTypes.h"

#include <QMetaProperty>

namespace {

QByteArray classInfo(const QObject *object, const char *name)
{
    const QMetaObject *type = object->metaObject();
    const int index = type->indexOfClassInfo(name);
    return index < 0 ? QByteArray() : QByteArray(type->classInfo(index).value());
}

QByteArray argument(const char *direction, const QByteArray &signature, const QByteArray &name)
{
    return "      <arg" + (name.isEmpty() ? QByteArray() : " name=\"" + name + '"') + " type=\"" + signature
        + "\" direction=\"" + direction + "\"/>\n";
}

QByteArray describe(const BusInterface::Method &method)
{
    QByteArray xml = "    <method name=\"" + method.slot.name() + "\">\n";
    const QByteArray result = BusTypes::signatureOf(method.slot.returnType());
    if (!result.isEmpty()) {
        xml += argument("out", result, QByteArray());
    }
    const QList<QByteArray> names = method.slot.parameterNames();
    for (int i = 0; i < method.types.size(); ++i) {
        xml += argument("in", BusTypes::signatureOf(method.types.at(i)), names.at(i));
    }
    return xml + "    </method>\n";
}

} // namespace

BusInterface BusInterface::ofDescribed(QObject *object)
{
    BusInterface interface;
    interface.m_description = classInfo(object, "D-Bus Introspection");
    if (!interface.m_description.isEmpty()) {
        interface.m_name = classInfo(object, "D-Bus Interface");
        interface.m_object = object;
        interface.m_isDescribed = true;
        interface.addMethods(false);
    }
    return interface;
}

BusInterface BusInterface::ofScriptable(QObject *object)
{
    BusInterface interface;
    interface.m_object = object;
    interface.addMethods(true);
    if (!interface.m_methods.isEmpty()) {
        interface.m_name = classInfo(object, "D-Bus Interface");
    }
    return interface;
}

void BusInterface::addMethods(bool scriptableOnly)
{
    const QMetaObject *type = m_object->metaObject();
    for (int i = QObject::staticMetaObject.methodCount(); i < type->methodCount(); ++i) {
        Method method{type->method(i), QByteArray(), {}};
        const bool isOffered = method.slot.methodType() == QMetaMethod::Slot
            && method.slot.access() == QMetaMethod::Public
            && (!scriptableOnly || (method.slot.attributes() & QMetaMethod::Scriptable) != 0);
        bool isCallable =
            method.slot.returnType() == QMetaType::Void || !BusTypes::signatureOf(method.slot.returnType()).isEmpty();
        for (int parameter = 0; parameter < method.slot.parameterCount(); ++parameter) {
            const QByteArray signature = BusTypes::signatureOf(method.slot.parameterType(parameter));
            isCallable = isCallable && !signature.isEmpty();
            method.signature += signature;
            method.types.append(method.slot.parameterType(parameter));
        }
        if (isOffered && isCallable) {
            m_methods.insert(method.slot.name(), method);
            m_order.append(describe(method));
        }
    }
}

const BusInterface::Method *BusInterface::find(const QByteArray &member, const QByteArray &signature) const
{
    for (auto method = m_methods.constFind(member); method != m_methods.cend() && method.key() == member; ++method) {
        if (method->signature == signature) {
            return &*method;
        }
    }
    return nullptr;
}

QByteArray BusInterface::introspection() const
{
    if (m_isDescribed) {
        return m_description;
    }
    QByteArray xml = "  <interface name=\"" + m_name + "\">\n";
    for (const QByteArray &method : m_order) {
        xml += method;
    }
    return xml + "  </interface>\n";
}

QMetaProperty BusInterface::property(const QByteArray &name) const
{
    const QMetaObject *type = m_object ? m_object->metaObject() : &QObject::staticMetaObject;
    const int index = type->indexOfProperty(name.constData());
    return m_isDescribed && index >= QObject::staticMetaObject.propertyCount() ? type->property(index)
                                                                               : QMetaProperty();
}

QVariantMap BusInterface::properties() const
{
    QVariantMap values;
    const QMetaObject *type = m_object ? m_object->metaObject() : &QObject::staticMetaObject;
    for (int i = QObject::staticMetaObject.propertyCount(); m_isDescribed && i < type->propertyCount(); ++i) {
        values.insert(QString::fromLatin1(type->property(i).name()), type->property(i).read(m_object));
    }
    return values;
}
