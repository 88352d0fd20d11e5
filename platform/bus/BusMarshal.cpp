#include "bus/BusMarshal.h"

#include "bus/BusTypes.h"

#include <QStringList>

#include <dbus/dbus.h>

namespace {

void appendValue(DBusMessageIter *out, const QVariant &value);

void appendText(DBusMessageIter *out, int code, const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    const char *data = utf8.constData();
    dbus_message_iter_append_basic(out, code, &data);
}

template <typename T>
void appendNumber(DBusMessageIter *out, int code, T number)
{
    dbus_message_iter_append_basic(out, code, &number);
}

void appendBasic(DBusMessageIter *out, int code, const QVariant &value)
{
    switch (code) {
    case DBUS_TYPE_BYTE:
        return appendNumber(out, code, value.value<unsigned char>());
    case DBUS_TYPE_BOOLEAN:
        return appendNumber(out, code, dbus_bool_t(value.toBool()));
    case DBUS_TYPE_INT16:
        return appendNumber(out, code, value.value<dbus_int16_t>());
    case DBUS_TYPE_UINT16:
        return appendNumber(out, code, value.value<dbus_uint16_t>());
    case DBUS_TYPE_INT32:
        return appendNumber(out, code, dbus_int32_t(value.toInt()));
    case DBUS_TYPE_UINT32:
        return appendNumber(out, code, dbus_uint32_t(value.toUInt()));
    case DBUS_TYPE_INT64:
        return appendNumber(out, code, dbus_int64_t(value.toLongLong()));
    case DBUS_TYPE_UINT64:
        return appendNumber(out, code, dbus_uint64_t(value.toULongLong()));
    case DBUS_TYPE_DOUBLE:
        return appendNumber(out, code, value.toDouble());
    case DBUS_TYPE_OBJECT_PATH:
        return appendText(out, code, value.value<BusObjectPath>().path);
    case DBUS_TYPE_SIGNATURE:
        return appendText(out, code, value.value<BusSignature>().signature);
    default:
        return appendText(out, code, value.toString());
    }
}

void appendVariant(DBusMessageIter *out, const QVariant &value)
{
    DBusMessageIter inner;
    dbus_message_iter_open_container(out, DBUS_TYPE_VARIANT, BusTypes::signatureOf(value.userType()).constData(),
                                     &inner);
    appendValue(&inner, value);
    dbus_message_iter_close_container(out, &inner);
}

void appendBytes(DBusMessageIter *out, const QByteArray &bytes)
{
    DBusMessageIter inner;
    const char *data = bytes.constData();
    dbus_message_iter_open_container(out, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE_AS_STRING, &inner);
    dbus_message_iter_append_fixed_array(&inner, DBUS_TYPE_BYTE, &data, bytes.size());
    dbus_message_iter_close_container(out, &inner);
}

void appendMap(DBusMessageIter *out, const QVariantMap &map)
{
    DBusMessageIter entries;
    dbus_message_iter_open_container(out, DBUS_TYPE_ARRAY, "{sv}", &entries);
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        DBusMessageIter inner;
        dbus_message_iter_open_container(&entries, DBUS_TYPE_DICT_ENTRY, nullptr, &inner);
        appendText(&inner, DBUS_TYPE_STRING, entry.key());
        appendVariant(&inner, entry.value());
        dbus_message_iter_close_container(&entries, &inner);
    }
    dbus_message_iter_close_container(out, &entries);
}

void appendAs(DBusMessageIter *out, DBusSignatureIter *type, const QVariant &value);

void appendArray(DBusMessageIter *out, DBusSignatureIter *element, const QVariant &value)
{
    char *signature = dbus_signature_iter_get_signature(element);
    DBusMessageIter inner;
    dbus_message_iter_open_container(out, DBUS_TYPE_ARRAY, signature, &inner);
    dbus_free(signature);
    const QVariantList elements = value.toList();
    for (const QVariant &each : elements) {
        DBusSignatureIter same = *element;
        appendAs(&inner, &same, each);
    }
    dbus_message_iter_close_container(out, &inner);
}

void appendAs(DBusMessageIter *out, DBusSignatureIter *type, const QVariant &value)
{
    const int code = dbus_signature_iter_get_current_type(type);
    if (code == DBUS_TYPE_VARIANT) {
        const bool isWrapped = value.userType() == qMetaTypeId<BusVariant>();
        return appendVariant(out, isWrapped ? value.value<BusVariant>().value : value);
    }
    if (dbus_type_is_basic(code)) {
        return appendBasic(out, code, value);
    }
    DBusSignatureIter element;
    dbus_signature_iter_recurse(type, &element);
    if (code == DBUS_TYPE_STRUCT) {
        DBusMessageIter inner;
        dbus_message_iter_open_container(out, DBUS_TYPE_STRUCT, nullptr, &inner);
        const QVariantList fields = value.toList();
        for (const QVariant &field : fields) {
            appendAs(&inner, &element, field);
            dbus_signature_iter_next(&element);
        }
        dbus_message_iter_close_container(out, &inner);
        return;
    }
    switch (dbus_signature_iter_get_current_type(&element)) {
    case DBUS_TYPE_BYTE:
        return appendBytes(out, value.toByteArray());
    case DBUS_TYPE_DICT_ENTRY:
        return appendMap(out, value.toMap());
    default:
        return appendArray(out, &element, value);
    }
}

