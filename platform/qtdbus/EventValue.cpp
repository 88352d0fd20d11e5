#include "qtdbus/EventValue.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>

#include <algorithm>

namespace EventValue {

namespace {

// A message nested deeper than 64 levels costs the sender its connection; a list in a list is two of them.
constexpr int deepestNesting = 16;

// Arrays of arrays, and structures in structures, of a signature: the bus's own limit, which QtDBus does not know.
constexpr int deepestSignature = 32;

QVariant unwrapped(QVariant value)
{
    while (value.userType() == qMetaTypeId<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

QVariantList elements(const QDBusArgument &argument)
{
    QVariantList list;
    while (!argument.atEnd()) {
        list.append(plain(argument.asVariant()));
    }
    return list;
}

QVariant listOf(const QDBusArgument &argument)
{
    argument.beginArray();
    const QVariantList list = elements(argument);
    argument.endArray();
    return list;
}

QVariant structureOf(const QDBusArgument &argument)
{
    argument.beginStructure();
    const QVariantList list = elements(argument);
    argument.endStructure();
    return list;
}

QVariant mapOf(const QDBusArgument &argument)
{
    QVariantMap map;
    argument.beginMap();
    while (!argument.atEnd()) {
        argument.beginMapEntry();
        const QString key = plain(argument.asVariant()).toString();
        map.insert(key, plain(argument.asVariant()));
        argument.endMapEntry();
    }
    argument.endMap();
    return map;
}

bool isShallow(const QString &signature)
{
    int arrays = 0;
    int structures = 0;
    for (const QChar character : signature) {
        const char16_t code = character.unicode();
        arrays = code == 'a' ? arrays + 1 : 0;
        structures += code == '(' || code == '{' ? 1 : 0;
        structures -= code == ')' || code == '}' ? 1 : 0;
        if (arrays > deepestSignature || structures > deepestSignature) {
            return false;
        }
    }
    return true;
}

bool canTravel(const QVariant &value, int depth)
{
    const auto fits = [depth](const QVariant &inner) { return canTravel(inner, depth + 1); };
    const int type = value.userType();
    if (depth > deepestNesting) {
        return false;
    }
    if (type == QMetaType::QVariantList) {
        const QVariantList list = value.toList();
        return std::all_of(list.cbegin(), list.cend(), fits);
    }
    if (type == QMetaType::QVariantMap) {
        const QVariantMap map = value.toMap();
        return std::all_of(map.cbegin(), map.cend(), fits);
    }
    if (type == qMetaTypeId<QDBusVariant>()) {
        return fits(value.value<QDBusVariant>().variant());
    }
    // An empty one of these is what QtDBus makes of an invalid one.
    if (type == qMetaTypeId<QDBusObjectPath>()) {
        return !value.value<QDBusObjectPath>().path().isEmpty();
    }
    if (type == qMetaTypeId<QDBusSignature>()) {
        const QString signature = value.value<QDBusSignature>().signature();
        return !signature.isEmpty() && isShallow(signature);
    }
    if (type == qMetaTypeId<QDBusUnixFileDescriptor>()) {
        return value.value<QDBusUnixFileDescriptor>().isValid();
    }
    // What was received counts with all that is in it. What is still being written cannot be looked into, and is
    // refused.
    if (type == qMetaTypeId<QDBusArgument>()) {
        return canTravel(plain(value), depth);
    }
    return QDBusMetaType::typeToSignature(type) != nullptr;
}

} // namespace

QVariant plain(const QVariant &value)
{
    const QVariant inner = unwrapped(value);
    if (inner.userType() == qMetaTypeId<QDBusObjectPath>()) {
        return inner.value<QDBusObjectPath>().path();
    }
    if (inner.userType() == qMetaTypeId<QDBusSignature>()) {
        return inner.value<QDBusSignature>().signature();
    }
    if (inner.userType() != qMetaTypeId<QDBusArgument>()) {
        return inner;
    }
    const auto argument = inner.value<QDBusArgument>();
    switch (argument.currentType()) {
    case QDBusArgument::ArrayType:
        return listOf(argument);
    case QDBusArgument::StructureType:
        return structureOf(argument);
    case QDBusArgument::MapType:
        return mapOf(argument);
    default:
        return {};
    }
}

std::optional<QVariant> converted(const QVariant &value, int type)
{
    const QVariant inner = unwrapped(value);
    if (inner.userType() == qMetaTypeId<QDBusArgument>()) {
        const auto argument = inner.value<QDBusArgument>();
        const char *signature = QDBusMetaType::typeToSignature(type);
        if (signature && argument.currentSignature() == QLatin1String(signature)) {
            QVariant record(type, nullptr);
            return QDBusMetaType::demarshall(argument, type, record.data()) ? std::optional(record) : std::nullopt;
        }
    }
    QVariant result = plain(inner);
    if (type == QMetaType::QVariant || result.userType() == type || result.convert(type)) {
        return result;
    }
    return std::nullopt;
}

bool canTravel(const QDBusMessage &message)
{
    const QVariantList arguments = message.arguments();
    return std::all_of(arguments.cbegin(), arguments.cend(),
                       [](const QVariant &argument) { return canTravel(argument, 0); });
}

} // namespace EventValue
