#include "Component.h"
#include "JovLogger.h"

#include <QDBusAbstractAdaptor>
#include <QEventLoop>
#include <QTimer>
#include <QXmlStreamReader>

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

namespace {

const RootDir *root = nullptr;

QString takeLog()
{
    const QString log = QString::fromUtf8(root->read(QStringLiteral("/log")));
    root->write(QStringLiteral("/log"), QByteArray());
    return log;
}

/// Has only an adaptor, and so nothing else to show.
class Silent : public JovModule
{
    Q_OBJECT

public:
    Silent()
        : JovModule(QStringLiteral("Probe"))
    { }
    std::function<void()> body;
    bool init_step() override
    {
        body();
        exit();
        return true;
    }
};

class SilentAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")

public:
    explicit SilentAdaptor(JovModule *module)
        : QDBusAbstractAdaptor(module)
        , m_module(module)
    { }

public Q_SLOTS:
    void fail()
    {
        m_module->failBusCall(QStringLiteral("no"));
        throw new JovException(m_module, JovException::InvocationFailed, QStringLiteral("no"));
    }
    bool isBusCall() { return m_module->isBusCall(); }

private:
    JovModule *m_module;
};

} // namespace

class LifeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_bus = std::make_unique<PrivateBus>(); }
    void cleanupTestCase() { m_bus.reset(); }
    void init() { takeLog(); }
    void operationsInOrder_data();
    void operationsInOrder();
    void exitFromInside_data();
    void exitFromInside();
    void exitBeforeTheLife();
    void busCallerHasItsReplyBeforeTheStop();
    void nameIsTaken();
    void noBus();
    void errorsOfBusCalls();
    void adaptorAlone();
    void callsOfOthers();

private:
    std::unique_ptr<PrivateBus> m_bus;
};

void LifeTest::operationsInOrder_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("how");
    QTest::addColumn<QString>("calls");
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("status");
    QTest::newRow("check") << "check"
                           << "false"
                           << "check"
                           << "error Probe: check failed" << 1;
    QTest::newRow("deploy") << "deploy"
                            << "throw"
                            << "check deploy"
                            << "error Probe: deploy failed" << 1;
    QTest::newRow("init") << "init"
                          << "false"
                          << "check deploy init"
                          << "error Probe: init failed" << 1;
    QTest::newRow("init_step") << "init_step"
                               << "throw"
                               << "check deploy init init_step"
                               << "error Probe: init_step failed" << 1;
    QTest::newRow("stop") << "stop"
                          << "throw"
                          << "check deploy init init_step stop"
                          << "error Probe: stop failed" << 0;
    QTest::newRow("exit in check") << "check"
                                   << "exit"
                                   << "check stop"
                                   << "" << 0;
    QTest::newRow("exit in a failing init") << "init"
                                            << "exit false"
                                            << "check deploy init stop"
                                            << "" << 0;
    QTest::newRow("exit in a failing init_step") << "init_step"
                                                 << "exit false"
                                                 << "check deploy init init_step stop"
                                                 << "" << 0;
}

void LifeTest::operationsInOrder()
{
    QFETCH(QString, operation);
    QFETCH(QString, how);
    QFETCH(QString, calls);
    QFETCH(QString, line);
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
    const QString log = takeLog();
    QCOMPARE(log.contains(QStringLiteral("failed")), !line.isEmpty());
    QVERIFY2(log.contains(line), qPrintable(log));
}

void LifeTest::exitFromInside_data()
{
    QTest::addColumn<int>("loops");
    QTest::addColumn<bool>("processEvents");
    QTest::newRow("a nested loop") << 1 << false;
    QTest::newRow("three nested loops") << 3 << false;
    QTest::newRow("processEvents in nested loops") << 2 << true;
}

// The end has to get out of loops that nobody else ends.
void LifeTest::exitFromInside()
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

void LifeTest::exitBeforeTheLife()
{
    Component component;
    component.exit();
    QCOMPARE(JovApplication::instance()->exec(), 0);
    QCOMPARE(component.calls, QStringList());
}

