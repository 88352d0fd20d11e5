#include "bus/BusObject.h"

#include "bus/BusConnection.h"
#include "bus/BusTypes.h"
#include "bus/SignalRelay.h"
#include "bus/StandardInterfaces.h"

#include <utility>

#include <dbus/dbus.h>

namespace {

constexpr char failedError[] = "com.velmora.Jovara.Error.Failed";

QString text(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes);
}

/// A call without an interface means any.
bool isCalled(const BusMessage &message, const char *interface, const char *member, const char *signature)
{
    const QByteArray name = message.interface();
    return (name.isEmpty() || name == interface) && message.member() == member && message.signature() == signature;
}

QString machineId()
{
    char *id = dbus_try_get_local_machine_id(nullptr);
    const QString result = QString::fromUtf8(id);
    dbus_free(id);
    return result;
}

} // namespace

BusObject::BusObject(BusConnection &connection, const QString &path, QObject &target, const Guard &guard)
    : m_connection(connection)
    , m_path(path)
    , m_target(target)
    , m_guard(guard)
    , m_isAlive(std::make_shared<bool>(true))
{ }

BusObject::~BusObject()
{
    *m_isAlive = false;
}

void BusObject::serve()
{
    if (m_isServed) {
        return;
    }
    m_isServed = true;
    const QObjectList children = m_target.children();
    for (QObject *child : children) {
        const BusInterface found = BusInterface::ofDescribed(child);
        if (!found.isNull()) {
            m_interfaces.push_back(found);
            m_relays.push_back(std::make_unique<SignalRelay>(
                child, [this, name = found.name()](const QMetaMethod &signal, const QVariantList &arguments) {
                    sendSignal(name, signal, arguments);
                }));
        }
    }
    const BusInterface own = BusInterface::ofScriptable(&m_target);
    if (!own.isNull()) {
        m_interfaces.push_back(own);
    }
}

void BusObject::sendSignal(const QByteArray &interface, const QMetaMethod &signal, const QVariantList &arguments)
{
    BusMessage message = BusMessage::signal(m_path, interface, signal.name());
    if (message.setArguments(arguments)) {
        m_connection.send(message);
    }
}

void BusObject::handle(BusMessage message)
{
    Call call{message.origin(), m_connection.generation(), nullptr, false};
    dispatch(std::move(message), call);
}

BusMessage BusObject::handleLocally(const BusMessage &message)
{
    BusMessage result;
    Call call{{QByteArray(), 1, true}, m_connection.generation(), &result, false};
    dispatch(message, call);
    return result;
}

void BusObject::dispatch(BusMessage message, Call &call)
{
    const QString path = text(message.path());
    const bool isOurs = m_isServed && path == m_path;
    const bool isAbove = m_isServed && path == QLatin1String("/");
    if (isCalled(message, DBUS_INTERFACE_PEER, "Ping", "")) {
        reply(call);
    } else if (isCalled(message, DBUS_INTERFACE_PEER, "GetMachineId", "")) {
        reply(call, {machineId()});
    } else if ((isOurs || isAbove) && isCalled(message, DBUS_INTERFACE_INTROSPECTABLE, "Introspect", "")) {
        const QString child = QStringLiteral("<node>\n  <node name=\"%1\"/>\n</node>\n").arg(m_path.mid(1));
        reply(call, {QLatin1String(StandardInterfaces::introspectionHead) + (isOurs ? introspection() : child)});
    } else if (!isOurs) {
        refuse(call, DBUS_ERROR_UNKNOWN_OBJECT, QStringLiteral("No such object path '%1'").arg(path));
    } else if (message.interface() == DBUS_INTERFACE_PROPERTIES) {
        dispatchProperties(message, call);
    } else {
        dispatchToSlot(std::move(message), call);
    }
}

const BusInterface *BusObject::interfaceOf(const QByteArray &name) const
{
    for (const BusInterface &interface : m_interfaces) {
        if (interface.name() == name && interface.object()) {
            return &interface;
        }
    }
    return nullptr;
}

void BusObject::dispatchToSlot(BusMessage message, Call &call)
{
    const QByteArray name = message.interface();
    bool isKnown = name.isEmpty() || name == DBUS_INTERFACE_PEER || name == DBUS_INTERFACE_INTROSPECTABLE;
    for (const BusInterface &interface : m_interfaces) {
        QObject *object = interface.object();
        if (!object || (!name.isEmpty() && interface.name() != name)) {
            continue;
        }
        isKnown = true;
        if (const BusInterface::Method *found = interface.find(message.member(), message.signature())) {
            const BusInterface::Method method = *found;
            const QVariantList values = message.arguments();
            // The slot may run for minutes, in which a large message would keep others from being received.
            message = BusMessage();
            invoke(method, object, values, call);
            return;
        }
    }
    if (!isKnown) {
        refuse(call, DBUS_ERROR_UNKNOWN_INTERFACE,
               QStringLiteral("No such interface '%1' at object path '%2'").arg(text(name), m_path));
        return;
    }
    refuseMethod(call, message);
}

void BusObject::refuseMethod(Call &call, const BusMessage &message)
{
    const QByteArray name = message.interface();
    const QString interface =
        name.isEmpty() ? QStringLiteral("any interface") : QStringLiteral("interface '%1'").arg(text(name));
    refuse(call, DBUS_ERROR_UNKNOWN_METHOD,
           QStringLiteral("No such method '%1' in %2 at object path '%3' (signature '%4')")
               .arg(text(message.member()), interface, m_path, text(message.signature())));
}

