#include "support/DataTable.h"
#include "support/Terminal.h"

#include <jov/BusNames.h>

#include <QDBusPendingReply>
#include <QProcess>
#include <QTimer>
#include <QXmlStreamReader>

#include <algorithm>

namespace {

constexpr char fourModules[] = "step one 1\nstep two 2\nA one\nB one <A\nC one <B\nD two";
const QString allRunning = "A:RUNNING B:RUNNING C:RUNNING D:RUNNING"_s;
const QString allStopped = "A:STOPPED B:STOPPED C:STOPPED D:STOPPED"_s;
constexpr char controlInterface[] =
    R"(getApplicationsForSettingsDeployment out:a(sissssssb)applications Out0=ListApplicationConfig
monitoringSettingsChanged in:(sssssssiiia(ss)bbs)setting In0=Setting out:a(sssssssiiia(ss)bbs) Out0=ListSetting
getStepInfra out:i
startAll out:i
stopAll out:i
restart
restartApp
stopManager
getApplicationsList out:a(sissssssb)applications Out0=ListApplicationConfig
getApplicationsListInString out:s
restartPresentation
startModule in:smoduleName out:b
restartModule in:smoduleName
restartModule in:asmoduleName
stopModule in:smoduleName out:b
getModulesList out:a(sissssssb)applications Out0=ListApplicationConfig
getModulesListInString out:s
enoughMemory out:b
getMemoryUsage in:sapplicationName out:i
getMemoryUsage in:sapplicationName in:sfile in:smemmory out:i
getTotalMemory out:i
getFreeMemory out:i
getCpuUsage in:sapplicationName out:d
setAdminPasswd in:scmdLine)";
const QString unknownMethod = "org.freedesktop.DBus.Error.UnknownMethod"_s;

