#include "support/DataTable.h"
#include "support/Terminal.h"

#include <QFile>

#include <csignal>

#include <unistd.h>

namespace {

/// What follows `text` in the log's lines that hold it, up to the next blank.
QString namesAfter(const Terminal &terminal, const QString &text)
{
    QStringList names;
    const QStringList lines = terminal.log().filter(text);
    for (const QString &line : lines) {
        names << line.mid(line.indexOf(text) + text.size()).section(u' ', 0, 0);
    }
    return names.join(u' ');
}

} // namespace

class BootTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Its program announces itself, and is on the bus, under the name that it was built with.
    void waitThatSaysWhy()
    {
        Terminal terminal("step one 1\nA one");
        terminal.setDaemon(QStringLiteral(QUICK_DAEMON));
        terminal.setVariable("JOV_DURATIONS"_s, "wait-report=100"_s);
        QVERIFY(QFile::rename(terminal.root.path("/usr/lib/JovApplication/A"_s), terminal.root.path("/program"_s)));
        terminal.root.writeScript("/usr/lib/JovApplication/A"_s,
                                  "exec $JOV_ROOT/program --moduleName=B --ready-after=400");
        terminal.start();
        QVERIFY(terminal.waitForLog("warning [Module] waiting for A (process "_s));
        QVERIFY(terminal.waitForLog("is on the bus as com.velmora.Jovara.B, but it is installed as A"_s));
        QVERIFY(terminal.waitForLog(" announces end_of_init_B, but it is installed as A"_s));
        QVERIFY(terminal.logCount("warning [Module] waiting for A (process "_s) > 1);
        QCOMPARE(terminal.logCount("is on the bus as com.velmora.Jovara.B"_s), 1);
    }

    void order_data()
    {
        columns<QString, QString, QString, QString, QString>("description", "variable", "started", "states", "stopped");
        const QString blocked = "step one 1\nA one --never-ready --exit-after=20\nB one <A\nC one"_s;
        const QString industrial = "step one 1\nX one\njovaudio one\nkelmmi one"_s;
        row("diamond, then a step", "step one 1\nstep two 2\nD one <C,B\nB one <A\nC one <A\nA one\nE two", "",
            "A B C D E", "A:RUNNING B:RUNNING C:RUNNING D:RUNNING E:RUNNING", "E D B C A");
        row("start that fails", blocked, "", "A C", "A:STOPPED B:STOPPED C:RUNNING", "C");
        row("tried one by one", blocked, "INDUSTRIAL_APPMODE", "A B C", "A:STOPPED B:RUNNING C:RUNNING", "B C");
        row("industrial", industrial, "INDUSTRIAL_MODE", "X", "X:RUNNING jovaudio:STARTING kelmmi:STARTING", "X");
        row("step that is not there", "step one 1\nA nowhere\nB one", "", "B", "A: B:RUNNING", "B");
        row("default step", "step one 1\nA default\nB one", "", "B A", "A:RUNNING B:RUNNING", "A B");
    }

    void order()
    {
        const auto [description, variable, started, states] = cells<QString, QString, QString, QString>();
        Terminal terminal(description);
        if (!variable.isEmpty()) {
            terminal.setVariable(variable, QString());
        }
        terminal.start();
        QVERIFY(terminal.waitForStates(states));
        QCOMPARE(terminal.end(SIGTERM), 0);
        QVERIFY(terminal.logCount("waitState() method - timeout : 2000"_s) > 0);
        QCOMPARE(namesAfter(terminal, "PID of :"_s), started);
        QTEST(namesAfter(terminal, "Trying to stop module "_s), "stopped");
    }

    void process()
    {
        Terminal terminal("step one 1\nfoo one -a --ready-after=5 -b");
        const QString ini = "/etc/JovApplication/platform.ini"_s;
        terminal.root.write(ini, terminal.root.read(ini) + "[ApplicationManager]\nmodule_umask=0137\n");
        // Whatever signals the daemon inherits blocked or ignored.
        const QString program = "/deaf"_s;
        terminal.root.writeScript(program, "trap '' CHLD USR1; exec " QUICK_DAEMON " \"$@\"");
        terminal.setDaemon(terminal.root.path(program));
        sigset_t user = {};
        sigaddset(&user, SIGUSR2);
        sigprocmask(SIG_BLOCK, &user, nullptr);
        terminal.start();
        sigprocmask(SIG_UNBLOCK, &user, nullptr);
        QVERIFY(terminal.waitForStates("foo:RUNNING"_s));
        const QList<pid_t> pids = terminal.modules().value("foo"_s);
        QCOMPARE(pids.size(), 1);
        const QString directory = terminal.root.path("/usr/lib/JovApplication"_s);
        QCOMPARE(Processes::below(terminal.pid()).first().commandLine,
                 directory + "/foo --moduleName=foo -a --ready-after=5 -b"_s);
        QCOMPARE(QFile::symLinkTarget("/proc/%1/cwd"_s.arg(pids.first())), directory);
        QCOMPARE(getpgid(pids.first()), pids.first());
        QCOMPARE(Processes::figure(pids.first(), "status", "Umask"), 137);
        QCOMPARE(Processes::figure(pids.first(), "status", "SigBlk"), 0);
        QVERIFY(terminal.call("getModulesListInString"_s).startsWith("ID:%1 "_s.arg(pids.first())));
        kill(pids.first(), SIGUSR1);
        QVERIFY(terminal.waitForLog("Terminal will reboot now: foo crashed"_s));
    }

    void events()
    {
        Terminal terminal(
            "step one 1\nstep home 7 home\nstep after 9\nA one\nJovWebClient home --presentation-after=1\nZ after");
        QVERIFY(terminal.boot());
        const QStringList expected =
            "init_step_infra num_step=1|init_message message=Starting application A|end_of_init_A|"
            "init_step_infra num_step=2|init_step_infra num_step=3|init_step_infra num_step=4|"
            "init_step_infra num_step=5|init_step_infra num_step=6|"
            "init_message message=Starting application JovWebClient|end_of_init_JovWebClient|"
            "presentationReady|end_of_init|init_message message=Starting application Z|end_of_init_Z"_s.split(u'|');
        QVERIFY(terminal.waitForEvent(expected.last()));
        QCOMPARE(terminal.events(), expected);
        QCOMPARE(terminal.call("getStepInfra"_s), "-1"_s);
    }

    // The start-up ends before step five, and the boot script gets the status. Its signals may have been blocked.
    void mandatorySettingsReboot()
    {
        Terminal terminal("step one 1\nstep five 5\nSettingsManager one\nB five");
        sigset_t blocked;
        sigemptyset(&blocked);
        for (const int signal : {SIGUSR2, SIGTERM, SIGCHLD}) {
            sigaddset(&blocked, signal);
        }
        sigprocmask(SIG_BLOCK, &blocked, nullptr);
        connect(&terminal, &Terminal::event, this, [&](const QString &name) {
            if (name == "checkMandatorySettings"_s) {
                terminal.notify("checkMandatorySettingsSuccess"_s, {{"reboot"_s, true}});
            }
        });
        QCOMPARE(terminal.startDaemon(), 1);
        QVERIFY(terminal.waitForLog("[AppMgr.init_step] interrupted because stopping"_s));
        QVERIFY(terminal.waitForEvent("init_message message=Reboot in progress"_s));
        QCOMPARE(terminal.logCount("PID of :B"_s), 0);
        QCOMPARE(terminal.end(SIGTERM), 0);
    }

    void presentation_data()
    {
        columns<QString, QByteArray, int>("arguments", "parameter", "timeouts");
        // The start-up has no point any more: the manager gives up.
        row("never", "", QByteArray(), 1);
        row("late, without the timer", "--presentation-after=700", QByteArray("no_webapp_timer=0"), 0);
    }

    void presentation()
    {
        const auto [arguments, parameter, timeouts] = cells<QString, QByteArray, int>();
        Terminal terminal("step home 7 home\nJovWebClient home "_s + arguments);
        terminal.setDaemon(QStringLiteral(QUICK_DAEMON));
        const QString ini = "/etc/JovApplication/platform.ini"_s;
        terminal.root.write(ini, terminal.root.read(ini) + "[ApplicationManager]\n" + parameter);
        terminal.start();
        QVERIFY(timeouts > 0 || terminal.waitForEvent("end_of_init"_s));
        QCOMPARE(terminal.end(timeouts > 0 ? 0 : SIGTERM), 0);
        QCOMPARE(terminal.logCount("error Webapp timeout : Failed to receive presentationReady event"_s), timeouts);
        QCOMPARE(terminal.events().contains("end_of_init"_s), timeouts == 0);
    }
};

QTEST_GUILESS_MAIN(BootTest)

#include "BootTest.moc"
