#include "Component.h"
#include "DataTable.h"
#include "JovLogger.h"

#include <QEventLoop>
#include <QTimer>

#if defined(__SANITIZE_ADDRESS__)
// An exception that passes through QtDBus leaves what its frames held; nothing of ours is among it.
extern "C" const char *__lsan_default_suppressions(); // NOLINT(bugprone-reserved-identifier)
extern "C" const char *__lsan_default_suppressions() // NOLINT(bugprone-reserved-identifier)
{
    return "leak:libQt5DBus";
}
extern "C" const char *__asan_default_options(); // NOLINT(bugprone-reserved-identifier)
extern "C" const char *__asan_default_options() // NOLINT(bugprone-reserved-identifier)
{
    return "fast_unwind_on_malloc=0";
}
#endif

class LifeTest : public QObject
{
    Q_OBJECT

public:
    LifeTest() { m_root.keepLog(); }

private Q_SLOTS:
    void initTestCase() { m_bus = std::make_unique<PrivateBus>(); }
    void cleanupTestCase() { m_bus.reset(); }
    void init() { m_root.keepLog(); }
    void operationsInOrder_data()
    {
        columns<QString, QString, QString, QString, int>("operation", "how", "calls", "line", "status");
        row("check", "check", "false", "check", "error Probe: check failed", 1);
        row("deploy", "deploy", "throw", "check deploy", "error Probe: deploy failed", 1);
        row("init", "init", "false", "check deploy init", "error Probe: init failed", 1);
        row("init_step", "init_step", "throw", "check deploy init init_step", "error Probe: init_step failed", 1);
        row("stop", "stop", "throw", "check deploy init init_step stop", "error Probe: stop failed", 0);
        row("exit in check", "check", "exit", "check stop", "", 0);
        row("exit in a failing init", "init", "exit false", "check deploy init stop", "", 0);
        row("exit in a failing init_step", "init_step", "exit false", "check deploy init init_step stop", "", 0);
    }

    void operationsInOrder()
    {
        QFETCH(QString, operation);
        QFETCH(QString, how);
        QFETCH(QString, calls);
        Component component;
        component.operations.insert(QStringLiteral("init_step"), [&] {
            component.exit();
            return true;
        });
        component.operations.insert(operation, [&, how] {
            if (how == QLatin1String("throw")) {
                throw new JovException(&component, JovException::Unknown, QStringLiteral("thrown"));
            }
            if (how.startsWith(QLatin1String("exit"))) {
                component.exit();
            }
            return !how.endsWith(QLatin1String("false"));
        });
        QTEST(JovApplication::instance()->exec(), "status");
        QCOMPARE(component.calls.join(QLatin1Char(' ')), calls);
        QTEST(m_root.log().filter(QStringLiteral("failed")).join(QLatin1Char('\n')), "line");
    }

    void exitFromInside_data()
    {
        columns<int, bool>("loops", "processEvents");
        row("a nested loop", 1, false);
        row("three nested loops", 3, false);
        row("processEvents in nested loops", 2, true);
    }

    // The end has to get out of loops that nobody else ends.
    void exitFromInside()
    {
        QFETCH(int, loops);
        QFETCH(bool, processEvents);
        Component component;
        std::function<void(int)> nest = [&](int depth) {
            if (depth == 0) {
                QTimer::singleShot(0, &component, &JovModule::exit);
                while (processEvents && !component.calls.contains(QStringLiteral("stop"))) {
                    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
                }
                return;
            }
            QTimer::singleShot(0, &component, [&, depth] { nest(depth - 1); });
            QEventLoop().exec();
        };
        QCOMPARE(component.live([&] { nest(loops); }), 0);
        QCOMPARE(component.calls.count(QStringLiteral("stop")), 1);
    }

    void exitBeforeTheLife()
    {
        Component component;
        component.exit();
        QCOMPARE(JovApplication::instance()->exec(), 0);
        QCOMPARE(component.calls, QStringList());
    }

