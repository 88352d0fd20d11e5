#include "support/DataTable.h"
#include "support/NotifiedSocket.h"
#include "support/Terminal.h"

#include <jov/BusNames.h>

#include <QElapsedTimer>
#include <QFile>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString stepsFile = "/etc/JovApplication/module/ApplicationManager/initStep.xml"_s;

/// Its number is kept by a descriptor that nothing can be written to.
bool isReserved(pid_t pid, int descriptor)
{
    QFile file("/proc/%1/fdinfo/%2"_s.arg(pid).arg(descriptor));
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray flags = file.readAll().split('\n').value(1);
    return (flags.mid(6).trimmed().toULong(nullptr, 8) & O_PATH) != 0;
}

} // namespace

class DaemonTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void failingStart_data()
    {
        columns<QString, QString, QString>("description", "fault", "line");
        const QString sound = "step one 1\nA one"_s;
        row("no bus", sound, "no bus", "error ApplicationManager: no bus: ");
        row("name taken", sound, "name taken", "is already owned: is another one running?");
        row("rubbish", sound, "<initStep><step name=\"one\" val", "warning [parse InitStep] XML File not parsable");
        row("folder", sound, "folder", "warning [parse InitStep] XML File not readable for application");
        row("cycle", "step one 1\nA one <B\nB one <A", "", "error [InitStep] Module cyclic dependencies : A;B;A");
    }

    void failingStart()
    {
        const auto [description, fault, line] = cells<QString, QString, QString>();
        Terminal terminal(description);
        if (fault == "no bus"_s) {
            terminal.bus.stop();
        } else if (fault == "name taken"_s) {
            QVERIFY(terminal.connection().registerService(BusNames::service("ApplicationManager"_s)));
        } else if (fault == "folder"_s) {
            QVERIFY(QFile::remove(terminal.root.path(stepsFile)));
            terminal.root.write(stepsFile + "/file"_s, {});
        } else if (!fault.isEmpty()) {
            terminal.root.write(stepsFile, fault.toUtf8());
        }
        terminal.start();
        QCOMPARE(terminal.end(0), 1);
        QCOMPARE(terminal.logCount(line), 1);
        QCOMPARE(terminal.startDaemon(), 2);
        const QByteArray output = terminal.output();
        QVERIFY(output.contains("Child process is dead (") && output.endsWith("), 256\n"));
        QCOMPARE(terminal.logCount(line), 2);
        QCOMPARE(terminal.logCount("warning Error while building one tree"_s), line.contains("cyclic"_s) ? 2 : 0);
        QCOMPARE(terminal.logCount("PID of"_s), 0);
    }

    void up()
    {
        Terminal terminal("step one 1\nA one");
        // The waiting process has a child that is not the daemon, and its caller ignored SIGCHLD.
        terminal.root.writeScript("/daemon"_s, "true & exec env --ignore-signal=CHLD $0-program \"$@\"");
        terminal.root.link("/daemon-program"_s, QStringLiteral(QUICK_DAEMON));
        terminal.setDaemon(terminal.root.path("/daemon"_s));
        const QString path = terminal.root.path("/pid"_s);
        terminal.root.write("/pid"_s, "4711 and much more");
        QFile old(path);
        QVERIFY(old.open(QIODevice::ReadOnly));
        QCOMPARE(terminal.startDaemon({"--pidFile="_s + path}), 0);
        QCOMPARE(terminal.output(),
                 "PID File : " + path.toLocal8Bit() + "\nSignal SIGUSR1 intercepted : Presentation ready \n");
        QCOMPARE(terminal.root.read("/pid"_s), QByteArray::number(terminal.pid()) + '\n');
        QVERIFY2(old.readAll().endsWith("more"), "whoever has the old one open has nothing of the new one");
        for (const auto &line : {"Kill father ("_s, "info deploy done in  "_s, "info Init done in "_s}) {
            QCOMPARE(terminal.logCount(line), 1);
        }
        QCOMPARE(getsid(terminal.pid()), terminal.pid());
        QCOMPARE(Processes::figure(terminal.pid(), "status", "Umask"), 0);

        QCOMPARE(terminal.startDaemon({"--pidFile="_s + path}), 2);
        QVERIFY(terminal.output().endsWith("), 256\n"));
        QCOMPARE(terminal.root.read("/pid"_s), QByteArray::number(terminal.pid()) + '\n');
        QCOMPARE(terminal.logCount("error PID file %1: another supervisor holds it"_s.arg(path)), 1);
        for (const int signal : {SIGUSR1, SIGUSR2, SIGQUIT, SIGALRM, SIGIO}) {
            kill(terminal.pid(), signal);
        }

        // Writing to standard output must not go into the next socket.
        QCOMPARE(Processes::descriptors(terminal.pid()).value(0), "null"_s);
        QVERIFY(isReserved(terminal.pid(), 1) && isReserved(terminal.pid(), 2));
        const int told = terminal.log().size();
        kill(terminal.pid(), SIGHUP);
        QVERIFY(terminal.waitForLog("clearInitSteps"_s, told));
        QVERIFY(terminal.waitForAll("RUNNING"_s));
        QVERIFY(isReserved(terminal.pid(), 1) && isReserved(terminal.pid(), 2));
        QCOMPARE(terminal.call("stopManager"_s), QString());
        QCOMPARE(terminal.end(0), 0);
    }

    void noPidFile()
    {
        Terminal terminal("step one 1\nA one");
        const QString program = "/usr/lib/JovApplication/A"_s;
        QVERIFY(QFile::rename(terminal.root.path(program), terminal.root.path("/program"_s)));
        terminal.root.writeScript(program, "echo printed by A; exec $JOV_ROOT/program $*");
        QCOMPARE(terminal.startDaemon({"--debug"_s, "--pidFile=/nowhere/at/all"_s}), 0);
        const QByteArray output = terminal.output();
        QVERIFY(output.contains("PID opening error  : No such file or directory") && output.contains("printed by A"));
        QVERIFY(terminal.waitForAll("RUNNING"_s));
    }

    // The limit of a file's size acts as a full disk. It would also end the modules: without a bus there are none.
    void fullDisk()
    {
        Terminal terminal("step one 1\nA one");
        const QString program = "/limited"_s;
        terminal.root.writeScript(program, "trap '' XFSZ; ulimit -f 0; exec " QUICK_DAEMON " \"$@\"");
        terminal.setDaemon(terminal.root.path(program));
        terminal.bus.stop();
        QCOMPARE(terminal.startDaemon({"--debug"_s, "--pidFile="_s + terminal.root.path("/pid"_s)}), 2);
        const QByteArray output = terminal.output();
        QVERIFY2(output.contains("PID writing error  : File too large"), output);
        QVERIFY2(output.contains("/pid cannot be written: File too large"), output);
        QVERIFY(!QFile::exists(terminal.root.path("/pid"_s)));
    }

    // A module sees the limits and signals that any child of this test sees, and no descriptor but its streams.
    void inheritedByModules()
    {
        Terminal terminal("step one 1\nA one");
        const QString script = "/usr/lib/JovApplication/Script"_s;
        const QString seen = "/seen"_s;
        terminal.root.writeScript(
            script,
            "exec >" + QFile::encodeName(terminal.root.path(seen))
                + "; sh -c 'kill -USR1 $$'; echo $?; env | grep NOTIFY_; ulimit -n; exec ls /proc/self/fd");
        // The daemon raises its own limit.
        rlimit limit = {};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = limit.rlim_max / 2;
        setrlimit(RLIMIT_NOFILE, &limit);
        QCOMPARE(QProcess::execute(terminal.root.path(script), {}), 0);
        QByteArray expected = terminal.root.read(seen);
        const int descriptors = expected.indexOf("\n0\n") + 1;
        QVERIFY(descriptors > 0);
        expected.replace(descriptors, expected.size(), "0\n1\n2\n3\n");
        terminal.root.write(seen, QByteArray());
        terminal.setVariable("NOTIFY_SOCKET"_s, "@nobody"_s);
        terminal.setVariable("WATCHDOG_USEC"_s, "1000000"_s);
        QCOMPARE(terminal.startDaemon(), 0);
        QCOMPARE(terminal.root.read(seen), expected);
    }

    void heartbeat_data()
    {
        columns<QString>("name");
        row("abstract name", "@%1");
        row("path", "%1/socket");
    }

    // A loop that turns feeds the watchdog; a loop that hangs does not.
    void heartbeat()
    {
        QFETCH(QString, name);
        Terminal terminal("step one 1\nA one");
        name = name.arg(terminal.root.path());
        const NotifiedSocket socket(QFile::encodeName(name));
        terminal.setVariable("NOTIFY_SOCKET"_s, name);
        terminal.setVariable("WATCHDOG_USEC"_s, "500000"_s);
        const QString parameters = "/etc/JovApplication/platform.ini"_s;
        terminal.root.write(parameters,
                            terminal.root.read(parameters) + "[ApplicationManager]\nwatchdog_device=dev/watchdog\n");
        QCOMPARE(terminal.startDaemon(), 0);
        const QString refused =
            "error watchdog device %1 cannot be opened: "_s.arg(terminal.root.path("/dev/watchdog"_s));
        QCOMPARE(terminal.logCount(refused), 1);
        terminal.call("restart"_s);
        QVERIFY(terminal.wait([&] { return terminal.logCount(refused) == 2; }));
        int messages = 0;
        QVERIFY(terminal.wait([&] { return (messages += socket.count()) >= 3; }));
        terminal.call("setAdminPasswd"_s, {"sleep 2"_s});
        messages = socket.count();
        QVERIFY2(messages <= 4, qPrintable(QString::number(messages)));
    }

    void stopDuringStart_data()
    {
        columns<int>("signal");
        row("signal", SIGTERM);
        row("call", 0);
    }

    // A start that waits for ever for its module is released, and the boot script learns that there is no daemon.
    void stopDuringStart()
    {
        QFETCH(int, signal);
        Terminal terminal("step one 1\nA one\nB one <A --never-ready\nC one <B\nD one");
        connect(&terminal, &Terminal::event, this, [&](const QString &name) {
            if (name == "end_of_init_A"_s) {
                Terminal::wait([&] { return terminal.logCount("PID of :B"_s) == 1; });
                if (signal != 0) {
                    // The started process still waits for its child's report.
                    kill(Processes::below(terminal.pid()).first().pid, signal);
                } else {
                    terminal.sendAsync("stopManager"_s);
                }
                terminal.sendAsync("startModule"_s, {"D"_s});
            }
        });
        QCOMPARE(terminal.startDaemon(), 2);
        QCOMPARE(terminal.logCount("[Module] stopped B ret false [during start] (state= STARTING)"_s), 1);
        QCOMPARE(terminal.logCount("emergency"_s), 0);
        QCOMPARE(terminal.logCount("PID of :C"_s) + terminal.logCount("PID of :D"_s), 0);
    }

    void signalLines_data()
    {
        columns<QList<int>, QByteArray, bool>("signals", "lines", "ends");
        const QByteArray term = "Signal Terminate intercepted\n";
        const QByteArray hup = "Signal Hangup intercepted\n";
        row("Ctrl-C", QList<int>{SIGINT}, term, true);
        row("terminate twice", QList<int>{SIGTERM, SIGTERM}, term + "Sig 15 intercepted while stopping\n", true);
        row("one is taken", QList<int>{SIGHUP, SIGTERM, SIGHUP},
            hup + "Sig 15 intercepted while stopping\nSig 1 intercepted while stopping\n", false);
    }

    void signalLines()
    {
        const auto [signals, lines, ends] = cells<QList<int>, QByteArray, bool>();
        Terminal terminal("step one 1\nA one --stop-after=200");
        QVERIFY(terminal.boot());
        for (const int signal : qAsConst(signals)) {
            kill(terminal.pid(), signal);
            QTest::qWait(20);
        }
        if (ends) {
            QCOMPARE(terminal.end(0), 0);
        } else {
            QVERIFY(terminal.wait([&] { return terminal.logCount("PID of :A"_s) == 2; }));
            QVERIFY(terminal.waitForAll("RUNNING"_s));
            QVERIFY(kill(terminal.pid(), 0) == 0);
            terminal.call("stopManager"_s);
            QCOMPARE(terminal.end(0), 0);
        }
        QCOMPARE(terminal.output(), "No daemon mode\n" + lines);
        QCOMPARE(terminal.logCount("emergency"_s), 0);
    }

    void nobodyReadsStandardOutput()
    {
        Terminal terminal("step one 1\nA one");
        const QString script = "/piped"_s;
        terminal.root.writeScript(script, "exec " QUICK_DAEMON " \"$@\" >$JOV_ROOT/pipe");
        terminal.setDaemon(terminal.root.path(script));
        const QByteArray path = terminal.root.path("/pipe"_s).toLocal8Bit();
        QCOMPARE(mkfifo(path, 0600), 0);
        const int pipe = open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC);
        QVERIFY(terminal.boot());
        while (write(pipe, "\n", 1) == 1) { }
        // Nor do calls that each hold up the daemon for two seconds delay its end, but for the one under way.
        terminal.sendAsync("enoughMemory"_s);
        for (int i = 0; i < 5; ++i) {
            terminal.sendAsync("getCpuUsage"_s, {"A"_s});
        }
        QVERIFY(terminal.waitForLog("debug enoughMemory"_s));
        QTest::qWait(200); // until the next one is under way
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(terminal.end(SIGTERM), 0);
        QVERIFY2(clock.elapsed() < 3500, qPrintable(QString::number(clock.elapsed())));
        close(pipe);
    }

    // Its numbers of the standard streams must not go to a socket or a pipe; its commands write to them all the same.
    void withoutStandardStreamsAndBus()
    {
        Terminal terminal("step one 1\nA one\nB one <A");
        const QString script = "/closed"_s;
        terminal.root.writeScript(script, "exec " QUICK_DAEMON " \"$@\" <&- >&- 2>&-");
        terminal.setDaemon(terminal.root.path(script));
        QVERIFY(terminal.boot());
        QVERIFY(isReserved(terminal.pid(), 0) && isReserved(terminal.pid(), 1) && isReserved(terminal.pid(), 2));
        terminal.call("setAdminPasswd"_s, {"echo out && echo error >&2 && echo done >$JOV_ROOT/done"_s});
        QCOMPARE(terminal.root.read("/done"_s), QByteArray("done\n"));
        terminal.bus.stop();
        QVERIFY(terminal.waitForLog("error ApplicationManager: the bus is lost"_s));
        QVERIFY(isReserved(terminal.pid(), 0) && isReserved(terminal.pid(), 1) && isReserved(terminal.pid(), 2));
        QCOMPARE(terminal.end(SIGTERM), 0);
        QCOMPARE(terminal.logCount("[timeout]"_s), 2);
    }
};

QTEST_GUILESS_MAIN(DaemonTest)

#include "DaemonTest.moc"
