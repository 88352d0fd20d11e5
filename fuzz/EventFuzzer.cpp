#include "BusValue.h"
#include "FuzzRoot.h"
#include "core/EventBus.h"

#include <jov/BusNames.h>

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>

#include <dbus/dbus.h>

namespace {

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

    /// What comes next was on the bus; what was not may hold anything in its lists.
    void expect(bool isFromBus) { m_isFromBus = isFromBus; }
    /// How many events came.
    [[nodiscard]] int count() const { return m_count; }

private Q_SLOTS:
    void nothing() { static_cast<void>(m_subscriptions.remove(m_name, this, SLOT(number(int)))); }
    void whole(const JovEvent &event)
    {
        ++m_count;
        require(event.getEvtName() == m_name, "an event of another name is delivered");
        const QVariantMap arguments = event.arguments();
        require(!m_isFromBus || std::all_of(arguments.cbegin(), arguments.cend(), BusValue::isPlain),
                "a receiver is given a type that it does not know");
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
    int m_count = 0;
    qint64 m_seen = 0;
    bool m_isFromBus = false;
};

const char *const argumentNames[] = {"reason", "value", "event", "other"};

QVariantMap takeArguments(FuzzInput &input)
{
    QVariantMap arguments;
    for (int count = input.byte() % 4; count >= 0 && !input.isEmpty(); --count) {
        const QString name = QString::fromLatin1(argumentNames[input.byte() % 4]);
        arguments.insert(name, BusValue::take(input));
    }
    return arguments;
}

/// The arguments of an event; or of another signal of the events' interface, with a name perhaps.
QVariantList takeSignal(FuzzInput &input, const QString &name)
{
    QVariantList values;
    const int form = input.byte() % 8;
    if (form != 0) {
        values << (form == 1 ? QStringLiteral("other") : name);
    }
    if (form > 2) {
        return values << takeArguments(input);
    }
    for (int count = input.byte() % 3; count > 0; --count) {
        values << BusValue::take(input);
    }
    return values;
}

/// What the other end of a connection makes of the bytes; null when they are no message.
BusMessage fromWire(const char *bytes, int size)
{
    return BusMessage(dbus_message_demarshal(bytes, size, nullptr));
}

BusMessage carried(const BusMessage &message)
{
    const QByteArray bytes = message.wire(1);
    const BusMessage come = fromWire(bytes.constData(), bytes.size());
    require(!come.isNull(), "a message that can travel would end the connection");
    return come;
}

void deliver(EventBus &bus, Receiver &receiver, const QVariantList &values)
{
    BusMessage message = BusMessage::signal(QStringLiteral("/fuzzer"), BusNames::eventInterface().toUtf8(),
                                            BusNames::eventMember().toUtf8());
    const bool canTravel = message.setArguments(values);
    receiver.expect(canTravel);
    if (canTravel) {
        const BusMessage come = carried(message);
        const int before = receiver.count();
        bus.receive(come);
        require(receiver.count() == before || come.signature() == "sa{sv}", "a message of another form is delivered");
        return;
    }
    bus.subscriptions().deliver(JovEvent(values.value(0).toString(), values.value(1).toMap()));
}

} // namespace

// Messages off a connection, and events raised in the process, given to receivers with slots of every kind.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzRoot::write(QStringLiteral("/unused"), nullptr, 0);
    const BusMessage foreign = fromWire(reinterpret_cast<const char *>(data), int(size));
    static_cast<void>(foreign.arguments());
    FuzzInput input(data, size);
    const QString name = BusValue::takeText(input);
    const QString element = BusNames::element(name);
    require(element.size() <= name.size() + 1, "the element of a bus name grows");

    static QCoreApplication &application = *[] {
        static int count = 1;
        static char program[] = "fuzz-event";
        static char *arguments[] = {program, nullptr};
        return new QCoreApplication(count, arguments);
    }();
    static_cast<void>(application);
    QObject object;
    EventBus bus(QStringLiteral("fuzzer"), object);
    Receiver receiver(bus.subscriptions(), name);
    Receiver other(bus.subscriptions(), QStringLiteral("other"));
    for (int events = 0; events < 4 && !input.isEmpty(); ++events) {
        deliver(bus, receiver, takeSignal(input, name));
    }
    return 0;
}

#include "EventFuzzer.moc"
