#include "bus/BusMessage.h"

#include "bus/BusMarshal.h"
#include "bus/BusTypes.h"

#include <dbus/dbus.h>

namespace {

// A null text of libdbus's becomes an empty one.
QByteArray textOf(const char *text)
{
    return QByteArray(text);
}

} // namespace

BusMessage::BusMessage(const BusMessage &other)
    : m_message(other.m_message ? dbus_message_ref(other.m_message) : nullptr)
{ }

BusMessage::~BusMessage()
{
    if (m_message) {
        dbus_message_unref(m_message);
    }
}

BusMessage BusMessage::call(const QString &service, const QString &path, const QString &interface,
                            const QString &member)
{
    const QByteArray names[] = {service.toUtf8(), path.toUtf8(), interface.toUtf8(), member.toUtf8()};
    if (!dbus_validate_bus_name(names[0].constData(), nullptr) || !dbus_validate_path(names[1].constData(), nullptr)
        || !dbus_validate_interface(names[2].constData(), nullptr)
        || !dbus_validate_member(names[3].constData(), nullptr)) {
        return {};
    }
    return BusMessage(dbus_message_new_method_call(names[0].constData(), names[1].constData(), names[2].constData(),
                                                   names[3].constData()));
}

BusMessage BusMessage::busCall(const char *member, const QVariantList &arguments)
{
    BusMessage message(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, member));
    return message.setArguments(arguments) ? message : BusMessage();
}

BusMessage BusMessage::signal(const QString &path, const QString &interface, const QString &member)
{
    const QByteArray names[] = {path.toUtf8(), interface.toUtf8(), member.toUtf8()};
    if (!dbus_validate_path(names[0].constData(), nullptr) || !dbus_validate_interface(names[1].constData(), nullptr)
        || !dbus_validate_member(names[2].constData(), nullptr)) {
        return {};
    }
    return BusMessage(dbus_message_new_signal(names[0].constData(), names[1].constData(), names[2].constData()));
}

BusMessage BusMessage::reply(const Origin &origin)
{
    BusMessage message(dbus_message_new(DBUS_MESSAGE_TYPE_METHOD_RETURN));
    dbus_message_set_reply_serial(message.m_message, origin.serial == 0 ? 1 : origin.serial);
    if (!origin.sender.isEmpty()) {
        dbus_message_set_destination(message.m_message, origin.sender.constData());
    }
    dbus_message_set_no_reply(message.m_message, true);
    return message;
}

BusMessage BusMessage::error(const Origin &origin, const char *name, const QString &text)
{
    BusMessage message(dbus_message_new(DBUS_MESSAGE_TYPE_ERROR));
    dbus_message_set_reply_serial(message.m_message, origin.serial == 0 ? 1 : origin.serial);
    if (!origin.sender.isEmpty()) {
        dbus_message_set_destination(message.m_message, origin.sender.constData());
    }
    dbus_message_set_no_reply(message.m_message, true);
    dbus_message_set_error_name(message.m_message, name);
    BusMarshal::append(message.m_message, text);
    return message;
}

bool BusMessage::setArguments(const QVariantList &arguments)
{
    if (!m_message || !BusTypes::canTravel(arguments)) {
        return false;
    }
    for (const QVariant &argument : arguments) {
        BusMarshal::append(m_message, argument);
    }
    return true;
}

void BusMessage::setWantsNoReply()
{
    dbus_message_set_no_reply(m_message, true);
}

BusMessage::Type BusMessage::type() const
{
    switch (m_message ? dbus_message_get_type(m_message) : DBUS_MESSAGE_TYPE_INVALID) {
    case DBUS_MESSAGE_TYPE_METHOD_CALL:
        return Type::Call;
    case DBUS_MESSAGE_TYPE_METHOD_RETURN:
        return Type::Return;
    case DBUS_MESSAGE_TYPE_ERROR:
        return Type::Error;
    case DBUS_MESSAGE_TYPE_SIGNAL:
        return Type::Signal;
    default:
        return Type::Null;
    }
}

BusMessage::Origin BusMessage::origin() const
{
    return {textOf(dbus_message_get_sender(m_message)), dbus_message_get_serial(m_message),
            !dbus_message_get_no_reply(m_message)};
}

quint32 BusMessage::replySerial() const
{
    return dbus_message_get_reply_serial(m_message);
}

QByteArray BusMessage::destination() const
{
    return textOf(dbus_message_get_destination(m_message));
}

QByteArray BusMessage::path() const
{
    return textOf(dbus_message_get_path(m_message));
}

QByteArray BusMessage::interface() const
{
    return textOf(dbus_message_get_interface(m_message));
}

QByteArray BusMessage::member() const
{
    return textOf(dbus_message_get_member(m_message));
}

QByteArray BusMessage::signature() const
{
    return textOf(dbus_message_get_signature(m_message));
}

QString BusMessage::errorName() const
{
    return m_message ? QString::fromUtf8(dbus_message_get_error_name(m_message)) : QString();
}

QVariantList BusMessage::arguments() const
{
    return m_message ? BusMarshal::read(m_message) : QVariantList();
}

QString BusMessage::firstText() const
{
    DBusMessageIter in;
    if (!m_message || !dbus_message_iter_init(m_message, &in)
        || dbus_message_iter_get_arg_type(&in) != DBUS_TYPE_STRING) {
        return {};
    }
    const char *text = nullptr;
    dbus_message_iter_get_basic(&in, &text);
    return QString::fromUtf8(text);
}

bool BusMessage::isSignal(const char *interface, const char *member) const
{
    return m_message && dbus_message_is_signal(m_message, interface, member);
}
