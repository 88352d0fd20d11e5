#include "bus/BusConnection.h"
#include "support/DataTable.h"
#include "support/NotifiedSocket.h"
#include "support/Terminal.h"

#include <jov/BusNames.h>

#include <QDBusConnectionInterface>
#include <QElapsedTimer>

#include <csignal>

namespace {

constexpr int promised = 1000; // milliseconds until an end or SIGTERM is noticed
#ifdef __SANITIZE_ADDRESS__
constexpr bool memoryIsTelling = false;
#else
constexpr bool memoryIsTelling = true;
#endif

/// A caller beside the daemon, with a connection like a component's.
class Caller : public QObject
{
public:
    Caller()
    {
        m_connection.setHandler([](const BusMessage &) {}); // and answers nobody
        m_connection.open();
        QTest::qWaitFor([this] { return m_connection.isOpen(); }) ? void() : qFatal("no bus for the caller");
    }

    void takeName(const QString &component)
    {
        m_connection.send(BusMessage::busCall("RequestName", {BusNames::service(component), 4U}));
    }

    /// Many calls at every turn of the loop, more than 10,000 in a second, without waiting for a reply.
    void flood(const QString &interface, const QString &method, bool wantsReplies)
    {
        connect(&m_clock, &QTimer::timeout, this, [this, interface, method, wantsReplies] {
            for (int i = 0; i < 400; ++i) {
                BusMessage call = BusMessage::call(BusNames::service("ApplicationManager"_s),
                                                   BusNames::object("ApplicationManager"_s), interface, method);
                if (!wantsReplies) {
                    call.setWantsNoReply();
                }
                m_sent += m_connection.send(call) ? 1 : 0;
            }
        });
        m_clock.start(1);
    }
    [[nodiscard]] int sent() const { return m_sent; }

private:
    BusConnection m_connection;
    QTimer m_clock;
    int m_sent = 0;
};

} // namespace

class BusTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void flood_data()
    {
        columns<QString, QString, bool>("interface", "method", "wantsReplies");
        row("lists", "com.velmora.Jovara.Inspection", "ListModules", true);
        row("texts, no replies", BusNames::methodInterface(), "getModulesListInString", false);
    }

    // Calls faster than they can be answered hold up neither the end of a module nor the daemon's own.
    void flood()
    {
        const auto [interface, method, wantsReplies] = cells<QString, QString, bool>();
        Terminal terminal("step one 1\nA one\nB one\nC one");
        for (int i = 0; i < 1000; ++i) {
            terminal.addModule("Idle%1"_s.arg(i), "none"_s); // an answer takes a millisecond
        }
        QCOMPARE(terminal.startDaemon(), 0);
        QVERIFY(terminal.waitForLog("end of init C received"_s));
        const qint64 before = Processes::figure(terminal.pid(), "status", "VmRSS");
        Caller caller;
        caller.flood(interface, method, wantsReplies);
        QVERIFY(Terminal::wait([&] { return caller.sent() > 20000; }));
        QElapsedTimer clock;
        clock.start();
        kill(terminal.modules().value("B"_s).value(0), SIGKILL);
        QVERIFY(terminal.waitForLog("Terminal will reboot now: B crashed"_s));
        QVERIFY2(clock.elapsed() < promised, qPrintable(QString::number(clock.elapsed())));
        const qint64 most = Processes::figure(terminal.pid(), "status", "VmHWM");
        QVERIFY2(!memoryIsTelling || most - before < 20LL * 1024, qPrintable(QString::number(most - before)));
        clock.start();
        kill(terminal.pid(), SIGTERM);
        QVERIFY(terminal.waitForLog("debug stopAll"_s));
        QVERIFY2(clock.elapsed() < promised, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(terminal.end(0), 0);
    }

    void muteBus_data()
    {
        columns<bool>("reconnection");
        row("while it runs", false);
        row("at a reconnection", true);
    }

    void muteBus()
    {
        QFETCH(bool, reconnection);
        Terminal terminal("step one 1\nA one");
        terminal.setDaemon(QStringLiteral(QUICK_DAEMON));
        QVERIFY(terminal.boot());
        if (reconnection) {
            terminal.bus.stop();
            QVERIFY(terminal.waitForLog("the bus is lost"_s));
            terminal.bus.start();
        }
        kill(pid_t(terminal.bus.processId()), SIGSTOP);
        QTest::qWait(200);
        QElapsedTimer clock;
        clock.start();
        const int status = terminal.end(SIGTERM);
        // With the kill of the module, after 300 ms, that does not hear of its end.
        QVERIFY2(clock.elapsed() < promised, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(status, 0);
        terminal.bus.stop();
    }

    // A component that never answers holds up everything but SIGTERM.
    void synchronousCall()
    {
        Terminal terminal("step one 1 home\nA one");
        Caller silent;
        silent.takeName("SettingsManager"_s);
        const QString name = u'@' + terminal.root.path();
        const NotifiedSocket watchdog(QFile::encodeName(name));
        terminal.setVariable("NOTIFY_SOCKET"_s, name);
        terminal.setVariable("WATCHDOG_USEC"_s, "2000000"_s);
        terminal.start();
        QVERIFY(terminal.waitForLog("getSettingValue MonitoringWatchDelay"_s));
        QVERIFY(watchdog.count() >= 1);
        int beats = 0;
        QVERIFY(terminal.wait([&] { return (beats += watchdog.count()) >= 2; }));
        QCOMPARE(terminal.logCount("getSettingValue "_s), 1); // still in the first call
        QElapsedTimer clock;
        clock.start();
        const int status = terminal.end(SIGTERM);
        QVERIFY2(clock.elapsed() < promised, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(status, 0);
    }

    // A bus that is replaced in the middle of a boot loses announcements; they are repeated.
    void busReplacedDuringTheBoot()
    {
        Terminal terminal("step one 1\nJovWebClient one --ready-after=300 --presentation-after=1\nB one <JovWebClient");
        terminal.start();
        QVERIFY(terminal.wait([&] {
            return terminal.connection().interface()->isServiceRegistered(BusNames::service("JovWebClient"_s));
        }));
        terminal.bus.stop();
        QTest::qWait(400); // The announcements reach nobody.
        terminal.bus.start();
        terminal.reconnect();
        QVERIFY(terminal.waitForStates("B:RUNNING JovWebClient:RUNNING"_s));
        QCOMPARE(terminal.logCount("error ApplicationManager: the bus is lost, trying again every second"_s), 1);
        QCOMPARE(terminal.logCount("info ApplicationManager: the bus is there again"_s), 1);
    }
};

QTEST_GUILESS_MAIN(BusTest)

#include "BusTest.moc"
