#include "BusValue.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QStringList>

#include <algorithm>

/// (saia{iv}v)
struct Record
{
    QString text;
    QList<int> numbers;
    QMap<int, QDBusVariant> values;
    QDBusVariant inner;
};
Q_DECLARE_METATYPE(Record)

QDBusArgument &operator<<(QDBusArgument &argument, const Record &record)
{
    argument.beginStructure();
    argument << record.text << record.numbers << record.values << record.inner;
    argument.endStructure();
    return argument;
}

// Nobody here reads one.
const QDBusArgument &operator>>(const QDBusArgument &argument, Record & /*record*/)
{
    return argument;
}

namespace {

constexpr int deepest = 40;
constexpr int deepestRecord = 5;

QVariant takeValue(FuzzInput &input, int depth);

QVariant takePlain(FuzzInput &input, int kind)
{
    switch (kind) {
    case 0:
        return BusValue::takeText(input);
    case 1:
        return int(input.number());
    case 2:
        return input.byte() % 2 == 1;
    case 3:
        return double(qint64(input.number())) / 256;
    case 4:
        return input.number();
    case 5:
        return input.text();
    case 6:
        return QVariant::fromValue(QDBusObjectPath(QLatin1Char('/') + QString::fromLatin1(input.text())));
    case 7:
        return QVariant::fromValue(QDBusSignature(QString::fromLatin1(input.text())));
    case 8:
        return QStringList{BusValue::takeText(input), QString::fromLatin1(input.text())};
    case 9:
        return QVariant::fromValue(uchar(input.byte()));
    case 10:
        return QVariant::fromValue(short(input.number()));
    case 11:
        return input.byte() % 2 == 0 ? QVariant() : QVariant(QChar(ushort(input.number())));
    default:
        return QVariant::fromValue(QDBusUnixFileDescriptor());
    }
}

template <typename Container, typename Add>
QVariant takeContainer(FuzzInput &input, Add add)
{
    Container values;
    for (int count = input.byte() % 8; count > 0 && !input.isEmpty(); --count) {
        add(values);
    }
    return values;
}

// QtDBus has no type of its own for this and what it holds: a receiver that does not know it gets a QDBusArgument.
Record takeRecord(FuzzInput &input, int depth)
{
    Record record;
    record.text = BusValue::takeText(input);
    for (int count = input.byte() % 4; count > 0; --count) {
        record.numbers.append(int(input.number()));
        const int key = input.byte();
        record.values.insert(key, QDBusVariant(takePlain(input, input.byte() % 6)));
    }
    const bool isInner = depth < deepestRecord && input.byte() % 2 == 1;
    record.inner = QDBusVariant(isInner ? QVariant::fromValue(takeRecord(input, depth + 1)) : record.text);
    return record;
}

QVariant takeStructured(FuzzInput &input)
{
    static const bool isRegistered = qDBusRegisterMetaType<Record>() >= 0 && qDBusRegisterMetaType<QList<Record>>() >= 0
        && qDBusRegisterMetaType<QMap<int, QDBusVariant>>() >= 0 && qDBusRegisterMetaType<QList<QVariantMap>>() >= 0;
    Q_UNUSED(isRegistered)
    const int form = input.byte() % 5;
    const Record record = takeRecord(input, 0);
    switch (form) {
    case 0:
        return QVariant::fromValue(record.numbers);
    case 1:
        return QVariant::fromValue(record.values);
    case 2:
        return QVariant::fromValue(QList<Record>{record, takeRecord(input, 0)});
    case 3:
        return QVariant::fromValue(QList<QVariantMap>{{{record.text, record.inner.variant()}}});
    default:
        return QVariant::fromValue(record);
    }
}

QVariant takeValue(FuzzInput &input, int depth)
{
    const int kind = input.byte() % (depth < deepest ? 18 : 13);
    switch (kind) {
    case 13:
    case 14:
        return QVariant::fromValue(QDBusVariant(takeValue(input, depth + 1)));
    case 15:
        return takeContainer<QVariantList>(input,
                                           [&](QVariantList &values) { values.append(takeValue(input, depth + 1)); });
    case 16:
        return takeContainer<QVariantMap>(input, [&](QVariantMap &values) {
            const QString key = BusValue::takeText(input);
            values.insert(key, takeValue(input, depth + 1));
        });
    case 17:
        return takeStructured(input);
    default:
        return takePlain(input, kind);
    }
}

} // namespace

QString BusValue::takeText(FuzzInput &input)
{
    const QString text = QString::fromUtf8(input.text());
    const bool isLong = text.endsWith(QLatin1String("..."));
    return isLong ? text.repeated(1 + input.byte()) : text;
}

QVariant BusValue::take(FuzzInput &input)
{
    return takeValue(input, 0);
}

bool BusValue::isPlain(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::QVariantList: {
        const QVariantList list = value.toList();
        return std::all_of(list.cbegin(), list.cend(), isPlain);
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        return std::all_of(map.cbegin(), map.cend(), isPlain);
    }
    default:
        return value.userType() < QMetaType::User || value.userType() == qMetaTypeId<QDBusUnixFileDescriptor>();
    }
}