    void busCallerHasItsReplyBeforeTheStop()
    {
        Component component;
        Peer peer(*m_bus);
        QDBusPendingReply<bool> reply{QDBusMessage()};
        bool replyWasFirst = false;
        component.operations.insert(QStringLiteral("end"), [&] {
            component.exit();
            return true;
        });
        component.operations.insert(QStringLiteral("stop"), [&] {
            replyWasFirst = QTest::qWaitFor([&] { return reply.isFinished() && reply.isValid(); });
            return true;
        });
        component.operations.insert(QStringLiteral("init_step"), [&] {
            QDBusMessage call = QDBusMessage::createMethodCall(
                QStringLiteral("com.velmora.Jovara.Probe"), QStringLiteral("/Probe"),
                QStringLiteral("com.velmora.Jovara.JovInterface"), QStringLiteral("play"));
            call.setArguments({QStringLiteral("end")});
            reply = peer.connection.asyncCall(call);
            return true;
        });
        QCOMPARE(JovApplication::instance()->exec(), 0);
        QVERIFY(replyWasFirst);
    }

    void nameIsTaken()
    {
        Peer peer(*m_bus);
        QVERIFY(peer.connection.registerService(QStringLiteral("com.velmora.Jovara.Probe")));
        Component component;
        // An earlier error must not be taken for the reason.
        component.operations.insert(QStringLiteral("init"), [&] {
            return component.syncRemoteCall(QStringLiteral("Nobody"), QStringLiteral("m")).type()
                == QDBusMessage::ErrorMessage;
        });
        QCOMPARE(component.live([] {}), 1);
        QCOMPARE(component.calls.last(), QStringLiteral("init"));
        QVERIFY(m_root.log()
                    .join(QLatin1Char('\n'))
                    .contains(QStringLiteral("Probe: the bus name com.velmora.Jovara.Probe is already owned")));
    }

    void noBus()
    {
        m_bus->stop();
        Component component;
        QCOMPARE(component.live([] {}), 1);
        QCOMPARE(component.calls, QStringList());
        QVERIFY(m_root.log().join(QLatin1Char('\n')).contains(QStringLiteral("error Probe: no bus")));
        QVERIFY(!component.notifyEvent(QStringLiteral("event")));
        QVERIFY(!component.asyncRemoteCall(QStringLiteral("Other"), QStringLiteral("m")));
        QString message;
        try {
            QDBusMessage reply = component.syncRemoteCall(QStringLiteral("Other"), QStringLiteral("m"));
        } catch (JovException *thrown) {
            QCOMPARE(thrown->errorType(), JovException::BusUnavailable);
            message = thrown->message();
            delete thrown;
        }
        QVERIFY(!message.isEmpty());
        m_bus->start();
    }

    void errorsOfBusCalls()
    {
#ifdef __ARM_EABI__
        QSKIP("an exception does not get through QtDBus, which has no unwind tables here");
#endif
        Component component;
        Peer peer(*m_bus);
        component.live([&] {
            QCOMPARE(peer.call(QStringLiteral("nothing")), QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"));
            QCOMPARE(peer.call(QStringLiteral("play"), {1, 2}),
                     QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"));
            QCOMPARE(peer.call(QStringLiteral("fail"), {QStringLiteral("why")}),
                     QStringLiteral("com.velmora.Jovara.Error.Failed"));
            // The call that was thrown out of has left nothing behind that the next one could trip over.
            QVERIFY(!component.isBusCall());
            QCOMPARE(peer.call(QStringLiteral("play"), {QStringLiteral("again")}), QStringLiteral("true"));
        });
        QVERIFY(m_root.log().join(QLatin1Char('\n')).contains(QStringLiteral("error why")));
    }

    void callsOfOthers()
    {
        Component component;
        component.live([&] {
            // A component can be its own peer without waiting for itself.
            const QDBusMessage reply =
                component.syncRemoteCall(QStringLiteral("Probe"), QStringLiteral("play"), {QStringLiteral("sync")});
            QCOMPARE(reply.arguments(), QVariantList{true});
            QVERIFY(
                component.asyncRemoteCall(QStringLiteral("Probe"), QStringLiteral("play"), {QStringLiteral("async")}));
            QTRY_VERIFY(component.calls.contains(QStringLiteral("async")));
            for (const QString &name : {QStringLiteral("Nobody"), QString(), QString(400, QLatin1Char('x'))}) {
                QCOMPARE(component.syncRemoteCall(name, QStringLiteral("m")).type(), QDBusMessage::ErrorMessage);
                QCOMPARE(component.syncRemoteCall(QStringLiteral("Probe"), name + QLatin1Char(' ')).type(),
                         QDBusMessage::ErrorMessage);
            }
        });
    }

private:
    RootDir m_root;
    std::unique_ptr<PrivateBus> m_bus;
};

int main(int argc, char **argv)
{
    LifeTest test;
    JovApplication application(argc, argv);
    return QTest::qExec(&test, argc, argv);
}

#include "LifeTest.moc"
