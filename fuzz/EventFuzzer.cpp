#include "BusNames.h"
#include "EventSubscriptions.h"
#include "EventValue.h"
#include "FuzzInput.h"
#include "FuzzRoot.h"

#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusVariant>
#include <QStringList>

namespace {

constexpr int deepest = 40;

/// Has a slot of every kind, and does in them what a receiver may: subscribe, leave, and raise.
class Receiver : public QObject
{
    Q_OBJECT

public:
    Receiver(EventSubscriptions &subscriptions, const QString &name)
        : m_subscriptions(subscriptions)
        , m_name(name)
    {
        for (const char *slot : {SLOT(nothing()), SLOT(whole(JovEvent)), SLOT(text(QString)), SLOT(number(int)),
                                 SLOT(real(double)), SLOT(yes(bool)), SLOT(texts(QStringList)), SLOT(map(QVariantMap)),
                                 SLOT(variant(QVariant)), SLOT(list(QVariantList)), SLOT(bytes(QByteArray))}) {
            require(subscriptions.add(name, this, slot), "a slot is not taken");
        }
    }

private Q_SLOTS:
    void nothing() { static_cast<void>(m_subscriptions.remove(m_name, this, SLOT(number(int)))); }
    void whole(const JovEvent &event)
    {
        require(event.getEvtName() == m_name, "an event of another name is delivered");
    }
    void text(const QString &reason) { m_seen += reason.size(); }
    void number(int value) { m_seen += value != 0 ? 1 : 0; }
    void real(double value) { m_seen += value > 0 ? 1 : 0; }
    void yes(bool value) { m_seen += value ? 1 : 0; }
    void texts(const QStringList &value) { m_seen += value.size(); }
    void map(const QVariantMap &value) { m_seen += value.size(); }
    void variant(const QVariant &value) { m_seen += value.isValid() ? 1 : 0; }
    void list(const QVariantList &value) { m_seen += value.size(); }
    void bytes(const QByteArray &value)
    {
        m_seen += value.size();
        static_cast<void>(m_subscriptions.add(m_name, this, SLOT(number(int))));
    }

private:
    EventSubscriptions &m_subscriptions;
    const QString m_name;
    qint64 m_seen = 0;
};

QVariant takeValue(FuzzInput &input, int depth);

template <typename Container, typename Add>
QVariant takeContainer(FuzzInput &input, Add add)
{
    Container values;
    for (int count = input.byte() % 8; count > 0 && !input.isEmpty(); --count) {
        add(values);
    }
    return values;
}

/// A value as it may come off the bus: plain ones, QtDBus's own, and containers of them.
QVariant takeValue(FuzzInput &input, int depth)
{
    const int kind = input.byte() % (depth < deepest ? 16 : 12);
    switch (kind) {
    case 0:
        return QString::fromUtf8(input.text());
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
        return QStringList{QString::fromUtf8(input.text()), QString::fromLatin1(input.text())};
    case 9:
        return QVariant::fromValue(uchar(input.byte()));
    case 10:
        return QVariant::fromValue(short(input.number()));
    case 11:
        return QVariant();
    case 12:
    case 13:
        return QVariant::fromValue(QDBusVariant(takeValue(input, depth + 1)));
    case 14:
        return takeContainer<QVariantList>(input,
                                           [&](QVariantList &values) { values.append(takeValue(input, depth + 1)); });
    default:
        return takeContainer<QVariantMap>(input, [&](QVariantMap &values) {
            const QString key = QString::fromUtf8(input.text());
            values.insert(key, takeValue(input, depth + 1));
        });
    }
}

const char *const argumentNames[] = {"reason", "value", "event", "other"};

} // namespace

// Events as they come off the bus, given to receivers with slots of every kind.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzRoot::write(QStringLiteral("/unused"), data, 0);
    FuzzInput input(data, size);
    const QString name = QString::fromUtf8(input.text());
    const QString element = BusNames::element(name);
    require(element.size() <= name.size() + 1, "the element of a bus name grows");

    EventSubscriptions subscriptions;
    Receiver receiver(subscriptions, name);
    Receiver other(subscriptions, QStringLiteral("other"));
    for (int events = 0; events < 4 && !input.isEmpty(); ++events) {
        JovEvent event(input.byte() % 4 == 0 ? QStringLiteral("other") : name);
        for (int count = input.byte() % 4; count >= 0 && !input.isEmpty(); --count) {
            const QVariant value = takeValue(input, 0);
            event.addArgument(QString::fromLatin1(argumentNames[input.byte() % 4]), value);
            static_cast<void>(EventValue::plain(value));
            static_cast<void>(EventValue::canTravel(value));
        }
        subscriptions.deliver(event);
    }
    return 0;
}

#include "EventFuzzer.moc"
