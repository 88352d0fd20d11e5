#include "ApplicationConfig.h"
#include "Component.h"
#include "DataTable.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QPointer>
#include <QUuid>

namespace {

QVariantMap arguments(std::initializer_list<std::pair<const char *, QVariant>> entries)
{
    QVariantMap map;
    for (const auto &[name, value] : entries) {
        map.insert(QString::fromUtf8(name), value);
    }
    return map;
}

/// Notes what it gets, one text a call.
class Receiver : public QObject
{
    Q_OBJECT

public:
    QStringList got;
    std::function<void()> action;

public Q_SLOTS:
    void nothing()
    {
        got << QStringLiteral("called");
        if (action) {
            action();
        }
    }
    void event(const JovEvent &event)
    {
        QStringList words{event.getEvtName()};
        const QVariantMap arguments = event.arguments();
        for (auto argument = arguments.cbegin(); argument != arguments.cend(); ++argument) {
            words << argument.key() + QLatin1Char('=') + text(argument.value());
        }
        got << words.join(QLatin1Char(' '));
    }
    void number(int value) { got << QString::number(value); }
    void text(const QString &value) { got << value; }
    void variant(const QVariant &value) { got << text(value); }
    void list(const QVariantList &value) { got << text(value); }
    void record(const ApplicationConfig &value) { got << value.toString(); }
    void two(int, int) { got << QStringLiteral("two"); }

private:
    static QString text(const QVariant &value)
    {
        if (value.type() == QVariant::Map || value.type() == QVariant::List) {
            return QString::fromLatin1(value.typeName())
                + QString::number(value.toList().size() + value.toMap().size());
        }
        return QString::fromLatin1(value.typeName()) + QLatin1Char(':') + value.toString();
    }
};

} // namespace

class EventsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_bus = std::make_unique<PrivateBus>(); }
    void cleanupTestCase() { m_bus.reset(); }
    void namesOfEveryKind_data()
    {
        columns<QString>("name");
        row("plain", "end_of_init_Gate-2.1");
        row("blank", "a name");
        row("empty", "");
        row("quotes", "it's 'quoted'");
        row("comma and backslash", "a',arg1='b\\");
        row("Latin-1", QStringLiteral("caf\u00e9"));
        row("Unicode", QStringLiteral("\u6d4b\u8bd5 \U0001f600"));
        row("line end", "a\nb");
        row("longer than a match rule may be", QString(3000, QLatin1Char('x')));
    }

    void namesOfEveryKind()
    {
        QFETCH(QString, name);
        Component component;
        Receiver receiver;
        QVERIFY(component.subscribeEvent(name, &receiver, SLOT(event(JovEvent))));
        QVERIFY(component.subscribeEvent(name, &receiver, SLOT(event(JovEvent))));
        component.live([&] {
            QVERIFY(component.notifyEvent(name + QLatin1Char('x')));
            QVERIFY(component.notifyEvent(name, {{QStringLiteral("key"), 1}}));
            QTRY_COMPARE(receiver.got, QStringList(name + QStringLiteral(" key=int:1")));
        });
    }

    // A component with few subscriptions has one rule a name, so that other events do not wake it; none has too many.
    void rulesOnTheBus_data()
    {
        columns<QStringList, int>("names", "rules");
        QStringList hundred;
        for (int i = 0; i < 100; ++i) {
            hundred << QStringLiteral("event_%1").arg(i);
        }
        row("plain names", QStringList(hundred.mid(0, 3)), 3);
        row("odd names", QStringList{QStringLiteral("a b"), QStringLiteral("a'b")}, 1);
        row("mixed", QStringList{QStringLiteral("a b"), hundred.first()}, 2);
        row("many", hundred, 33);
    }

    void rulesOnTheBus()
    {
        QFETCH(QStringList, names);
        Component component;
        auto receiver = std::make_unique<Receiver>();
        component.live([&] {
            QDBusMessage query = QDBusMessage::createMethodCall(
                QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                QStringLiteral("org.freedesktop.DBus.Debug.Stats"), QStringLiteral("GetConnectionStats"));
            query.setArguments({component.busConnection().baseService()});
            const auto count = [&] {
                const QDBusReply<QVariantMap> stats = component.busConnection().call(query);
                return stats.value().value(QStringLiteral("MatchRules"), -1).toInt();
            };
            const int before = count();
            if (before == -1) {
                QSKIP("this dbus-daemon keeps no statistics");
            }
            for (const QString &name : qAsConst(names)) {
                component.subscribeEvent(name, receiver.get(), SLOT(nothing()));
            }
            QTEST(count() - before, "rules");
            component.unsubscribeEvent(names.first(), receiver.get(), SLOT(nothing()));
            receiver.reset();
            QCOMPARE(count(), before);
        });
    }

    // Over the limit of one rule a name, and over the bus's own limit; each event comes exactly once on either side.
    void aThousandSubscriptions()
    {
        Component component;
        Receiver receiver;
        const auto name = [](int i) { return QStringLiteral("event_%1").arg(i); };
        component.live([&] {
            for (int i = 0; i < 1000; ++i) {
                component.subscribeEvent(name(i), &receiver, SLOT(event(JovEvent)));
            }
            QStringList expected;
            for (int i = 999; i >= 0; --i) {
                expected << name(i);
                component.notifyEvent(name(i));
            }
            QTRY_COMPARE(receiver.got, expected);
            // Names that had a rule of their own move behind the common one, and all but one go.
            for (int i = 0; i < 999; ++i) {
                QVERIFY(component.unsubscribeEvent(name(i), &receiver, SLOT(event(JovEvent))));
            }
            QVERIFY(!component.unsubscribeEvent(name(0), &receiver, SLOT(event(JovEvent))));
            component.subscribeEvent(name(0), &receiver, SLOT(event(JovEvent)));
            receiver.got.clear();
            for (int i = 0; i < 1000; ++i) {
                component.notifyEvent(name(i));
            }
            QTRY_COMPARE(receiver.got, (QStringList{name(0), name(999)}));
        });
    }

    void slotsOfEveryKind_data()
    {
        columns<QString, QVariantMap, QString>("slot", "arguments", "expected"); // null: no call
        const QVariant inVariant = QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(7))));
        ApplicationConfig config;
        config.setName(QStringLiteral("Gate"));
        row("no parameter", "nothing()", arguments({{"x", 1}, {"y", 2}}), "called");
        row("by name", "number(int)", arguments({{"other", 1}, {"value", 2}}), "2");
        row("the only one", "number(int)", arguments({{"other", 1}}), "1");
        row("as SLOT() writes it", "1number( int )", arguments({{"value", 3}}), "3");
        row("text to number", "number(int)", arguments({{"value", QStringLiteral("12")}}), "12");
        row("number to text", "text(QString)", arguments({{"value", 1.5}}), "1.5");
        row("object path to text", "text(QString)",
            arguments({{"value", QVariant::fromValue(QDBusObjectPath(QStringLiteral("/a")))}}), "/a");
        row("variant in a variant", "number(int)", arguments({{"value", inVariant}}), "7");
        row("any value", "variant(QVariant)", arguments({{"value", 4U}}), "uint:4");
        row("list", "list(QVariantList)", arguments({{"value", QVariantList{1, QStringLiteral("two")}}}),
            "QVariantList2");
        row("record", "record(ApplicationConfig)", arguments({{"value", QVariant::fromValue(config)}}),
            config.toString());
        row("whole event", "event(JovEvent)",
            arguments({{"a", inVariant},
                       {"b", arguments({{"k", QVariantList{1}}})},
                       {"c", QVariant::fromValue(config)},
                       {"d", QStringList{QStringLiteral("x")}}}),
            "e a=int:7 b=QVariantMap1 c=QVariantList9 d=QStringList:x");
        row("no number", "number(int)", arguments({{"value", QStringLiteral("abc")}}), QString());
        row("record to number", "number(int)", arguments({{"value", QVariant::fromValue(config)}}), QString());
        row("number to record", "record(ApplicationConfig)", arguments({{"value", 1}}), QString());
        row("none", "text(QString)", QVariantMap(), QString());
        row("ambiguous", "number(int)", arguments({{"x", 1}, {"y", 2}}), QString());
    }

    void slotsOfEveryKind()
    {
        QFETCH(QString, slot);
        QFETCH(QVariantMap, arguments);
        QFETCH(QString, expected);
        Component component;
        Receiver receiver;
        Receiver witness;
        const QString name = QStringLiteral("e");
        QVERIFY(component.subscribeEvent(name, &receiver, qPrintable(slot)));
        component.subscribeEvent(name, &witness, SLOT(nothing()));
        component.live([&] {
            QVERIFY(component.notifyEvent(name, arguments));
            QTRY_COMPARE(witness.got.size(), 1);
        });
        QCOMPARE(receiver.got, expected.isNull() ? QStringList() : QStringList(expected));
    }

    void refusedSubscriptions()
    {
        Component component;
        Receiver receiver;
        const QString name = QStringLiteral("e");
        QVERIFY(!component.subscribeEvent(name, &receiver, SLOT(missing())));
        QVERIFY(!component.subscribeEvent(name, &receiver, SLOT(two(int, int))));
        QVERIFY(!component.subscribeEvent(name, &receiver, ""));
        QVERIFY(!component.subscribeEvent(name, &receiver, nullptr));
        QVERIFY(!component.subscribeEvent(name, nullptr, SLOT(nothing())));
        QVERIFY(!component.unsubscribeEvent(name, &receiver, SLOT(nothing())));
        component.live([&] {
            // What no variant on the bus can hold is refused, and the connection lives on.
            const QVariantList nested{QVariantMap{{QStringLiteral("key"), QVariant()}}};
            QVariant deep;
            for (int i = 0; i < 100; ++i) {
                deep = QVariantList{deep};
            }
            for (const QVariant &value :
                 {QVariant(), QVariant(nested), deep, QVariant(QUuid()), QVariant::fromValue(QDBusVariant()),
                  QVariant::fromValue(QDBusObjectPath()), QVariant::fromValue(QDBusUnixFileDescriptor()),
                  QVariant::fromValue(QDBusArgument()), QVariant::fromValue<QObject *>(this)}) {
                QVERIFY(!component.notifyEvent(name, {{QStringLiteral("key"), value}}));
                QVERIFY(!component.asyncRemoteCall(name, name, {value}));
                QCOMPARE(component.syncRemoteCall(name, name, {value}).type(), QDBusMessage::ErrorMessage);
            }
            QVERIFY(component.notifyEvent(name));
        });
    }

    void slotsThatChangeTheSubscriptions()
    {
        Component component;
        Receiver first;
        Receiver removed;
        QPointer<Receiver> deleted = new Receiver;
        Receiver late;
        Receiver last;
        const QString name = QStringLiteral("e");
        for (Receiver *receiver : {&first, &removed, deleted.data(), &last}) {
            component.subscribeEvent(name, receiver, SLOT(nothing()));
        }
        first.action = [&] {
            delete deleted;
            component.unsubscribeEvent(name, &removed, SLOT(nothing()));
            component.subscribeEvent(name, &late, SLOT(nothing()));
            if (first.got.size() == 1) {
                // The second event is delivered in the middle of the first.
                component.notifyEvent(name);
                QTRY_COMPARE(last.got.size(), 1);
            }
            throw new JovException(&component, JovException::Unknown, QStringLiteral("thrown"));
        };
        component.live([&] {
            component.notifyEvent(name);
            QTRY_COMPARE(last.got.size(), 2);
            QCOMPARE(first.got.size(), 2);
            QCOMPARE(late.got.size(), 1);
            QCOMPARE(removed.got.size(), 0);
        });
    }

    void foreignSignals()
    {
        Component component;
        Peer peer(*m_bus);
        Receiver receiver;
        const auto send = [&](const QVariantList &arguments) {
            QDBusMessage message = QDBusMessage::createSignal(
                QStringLiteral("/any/path"), QStringLiteral("com.velmora.Jovara.JovEvent"), QStringLiteral("event"));
            message.setArguments(arguments);
            QVERIFY(peer.connection.send(message));
        };
        component.subscribeEvent(QStringLiteral("e"), &receiver, SLOT(nothing()));
        component.subscribeEvent(QStringLiteral("e f"), &receiver, SLOT(nothing()));
        component.live([&] {
            send({});
            send({1});
            send({QStringLiteral("e")});
            send({QStringLiteral("e f"), QStringLiteral("text")});
            send({QStringLiteral("e"), QVariantMap(), 1});
            QCOMPARE(receiver.got.size(), 0);
            send({QStringLiteral("e"), QVariantMap()});
            QTRY_COMPARE(receiver.got.size(), 1);
        });
    }

    void busIsLostAndReturns()
    {
        Component component;
        Receiver receiver;
        const QString plain = QStringLiteral("plain");
        const QString odd = QStringLiteral("od'd");
        component.subscribeEvent(plain, &receiver, SLOT(event(JovEvent)));
        component.live([&] {
            m_bus->stop();
            QTRY_VERIFY(!component.notifyEvent(plain));
            QVERIFY(component.subscribeEvent(odd, &receiver, SLOT(event(JovEvent))));
            m_bus->start();
            Peer peer(*m_bus);
            QTRY_COMPARE(peer.call(QStringLiteral("play"), {QStringLiteral("back")}), QStringLiteral("true"));
            component.notifyEvent(odd);
            component.notifyEvent(plain);
            QTRY_COMPARE(receiver.got, (QStringList{odd, plain}));
        });
    }

private:
    std::unique_ptr<PrivateBus> m_bus;
};

int main(int argc, char **argv)
{
    JovApplication application(argc, argv);
    registerDBusApplicationConfig();
    EventsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "EventsTest.moc"