void LifeTest::busCallerHasItsReplyBeforeTheStop()
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
        QDBusMessage call =
            QDBusMessage::createMethodCall(QStringLiteral("com.velmora.Jovara.Probe"), QStringLiteral("/Probe"),
                                           QStringLiteral("com.velmora.Jovara.JovInterface"), QStringLiteral("play"));
        call.setArguments({QStringLiteral("end")});
        reply = peer.connection.asyncCall(call);
        return true;
    });
    QCOMPARE(JovApplication::instance()->exec(), 0);
    QVERIFY(replyWasFirst);
}

void LifeTest::nameIsTaken()
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
    QVERIFY(takeLog().contains(QStringLiteral("Probe: the bus name com.velmora.Jovara.Probe is already owned")));
}

void LifeTest::noBus()
{
    m_bus->stop();
    Component component;
    QCOMPARE(component.live([] {}), 1);
    QCOMPARE(component.calls, QStringList());
    QVERIFY(takeLog().contains(QStringLiteral("error Probe: no bus")));
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

void LifeTest::errorsOfBusCalls()
{
    Component component;
    Peer peer(*m_bus);
    component.live([&] {
        QCOMPARE(peer.call(QStringLiteral("nothing")), QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"));
        QCOMPARE(peer.call(QStringLiteral("play"), {1, 2}), QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"));
        QCOMPARE(peer.call(QStringLiteral("fail"), {QStringLiteral("why")}),
                 QStringLiteral("com.velmora.Jovara.Error.Failed"));
        // The call that was thrown out of has left nothing behind that the next one could trip over.
        QVERIFY(!component.isBusCall());
        QCOMPARE(peer.call(QStringLiteral("play"), {QStringLiteral("again")}), QStringLiteral("true"));
    });
    QVERIFY(takeLog().contains(QStringLiteral("error why")));
}

void LifeTest::adaptorAlone()
{
    Silent module;
    const SilentAdaptor adaptor(&module);
    Peer peer(*m_bus);
    module.body = [&] {
        QXmlStreamReader xml(
            peer.call(QStringLiteral("Introspect"), {}, QStringLiteral("org.freedesktop.DBus.Introspectable")));
        QStringList interfaces;
        while (!xml.atEnd()) {
            if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("interface")) {
                interfaces << xml.attributes().value(QStringLiteral("name")).toString();
            }
        }
        const QStringList own = interfaces.filter(QStringLiteral("velmora"));
        QCOMPARE(own, QStringList(QStringLiteral("com.velmora.Jovara.JovInterface")));
        QCOMPARE(interfaces.filter(QStringLiteral("org.freedesktop.DBus.")).size(), interfaces.size() - 1);
        QCOMPARE(peer.call(QStringLiteral("fail")), QStringLiteral("com.velmora.Jovara.Error.Failed"));
        QVERIFY(!module.isBusCall());
        QCOMPARE(peer.call(QStringLiteral("isBusCall")), QStringLiteral("true"));
    };
    QCOMPARE(JovApplication::instance()->exec(), 0);
}

void LifeTest::callsOfOthers()
{
    Component component;
    component.live([&] {
        // A component can be its own peer without waiting for itself.
        const QDBusMessage reply =
            component.syncRemoteCall(QStringLiteral("Probe"), QStringLiteral("play"), {QStringLiteral("sync")});
        QCOMPARE(reply.arguments(), QVariantList{true});
        QVERIFY(component.asyncRemoteCall(QStringLiteral("Probe"), QStringLiteral("play"), {QStringLiteral("async")}));
        QTRY_VERIFY(component.calls.contains(QStringLiteral("async")));
        for (const QString &name : {QStringLiteral("Nobody"), QString(), QString(400, QLatin1Char('x'))}) {
            QCOMPARE(component.syncRemoteCall(name, QStringLiteral("m")).type(), QDBusMessage::ErrorMessage);
            QCOMPARE(component.syncRemoteCall(QStringLiteral("Probe"), name + QLatin1Char(' ')).type(),
                     QDBusMessage::ErrorMessage);
        }
    });
}

int main(int argc, char **argv)
{
    const RootDir logRoot;
    root = &logRoot;
    logRoot.write(QStringLiteral("/etc/JovApplication/platform.ini"), "[log]\nfile=/log\n");
    JovApplication application(argc, argv);
    LifeTest test;
    return runTest(test, argc, argv);
}

#include "LifeTest.moc"
