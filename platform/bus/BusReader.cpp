#include "bus/BusReader.h"

#include <QStringList>

#include <dbus/dbus.h>

namespace {

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

QVariantList BusReader::read(DBusMessage *message)
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
