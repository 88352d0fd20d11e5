#include "bus/BusMessage.h"

#include "bus/BusReader.h"
#include "bus/BusTypes.h"
#include "bus/BusWriter.h"

#include <dbus/dbus.h>

namespace {

// A null text of libdbus's becomes an empty one.
QByteArray textOf(const char *text)
{
    return QByteArray(text);
}

} // namespace

/// What a message to send is made of.
struct BusMessage::Draft
{
    int type;
    int flags;
    BusWriter fields; ///< of the header
    BusWriter body;

    void addField(int code, const char *valueType, const QByteArray &value)
    {
        fields.align(8);
        fields.byte(code);
        fields.signature(valueType);
        *valueType == DBUS_TYPE_SIGNATURE ? fields.signature(value.constData()) : fields.text(value);
    }
    void addName(int code, const QByteArray &name)
    {
        if (!name.isEmpty()) {
            addField(code, DBUS_TYPE_STRING_AS_STRING, name);
        }
    }
};

BusMessage::BusMessage(int type, int flags)
    : m_draft(std::make_shared<Draft>(Draft{type, flags, BusWriter(), BusWriter()}))
{ }

BusMessage::BusMessage(const BusMessage &other)
    : m_message(other.m_message ? dbus_message_ref(other.m_message) : nullptr)
    , m_draft(other.m_draft)
{ }

BusMessage::~BusMessage()
{
    if (m_message) {
        dbus_message_unref(m_message);
    }
}

BusMessage BusMessage::to(int type, int flags, const QByteArray &path, const QByteArray &interface,
                          const QByteArray &member)
{
    if (!dbus_validate_path(path.constData(), nullptr) || !dbus_validate_interface(interface.constData(), nullptr)
        || !dbus_validate_member(member.constData(), nullptr)) {
        return {};
    }
    BusMessage message(type, flags);
    message.m_draft->addField(DBUS_HEADER_FIELD_PATH, DBUS_TYPE_OBJECT_PATH_AS_STRING, path);
    message.m_draft->addName(DBUS_HEADER_FIELD_INTERFACE, interface);
    message.m_draft->addName(DBUS_HEADER_FIELD_MEMBER, member);
    return message;
}

BusMessage BusMessage::call(const QString &service, const QString &path, const QString &interface,
                            const QString &member)
{
    const QByteArray name = service.toUtf8();
    BusMessage message = to(DBUS_MESSAGE_TYPE_METHOD_CALL, 0, path.toUtf8(), interface.toUtf8(), member.toUtf8());
    if (message.isNull() || !dbus_validate_bus_name(name.constData(), nullptr)) {
        return {};
    }
    message.m_draft->addName(DBUS_HEADER_FIELD_DESTINATION, name);
    return message;
}

BusMessage BusMessage::busCall(const char *member, const QVariantList &arguments)
{
    BusMessage message = to(DBUS_MESSAGE_TYPE_METHOD_CALL, 0, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, member);
    message.m_draft->addName(DBUS_HEADER_FIELD_DESTINATION, DBUS_SERVICE_DBUS);
    return message.setArguments(arguments) ? message : BusMessage();
}

BusMessage BusMessage::signal(const QString &path, const QByteArray &interface, const QByteArray &member)
{
    return to(DBUS_MESSAGE_TYPE_SIGNAL, DBUS_HEADER_FLAG_NO_REPLY_EXPECTED, path.toUtf8(), interface, member);
}

BusMessage BusMessage::answer(int type, const Origin &origin)
{
    BusMessage message(type, DBUS_HEADER_FLAG_NO_REPLY_EXPECTED);
    BusWriter &fields = message.m_draft->fields;
    fields.byte(DBUS_HEADER_FIELD_REPLY_SERIAL);
    fields.signature(DBUS_TYPE_UINT32_AS_STRING);
    fields.number(origin.serial == 0 ? 1U : origin.serial);
    message.m_draft->addName(DBUS_HEADER_FIELD_DESTINATION, origin.sender);
    return message;
}

