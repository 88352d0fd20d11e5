#include "bus/BusConnection.h"
#include "bus/BusOutbox.h"
#include "bus/CallLimiter.h"
#include "platform/Component.h"
#include "support/DataTable.h"

#include <jov/JovProcess.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// Hears events while the loop of the test is blocked.
class Listener : public QObject
{
    Q_OBJECT

public:
    std::atomic<int> count{0};

public Q_SLOTS:
    void heard() { ++count; }
};

class LifeTest : public QObject
{
    Q_OBJECT

public:
    LifeTest() { m_root.keepLog(); }

private Q_SLOTS:
    void init() { m_root.keepLog(); }
    void cleanup() { std::raise(SIGPIPE); } // ignored
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
        const auto [operation, how, calls] = cells<QString, QString, QString>();
        Component component;
        component.operations.insert("init_step"_s, [&] {
            component.exit();
            return true;
        });
        component.operations.insert(operation, [&, how = how] {
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
        Peer peer(m_bus);
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
        m_bus.stop();
        Component component;
        QCOMPARE(component.live([] {}), 1);
        QCOMPARE(component.calls, QStringList());
        QVERIFY(m_root.log().join(u'\n').contains("error Probe: no bus"_s));
        QVERIFY(!component.notifyEvent("event"_s));
        QVERIFY(!component.asyncRemoteCall("Other"_s, "m"_s));
        QString message;
        try {
            const JovReply reply = component.syncRemoteCall("Other"_s, "m"_s);
        } catch (JovException *thrown) {
            QCOMPARE(thrown->errorType(), JovException::BusUnavailable);
            message = thrown->message();
            delete thrown;
        }
        QVERIFY(!message.isEmpty());
        m_bus.start();
    }

    void muteBus_data()
    {
        columns<int, int>("connections", "status"); // that nobody accepts
        row("accepts and never answers", 0, 0);
        row("takes no connection any more", 2, 1);
    }

    // A bus that hangs holds up neither signals nor the end; one whose queue is full is no bus.
    void muteBus()
    {
        QFETCH(int, connections);
        const QByteArray path = QFile::encodeName(m_root.path("/mute"_s));
        sockaddr_un address = {AF_UNIX, {}};
        qstrncpy(address.sun_path, path, sizeof address.sun_path);
        const auto *generic = reinterpret_cast<const sockaddr *>(&address);
        std::vector<int> sockets{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
        QCOMPARE(bind(sockets.front(), generic, sizeof address), 0);
        QCOMPARE(listen(sockets.front(), 1), 0);
        for (int i = 0; i < connections; ++i) {
            sockets.push_back(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
            QCOMPARE(::connect(sockets.back(), generic, sizeof address), 0);
        }
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + path);
        Component component;
        QTimer::singleShot(50, &component, &JovModule::exit);
        QElapsedTimer clock;
        clock.start();
        QTEST(JovApplication::instance()->exec(), "status");
        QVERIFY2(clock.elapsed() < 1000, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(component.calls, QStringList());
        std::for_each(sockets.begin(), sockets.end(), ::close);
        QFile::remove(m_root.path("/mute"_s));
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus.address().toUtf8());
    }

    // Also while its handler turns a loop of its own.
    void callsBeyondTheLimit()
    {
        constexpr int calls = 100;
        BusLimits limits;
        limits.callsPerSecond = 10;
        BusConnection called(limits);
        int served = 0;
        called.setHandler([&](const BusMessage &message) {
            if (message.type() == BusMessage::Type::Call && ++served == 1) {
                QVERIFY(QTest::qWaitFor([&] { return served == limits.callsPerSecond; }));
            }
            called.send(BusMessage::reply(message.origin()));
        });
        BusConnection caller;
        QVERIFY(called.open() && caller.open());
        QTRY_VERIFY(called.isOpen() && caller.isOpen());
        const QString name = "org.example.Called"_s;
        QString owner;
        called.call(BusMessage::busCall("RequestName", {name, 4U}), 1000, [&](const BusMessage &) { owner = name; });
        QTRY_COMPARE(owner, name);
        int replies = 0;
        int refusals = 0;
        for (int i = 0; i < calls; ++i) {
            caller.call(BusMessage::call(name, "/any"_s, name, "any"_s), 10000, [&](const BusMessage &reply) {
                ++replies;
                refusals += reply.errorName() == "org.freedesktop.DBus.Error.LimitsExceeded"_s ? 1 : 0;
            });
        }
        QTRY_COMPARE(replies, calls);
        QCOMPARE(served + refusals, calls);
        QVERIFY(refusals > 0);
        CallLimiter limiter(1);
        QVERIFY(limiter.admits("a") && !limiter.admits("a") && limiter.admits("b"));
        bool again = false;
        QTRY_VERIFY(again = again || limiter.admits("a")); // in the next second
    }

    // What comes during a call that waits is handled after it.
    void signalDuringACall()
    {
        BusConnection connection;
        int signalsSeen = 0;
        connection.setHandler([&](const BusMessage &message) { signalsSeen += message.member() == "seen" ? 1 : 0; });
        QVERIFY(connection.open());
        QTRY_VERIFY(connection.isOpen());
        connection.send(BusMessage::busCall("AddMatch", {"type='signal',interface='org.example.Any'"_s}));
        connection.send(BusMessage::signal("/any"_s, "org.example.Any", "seen"));
        QCOMPARE(connection.callAndWait(BusMessage::busCall("ListNames"), 5000).type(), BusMessage::Type::Return);
        QCOMPARE(signalsSeen, 0);
        QTRY_COMPARE(signalsSeen, 1);
    }

    void errorsOfBusCalls()
    {
        Component component;
        Peer peer(m_bus);
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
            const JovReply reply = component.syncRemoteCall("Probe"_s, "play"_s, {"sync"_s});
            QCOMPARE(reply.arguments(), QVariantList{true});
            QVERIFY(component.asyncRemoteCall("Probe"_s, "play"_s, {"async"_s}));
            QTRY_VERIFY(component.calls.contains("async"_s));
            for (const QString &name : {"Nobody"_s, QString(), QString(400, u'x')}) {
                QVERIFY(component.syncRemoteCall(name, "m"_s).isError());
                QVERIFY(component.syncRemoteCall("Probe"_s, name + u' ').isError());
            }
        });
    }

    // Last: from here on the process collects. Neither what blocks its loop nor its end may hold messages back.
    void collectedMessages()
    {
        BusOutbox::collect();
        QThread thread;
        thread.start();
        Listener listener;
        listener.moveToThread(&thread);
        Peer peer(m_bus);
        peer.connection.connect(QString(), "/Probe"_s, QString(), "event"_s, &listener, SLOT(heard()));
        exchangeWithBus(peer.connection);
        Component component;
        component.live([&] {
            component.notifyEvent("one"_s);
            qor_execute("/bin/sh", {"sh", "-c", "exec sleep 5"}, [&] { return listener.count < 1; });
            QCOMPARE(int(listener.count), 1);
            component.notifyEvent("two"_s);
        });
        QTRY_COMPARE(int(listener.count), 2);
        thread.quit();
        thread.wait();
    }

private:
    RootDir m_root;
    PrivateBus m_bus;
};

int main(int argc, char **argv)
{
    LifeTest test;
    JovApplication application(argc, argv);
    return QTest::qExec(&test, argc, argv);
}

#include "LifeTest.moc"
