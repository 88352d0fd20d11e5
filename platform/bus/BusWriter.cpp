#include "bus/BusWriter.h"

#include "bus/BusTypes.h"

#include <cstring>

#include <dbus/dbus.h>

namespace {

int alignmentOf(char code)
{
    switch (code) {
    case DBUS_TYPE_BYTE:
    case DBUS_TYPE_SIGNATURE:
    case DBUS_TYPE_VARIANT:
        return 1;
    case DBUS_TYPE_INT16:
    case DBUS_TYPE_UINT16:
        return 2;
    case DBUS_TYPE_INT64:
    case DBUS_TYPE_UINT64:
    case DBUS_TYPE_DOUBLE:
    case DBUS_STRUCT_BEGIN_CHAR:
    case DBUS_DICT_ENTRY_BEGIN_CHAR:
        return 8;
    default:
        return 4;
    }
}

/// Behind the first complete type of a signature.
const char *next(const char *type)
{
    while (*type == DBUS_TYPE_ARRAY) {
        ++type;
    }
    int depth = 0;
    do {
        depth += *type == DBUS_STRUCT_BEGIN_CHAR || *type == DBUS_DICT_ENTRY_BEGIN_CHAR ? 1 : 0;
        depth -= *type == DBUS_STRUCT_END_CHAR || *type == DBUS_DICT_ENTRY_END_CHAR ? 1 : 0;
        ++type;
    } while (depth > 0);
    return type;
}

} // namespace

void BusWriter::text(const QByteArray &utf8)
{
    const int size = int(qstrlen(utf8.constData()));
    number(quint32(size));
    m_bytes.append(utf8.constData(), size + 1);
}

void BusWriter::signature(const char *signature)
{
    const int size = int(qstrlen(signature));
    byte(size);
    m_bytes.append(signature, size + 1);
}

void BusWriter::value(const QVariant &value)
{
    const int type = value.userType();
    const BusTypes::Record *record = BusTypes::record(type);
    put(BusTypes::signatureOf(type).constData(), record ? record->toPlain(value) : value);
}

void BusWriter::variant(const QVariant &value)
{
    signature(BusTypes::signatureOf(value.userType()).constData());
    this->value(value);
}

void BusWriter::array(const char *element, const QVariant &value)
{
    number(quint32(0));
    const int lengthAt = m_bytes.size() - int(sizeof(quint32));
    align(alignmentOf(*element));
    const int start = m_bytes.size();
    if (*element == DBUS_TYPE_BYTE) {
        m_bytes.append(value.toByteArray());
    } else if (*element == DBUS_DICT_ENTRY_BEGIN_CHAR) {
        const QVariantMap map = value.toMap();
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
            align(alignmentOf(*element));
            text(entry.key().toUtf8());
            variant(entry.value());
        }
    } else {
        const QVariantList elements = value.toList();
        for (const QVariant &each : elements) {
            put(element, each);
        }
    }
    const auto length = quint32(m_bytes.size() - start);
    std::memcpy(m_bytes.data() + lengthAt, &length, sizeof length);
}

void BusWriter::structure(const char *type, const QVariant &value)
{
    align(alignmentOf(*type));
    const QVariantList fields = value.toList();
    int index = 0;
    for (++type; *type != DBUS_STRUCT_END_CHAR; type = next(type)) {
        put(type, fields.value(index++));
    }
}

void BusWriter::put(const char *type, const QVariant &value)
{
    switch (*type) {
    case DBUS_TYPE_VARIANT:
        return variant(value.userType() == qMetaTypeId<BusVariant>() ? value.value<BusVariant>().value : value);
    case DBUS_TYPE_ARRAY:
        return array(type + 1, value);
    case DBUS_STRUCT_BEGIN_CHAR:
        return structure(type, value);
    case DBUS_TYPE_BYTE:
        return number(value.value<unsigned char>());
    case DBUS_TYPE_BOOLEAN:
        return number(dbus_bool_t(value.toBool()));
    case DBUS_TYPE_INT16:
        return number(value.value<dbus_int16_t>());
    case DBUS_TYPE_UINT16:
        return number(value.value<dbus_uint16_t>());
    case DBUS_TYPE_INT32:
        return number(dbus_int32_t(value.toInt()));
    case DBUS_TYPE_UINT32:
        return number(dbus_uint32_t(value.toUInt()));
    case DBUS_TYPE_INT64:
        return number(dbus_int64_t(value.toLongLong()));
    case DBUS_TYPE_UINT64:
        return number(dbus_uint64_t(value.toULongLong()));
    case DBUS_TYPE_DOUBLE:
        return number(value.toDouble());
    case DBUS_TYPE_OBJECT_PATH:
        return text(value.value<BusObjectPath>().path.toUtf8());
    case DBUS_TYPE_SIGNATURE:
        return signature(value.value<BusSignature>().signature.toUtf8().constData());
    default:
        return text(value.toString().toUtf8());
    }
}