void appendValue(DBusMessageIter *out, const QVariant &value)
{
    const int type = value.userType();
    const QByteArray signature = BusTypes::signatureOf(type);
    DBusSignatureIter iterator;
    dbus_signature_iter_init(&iterator, signature.constData());
    const BusTypes::Record *record = BusTypes::record(type);
    appendAs(out, &iterator, record ? record->toPlain(value) : value);
}

template <typename T>
T basic(DBusMessageIter *in)
{
    T value{};
    dbus_message_iter_get_basic(in, &value);
    return value;
}

QVariant readValue(DBusMessageIter *in);

QVariant readElements(DBusMessageIter *in)
{
    QVariantList list;
    DBusMessageIter inner;
    dbus_message_iter_recurse(in, &inner);
    for (; dbus_message_iter_get_arg_type(&inner) != DBUS_TYPE_INVALID; dbus_message_iter_next(&inner)) {
        list.append(readValue(&inner));
    }
    return list;
}

QVariant readMap(DBusMessageIter *in)
{
    QVariantMap map;
    DBusMessageIter entries;
    dbus_message_iter_recurse(in, &entries);
    for (; dbus_message_iter_get_arg_type(&entries) != DBUS_TYPE_INVALID; dbus_message_iter_next(&entries)) {
        DBusMessageIter entry;
        dbus_message_iter_recurse(&entries, &entry);
        const QString key = readValue(&entry).toString();
        dbus_message_iter_next(&entry);
        map.insert(key, readValue(&entry));
    }
    return map;
}

QVariant readArray(DBusMessageIter *in)
{
    switch (dbus_message_iter_get_element_type(in)) {
    case DBUS_TYPE_BYTE: {
        DBusMessageIter inner;
        dbus_message_iter_recurse(in, &inner);
        const char *data = nullptr;
        int size = 0;
        dbus_message_iter_get_fixed_array(&inner, &data, &size);
        return QByteArray(data, size);
    }
    case DBUS_TYPE_STRING:
    case DBUS_TYPE_OBJECT_PATH:
    case DBUS_TYPE_SIGNATURE:
        return readElements(in).toStringList();
    case DBUS_TYPE_DICT_ENTRY:
        return readMap(in);
    default:
        return readElements(in);
    }
}

QVariant readValue(DBusMessageIter *in)
{
    switch (dbus_message_iter_get_arg_type(in)) {
    case DBUS_TYPE_BYTE:
        return QVariant::fromValue(basic<unsigned char>(in));
    case DBUS_TYPE_BOOLEAN:
        return bool(basic<dbus_bool_t>(in));
    case DBUS_TYPE_INT16:
        return QVariant::fromValue(short(basic<dbus_int16_t>(in)));
    case DBUS_TYPE_UINT16:
        return QVariant::fromValue(ushort(basic<dbus_uint16_t>(in)));
    case DBUS_TYPE_INT32:
        return int(basic<dbus_int32_t>(in));
    case DBUS_TYPE_UINT32:
        return uint(basic<dbus_uint32_t>(in));
    case DBUS_TYPE_INT64:
        return qlonglong(basic<dbus_int64_t>(in));
    case DBUS_TYPE_UINT64:
        return qulonglong(basic<dbus_uint64_t>(in));
    case DBUS_TYPE_DOUBLE:
        return basic<double>(in);
    case DBUS_TYPE_STRING:
    case DBUS_TYPE_OBJECT_PATH:
    case DBUS_TYPE_SIGNATURE:
        return QString::fromUtf8(basic<const char *>(in));
    case DBUS_TYPE_ARRAY:
        return readArray(in);
    case DBUS_TYPE_STRUCT:
        return readElements(in);
    case DBUS_TYPE_VARIANT: {
        DBusMessageIter inner;
        dbus_message_iter_recurse(in, &inner);
        return readValue(&inner);
    }
    default:
        return {};
    }
}

} // namespace

void BusMarshal::append(DBusMessage *message, const QVariant &value)
{
    DBusMessageIter out;
    dbus_message_iter_init_append(message, &out);
    appendValue(&out, value);
}

QVariantList BusMarshal::read(DBusMessage *message)
{
    QVariantList values;
    DBusMessageIter in;
    if (dbus_message_iter_init(message, &in)) {
        do {
            values.append(readValue(&in));
        } while (dbus_message_iter_next(&in));
    }
    return values;
}
