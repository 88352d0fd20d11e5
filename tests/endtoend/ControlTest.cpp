#include "BusNames.h"
#include "DataTable.h"
#include "Terminal.h"

#include <QDBusPendingReply>
#include <QTest>
#include <QTimer>
#include <QXmlStreamReader>

#include <algorithm>

namespace {

constexpr char fourModules[] = "step one 1\nstep two 2\nA one\nB one <A\nC one <B\nD two";
const QString allRunning = QStringLiteral("A:RUNNING B:RUNNING C:RUNNING D:RUNNING");
const QString allStopped = QStringLiteral("A:STOPPED B:STOPPED C:STOPPED D:STOPPED");
const QString unknownMethod = QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod");

/// Each element of an interface as a line: its depth, its tag and its attributes' values.
QStringList describe(const QString &xml, const QString &interface)
{
    QStringList lines;
    QXmlStreamReader reader(xml);
    bool inside = false;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.name() == QLatin1String("interface")) {
            inside = reader.isStartElement() && reader.attributes().value(QStringLiteral("name")) == interface;
        } else if (inside && reader.name() == QLatin1String("method") && reader.isStartElement()) {
            lines << reader.attributes().value(QStringLiteral("name")).toString();
        } else if (inside && reader.isStartElement()) {
            const QXmlStreamAttributes a = reader.attributes();
            lines.last() += QLatin1Char(' ')
                + (reader.name() == QLatin1String("annotation")
                       ? a.value(QStringLiteral("name")).toString().section(QLatin1Char('.'), -1) + QLatin1Char('=')
                           + a.value(QStringLiteral("value"))
                       : a.value(QStringLiteral("direction")) + QLatin1Char(':') + a.value(QStringLiteral("type"))
                           + a.value(QStringLiteral("name")));
        }
    }
    return lines;
}

int launches(const Terminal &terminal, int from = 0)
{
    return terminal.logCount(QStringLiteral("PID of :"), from);
}

} // namespace

class ControlTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void interface()
    {
        Terminal terminal(fourModules);
        QVERIFY(terminal.boot());
        const QString interface = BusNames::methodInterface();
        const QDBusMessage reply = terminal.connection().call(QDBusMessage::createMethodCall(
            BusNames::service(QStringLiteral("ApplicationManager")), QStringLiteral("/ApplicationManager"),
            QStringLiteral("org.freedesktop.DBus.Introspectable"), QStringLiteral("Introspect")));
        const QString xml = reply.arguments().value(0).toString();
        const QStringList expected{
            QStringLiteral("getApplicationsForSettingsDeployment out:a(sissssssb)applications "
                           "Out0=ListApplicationConfig"),
            QStringLiteral("monitoringSettingsChanged in:(sssssssiiia(ss)bbs)setting In0=Setting "
                           "out:a(sssssssiiia(ss)bbs) Out0=ListSetting"),
            QStringLiteral("getStepInfra out:i"),
            QStringLiteral("startAll out:i"),
            QStringLiteral("stopAll out:i"),
            QStringLiteral("restart"),
            QStringLiteral("restartApp"),
            QStringLiteral("stopManager"),
            QStringLiteral("getApplicationsList out:a(sissssssb)applications Out0=ListApplicationConfig"),
            QStringLiteral("getApplicationsListInString out:s"),
            QStringLiteral("restartPresentation"),
            QStringLiteral("startModule in:smoduleName out:b"),
            QStringLiteral("restartModule in:smoduleName"),
            QStringLiteral("restartModule in:asmoduleName"),
            QStringLiteral("stopModule in:smoduleName out:b"),
            QStringLiteral("getModulesList out:a(sissssssb)applications Out0=ListApplicationConfig"),
            QStringLiteral("getModulesListInString out:s"),
            QStringLiteral("enoughMemory out:b"),
            QStringLiteral("getMemoryUsage in:sapplicationName out:i"),
            QStringLiteral("getMemoryUsage in:sapplicationName in:sfile in:smemmory out:i"),
            QStringLiteral("getTotalMemory out:i"),
            QStringLiteral("getFreeMemory out:i"),
            QStringLiteral("getCpuUsage in:sapplicationName out:d"),
            QStringLiteral("setAdminPasswd in:scmdLine"),
        };
        QCOMPARE(describe(xml, interface), expected);
        // Nothing of the object's own has slipped onto the bus beside this one and the inspection.
        QCOMPARE(xml.count(QStringLiteral("<interface name=\"com.velmora.")), 2);
    }

    void operation_data()
    {
        columns<QString, QVariantList, QString, QString, int, QString>("method", "arguments", "reply", "states",
                                                                       "launched", "line");

        const QString b = QStringLiteral("B");
        const QString x = QStringLiteral("X");
        const QString unknown = QStringLiteral("warning getInitStepOfModule X: module not in map");
        row("start what runs", "startAll", QVariantList(), "2", allRunning, 0, "Starting step two");
        row("stop all", "stopAll", QVariantList(), "4", allStopped, 0, "Stopping step one");
        row("stop with dependents", "stopModule", QVariantList{b}, "true", "A:RUNNING B:STOPPED C:STOPPED D:STOPPED", 0,
            "Trying to stop module D");
        row("stop nobody", "stopModule", QVariantList{x}, "false", allRunning, 0, unknown);
        row("start a running one", "startModule", QVariantList{b}, "true", allRunning, 0,
            "error [Module] start B ret false (state= RUNNING)");
        row("start nobody", "startModule", QVariantList{x}, "false", allRunning, 0, unknown);
        row("restart one", "restartModule", QVariantList{b}, "", allRunning, 1, "Restarting module B");
        row("restart some", "restartModule", QVariantList{QStringList{QStringLiteral("D"), x, b}}, "", allRunning, 2,
            unknown);
        row("restart all", "restart", QVariantList(), "", allRunning, 4, "Clear all lists");
        row("presentation", "restartPresentation", QVariantList(), "", allRunning, 0,
            "warning Method restartPresentation is only accessible for host simulator");
        row("command", "setAdminPasswd", QVariantList{QStringLiteral("echo caf\u00e9 >$JOV_ROOT/done")}, "", allRunning,
            0, QStringLiteral("warning echo caf\u00e9 >$JOV_ROOT/done"));
    }

    void operation()
    {
        QFETCH(QString, method);
        QFETCH(QVariantList, arguments);
        QFETCH(QString, reply);
        QFETCH(QString, states);
        QFETCH(QString, line);
        Terminal terminal(fourModules);
        QVERIFY(terminal.boot());
        const int before = terminal.log().size();
        QCOMPARE(terminal.call(method, arguments), reply);
        // The reply comes when it is done.
        QCOMPARE(terminal.states(), states);
        QTEST(launches(terminal, before), "launched");
        QVERIFY(terminal.logCount(line, before) > 0);
        if (method == QLatin1String("setAdminPasswd")) {
            QCOMPARE(terminal.root.read(QStringLiteral("/done")), QByteArray("caf\xe9\n"));
        }
    }

    void stoppedStaysStopped()
    {
        Terminal terminal(fourModules);
        QVERIFY(terminal.boot());
        QCOMPARE(terminal.call(QStringLiteral("stopAll")), QStringLiteral("4"));
        QCOMPARE(terminal.call(QStringLiteral("startAll")), QStringLiteral("0"));
        QCOMPARE(terminal.logCount(QStringLiteral("[AppMgr.startall] interrupted because stopping")), 1);
        QCOMPARE(terminal.states(), allStopped);
        terminal.addModule(QStringLiteral("E"), QStringLiteral("two"));
        terminal.call(QStringLiteral("restart"));
        QCOMPARE(terminal.states(), allRunning + QStringLiteral(" E:RUNNING"));
    }

    void restartApp_data()
    {
        columns<QByteArray, QStringList, int, QString>("stepFile", "orders", "restarts", "line");

        const QString call = QStringLiteral("call");
        const QString lock = QStringLiteral("PLTF_LOCK_REBOOT");
        const QString unlock = QStringLiteral("PLTF_UNLOCK_REBOOT");
        const QString early = QStringLiteral("Applicative restart Lock : false Step :3");
        const QString late = QStringLiteral("Applicative restart Lock : false Step :5");
        row("too early", QByteArray("3"), QStringList{call, unlock}, 0, early);
        row("held back, then too early", QByteArray("3"), QStringList{lock, call, unlock}, 0, early);
        row("at once", QByteArray("5"), QStringList{call}, 1, late);
        row("held back", QByteArray("5"), QStringList{lock, call, call}, 0, "Applicative restart Lock : true Step :5");
        row("let go", QByteArray("5"), QStringList{lock, call, call, unlock, unlock}, 1,
            "ApplicationManager: call for suspending restartApp");
    }

    void restartApp()
    {
        QFETCH(QByteArray, stepFile);
        QFETCH(QStringList, orders);
        QFETCH(int, restarts);
        QFETCH(QString, line);
        Terminal terminal("step one 1\nA one");
        terminal.root.write(QStringLiteral("/tmp/step"), stepFile);
        terminal.start();
        QVERIFY(terminal.waitForStates(QStringLiteral("A:RUNNING")));
        for (const QString &order : qAsConst(orders)) {
            if (order == QLatin1String("call")) {
                QCOMPARE(terminal.call(QStringLiteral("restartApp")), QString());
            } else {
                terminal.notify(order);
            }
        }
        QVERIFY(terminal.waitForLog(line));
        // The queued restart has begun before the next call is served.
        terminal.call(QStringLiteral("getStepInfra"));
        QVERIFY(terminal.waitForStates(QStringLiteral("A:RUNNING")));
        QCOMPARE(launches(terminal), 1 + restarts);
        QCOMPARE(terminal.logCount(QStringLiteral("Clear all lists")), 0);
    }

    void restartsAreMerged()
    {
        Terminal terminal("step one 1\nA one --stop-after=100 --ready-after=100\nB one <A");
        QVERIFY(terminal.boot());
        QList<QDBusPendingCall> calls;
        for (int i = 0; i < 8; ++i) {
            calls << terminal.sendAsync(i % 3 == 2 ? QStringLiteral("restartApp") : QStringLiteral("restart"));
            QTest::qWait(10);
        }
        for (QDBusPendingCall &call : calls) {
            call.waitForFinished();
            QVERIFY(!call.isError());
        }
        QVERIFY(terminal.waitForAll(QStringLiteral("RUNNING")));
        QVERIFY(terminal.logCount(QStringLiteral("Clear all lists")) <= 2);
    }

    void restartDuringStart_data()
    {
        columns<QString, QString>("at", "method");

        row("first step", "PID of :A", "restart");
        row("in the forest", "PID of :B", "restart");
        row("last step", "PID of :Z", "restart");
        row("last step, lists kept", "PID of :Z", "restartApp");
        row("waiting for the settings", "Checking mandatory", "restart");
    }

    // A progression that a restart interrupts goes on after it, over the new chain, and the parent is told.
    void restartDuringStart()
    {
        QFETCH(QString, at);
        QFETCH(QString, method);
        Terminal terminal("step one 1\nstep nine 9\nA one --ready-after=100\nB one <A --ready-after=100\n"
                          "SettingsManager one\nY nine\nZ nine --ready-after=100");
        bool restarted = false;
        connect(&terminal, &Terminal::event, this, [&](const QString &name) {
            const bool check = name == QLatin1String("checkMandatorySettings");
            const bool reached = at.startsWith(QLatin1String("PID")) ? terminal.logCount(at) > 0 : check;
            if (!restarted && reached) {
                restarted = true;
                terminal.sendAsync(method);
            } else if (check) {
                terminal.notify(QStringLiteral("checkMandatorySettingsSuccess"), {{QStringLiteral("reboot"), false}});
            }
        });
        // Wakes the observer above until the moment has come.
        QTimer tick;
        connect(&tick, &QTimer::timeout, this, [&] { Q_EMIT terminal.event(QString()); });
        tick.start(5);
        QCOMPARE(terminal.startDaemon(), 0);
        QVERIFY(restarted);
        QVERIFY(terminal.waitForAll(QStringLiteral("RUNNING")));
        QCOMPARE(terminal.logCount(QStringLiteral("Kill father")), 1);
        QCOMPARE(terminal.logCount(QStringLiteral("emergency")), 0);
        QStringList infra = terminal.events().filter(QStringLiteral("init_step_infra"));
        std::sort(infra.begin(), infra.end());
        QCOMPARE(infra, terminal.events().filter(QStringLiteral("init_step_infra")));
    }

    // The stop walk does not get to a step that was linked in front; the start that waits there must not hold the
    // restart.
    void restartPastUnreachableStart()
    {
        Terminal terminal("step five 5\nstep one 1\nA one\nB five");
        terminal.addArguments(QStringLiteral("B"), {QStringLiteral("--never-ready")});
        terminal.start();
        QVERIFY(terminal.waitForStates(QStringLiteral("A:RUNNING B:STARTING")));
        terminal.addArguments(QStringLiteral("B"), {});
        terminal.call(QStringLiteral("restart"));
        QVERIFY(terminal.waitForStates(QStringLiteral("A:RUNNING B:RUNNING")));
    }

    void hostileCall_data()
    {
        columns<QString, QVariantList, QString>("method", "arguments", "reply");

        const QString huge(100000, QLatin1Char('n'));
        const QString odd = QStringLiteral("a\n\u00fc '\"%1%2;$(reboot)\u2603");
        row("no such method", "reboot", QVariantList(), unknownMethod);
        row("a number for a name", "startModule", QVariantList{5}, unknownMethod);
        row("no name", "stopModule", QVariantList(), unknownMethod);
        row("two of three", "getMemoryUsage", QVariantList{huge, huge}, unknownMethod);
        row("a text for a record", "monitoringSettingsChanged", QVariantList{odd}, unknownMethod);
        row("an operation that is no method", "checkMemory", QVariantList(), unknownMethod);
        for (const char *method : {"startModule", "stopModule"}) {
            row(QByteArray("huge name, ") + method, method, QVariantList{huge}, "false");
            row(QByteArray("odd name, ") + method, method, QVariantList{odd}, "false");
        }
        row("huge name, restartModule", "restartModule", QVariantList{huge}, "");
        row("long list", "restartModule", QVariantList{QStringList(QVector<QString>(5000, odd).toList())}, "");
        row("path for a file", "getMemoryUsage",
            QVariantList{QStringLiteral("A"), QStringLiteral("../../etc/passwd"), odd}, "0");
        row("huge command", "setAdminPasswd", QVariantList{QStringLiteral("true ") + huge}, "");
    }

    void hostileCall()
    {
        QFETCH(QString, method);
        QFETCH(QVariantList, arguments);
        Terminal terminal(fourModules);
        QVERIFY(terminal.boot());
        QTEST(terminal.call(method, arguments), "reply");
        QCOMPARE(terminal.states(), allRunning);
        // Whatever the text, a record of the log is one line.
        const QStringList lines = terminal.log();
        for (const QString &line : lines) {
            const QString level = line.section(QLatin1Char(' '), 0, 0);
            QVERIFY2(level == QLatin1String("debug") || level == QLatin1String("info")
                         || level == QLatin1String("warning") || level == QLatin1String("error"),
                     qPrintable(line.left(200)));
        }
    }

    void vanishingClients()
    {
        Terminal terminal("step one 1\nA one --stop-after=50\nB one <A --ready-after=50");
        QVERIFY(terminal.boot());
        for (const char *method :
             {"restart", "stopAll", "startAll", "restart", "getModulesList", "restartApp", "restart"}) {
            const QString name = QStringLiteral("vanishing");
            QDBusConnection client = QDBusConnection::connectToBus(terminal.bus.address(), name);
            client.asyncCall(QDBusMessage::createMethodCall(BusNames::service(QStringLiteral("ApplicationManager")),
                                                            QStringLiteral("/ApplicationManager"),
                                                            BusNames::methodInterface(), QString::fromLatin1(method)));
            client = QDBusConnection(QString());
            QDBusConnection::disconnectFromBus(name);
            // Whatever is under way: a question is answered.
            QVERIFY2(!terminal.states().isEmpty(), method);
        }
        QVERIFY(terminal.waitForAll(QStringLiteral("RUNNING")));
    }

    // Operations wait inside each other; a flood of them is refused before the stack ends.
    void flood()
    {
        Terminal terminal("step one 1\nA one --stop-after=100\nB one --stop-after=100");
        QVERIFY(terminal.boot());
        // As many as the bus lets one client have under way.
        QList<QDBusPendingCall> calls;
        for (int i = 0; i < 120; ++i) {
            const QString module = i % 2 == 0 ? QStringLiteral("A") : QStringLiteral("B");
            calls << terminal.sendAsync(i % 5 == 0 ? QStringLiteral("startModule") : QStringLiteral("restartModule"),
                                        {module});
        }
        int refused = 0;
        for (QDBusPendingCall &call : calls) {
            call.waitForFinished();
            if (call.isError()) {
                ++refused;
                QCOMPARE(call.error().name(), QStringLiteral("com.velmora.Jovara.Error.Failed"));
            }
        }
        QVERIFY(refused > 0 && refused < calls.size());
        terminal.call(QStringLiteral("restart"));
        QVERIFY(terminal.waitForAll(QStringLiteral("RUNNING")));
        QCOMPARE(terminal.logCount(QStringLiteral("emergency")), 0);
    }
};

QTEST_GUILESS_MAIN(ControlTest)

#include "ControlTest.moc"
