#include "bus/BusTypes.h"

#include <QHash>
#include <QStringList>

#include <algorithm>

#include <dbus/dbus.h>

namespace BusTypes {

namespace {

// A message nested deeper than 64 levels costs the sender its connection; a list in a list is two of them.
constexpr int deepestNesting = 16;

// The bus takes messages of up to 32 MB.
constexpr qint64 largestMessage = 16LL * 1024 * 1024;

template <typename T>
void addNumbers(QHash<int, Record> &records, const char *signature)
{
    const auto toPlain = [](const QVariant &list) {
        QVariantList plain;
        const auto numbers = list.value<QList<T>>();
        for (const T number : numbers) {
            plain.append(QVariant::fromValue(number));
        }
        return QVariant(plain);
    };
    const auto fromPlain = [](const QVariant &plain) {
        QList<T> numbers;
        const QVariantList elements = plain.toList();
        for (const QVariant &element : elements) {
            numbers.append(element.value<T>());
        }
        return QVariant::fromValue(numbers);
    };
    records.insert(qMetaTypeId<QList<T>>(), {signature, toPlain, fromPlain});
}

QVariant mapsToPlain(const QVariant &list)
{
    QVariantList plain;
    const auto maps = list.value<QList<QVariantMap>>();
    for (const QVariantMap &map : maps) {
        plain.append(map);
    }
    return plain;
}

QVariant mapsFromPlain(const QVariant &plain)
{
    QList<QVariantMap> maps;
    const QVariantList elements = plain.toList();
    for (const QVariant &element : elements) {
        maps.append(element.toMap());
    }
    return QVariant::fromValue(maps);
}

QHash<int, Record> builtInRecords()
{
    QHash<int, Record> records;
    addNumbers<bool>(records, "ab");
    addNumbers<short>(records, "an");
    addNumbers<ushort>(records, "aq");
    addNumbers<int>(records, "ai");
    addNumbers<uint>(records, "au");
    addNumbers<qlonglong>(records, "ax");
    addNumbers<qulonglong>(records, "at");
    addNumbers<double>(records, "ad");
    records.insert(qMetaTypeId<QList<QVariantMap>>(), {"aa{sv}", mapsToPlain, mapsFromPlain});
    return records;
}

QHash<int, Record> &records()
{
    static QHash<int, Record> all = builtInRecords();
    return all;
}

QHash<int, QByteArray> plainSignatures()
{
    return {{QMetaType::Bool, "b"},
            {QMetaType::UChar, "y"},
            {QMetaType::Short, "n"},
            {QMetaType::UShort, "q"},
            {QMetaType::Int, "i"},
            {QMetaType::UInt, "u"},
            {QMetaType::LongLong, "x"},
            {QMetaType::ULongLong, "t"},
            {QMetaType::Double, "d"},
            {QMetaType::QString, "s"},
            {QMetaType::QByteArray, "ay"},
            {QMetaType::QStringList, "as"},
            {QMetaType::QVariantList, "av"},
            {QMetaType::QVariantMap, "a{sv}"},
            {QMetaType::QVariant, "v"},
            {qMetaTypeId<BusVariant>(), "v"},
            {qMetaTypeId<BusObjectPath>(), "o"},
            {qMetaTypeId<BusSignature>(), "g"}};
}

bool isText(const QVariant &value)
{
    return value.userType() == QMetaType::QString;
}

/// Whether a plain value is what a receiver gets for the type that `type` is at.
bool hasShape(const QVariant &plain, DBusSignatureIter *type)
{
    const int code = dbus_signature_iter_get_current_type(type);
    if (code == DBUS_TYPE_VARIANT) {
        return true;
    }
    if (dbus_type_is_basic(code)) {
        const char text[] = {char(code), '\0'};
        const bool comesAsText = code == DBUS_TYPE_OBJECT_PATH || code == DBUS_TYPE_SIGNATURE;
        return comesAsText ? isText(plain) : signatureOf(plain.userType()) == text;
    }
    DBusSignatureIter inner;
    dbus_signature_iter_recurse(type, &inner);
    if (code == DBUS_TYPE_STRUCT) {
        const QVariantList fields = plain.toList();
        int index = 0;
        bool fits = plain.userType() == QMetaType::QVariantList;
        do {
            fits = fits && index < fields.size() && hasShape(fields.at(index++), &inner);
        } while (fits && dbus_signature_iter_next(&inner));
        return fits && index == fields.size();
    }
    switch (dbus_signature_iter_get_current_type(&inner)) {
    case DBUS_TYPE_DICT_ENTRY:
        return plain.userType() == QMetaType::QVariantMap;
    case DBUS_TYPE_BYTE:
        return plain.userType() == QMetaType::QByteArray;
    case DBUS_TYPE_STRING:
        return plain.userType() == QMetaType::QStringList;
    default:
        break;
    }
    const QVariantList elements = plain.toList();
    return plain.userType() == QMetaType::QVariantList
        && std::all_of(elements.cbegin(), elements.cend(), [&inner](const QVariant &element) {
               DBusSignatureIter each = inner;
               return hasShape(element, &each);
           });
}

/// `room`: what the message may still grow by. A text takes up to three bytes a character.
bool fits(const QVariant &value, int depth, qint64 &room)
{
    constexpr int overhead = 8;
    room -= overhead;
    const auto fitsInside = [depth, &room](const QVariant &inner) { return fits(inner, depth + 1, room); };
    if (depth > deepestNesting || room < 0) {
        return false;
    }
    const int type = value.userType();
    switch (type) {
    case QMetaType::QVariantList: {
        const QVariantList list = value.toList();
        return std::all_of(list.cbegin(), list.cend(), fitsInside);
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        return std::all_of(map.keyBegin(), map.keyEnd(), fitsInside)
            && std::all_of(map.cbegin(), map.cend(), fitsInside);
    }
    case QMetaType::QStringList: {
        const QStringList list = value.toStringList();
        return std::all_of(list.cbegin(), list.cend(), fitsInside);
    }
    case QMetaType::QString:
        room -= 3 * qint64(value.toString().size());
        return room >= 0;
    case QMetaType::QByteArray:
        room -= value.toByteArray().size();
        return room >= 0;
    default:
        break;
    }
    if (type == qMetaTypeId<BusVariant>()) {
        return fitsInside(value.value<BusVariant>().value);
    }
    if (type == qMetaTypeId<BusObjectPath>()) {
        const QString path = value.value<BusObjectPath>().path;
        return fitsInside(path) && dbus_validate_path(path.toUtf8().constData(), nullptr);
    }
    if (type == qMetaTypeId<BusSignature>()) {
        return dbus_signature_validate(value.value<BusSignature>().signature.toUtf8().constData(), nullptr);
    }
    if (const Record *found = record(type)) {
        return fitsInside(found->toPlain(value));
    }
    return type != QMetaType::QVariant && !signatureOf(type).isEmpty();
}

} // namespace

void addRecord(int type, const Record &record)
{
    records().insert(type, record);
}

const Record *record(int type)
{
    const auto found = records().constFind(type);
    return found == records().cend() ? nullptr : &*found;
}

QByteArray signatureOf(int type)
{
    static const QHash<int, QByteArray> signatures = plainSignatures();
    const auto found = signatures.constFind(type);
    if (found != signatures.cend()) {
        return *found;
    }
    const Record *own = record(type);
    return own ? own->signature : QByteArray();
}

std::optional<QVariant> converted(const QVariant &plain, int type)
{
    if (const Record *found = record(type)) {
        DBusSignatureIter shape;
        dbus_signature_iter_init(&shape, found->signature.constData());
        return hasShape(plain, &shape) ? std::optional(found->fromPlain(plain)) : std::nullopt;
    }
    if (type == qMetaTypeId<BusVariant>()) {
        return QVariant::fromValue(BusVariant{plain});
    }
    if (type == qMetaTypeId<BusObjectPath>()) {
        return QVariant::fromValue(BusObjectPath{plain.toString()});
    }
    if (type == qMetaTypeId<BusSignature>()) {
        return QVariant::fromValue(BusSignature{plain.toString()});
    }
    QVariant result = plain;
    if (type == QMetaType::QVariant || result.userType() == type || result.convert(type)) {
        return result;
    }
    return std::nullopt;
}

bool canTravel(const QVariant &value)
{
    qint64 room = largestMessage;
    return fits(value, 0, room);
}

bool canTravel(const QVariantList &values)
{
    qint64 room = largestMessage;
    return std::all_of(values.cbegin(), values.cend(), [&room](const QVariant &value) { return fits(value, 0, room); });
}

} // namespace BusTypes
