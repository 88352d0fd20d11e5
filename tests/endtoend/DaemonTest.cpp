#include "BusNames.h"
#include "DataTable.h"
#include "Terminal.h"

#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QTest>

#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString stepsFile = QStringLiteral("/etc/JovApplication/module/ApplicationManager/initStep.xml");

/// Its number is kept by a descriptor that nothing can be written to.
bool isReserved(pid_t pid, int descriptor)
{
    QFile file(QStringLiteral("/proc/%1/fdinfo/%2").arg(pid).arg(descriptor));
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
        columns<QByteArray, QByteArray, QString>("description", "fault", "line");

        const QByteArray sound = "step one 1\nA one";
        const QString initFailed = QStringLiteral("error ApplicationManager: init failed");
        row("no bus", sound, QByteArray("no bus"), "error ApplicationManager: no bus: ");
        row("name taken", sound, QByteArray("name taken"), "is already owned: is another one running?");
        row("no steps", sound, QByteArray("no steps"), initFailed);
        row("no modules", sound, QByteArray("no modules"), initFailed);
        row("rubbish", sound, QByteArray("<initStep><step name=\"one\" val"), initFailed);
        row("nested", sound, "<initStep>" + QByteArray(90000, ' ').replace(" ", "<a>"), initFailed);
        row("foreign root", sound, QByteArray("<config/>"), initFailed);
        row("cycle", QByteArray("step one 1\nA one <B\nB one <A"), QByteArray(),
            "error [InitStep] Module cyclic dependencies : A;B;A");
        row("missing", QByteArray("step one 1\nstep two 2\nA one <B\nB two"), QByteArray(),
            "error [InitStep] Module 'A' dependency failed with 'B'");
    }

    void failingStart()
    {
        QFETCH(QByteArray, description);
        QFETCH(QByteArray, fault);
        QFETCH(QString, line);
        Terminal terminal(description.constData());
        if (fault == "no bus") {
            terminal.bus.stop();
        } else if (fault == "name taken") {
            QVERIFY(terminal.connection().registerService(BusNames::service(QStringLiteral("ApplicationManager"))));
        } else if (fault == "no steps") {
            QVERIFY(QFile::remove(terminal.root.path(stepsFile)));
        } else if (fault == "no modules") {
            QVERIFY(QDir(terminal.root.path(QStringLiteral("/usr/lib/JovApplication"))).removeRecursively());
        } else if (!fault.isEmpty()) {
            terminal.root.write(stepsFile, fault);
        }
        terminal.start();
        QCOMPARE(terminal.end(0), 1);
        QCOMPARE(terminal.logCount(line), 1);
        QCOMPARE(terminal.startDaemon(), 2);
        QVERIFY(terminal.output().contains("Child process is dead ("));
        QCOMPARE(terminal.logCount(line), 2);
        QCOMPARE(terminal.logCount(QStringLiteral("PID of")), 0);
    }

    void up()
    {
        Terminal terminal("step one 1\nA one");
        const QString path = terminal.root.path(QStringLiteral("/pid"));
        terminal.root.write(QStringLiteral("/pid"), "4711 and much more");
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
        QCOMPARE(terminal.startDaemon({QStringLiteral("--pidFile=") + path}), 0);
        QCOMPARE(terminal.output(),
                 "PID File : " + path.toLocal8Bit() + "\nSignal SIGUSR1 intercepted : Presentation ready \n");
        QCOMPARE(terminal.root.read(QStringLiteral("/pid")), QByteArray::number(terminal.pid()) + '\n');
        struct stat file = {};
        QCOMPARE(stat(QFile::encodeName(path).constData(), &file), 0);
        QCOMPARE(int(file.st_mode & 0777), 0644);
        QVERIFY(terminal.logCount(QStringLiteral("Kill father (")) == 1);
        QCOMPARE(getsid(terminal.pid()), terminal.pid());

        // Writing to standard output must not go into the next socket.
        QCOMPARE(Processes::descriptors(terminal.pid()).value(0), QStringLiteral("null"));
        QVERIFY(isReserved(terminal.pid(), 1) && isReserved(terminal.pid(), 2));
        kill(terminal.pid(), SIGHUP);
        QVERIFY(terminal.waitForLog(QStringLiteral("clearInitSteps"), terminal.log().size()));
        QVERIFY(terminal.waitForAll(QStringLiteral("RUNNING")));
        QVERIFY(isReserved(terminal.pid(), 1) && isReserved(terminal.pid(), 2));
        QCOMPARE(terminal.call(QStringLiteral("stopManager")), QString());
        QCOMPARE(terminal.end(0), 0);
    }

    void noPidFile()
    {
        Terminal terminal("step one 1\nA one");
        QCOMPARE(terminal.startDaemon({QStringLiteral("--debug"), QStringLiteral("--pidFile=/nowhere/at/all")}), 0);
        QVERIFY(terminal.output().contains("PID opening error  : No such file or directory"));
        QVERIFY(terminal.waitForAll(QStringLiteral("RUNNING")));
    }

    // A module sees the descriptors that any child of this test sees, and not one more.
    void inheritedByModules()
    {
        Terminal terminal("step one 1\nA one");
        const QString script = QStringLiteral("/usr/lib/JovApplication/Script");
        const QString seen = QStringLiteral("/seen");
        terminal.root.writeScript(
            script, "exec >" + QFile::encodeName(terminal.root.path(seen)) + "; ulimit -n; exec ls /proc/self/fd");
        QCOMPARE(QProcess::execute(terminal.root.path(script), {}), 0);
        const QByteArray expected = terminal.root.read(seen);
        QVERIFY(!expected.isEmpty());
        terminal.root.write(seen, QByteArray());
        QCOMPARE(terminal.startDaemon(), 0);
        QCOMPARE(terminal.root.read(seen), expected);
    }

    void stopDuringStart_data()
    {
        columns<QString, int>("method", "signal");

        row("signal", QString(), SIGTERM);
        row("call", "stopManager", 0);
    }

    // A start that waits for ever for its module is released, and the boot script learns that there is no daemon.
    void stopDuringStart()
    {
        QFETCH(QString, method);
        QFETCH(int, signal);
        Terminal terminal("step one 1\nA one\nB one <A --never-ready\nC one <B");
        connect(&terminal, &Terminal::event, this, [&](const QString &name) {
            if (name == QLatin1String("end_of_init_A")) {
                Terminal::wait([&] { return terminal.logCount(QStringLiteral("PID of :B")) == 1; });
                if (signal != 0) {
                    // The started process still waits for its child's report.
                    kill(Processes::below(terminal.pid()).first().pid, signal);
                } else {
                    terminal.sendAsync(method);
                }
            }
        });
        QCOMPARE(terminal.startDaemon(), 2);
        QCOMPARE(terminal.logCount(QStringLiteral("[Module] stopped B ret false [during start] (state= STARTING)")), 1);
        QCOMPARE(terminal.logCount(QStringLiteral("emergency")), 0);
        QCOMPARE(terminal.logCount(QStringLiteral("PID of :C")), 0);
    }

    void signalLines_data()
    {
        columns<QList<int>, QByteArray, bool>("signals", "lines", "ends");

        const QByteArray term = "Signal Terminate intercepted\n";
        const QByteArray hup = "Signal Hangup intercepted\n";
        row("terminate", QList<int>{SIGTERM}, term, true);
        row("Ctrl-C", QList<int>{SIGINT}, term, true);
        row("terminate twice", QList<int>{SIGTERM, SIGTERM}, term + "Sig 15 intercepted while stopping\n", true);
        row("hang up", QList<int>{SIGHUP}, hup, false);
        row("one is taken", QList<int>{SIGHUP, SIGTERM, SIGHUP},
            hup + "Sig 15 intercepted while stopping\nSig 1 intercepted while stopping\n", false);
    }

    void signalLines()
    {
        using Signals = QList<int>;
        QFETCH(Signals, signals);
        QFETCH(QByteArray, lines);
        QFETCH(bool, ends);
        Terminal terminal("step one 1\nA one --stop-after=200");
        QVERIFY(terminal.boot());
        for (const int signal : qAsConst(signals)) {
            kill(terminal.pid(), signal);
            QTest::qWait(20);
        }
        if (ends) {
            QCOMPARE(terminal.end(0), 0);
        } else {
            QVERIFY(terminal.wait([&] { return terminal.logCount(QStringLiteral("PID of :A")) == 2; }));
            QVERIFY(terminal.waitForAll(QStringLiteral("RUNNING")));
            QVERIFY(kill(terminal.pid(), 0) == 0);
            terminal.call(QStringLiteral("stopManager"));
            QCOMPARE(terminal.end(0), 0);
        }
        QCOMPARE(terminal.output(), "No daemon mode\n" + lines);
        QCOMPARE(terminal.logCount(QStringLiteral("emergency")), 0);
    }

    void busLossAndReturn()
    {
        Terminal terminal("step one 1\nA one\nB one <A");
        QCOMPARE(terminal.startDaemon(), 0);
        terminal.bus.stop();
        QVERIFY(terminal.waitForLog(QStringLiteral("error ApplicationManager: the bus is lost")));
        terminal.bus.start();
        terminal.reconnect();
        QVERIFY(terminal.waitForStates(QStringLiteral("A:RUNNING B:RUNNING")));
        QVERIFY(isReserved(terminal.pid(), 1) && isReserved(terminal.pid(), 2));
        // The modules come back in their own time.
        for (const char *module : {"A", "B"}) {
            const QString name = BusNames::service(QString::fromLatin1(module));
            QVERIFY(
                terminal.wait([&] { return terminal.connection().interface()->isServiceRegistered(name).value(); }));
        }
        const int before = terminal.log().size();
        QCOMPARE(terminal.call(QStringLiteral("restartModule"), {QStringLiteral("B")}), QString());
        QCOMPARE(terminal.states(), QStringLiteral("A:RUNNING B:RUNNING"));
        QCOMPARE(terminal.end(SIGTERM), 0);
        QCOMPARE(terminal.logCount(QStringLiteral("[timeout]"), before), 0);
    }

    // Nor with standard streams, whose numbers must not go to a socket or a pipe.
    void stopWithoutBus()
    {
        Terminal terminal("step one 1\nA one\nB one <A");
        const QString script = QStringLiteral("/closed");
        terminal.root.writeScript(script, "exec " QUICK_DAEMON " \"$@\" <&- >&- 2>&-");
        terminal.setDaemon(terminal.root.path(script));
        QVERIFY(terminal.boot());
        QVERIFY(isReserved(terminal.pid(), 0) && isReserved(terminal.pid(), 1) && isReserved(terminal.pid(), 2));
        terminal.bus.stop();
        QVERIFY(terminal.waitForLog(QStringLiteral("the bus is lost")));
        QCOMPARE(terminal.end(SIGTERM), 0);
        QCOMPARE(terminal.logCount(QStringLiteral("[timeout]")), 2);
    }
};

QTEST_GUILESS_MAIN(DaemonTest)

#include "DaemonTest.moc"