BusMessage BusMessage::reply(const Origin &origin)
{
    return answer(DBUS_MESSAGE_TYPE_METHOD_RETURN, origin);
}

BusMessage BusMessage::error(const Origin &origin, const char *name, const QString &text)
{
    BusMessage message = answer(DBUS_MESSAGE_TYPE_ERROR, origin);
    message.m_draft->addName(DBUS_HEADER_FIELD_ERROR_NAME, name);
    message.write({text});
    return message;
}

bool BusMessage::setArguments(const QVariantList &arguments)
{
    if (!m_draft || !BusTypes::canTravel(arguments)) {
        return false;
    }
    write(arguments);
    return true;
}

void BusMessage::write(const QVariantList &arguments)
{
    QByteArray signature;
    for (const QVariant &argument : arguments) {
        signature += BusTypes::signatureOf(argument.userType());
        m_draft->body.value(argument);
    }
    if (!signature.isEmpty()) {
        m_draft->addField(DBUS_HEADER_FIELD_SIGNATURE, DBUS_TYPE_SIGNATURE_AS_STRING, signature);
    }
}

void BusMessage::setWantsNoReply()
{
    m_draft->flags |= DBUS_HEADER_FLAG_NO_REPLY_EXPECTED;
}

QByteArray BusMessage::wire(quint32 serial) const
{
    constexpr char order = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? DBUS_LITTLE_ENDIAN : DBUS_BIG_ENDIAN;
    BusWriter bytes(m_draft->fields.bytes().size() + m_draft->body.bytes().size() + 32);
    for (const int byte : {int(order), m_draft->type, m_draft->flags, DBUS_MAJOR_PROTOCOL_VERSION}) {
        bytes.byte(byte);
    }
    bytes.number(quint32(m_draft->body.bytes().size()));
    bytes.number(serial);
    bytes.number(quint32(m_draft->fields.bytes().size()));
    bytes.append(m_draft->fields.bytes());
    bytes.align(8);
    bytes.append(m_draft->body.bytes());
    return bytes.bytes();
}

DBusMessage *BusMessage::parsed() const
{
    if (!m_message && m_draft) {
        const QByteArray bytes = wire(1);
        m_message = dbus_message_demarshal(bytes.constData(), bytes.size(), nullptr);
    }
    return m_message;
}

BusMessage::Type BusMessage::type() const
{
    const int received = m_message ? dbus_message_get_type(m_message) : DBUS_MESSAGE_TYPE_INVALID;
    switch (m_draft ? m_draft->type : received) {
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
    return {textOf(dbus_message_get_sender(parsed())), dbus_message_get_serial(m_message),
            !dbus_message_get_no_reply(m_message)};
}

quint32 BusMessage::replySerial() const
{
    return dbus_message_get_reply_serial(parsed());
}

QByteArray BusMessage::destination() const
{
    return textOf(dbus_message_get_destination(parsed()));
}

QByteArray BusMessage::path() const
{
    return textOf(dbus_message_get_path(parsed()));
}

QByteArray BusMessage::interface() const
{
    return textOf(dbus_message_get_interface(parsed()));
}

QByteArray BusMessage::member() const
{
    return textOf(dbus_message_get_member(parsed()));
}

QByteArray BusMessage::signature() const
{
    return textOf(dbus_message_get_signature(parsed()));
}

QString BusMessage::errorName() const
{
    return parsed() ? QString::fromUtf8(dbus_message_get_error_name(m_message)) : QString();
}

QVariantList BusMessage::arguments() const
{
    return parsed() ? BusReader::read(m_message) : QVariantList();
}

QString BusMessage::firstText() const
{
    DBusMessageIter in;
    if (!parsed() || !dbus_message_iter_init(m_message, &in)
        || dbus_message_iter_get_arg_type(&in) != DBUS_TYPE_STRING) {
        return {};
    }
    const char *text = nullptr;
    dbus_message_iter_get_basic(&in, &text);
    return QString::fromUtf8(text);
}

bool BusMessage::isSignal(const char *interface, const char *member) const
{
    return parsed() && dbus_message_is_signal(m_message, interface, member);
}
