#include "BusValue.h"

#include "bus/BusTypes.h"

#include <QStringList>
#include <QUuid>

#include <algorithm>

/// (saia{sv}v)
struct Record
{
    QString text;
    QList<int> numbers;
    QVariantMap values;
    QVariant inner;
};
Q_DECLARE_METATYPE(Record)

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
        return QVariant::fromValue(BusObjectPath{QLatin1Char('/') + QString::fromLatin1(input.text())});
    case 7:
        return QVariant::fromValue(BusSignature{QString::fromLatin1(input.text())});
    case 8:
        return QStringList{BusValue::takeText(input), QString::fromLatin1(input.text())};
    case 9:
        return QVariant::fromValue(uchar(input.byte()));
    case 10:
        return QVariant::fromValue(short(input.number()));
    case 11:
        return input.byte() % 2 == 0 ? QVariant() : QVariant(QChar(ushort(input.number())));
    default:
        return QVariant(QUuid());
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

Record takeRecord(FuzzInput &input, int depth)
{
    Record record;
    record.text = BusValue::takeText(input);
    for (int count = input.byte() % 4; count > 0; --count) {
        record.numbers.append(int(input.number()));
        const QString key = QString::number(input.byte());
        record.values.insert(key, takePlain(input, input.byte() % 6));
    }
    const bool isInner = depth < deepestRecord && input.byte() % 2 == 1;
    record.inner = isInner ? QVariant::fromValue(takeRecord(input, depth + 1)) : record.text;
    return record;
}

QVariant toPlain(const Record &record)
{
    QVariantList numbers;
    for (const int number : record.numbers) {
        numbers.append(number);
    }
    return QVariantList{record.text, QVariant(numbers), record.values, record.inner};
}

Record fromPlain(const QVariant &plain)
{
    const QVariantList fields = plain.toList();
    return {fields.at(0).toString(), {}, fields.at(2).toMap(), fields.at(3)};
}

QVariant takeStructured(FuzzInput &input)
{
    static const bool isRegistered = [] {
        BusTypes::add<Record>("(saia{sv}v)", toPlain, fromPlain);
        return true;
    }();
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
        return QVariant::fromValue(QList<QVariantMap>{{{record.text, record.inner}}});
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
        return QVariant::fromValue(BusVariant{takeValue(input, depth + 1)});
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
        return value.userType() < QMetaType::User;
    }
}
