#include "BusValue.h"
#include "FuzzRoot.h"
#include "Wire.h"
#include "core/EventBus.h"
#include "qtdbus/EventValue.h"

#include <jov/BusNames.h>

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>

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
                "a receiver is given something of QtDBus");
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

/// An event; or another signal of the events' interface, with a name perhaps.
QDBusMessage takeMessage(FuzzInput &input, const QString &name)
{
    QDBusMessage message =
        QDBusMessage::createSignal(QStringLiteral("/fuzzer"), BusNames::eventInterface(), BusNames::eventMember());
    const int form = input.byte() % 8;
    if (form != 0) {
        message << (form == 1 ? QStringLiteral("other") : name);
    }
    if (form > 2) {
        return message << takeArguments(input);
    }
    for (int count = input.byte() % 3; count > 0; --count) {
        message << BusValue::take(input);
    }
    return message;
}

void deliver(EventBus &bus, Receiver &receiver, const QDBusMessage &message)
{
    static QCoreApplication &application = *[] {
        static int count = 1;
        static char name[] = "fuzz-event";
        static char *arguments[] = {name, nullptr};
        return new QCoreApplication(count, arguments);
    }();
    static Wire &wire = *new Wire;
    static_cast<void>(application);
    const bool canTravel = EventValue::canTravel(message);
    receiver.expect(canTravel);
    if (canTravel) {
        const QDBusMessage come = wire.carry(message);
        const int before = receiver.count();
        require(QMetaObject::invokeMethod(&bus, "slot_anyEvent", Qt::DirectConnection, Q_ARG(QDBusMessage, come)),
                "the bus takes no events");
        require(receiver.count() == before || come.signature() == QLatin1String("sa{sv}"),
                "a message of another form is delivered");
        return;
    }
    const QVariantMap arguments = message.arguments().value(1).toMap();
    bus.subscriptions().deliver(JovEvent(message.arguments().value(0).toString(), arguments));
}

} // namespace

// Messages off a D-Bus connection, and events raised in the process, given to receivers with slots of every kind.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzRoot::write(QStringLiteral("/unused"), nullptr, 0);
    FuzzInput input(data, size);
    const QString name = BusValue::takeText(input);
    const QString element = BusNames::element(name);
    require(element.size() <= name.size() + 1, "the element of a bus name grows");

    QObject object;
    EventBus bus(QStringLiteral("fuzzer"), &object);
    Receiver receiver(bus.subscriptions(), name);
    Receiver other(bus.subscriptions(), QStringLiteral("other"));
    for (int events = 0; events < 4 && !input.isEmpty(); ++events) {
        deliver(bus, receiver, takeMessage(input, name));
    }
    return 0;
}

#include "EventFuzzer.moc"
