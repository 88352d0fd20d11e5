#ifndef BUS_TYPES_H
#define BUS_TYPES_H

#include <QByteArray>
#include <QList>
#include <QVariant>

#include <functional>
#include <optional>

/// An object path to send. What is received comes as a text.
struct BusObjectPath
{
    QString path;
};

/// A signature to send. What is received comes as a text.
struct BusSignature
{
    QString signature;
};

/// A value that is sent inside a variant. What is received comes without it.
struct BusVariant
{
    QVariant value;
};

Q_DECLARE_METATYPE(BusObjectPath)
Q_DECLARE_METATYPE(BusSignature)
Q_DECLARE_METATYPE(BusVariant)

/**
 * Which C++ types travel on the bus, and as what.
 *
 * A value is "plain" when it has only types that every receiver gets: numbers, QString, QByteArray, QStringList,
 * QVariantList (an array or a structure) and QVariantMap. A record is a type of the project's own that is registered
 * with a signature and its way to a plain value and back.
 */
namespace BusTypes {

struct Record
{
    QByteArray signature;
    std::function<QVariant(const QVariant &record)> toPlain;
    /// Gets a plain value that has the shape of the signature.
    std::function<QVariant(const QVariant &plain)> fromPlain;
};

void addRecord(int type, const Record &record);
/// Null when the type is no record.
[[nodiscard]] const Record *record(int type);

/// Registers T under `signature`, and QList<T> as the array of it.
template <typename T>
void add(const QByteArray &signature, QVariant (*toPlain)(const T &), T (*fromPlain)(const QVariant &))
{
    addRecord(qMetaTypeId<T>(),
              {signature, [toPlain](const QVariant &record) { return toPlain(record.value<T>()); },
               [fromPlain](const QVariant &plain) { return QVariant::fromValue(fromPlain(plain)); }});
    const auto listToPlain = [toPlain](const QVariant &list) {
        QVariantList plain;
        const auto records = list.value<QList<T>>();
        for (const T &element : records) {
            plain.append(toPlain(element));
        }
        return QVariant(plain);
    };
    const auto listFromPlain = [fromPlain](const QVariant &plain) {
        QList<T> records;
        const QVariantList elements = plain.toList();
        for (const QVariant &element : elements) {
            records.append(fromPlain(element));
        }
        return QVariant::fromValue(records);
    };
    addRecord(qMetaTypeId<QList<T>>(), {'a' + signature, listToPlain, listFromPlain});
}

/// Empty when D-Bus cannot carry the type.
[[nodiscard]] QByteArray signatureOf(int type);

/// A plain value as the meta type `type`: a record when it has its shape, otherwise by QVariant::convert.
[[nodiscard]] std::optional<QVariant> converted(const QVariant &plain, int type);

/// Whether the value can be sent, whatever is inside it: libdbus ends the process when it is given something invalid,
/// and the bus ends the connection of a sender whose message is too deep or too large.
[[nodiscard]] bool canTravel(const QVariant &value);
[[nodiscard]] bool canTravel(const QVariantList &values);

} // namespace BusTypes

#endif