/// Each method of an interface as a line: its name, and a word for each argument and annotation.
QStringList describe(const QString &xml, const QString &interface)
{
    QStringList lines;
    QXmlStreamReader reader(xml);
    bool inside = false;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.name() == "interface"_s) {
            inside = reader.isStartElement() && reader.attributes().value("name"_s) == interface;
        } else if (inside && reader.name() == "method"_s && reader.isStartElement()) {
            lines << reader.attributes().value("name"_s).toString();
        } else if (inside && reader.isStartElement()) {
            const QXmlStreamAttributes a = reader.attributes();
            lines.last() += u' '
                + (reader.name() == "annotation"_s
                       ? a.value("name"_s).toString().section(u'.', -1) + u'=' + a.value("value"_s)
                       : a.value("direction"_s) + u':' + a.value("type"_s) + a.value("name"_s));
        }
    }
    return lines;
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
        const QDBusMessage reply =
            terminal.connection().call(Terminal::message("Introspect"_s, {}, "org.freedesktop.DBus.Introspectable"_s));
        const QString xml = reply.arguments().value(0).toString();
        QCOMPARE(describe(xml, BusNames::methodInterface()), QString::fromLatin1(controlInterface).split(u'\n'));
        // Nothing of the object's own has slipped onto the bus beside this one and the inspection.
        QCOMPARE(xml.count("<interface name=\"com.velmora."_s), 2);
    }

    // By position, and by a client that shares nothing with this project.
    void recordsOnTheWire()
    {
        Terminal terminal("step one 1\nA one\nB one --exit-after=1 --exit-code=3 --never-ready");
        terminal.start();
        QVERIFY(terminal.waitForStates("A:RUNNING B:STOPPED"_s));
        const auto ask = [&](const QStringList &call) {
            QProcess busctl;
            busctl.start("busctl"_s,
                         QStringList{"--address="_s + terminal.bus.address(), "--json=short"_s, "call"_s,
                                     BusNames::service("ApplicationManager"_s), "/ApplicationManager"_s,
                                     BusNames::methodInterface()}
                             + call);
            busctl.waitForFinished();
            return QString::fromUtf8(busctl.readAll()).section("\"data\":"_s, 1).trimmed();
        };
        const QString modules = R"([[["%1",0,"A","OK","RUNNING","","","",false],)"
                                R"(["0",0,"B","EXITED_3","STOPPED","","","",false]]]})"_s;
        QCOMPARE(ask({"getModulesList"_s}), modules.arg(terminal.modules().value("A"_s).value(0)));
        const QString setting =
            "MonitoringWatchDelay 7 6 label description owner unit 1 2 3 1 v l true false pattern"_s;
        QCOMPARE(ask(QStringList{"monitoringSettingsChanged"_s, "(sssssssiiia(ss)bbs)"_s} + setting.split(u' ')),
                 "[[]]}"_s);
        QVERIFY(terminal.waitForLog("new monitoringWatchDelay value=7"_s));
        QVERIFY(terminal.call("getFreeMemory"_s).toInt() < terminal.call("getTotalMemory"_s).toInt());
        QVERIFY(terminal.call("getMemoryUsage"_s, {"A"_s}).toInt() > 0);
        QCOMPARE(terminal.call("getApplicationsListInString"_s), terminal.call("getModulesListInString"_s) + u'\n');
    }

    void operation_data()
    {
        columns<QString, QVariantList, QString, QString, int, QString>("method", "arguments", "reply", "states",
                                                                       "launched", "line");
        const QString b = "B"_s;
        const QString x = "X"_s;
        const QString unknown = "warning getInitStepOfModule X: module not in map"_s;
        row("start what runs", "startAll", QVariantList(), "2", allRunning, 0, "Starting step two");
        row("stop all", "stopAll", QVariantList(), "4", allStopped, 0, "Stopping step one");
        row("stop with dependents", "stopModule", QVariantList{b}, "true", "A:RUNNING B:STOPPED C:STOPPED D:STOPPED", 0,
            "Trying to stop module D");
        row("stop nobody", "stopModule", QVariantList{x}, "false", allRunning, 0, unknown);
        row("start a running one", "startModule", QVariantList{b}, "true", allRunning, 0,
            "error [Module] start B ret false (state= RUNNING)");
        row("start nobody", "startModule", QVariantList{x}, "false", allRunning, 0, unknown);
        row("restart one", "restartModule", QVariantList{b}, "", allRunning, 1, "waitState() method - timeout : 30000");
        row("restart some", "restartModule", QVariantList{QStringList{"D"_s, x, b}}, "", allRunning, 2, unknown);
        row("restart all", "restart", QVariantList(), "", allRunning, 4, "Clear all lists");
        row("presentation", "restartPresentation", QVariantList(), "", allRunning, 0,
            "warning Method restartPresentation is only accessible for host simulator");
        row("command", "setAdminPasswd", QVariantList{"echo caf\u00e9 >$JOV_ROOT/done"_s}, "", allRunning, 0,
            "warning echo caf\u00e9 >$JOV_ROOT/done"_s);
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
        QTEST(terminal.logCount("PID of :"_s, before), "launched");
        QVERIFY(terminal.logCount(line, before) > 0);
        if (method == "setAdminPasswd"_s) {
            QCOMPARE(terminal.root.read("/done"_s), QByteArray("caf\xe9\n"));
        }
    }

    void restartApp_data()
    {
        columns<QByteArray, QStringList, int, QString>("stepFile", "orders", "restarts", "line");
        const QString call = "call"_s;
        const QString lock = "PLTF_LOCK_REBOOT"_s;
        const QString unlock = "PLTF_UNLOCK_REBOOT"_s;
        const QString early = "Applicative restart Lock : false Step :3"_s;
        const QString late = "Applicative restart Lock : false Step :5"_s;
        row("too early", QByteArray("3"), QStringList{call, unlock}, 0, early);
        row("at once", QByteArray("5"), QStringList{call}, 1, late);
        row("let go", QByteArray("5"), QStringList{lock, call, call, unlock, unlock}, 1,
            "ApplicationManager: call for suspending restartApp");
    }

    void restartApp()
    {
        const auto [stepFile, orders, restarts, line] = cells<QByteArray, QStringList, int, QString>();
        Terminal terminal("step one 1\nA one");
        terminal.root.write("/tmp/step"_s, stepFile);
        terminal.start();
        QTRY_COMPARE(terminal.call("getStepInfra"_s), QString::fromLatin1(stepFile));
        for (const QString &order : qAsConst(orders)) {
            if (order == "call"_s) {
                QCOMPARE(terminal.call("restartApp"_s), QString());
            } else {
                terminal.notify(order);
            }
            // The queued restart has begun before the next call is served.
            terminal.call("getStepInfra"_s);
            QVERIFY(terminal.waitForStates("A:RUNNING"_s));
        }
        QVERIFY(terminal.waitForLog(line));
        QCOMPARE(terminal.logCount("PID of :"_s), 1 + restarts);
        QCOMPARE(terminal.logCount("Clear all lists"_s), 0);
    }

    void restartDuringStart_data()
    {
        columns<QString, QString>("at", "method");
        row("in the forest", "PID of :B", "restart");
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
            const bool check = name == "checkMandatorySettings"_s;
            const bool reached = at.startsWith("PID"_s) ? terminal.logCount(at) > 0 : check;
            if (!restarted && reached) {
                restarted = true;
                terminal.sendAsync(method);
            } else if (check) {
                terminal.notify("checkMandatorySettingsSuccess"_s, {{"reboot"_s, false}});
            }
        });
        // Wakes the observer above until the moment has come.
        QTimer tick;
        connect(&tick, &QTimer::timeout, this, [&] { Q_EMIT terminal.event(QString()); });
        tick.start(5);
        QCOMPARE(terminal.startDaemon(), 0);
        QVERIFY(restarted);
        QVERIFY(terminal.waitForAll("RUNNING"_s));
        QCOMPARE(terminal.logCount("Kill father"_s), 1);
        QCOMPARE(terminal.logCount("emergency"_s), 0);
        const QStringList infra = terminal.events().filter("init_step_infra"_s);
        QVERIFY(std::is_sorted(infra.begin(), infra.end()));
        // The number that was reached is announced again; a start that was over is checked again.
        const bool late = at.endsWith(u'Z');
        QCOMPARE(infra.size(), late ? 6 : 7);
        QCOMPARE(terminal.logCount("checkMandatorySettings succeed"_s), late ? 2 : 1);
    }

    // The boot sequence does not repeat its event.
    void initStepDuringRestart()
    {
        Terminal terminal("step one 1\nstep two 2\nA one --ready-after=200\nB two");
        terminal.root.write("/tmp/step"_s, "1");
        terminal.start();
        QVERIFY(terminal.waitForLog("PID of :A"_s));
        terminal.sendAsync("restart"_s);
        QTRY_COMPARE(terminal.logCount("PID of :A"_s), 2);
        terminal.notify("init_step"_s, {{"stepNum"_s, 2}});
        QVERIFY(terminal.waitForLog("initStepDone: 2"_s));
    }

    // The stop walk does not get to a step that was linked in front; the start that waits there must not hold the
    // restart.
    void restartPastUnreachableStart()
    {
        Terminal terminal("step five 5\nstep one 1\nA one\nB five");
        terminal.addArguments("B"_s, {"--never-ready"_s});
        terminal.start();
        QVERIFY(terminal.waitForStates("A:RUNNING B:STARTING"_s));
        terminal.addArguments("B"_s, {});
        terminal.call("restart"_s);
        QVERIFY(terminal.waitForStates("A:RUNNING B:RUNNING"_s));
    }

    void hostileCall_data()
    {
        columns<QString, QVariantList, QString>("method", "arguments", "reply");
        const QString huge(100000, u'n');
        const QString odd = "a\n\u00fc '\"%1%2;$(reboot)\u2603"_s;
        row("no such method", "reboot", QVariantList(), unknownMethod);
        row("two of three", "getMemoryUsage", QVariantList{huge, huge}, unknownMethod);
        row("a text for a record", "monitoringSettingsChanged", QVariantList{odd}, unknownMethod);
        row("an operation that is no method", "checkMemory", QVariantList(), unknownMethod);
        for (const char *method : {"startModule", "stopModule"}) {
            row(QByteArray("huge name, ") + method, method, QVariantList{huge}, "false");
            row(QByteArray("odd name, ") + method, method, QVariantList{odd}, "false");
        }
        row("huge name, restartModule", "restartModule", QVariantList{huge}, "");
        row("long list", "restartModule", QVariantList{QStringList(QVector<QString>(5000, odd).toList())}, "");
        row("path for a file", "getMemoryUsage", QVariantList{"A"_s, "../../etc/passwd"_s, odd}, "0");
        row("huge command", "setAdminPasswd", QVariantList{"true "_s + huge}, "");
    }

    void hostileCall()
    {
        const auto [method, arguments] = cells<QString, QVariantList>();
        Terminal terminal(fourModules);
        QVERIFY(terminal.boot());
        QTEST(terminal.call(method, arguments), "reply");
        QCOMPARE(terminal.states(), allRunning);
    }

    // Operations wait inside each other; a flood of them is refused before the stack ends.
    void flood()
    {
        Terminal terminal("step one 1\nA one --stop-after=100\nB one --stop-after=100");
        QVERIFY(terminal.boot());
        // As many as the bus lets one client have under way.
        QList<QDBusPendingCall> calls;
        for (int i = 0; i < 120; ++i) {
            const QString module = i % 2 == 0 ? "A"_s : "B"_s;
            calls << terminal.sendAsync(i % 5 == 0 ? "startModule"_s : "restartModule"_s, {module});
        }
        int refused = 0;
        for (QDBusPendingCall &call : calls) {
            call.waitForFinished();
            if (call.isError()) {
                ++refused;
                QCOMPARE(call.error().name(), "com.velmora.Jovara.Error.Failed"_s);
            }
        }
        QVERIFY(refused > 0 && refused < calls.size());
        terminal.call("restart"_s);
        QVERIFY(terminal.waitForAll("RUNNING"_s));
        QCOMPARE(terminal.logCount("emergency"_s), 0);
    }

    // Starts that wait for ever fill the stack: what releases them is not refused with the next of them.
    void stopInAFlood()
    {
        Terminal terminal("step one 1\nA one --never-ready");
        terminal.start();
        QVERIFY(terminal.waitForLog("PID of :A"_s));
        QList<QDBusPendingCall> calls;
        for (int i = 0; i < 80; ++i) {
            calls << terminal.sendAsync("restartModule"_s, {"A"_s});
        }
        QVERIFY(terminal.waitForLog("restartModule refused: 64 operations are still under way"_s));
        QCOMPARE(terminal.call("stopModule"_s, {"A"_s}), "true"_s);
        QCOMPARE(terminal.call("stopAll"_s), "0"_s);
        for (QDBusPendingCall &call : calls) {
            call.waitForFinished();
            QVERIFY(call.error().type() != QDBusError::NoReply);
        }
        QCOMPARE(terminal.states(), "A:STOPPED"_s);
        QCOMPARE(terminal.logCount("restartModule refused"_s), 17);
    }
};

QTEST_GUILESS_MAIN(ControlTest)

#include "ControlTest.moc"