void BusObject::invoke(const BusInterface::Method &method, QObject *object, const QVariantList &values, Call &call)
{
    QVariantList arguments;
    for (int i = 0; i < values.size(); ++i) {
        const std::optional<QVariant> value = BusTypes::converted(values.at(i), method.types.at(i));
        if (!value) {
            refuse(call, DBUS_ERROR_INVALID_ARGS, QStringLiteral("argument %1 has a wrong form").arg(i + 1));
            return;
        }
        arguments.append(*value);
    }
    const bool hasResult = method.slot.returnType() != QMetaType::Void;
    QVariant result = hasResult ? QVariant(method.slot.returnType(), nullptr) : QVariant();
    QVector<void *> data{hasResult ? result.data() : nullptr};
    for (int i = 0; i < arguments.size(); ++i) {
        const bool wholeVariant = method.types.at(i) == QMetaType::QVariant;
        data.append(wholeVariant ? static_cast<void *>(&arguments[i]) : arguments[i].data());
    }
    const std::shared_ptr<bool> isAlive = m_isAlive;
    Call *const outer = std::exchange(m_current, &call);
    const std::optional<QString> error = m_guard(
        [&] { QMetaObject::metacall(object, QMetaObject::InvokeMetaMethod, method.slot.methodIndex(), data.data()); });
    if (!*isAlive) {
        return;
    }
    m_current = outer;
    if (error) {
        refuse(call, failedError, *error);
    } else {
        reply(call, hasResult ? QVariantList{result} : QVariantList());
    }
}

void BusObject::dispatchProperties(const BusMessage &message, Call &call)
{
    const QByteArray member = message.member();
    const QByteArray signature = message.signature();
    const QVariantList arguments = message.arguments();
    const QString name = arguments.value(0).toString();
    const QByteArray property = arguments.value(1).toString().toUtf8();
    const bool isGetAll = member == "GetAll" && signature == "s";
    const bool isGet = member == "Get" && signature == "ss";
    const bool isSet = member == "Set" && signature == "ssv";
    if (!isGetAll && !isGet && !isSet) {
        refuseMethod(call, message);
        return;
    }
    const BusInterface *interface = interfaceOf(name.toUtf8());
    if (!interface) {
        refuse(call, DBUS_ERROR_UNKNOWN_INTERFACE,
               QStringLiteral("Interface %1 was not found in object %2").arg(name, m_path));
    } else if (isGetAll) {
        reply(call, {interface->properties()});
    } else if (!interface->property(property).isValid()) {
        refuse(call, DBUS_ERROR_UNKNOWN_PROPERTY,
               QStringLiteral("Property %1.%2 was not found in object %3").arg(name, text(property), m_path));
    } else if (isGet) {
        const QVariant value = interface->property(property).read(interface->object());
        reply(call, {QVariant::fromValue(BusVariant{value})});
    } else {
        writeProperty(*interface, property, arguments.value(2), call);
    }
}

void BusObject::writeProperty(const BusInterface &interface, const QByteArray &name, const QVariant &value, Call &call)
{
    const QMetaProperty property = interface.property(name);
    const QString fullName = text(interface.name()) + u'.' + text(name);
    if (!property.isWritable()) {
        refuse(call, DBUS_ERROR_PROPERTY_READ_ONLY, QStringLiteral("Property %1 is read-only").arg(fullName));
    } else if (value.userType() != property.userType()) {
        refuse(call, DBUS_ERROR_INVALID_ARGS,
               QStringLiteral("Invalid arguments for writing to property %1").arg(fullName));
    } else if (!property.write(interface.object(), value) || property.read(interface.object()) != value) {
        // A setter says no by keeping the old value.
        refuse(call, DBUS_ERROR_INVALID_ARGS,
               QStringLiteral("Property %1 does not take the value %2").arg(fullName, value.toString()));
    } else {
        reply(call);
    }
}

void BusObject::failCall(const QString &reason)
{
    if (m_current) {
        refuse(*m_current, failedError, reason);
    }
}

void BusObject::reply(Call &call, const QVariantList &arguments)
{
    if (call.isAnswered || !call.origin.wantsReply) {
        return;
    }
    BusMessage message = BusMessage::reply(call.origin);
    if (message.setArguments(arguments)) {
        send(call, message);
    } else {
        refuse(call, failedError, QStringLiteral("the result cannot travel on the bus"));
    }
}

void BusObject::refuse(Call &call, const char *error, const QString &reason)
{
    if (!call.isAnswered && call.origin.wantsReply) {
        send(call, BusMessage::error(call.origin, error, reason));
    }
}

void BusObject::send(Call &call, const BusMessage &message)
{
    call.isAnswered = true;
    if (call.local) {
        *call.local = message;
    } else if (call.generation == m_connection.generation()) {
        m_connection.send(message);
    }
}

QString BusObject::introspection() const
{
    QByteArray xml = "<node>\n";
    for (const BusInterface &interface : m_interfaces) {
        xml += interface.introspection();
    }
    return text(xml + StandardInterfaces::properties + StandardInterfaces::introspectable + StandardInterfaces::peer
                + "</node>\n");
}
