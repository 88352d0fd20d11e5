#include "platform/Component.h"
#include "support/DataTable.h"

#include <jov/JovLogger.h>

#include <QEventLoop>
#include <QTimer>

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
        component.operations.insert("init_step"_s, [&] {
            component.exit();
            return true;
        });
        component.operations.insert(operation, [&, how] {
            if (how == "throw"_s) {
                throw new JovException(&component, JovException::Unknown, "thrown"_s);
            }
            if (how.startsWith("exit"_s)) {
                component.exit();
            }
            return !how.endsWith("false"_s);
        });
        QTEST(JovApplication::instance()->exec(), "status");
        QCOMPARE(component.calls.join(u' '), calls);
        QTEST(m_root.log().filter("failed"_s).join(u'\n'), "line");
    }

    // The end has to get out of loops that nobody else ends.
    void exitFromInside()
    {
        Component component;
        std::function<void(int)> nest = [&](int depth) {
            if (depth == 0) {
                QTimer::singleShot(0, &component, &JovModule::exit);
                while (!component.calls.contains("stop"_s)) {
                    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
                }
                return;
            }
            QTimer::singleShot(0, &component, [&, depth] { nest(depth - 1); });
            QEventLoop().exec();
        };
        QCOMPARE(component.live([&] { nest(3); }), 0);
        QCOMPARE(component.calls.count("stop"_s), 1);
    }

    void busCallerHasItsReplyBeforeTheStop()
    {
        Component component;
        Peer peer(*m_bus);
        QDBusPendingReply<bool> reply{QDBusMessage()};
        bool replyWasFirst = false;
        component.operations.insert("end"_s, [&] {
            component.exit();
            return true;
        });
        component.operations.insert("stop"_s, [&] {
            replyWasFirst = QTest::qWaitFor([&] { return reply.isFinished() && reply.isValid(); });
            return true;
        });
        component.operations.insert("init_step"_s, [&] {
            reply = peer.send("play"_s, {"end"_s});
            return true;
        });
        QCOMPARE(JovApplication::instance()->exec(), 0);
        QVERIFY(replyWasFirst);
    }

    void noBus()
    {
        m_bus->stop();
        Component component;
        QCOMPARE(component.live([] {}), 1);
        QCOMPARE(component.calls, QStringList());
        QVERIFY(m_root.log().join(u'\n').contains("error Probe: no bus"_s));
        QVERIFY(!component.notifyEvent("event"_s));
        QVERIFY(!component.asyncRemoteCall("Other"_s, "m"_s));
        QString message;
        try {
            QDBusMessage reply = component.syncRemoteCall("Other"_s, "m"_s);
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
            QCOMPARE(peer.call("nothing"_s), "org.freedesktop.DBus.Error.UnknownMethod"_s);
            QCOMPARE(peer.call("play"_s, {1, 2}), "org.freedesktop.DBus.Error.UnknownMethod"_s);
            QCOMPARE(peer.call("fail"_s, {"why"_s}), "com.velmora.Jovara.Error.Failed"_s);
            // The call that was thrown out of has left nothing behind that the next one could trip over.
            QVERIFY(!component.isBusCall());
            QCOMPARE(peer.call("play"_s, {"again"_s}), "true"_s);
        });
        QVERIFY(m_root.log().join(u'\n').contains("error why"_s));
    }

    void callsOfOthers()
    {
        Component component;
        component.live([&] {
            // A component can be its own peer without waiting for itself.
            const QDBusMessage reply = component.syncRemoteCall("Probe"_s, "play"_s, {"sync"_s});
            QCOMPARE(reply.arguments(), QVariantList{true});
            QVERIFY(component.asyncRemoteCall("Probe"_s, "play"_s, {"async"_s}));
            QTRY_VERIFY(component.calls.contains("async"_s));
            for (const QString &name : {"Nobody"_s, QString(), QString(400, u'x')}) {
                QCOMPARE(component.syncRemoteCall(name, "m"_s).type(), QDBusMessage::ErrorMessage);
                QCOMPARE(component.syncRemoteCall("Probe"_s, name + u' ').type(), QDBusMessage::ErrorMessage);
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
