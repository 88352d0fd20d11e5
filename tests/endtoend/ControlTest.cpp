#include "support/DataTable.h"
#include "support/Terminal.h"

#include <jov/BusNames.h>

#include <QDBusPendingReply>
#include <QProcess>
#include <QTimer>

#include <algorithm>
#include <memory>

namespace {

constexpr char fourModules[] = "step one 1\nstep two 2\nA one\nB one <A\nC one <B\nD two";
const QString allRunning = "A:RUNNING B:RUNNING C:RUNNING D:RUNNING"_s;
const QString allStopped = "A:STOPPED B:STOPPED C:STOPPED D:STOPPED"_s;
const QString unknownMethod = "org.freedesktop.DBus.Error.UnknownMethod"_s;

} // namespace

class ControlTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // By position, and by a client that shares nothing with this project.
    void recordsOnTheWire()
    {
        const QString files = "step one 1\nA one\nB ENDS3\nC ENDS127\nD ENDS0"_s;
        Terminal terminal(QString(files).replace("ENDS"_s, "one --exit-after=1 --never-ready --exit-code="_s));
        terminal.start();
        QVERIFY(terminal.waitForLog("[Module] start D ret false"_s));
        QVERIFY(terminal.waitForEvent("SHOW_POPUP_EVENT text=C stopped because of bad libs, will reset"_s));
        QCOMPARE(terminal.logCount("emergency"_s), 0);
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
                                R"(["0",0,"B","EXITED_3","STOPPED","","","",false],)"
                                R"(["0",0,"C","BAD_LIBRARIES","STOPPED","","","",false],)"
                                R"(["0",0,"D","EXITED_OK","STOPPED","","","",false]]]})"_s;
        QCOMPARE(ask({"getModulesList"_s}), modules.arg(terminal.modules().value("A"_s).value(0)));
        QVERIFY(ask({"getApplicationsForSettingsDeployment"_s})
                    .startsWith(R"([[["0",0,"ApplicationManager","","","ApplicationManager","","",false],)"_s));
        const QString setting =
            "MonitoringWatchDelay 7 6 label description owner unit 1 2 3 1 v l true false pattern"_s;
        QCOMPARE(ask(QStringList{"monitoringSettingsChanged"_s, "(sssssssiiia(ss)bbs)"_s} + setting.split(u' ')),
                 "[[]]}"_s);
        QVERIFY(terminal.waitForLog("new monitoringWatchDelay value=7"_s));
        QVERIFY(terminal.call("getFreeMemory"_s).toInt() < terminal.call("getTotalMemory"_s).toInt());
        QVERIFY(terminal.call("getMemoryUsage"_s, {"A"_s, "smaps"_s, "Rss"_s}).toInt() > 0);
        QVERIFY(terminal.call("getMemoryUsage"_s, {"A"_s}).toInt() > 0);
        QCOMPARE(terminal.call("getApplicationsListInString"_s), terminal.call("getModulesListInString"_s) + u'\n');
    }

    // One that is held back, once, in spite of two calls and two releases.
    void restartApp()
    {
        Terminal terminal("step one 1 home\nA one");
        QVERIFY(terminal.boot());
        for (const QString &order : {"lock"_s, "call"_s, "call"_s, "unlock"_s, "unlock"_s}) {
            if (order == "call"_s) {
                QCOMPARE(terminal.call("restartApp"_s), QString());
            } else {
                terminal.notify("PLTF_%1_REBOOT"_s.arg(order.toUpper()));
            }
            // The queued restart has begun before the next call is served.
            terminal.call("getStepInfra"_s);
            QVERIFY(terminal.waitForStates("A:RUNNING"_s));
        }
        QVERIFY(terminal.waitForLog("ApplicationManager: call for suspending restartApp"_s));
        QCOMPARE(terminal.logCount("PID of :"_s), 2);
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
        // The number that was reached is announced again; a start that was over is checked again.
        const bool late = at.endsWith(u'Z');
        QTRY_COMPARE(terminal.events().filter("init_step_infra"_s).size(), late ? 6 : 7);
        const QStringList infra = terminal.events().filter("init_step_infra"_s);
        QVERIFY(std::is_sorted(infra.begin(), infra.end()));
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
        QVERIFY(terminal.waitForLog("warning restartModule refused: 64 operations are still under way"_s));
        QCOMPARE(terminal.call("stopModule"_s, {"A"_s}), "true"_s);
        QCOMPARE(terminal.call("stopAll"_s), "0"_s);
        int refused = 0;
        for (QDBusPendingCall &call : calls) {
            call.waitForFinished();
            QVERIFY(call.error().type() != QDBusError::NoReply);
            refused += call.error().name() == "com.velmora.Jovara.Error.Failed"_s ? 1 : 0;
        }
        QCOMPARE(refused, 17);
        QCOMPARE(terminal.states(), "A:STOPPED"_s);
    }

    void operation_data()
    {
        columns<QString, QVariantList, QString, QString, int, QString>("method", "arguments", "reply", "states",
                                                                       "launched", "line");
        const QString b = "B"_s;
        const QString x = "X"_s;
        const QString huge(100000, u'n');
        const QString odd = "a\n\u00fc '\"%1%2;$(reboot)\u2603"_s;
        const QString unknown = "warning getInitStepOfModule X: module not in map"_s;
        row("start what runs", "startAll", QVariantList(), "2", allRunning, 0, "Starting step two");
        row("stop nobody", "stopModule", QVariantList{x}, "false", allRunning, 0, unknown);
        row("stop an odd name", "stopModule", QVariantList{odd}, "false", allRunning, 0, "");
        row("start a running one", "startModule", QVariantList{b}, "true", allRunning, 0,
            "error [Module] start B ret false (state= RUNNING)");
        row("start nobody", "startModule", QVariantList{x}, "false", allRunning, 0, unknown);
        row("start a huge name", "startModule", QVariantList{huge}, "false", allRunning, 0, "");
        row("restart one", "restartModule", QVariantList{b}, "", allRunning, 1, "waitState() method - timeout : 30000");
        row("restart many", "restartModule", QVariantList{QStringList(QVector<QString>(5000, odd).toList())}, "",
            allRunning, 0, "");
        row("presentation", "restartPresentation", QVariantList(), "", allRunning, 0,
            "warning Method restartPresentation is only accessible for host simulator");
        row("command", "setAdminPasswd", QVariantList{"echo caf\u00e9 >$JOV_ROOT/done"_s}, "", allRunning, 0,
            "warning echo caf\u00e9 >$JOV_ROOT/done"_s);
        row("huge command", "setAdminPasswd", QVariantList{"true "_s + huge}, "", allRunning, 0, "");
        row("path for a file", "getMemoryUsage", QVariantList{"A"_s, "../../etc/passwd"_s, odd}, "0", allRunning, 0,
            "");
        row("no such method", "reboot", QVariantList(), unknownMethod, allRunning, 0, "");
        row("two of three", "getMemoryUsage", QVariantList{huge, huge}, unknownMethod, allRunning, 0, "");
        row("a text for a record", "monitoringSettingsChanged", QVariantList{odd}, unknownMethod, allRunning, 0, "");
        row("a slot that is no method", "checkMemory", QVariantList(), unknownMethod, allRunning, 0, "");
        row("stop all", "stopAll", QVariantList(), "4", allStopped, 0, "Stopping step one");
        row("restart some", "restartModule", QVariantList{QStringList{"D"_s, x, "A"_s}}, "",
            "A:RUNNING B:STOPPED C:STOPPED D:RUNNING", 2, unknown);
        row("restart all", "restart", QVariantList(), "", allRunning, 4, "Clear all lists");
        row("stop with dependents", "stopModule", QVariantList{b}, "true", "A:RUNNING B:STOPPED C:STOPPED D:STOPPED", 0,
            "Trying to stop module D");
    }

    // One after the other, on one terminal. The last test: startDaemon() of another would take this daemon for its own.
    void operation()
    {
        const auto [method, arguments, reply, states, launched, line] =
            cells<QString, QVariantList, QString, QString, int, QString>();
        if (!m_terminal) {
            m_terminal = std::make_unique<Terminal>(fourModules);
            QVERIFY(m_terminal->boot());
        }
        const int before = m_terminal->log().size();
        QCOMPARE(m_terminal->call(method, arguments), reply);
        // The reply comes when it is done.
        QCOMPARE(m_terminal->states(), states);
        QCOMPARE(m_terminal->logCount("PID of :"_s, before), launched);
        QVERIFY(line.isEmpty() || m_terminal->logCount(line, before) > 0);
        if (line.contains("done"_s)) {
            QCOMPARE(m_terminal->root.read("/done"_s), QByteArray("caf\xe9\n"));
        }
    }

    void cleanupTestCase() { m_terminal.reset(); }

private:
    std::unique_ptr<Terminal> m_terminal;
};

QTEST_GUILESS_MAIN(ControlTest)

#include "ControlTest.moc"
