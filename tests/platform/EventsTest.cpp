#include "bus/BusInterface.h"
#include "bus/BusTypes.h"
#include "platform/Component.h"
#include "support/DataTable.h"

#include <jov/ApplicationConfig.h>

#include <QDBusConnectionInterface>
#include <QPointer>
#include <QUuid>

namespace {

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
        got << "called"_s;
        if (action) {
            action();
        }
    }
    void event(const JovEvent &event)
    {
        QStringList words{event.getEvtName()};
        const QVariantMap arguments = event.arguments();
        for (auto argument = arguments.cbegin(); argument != arguments.cend(); ++argument) {
            words << argument.key() + u'=' + text(argument.value());
        }
        got << words.join(u' ');
    }
    void number(int value) { got << QString::number(value); }
    void text(const QString &value) { got << value; }
    void variant(const QVariant &value) { got << text(value); }
    void list(const QVariantList &value) { got << text(value); }
    void record(const ApplicationConfig &value) { got << value.toString(); }
    void two(int, int) { got << "two"_s; }

private:
    static QString text(const QVariant &value)
    {
        const QString text = value.toString(); // none for a list or a map
        const int size = value.toList().size() + value.toMap().size();
        return QLatin1String(value.typeName()) + (text.isEmpty() ? QString::number(size) : u':' + text);
    }
};

} // namespace

class EventsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // With few subscriptions each name has a rule, so that other events do not wake the component; else one has all.
    // Each event comes exactly once, also where names that had a rule of their own move behind the common one.
    void rulesOnTheBus_data()
    {
        columns<QStringList, int>("names", "rules");
        QStringList events;
        for (int i = 0; i < 200; ++i) {
            events << "event_%1"_s.arg(i);
        }
        row("odd names",
            QStringList{"end_of_init_Gate-2.1"_s, QString(), "it's 'quoted'"_s, "a',arg1='b\\"_s, "caf\u00e9"_s,
                        "\u6d4b\u8bd5 \U0001f600"_s, "a\nb"_s},
            7);
        row("many", QStringList(events.mid(0, 128)), 128);
        row("too many", QStringList(events.mid(0, 129)), 1);
        row("too long for a rule", QStringList{QString(2000, u'x'), QString(2000, u'y')}, 1);
    }

    void rulesOnTheBus()
    {
        QFETCH(QStringList, names);
        const int all = names.size();
        Component component;
        auto receiver = std::make_unique<Receiver>();
        component.live([&] {
            QDBusMessage query =
                QDBusMessage::createMethodCall("org.freedesktop.DBus"_s, "/org/freedesktop/DBus"_s,
                                               "org.freedesktop.DBus.Debug.Stats"_s, "GetConnectionStats"_s);
            Peer peer(m_bus);
            query.setArguments({peer.connection.interface()->serviceOwner("com.velmora.Jovara.Probe"_s).value()});
            const auto count = [&] {
                const QDBusPendingReply<QVariantMap> stats = peer.connection.asyncCall(query);
                static_cast<void>(QTest::qWaitFor([&] { return stats.isFinished(); }));
                return stats.value().value("MatchRules"_s, -1).toInt();
            };
            const int before = count();
            const auto notify = [&](const QString &name) { component.notifyEvent(name); };
            for (const QString &name : qAsConst(names)) {
                QVERIFY(component.subscribeEvent(name, receiver.get(), SLOT(event(JovEvent))));
                QVERIFY(component.subscribeEvent(name, receiver.get(), SLOT(event(JovEvent))));
            }
            QFETCH(int, rules);
            QTRY_VERIFY(before == -1
                        || count() - before == rules); // A dbus-daemon can be built without the statistics.
            for (const QString &name : qAsConst(names)) {
                notify(name + u'x');
                notify(name);
            }
            QTRY_COMPARE(receiver->got, names);
            while (names.size() > 1) {
                QVERIFY(component.unsubscribeEvent(names.first(), receiver.get(), SLOT(event(JovEvent))));
                QVERIFY(!component.unsubscribeEvent(names.first(), receiver.get(), SLOT(event(JovEvent))));
                notify(names.takeFirst());
            }
            notify(names.first());
            // The last subscription takes the common rule away, and the next one has a rule again.
            component.unsubscribeEvent(names.first(), receiver.get(), SLOT(event(JovEvent)));
            component.subscribeEvent(names.first(), receiver.get(), SLOT(event(JovEvent)));
            notify(names.first());
            QTRY_COMPARE(receiver->got.mid(all), names + names);
            receiver.reset();
            QTRY_COMPARE(count(), before);
        });
    }

    void slotsOfEveryKind_data()
    {
        columns<QString, QVariantMap, QString>("slot", "arguments", "expected"); // null: no call
        const QVariant inVariant = QVariant::fromValue(BusVariant{QVariant::fromValue(BusVariant{7})});
        ApplicationConfig config;
        config.setName("Gate"_s);
        const QVariant gate = QVariant::fromValue(config);
        row("no parameter", "nothing()", QVariantMap{{"x"_s, 1}, {"y"_s, 2}}, "called");
        row("by name", "number(int)", QVariantMap{{"other"_s, 1}, {"value"_s, 2}}, "2");
        row("the only one", "number(int)", QVariantMap{{"other"_s, 1}}, "1");
        row("as SLOT() writes it", "1number( int )", QVariantMap{{"value"_s, 3}}, "3");
        row("text to number", "number(int)", QVariantMap{{"value"_s, "12"_s}}, "12");
        row("number to text", "text(QString)", QVariantMap{{"value"_s, 1.5}}, "1.5");
        row("path to text", "text(QString)", QVariantMap{{"value"_s, QVariant::fromValue(BusObjectPath{"/a"_s})}},
            "/a");
        row("variant in a variant", "number(int)", QVariantMap{{"value"_s, inVariant}}, "7");
        row("any value", "variant(QVariant)", QVariantMap{{"value"_s, 4U}}, "uint:4");
        row("list", "list(QVariantList)", QVariantMap{{"value"_s, QVariantList{1, "two"_s}}}, "QVariantList2");
        row("record", "record(ApplicationConfig)", QVariantMap{{"value"_s, gate}}, config.toString());
        row("whole event", "event(JovEvent)",
            QVariantMap{{"a"_s, inVariant},
                        {"b"_s, QVariantMap{{"k"_s, QVariantList{1}}}},
                        {"c"_s, gate},
                        {"d"_s, QStringList{"x"_s}}},
            "e a=int:7 b=QVariantMap1 c=QVariantList9 d=QStringList:x");
        row("no number", "number(int)", QVariantMap{{"value"_s, "abc"_s}}, QString());
        row("record to number", "number(int)", QVariantMap{{"value"_s, gate}}, QString());
        row("number to record", "record(ApplicationConfig)", QVariantMap{{"value"_s, 1}}, QString());
        row("none", "text(QString)", QVariantMap(), QString());
        row("ambiguous", "number(int)", QVariantMap{{"x"_s, 1}, {"y"_s, 2}}, QString());
    }

    void slotsOfEveryKind()
    {
        const auto [slot, arguments, expected] = cells<QString, QVariantMap, QString>();
        Component component;
        Receiver receiver;
        Receiver witness;
        const QString name = "e"_s;
        QVERIFY(component.subscribeEvent(name, &receiver, qPrintable(slot)));
        component.subscribeEvent(name, &witness, SLOT(nothing()));
        component.live([&, arguments = arguments] {
            QVERIFY(component.notifyEvent(JovEvent(name, arguments)));
            QTRY_COMPARE(witness.got.size(), 1);
        });
        QCOMPARE(receiver.got, expected.isNull() ? QStringList() : QStringList(expected));
    }

    void refusedSubscriptions()
    {
        Component component;
        Receiver receiver;
        const QString name = "e"_s;
        QVERIFY(!component.subscribeEvent(name, &receiver, SLOT(missing())));
        QVERIFY(!component.subscribeEvent(name, &receiver, SLOT(two(int, int))));
        QVERIFY(!component.subscribeEvent(name, &receiver, ""));
        QVERIFY(!component.subscribeEvent(name, &receiver, nullptr));
        QVERIFY(!component.subscribeEvent(name, nullptr, SLOT(nothing())));
        QVERIFY(!component.unsubscribeEvent(name, &receiver, SLOT(nothing())));
        component.live([&] {
            // What no variant on the bus can hold is refused, and the connection lives on.
            const QVariant nested = QVariantList{QVariantMap{{"key"_s, QVariant()}}};
            QVariant deep = 1;
            for (int i = 0; i < 40; ++i) {
                deep = QVariantList{deep};
            }
            for (const QVariant &value :
                 {QVariant(), nested, deep, QVariant(QUuid()), QVariant::fromValue<QObject *>(this),
                  QVariant::fromValue(BusObjectPath{"a"_s}), QVariant::fromValue(BusSignature{"("_s})}) {
                QVERIFY(!component.notifyEvent(name, {{"key"_s, value}}));
                QVERIFY(!component.asyncRemoteCall(name, name, {value}));
                QVERIFY(component.syncRemoteCall(name, name, {value}).isError());
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
        const QString name = "e"_s;
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
            throw new JovException(&component, JovException::Unknown, "thrown"_s);
        };
        component.live([&] {
            component.notifyEvent(name);
            QTRY_COMPARE(last.got.size(), 2);
            QCOMPARE(first.got.size(), 2);
            QCOMPARE(late.got.size(), 1);
            QCOMPARE(removed.got.size(), 0);
        });
    }

    void busIsLostAndReturns()
    {
        Component component;
        Receiver receiver;
        const QString plain = "plain"_s;
        const QString odd = "od'd"_s;
        component.subscribeEvent(plain, &receiver, SLOT(event(JovEvent)));
        QVERIFY(BusInterface::ofScriptable(&component)
                    .introspection()
                    .contains("<arg name=\"operation\" type=\"s\" direction=\"in\"/>"));
        component.live([&] {
            m_bus.stop();
            QTRY_VERIFY(!component.notifyEvent(plain));
            QVERIFY(component.subscribeEvent(odd, &receiver, SLOT(event(JovEvent))));
            m_bus.start();
            Peer peer(m_bus);
            QTRY_COMPARE(peer.call("play"_s, {"back"_s}), "true"_s);
            component.notifyEvent(odd);
            component.notifyEvent(plain);
            QTRY_COMPARE(receiver.got, (QStringList{odd, plain}));
        });
    }

private:
    PrivateBus m_bus;
};

int main(int argc, char **argv)
{
    JovApplication application(argc, argv);
    registerDBusApplicationConfig();
    EventsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "EventsTest.moc"
