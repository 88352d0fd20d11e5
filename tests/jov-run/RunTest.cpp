#include "support/DataTable.h"
#include "support/Terminal.h"

#include <jov/BusNames.h>

#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <csignal>

#include <arpa/inet.h>
#include <sys/socket.h>

namespace {

const QString oddName = "3-D view's ü"_s;

/// A program that is started; its status is 128 + the signal that ended it.
class Run : public QProcess
{
public:
    explicit Run(const QStringList &command)
    {
        setProcessChannelMode(QProcess::MergedChannels);
        start(command.first(), command.mid(1));
        waitForStarted();
    }
    ~Run() override
    {
        kill();
        waitForFinished();
    }
    int status()
    {
        if (!Terminal::wait([this] { return state() == NotRunning; })) {
            return -1;
        }
        return exitStatus() == NormalExit ? exitCode() : 128 + exitCode();
    }
};

/// The same with jov-run before it.
QStringList jovRun(const QStringList &options, const QString &script)
{
    return QStringList{QStringLiteral(JOV_RUN)} + options + QStringList{"--"_s, "sh"_s, "-c"_s, script};
}

QList<pid_t> helpers()
{
    QList<pid_t> found;
    const QList<Processes::Process> processes = Processes::below(getpid());
    for (const Processes::Process &process : processes) {
        if (process.commandLine.contains("jov-run --"_s)) {
            found << process.pid;
        }
    }
    return found;
}

/// The port of a socket that listens beside the program's, on another address; it stays open.
QString portOfAnother()
{
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr("127.0.0.2");
    auto *general = reinterpret_cast<sockaddr *>(&address);
    const int other = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool listens = bind(other, general, size) == 0 && listen(other, 1) == 0;
    return listens && getsockname(other, general, &size) == 0 ? QString::number(ntohs(address.sin_port)) : QString();
}

} // namespace

class RunTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // NOLINTNEXTLINE(readability-convert-member-functions-to-static)
    void initTestCase()
    {
        qputenv("PATH", QFile::encodeName(QFileInfo(QStringLiteral(JOV_RUN)).path()) + ':' + qgetenv("PATH"));
    }

    void status_data()
    {
        columns<QStringList, int>("arguments", "expected");
        const QString name = "--moduleName=a"_s;
        const auto shell = [&](const QString &script) { return QStringList{name, "--"_s, "sh"_s, "-c"_s, script}; };
        row("3", shell("exit 3"_s), 3);
        row("missing libraries", shell("exit 127"_s), 127);
        row("a crash", shell("kill -SEGV $$"_s), 128 + SIGSEGV);
        row("a kill", shell("kill -KILL $$"_s), 128 + SIGKILL);
        row("no such program", QStringList{name, "--"_s, "/no/such"_s}, 126);
        row("a folder", QStringList{name, "--"_s, "/"_s}, 126);
        row("no name", QStringList{"--"_s, "true"_s}, 2);
        row("an empty name", QStringList{"--moduleName="_s, "--"_s, "true"_s}, 2);
        row("no program", QStringList{name, "--"_s}, 2);
        row("nothing", QStringList(), 2);
        row("the program's argument", QStringList{name, "--verbose"_s, "--"_s, "true"_s}, 2);
        for (const char *option : {"--ready=soon", "--ready=tcp:", "--ready=tcp:0", "--ready=tcp:65536",
                                   "--ready=fd:64", "--ready=file:", "--ready=output:(", "--ready=output:^*",
                                   "--ready=notify:1", "--stop-signal=NO", "--stop-signal=0", "--stop-command="}) {
            row(option, QStringList{QString::fromLatin1(option), name, "--"_s, "true"_s}, 2);
        }
        row("no event", QStringList{"--emit"_s}, 2);
        row("no pair", QStringList{"--emit"_s, "event"_s, "word"_s}, 2);
        row("two events", QStringList{"--wait"_s, "a"_s, "b"_s}, 2);
        row("nobody's readiness", QStringList{"--notify"_s}, 2);
        row("no bus", QStringList{"--emit"_s, "event"_s}, 1);
        row("help", QStringList{"--help"_s}, 0);
    }

    void status()
    {
        QFETCH(QStringList, arguments);
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/no/such");
        QTEST(Run(QStringList{QStringLiteral(JOV_RUN)} + arguments).status(), "expected");
    }

    // It finds its helper from its own place, and starts nothing without one.
    void alone()
    {
        SKIP_EMULATED("the emulator of a copy runs the program that was copied");
        const QTemporaryDir folder;
        const QString copy = folder.filePath("jov-run"_s);
        QVERIFY(QFile::copy(QStringLiteral(JOV_RUN), copy));
        Run run({copy, "--moduleName=a"_s, "--"_s, "echo"_s, "started"_s});
        QCOMPARE(run.status(), 126);
        const QByteArray output = run.readAll();
        QVERIFY2(output.contains("jov-run-helper: No such file") && !output.contains("started"), output);
    }

    // Nothing of jov-run's or its helper's own takes their place.
    void closedStreams()
    {
        Terminal terminal("step one 1");
        Run run({"sh"_s, "-c"_s, "exec jov-run --moduleName=a -- sh -c 'sleep 0.5; exit 4' <&- >&- 2>&-"_s});
        QVERIFY(terminal.waitForEvent("end_of_init_a"_s));
        QCOMPARE(run.status(), 4);
    }

    // The program finds its signals and its children as if nothing had been before it.
    void unnoticed()
    {
        SKIP_EMULATED("the emulator cannot start a process that sends no SIGCHLD");
        const Terminal terminal("step one 1");
        const QString script =
            "while read -r line; do case $line in Sig[BCIP]*|Shd*|PPid*) echo $line; esac; done </proc/$$/status;"
            "read -r children </proc/$$/task/$$/children; echo \"[$children]\"; umask"_s;
        const QStringList blocked = {"env"_s, "--block-signal=CHLD"_s};
        Run bare(blocked + QStringList{"sh"_s, "-c"_s, script});
        Run helped(blocked + jovRun({"--moduleName=a"_s}, script));
        QCOMPARE(bare.status(), 0);
        QCOMPARE(helped.status(), 0);
        QCOMPARE(helped.readAll(), bare.readAll());
    }

    void ready_data()
    {
        columns<QString, QString>("kind", "commands");
        const QString server = "python3 -c 'from socket import *; from time import *; %1; sleep(60)'"_s;
        const QString tcp = server.arg("s = create_server((\"127.0.0.1\", PORT))"_s);
        row("tcp", "tcp:PORT", "exec "_s + tcp);
        row("a descendant's tcp", "tcp:PORT", tcp + " & trap \"kill $!; exit 5\" TERM; wait"_s);
        row("unix", "unix:ROOT/stale",
            "rm stale; exec "_s + server.arg("s = socket(AF_UNIX); s.bind(\"stale\"); s.listen()"_s));
        row("file", "file:ROOT/stale", "echo >>stale; exec sleep 60");
        row("fd", "fd:3", "echo >&3; exec sleep 60");
        row("notify", "notify", "jov-run --notify STATUS=soon; touch done; jov-run --notify; exec sleep 60");
        row("output", "output:^ready [0-9]+$", "echo not ready 5; touch done; echo ready 5 >&2; exec sleep 60");
        row("delay", "delay:300", "exec sleep 60");
    }

    void ready()
    {
        auto [kind, commands] = cells<QString, QString>();
        Terminal terminal("step one 1"); // without its daemon
        terminal.root.write("/stale"_s, QByteArray());
        const QString port = portOfAnother();
        for (QString *text : {&kind, &commands}) {
            text->replace("PORT"_s, port).replace("ROOT"_s, terminal.root.path());
        }
        bool tooEarly = false;
        connect(&terminal, &Terminal::event, &terminal,
                [&] { tooEarly = !QFile::exists(terminal.root.path("/done"_s)); });
        // What is announced in this time is announced too early.
        Run run(jovRun({"--moduleName="_s + oddName, "--ready="_s + kind},
                       "cd '%1'; sleep 0.2; %2 %3"_s.arg(terminal.root.path(),
                                                         commands.contains("touch"_s) ? QString() : "touch done;"_s,
                                                         commands)));
        QVERIFY(terminal.waitForEvent("end_of_init_"_s + oddName));
        QVERIFY(!tooEarly);
        QVERIFY(terminal.connection().interface()->isServiceRegistered(BusNames::service(oddName)));
        terminal.notify("stop_module_"_s + oddName);
        QVERIFY(run.status() > 0);
        QVERIFY(Terminal::wait([] { return helpers().isEmpty(); }));
    }

    void stop_data()
    {
        columns<QStringList, QString, int>("options", "script", "expected");
        const auto onSignal = [](const QString &signal) {
            return "trap 'exit 5' %1; jov-run --notify; jov-run --emit up; while :; do sleep 0.02; done"_s.arg(signal);
        };
        row("the default", QStringList(), onSignal("TERM"_s), 5);
        row("another signal", QStringList{"--stop-signal=SIGUSR1"_s}, onSignal("USR1"_s), 5);
        row("its number", QStringList{"--stop-signal=2"_s}, onSignal("INT"_s), 5);
        row("a command", QStringList{"--stop-command=kill -HUP $JOV_MODULE_PID"_s}, onSignal("HUP"_s), 5);
        row("a command that fails", QStringList{"--stop-command=exit 1"_s}, onSignal("TERM"_s), 5);
        row("already stopping", QStringList(),
            "trap 'exit 9' TERM; jov-run --notify; jov-run --notify STOPPING=1; jov-run --emit up; jov-run --wait "
            "\"stop_module_$JOV_MODULE_NAME\"",
            0);
    }

    void stop()
    {
        const auto [options, script] = cells<QStringList, QString>();
        Terminal terminal("step one 1");
        Run run(jovRun(options + QStringList{"--ready=notify"_s, "--moduleName="_s + oddName}, script));
        QVERIFY(terminal.waitForEvent("up"_s));
        // Again, as the last script may not listen yet.
        QVERIFY(Terminal::wait([&] {
            terminal.notify("stop_module_"_s + oddName);
            return run.state() == QProcess::NotRunning;
        }));
        QTEST(run.status(), "expected");
        QVERIFY(Terminal::wait([] { return helpers().isEmpty(); }));
    }

    void killed_data()
    {
        columns<QString, bool, int>("kind", "helper", "expected");
        row("the program", "at-once", false, 128 + SIGKILL);
        row("the helper", "at-once", true, 6);
        row("the helper that passes the output on", "output:x", true, 6);
    }

    void killed()
    {
        const auto [kind, helper] = cells<QString, bool>();
        const Terminal terminal("step one 1");
        Run run(jovRun({"--stop-signal=INT"_s, "--ready="_s + kind, "--moduleName=a"_s},
                       "trap 'exit 6' INT; while :; do sleep 0.02; done"_s));
        QVERIFY(Terminal::wait([&] { return helpers().size() == 1 && helpers().value(0) != run.processId(); }));
        QVERIFY(Terminal::wait([&] { return Processes::catches(pid_t(run.processId()), SIGINT); }));
        kill(helper ? helpers().value(0) : pid_t(run.processId()), SIGKILL);
        QTEST(run.status(), "expected");
        QVERIFY(Terminal::wait([] { return helpers().isEmpty(); }));
    }

    // Every byte, with the end of the program close behind the last one.
    void output()
    {
        const Terminal terminal("step one 1");
        Run bare({"sh"_s, "-c"_s, "seq 200000 | cksum; seq 100000 | cksum"_s});
        Run helped({"sh"_s, "-c"_s,
                    "run='jov-run --moduleName=a --ready=output:^9$ --'; $run seq 200000 | cksum;"
                    "$run sh -c 'seq 100000 >&2' 2>&1 >/dev/null | cksum"_s});
        QCOMPARE(bare.status(), 0);
        QCOMPARE(helped.status(), 0);
        QCOMPARE(helped.readAll(), bare.readAll());
    }

    void scripts()
    {
        Terminal terminal("step one 1");
        QCOMPARE(Run({"jov-run"_s, "--moduleName=a-b"_s, "--emit"_s, "hello"_s, "text=a=b c"_s, "n=1"_s}).status(), 0);
        QVERIFY(terminal.waitForEvent("hello n=1 text=a=b c"_s));
        QCOMPARE(Run({"jov-run"_s, "--moduleName=a-b"_s, "--notify"_s}).status(), 0);
        QVERIFY(terminal.waitForEvent("end_of_init_a-b"_s));
        Run wait({"jov-run"_s, "--wait"_s, "it's"_s});
        QVERIFY(Terminal::wait([&] {
            terminal.notify("it's"_s, {{"b"_s, true}, {"n"_s, -3}, {"text"_s, "a\nb"_s}});
            return wait.state() == QProcess::NotRunning;
        }));
        QCOMPARE(wait.readAll(), QByteArray("b=true\nn=-3\ntext=a\\nb\n"));
    }

    // Many at a time, started again and again; and a bus that is replaced. No announcement is lost.
    void storm()
    {
        constexpr int count = 10;
        QString description = "step one 1 home"_s;
        for (int i = 0; i < count; ++i) {
            description += "\nm-%1 one%2"_s.arg(i).arg(i > 0 ? " <m-%1"_s.arg(i - 1) : QString());
        }
        Terminal terminal(description);
        const QByteArray scripts[] = {"exec jov-run --ready=at-once \"$1\" -- sleep 600",
                                      "[ \"$JOV_MODULE_NAME\" ] || exec jov-run --ready=notify \"$1\" -- \"$0\"\n"
                                      "trap \"exit 0\" TERM; jov-run --notify\nwhile :; do sleep 0.1; done"};
        for (int i = 0; i < count; ++i) {
            const QString path = "/usr/lib/JovApplication/m-%1"_s.arg(i);
            QFile::remove(terminal.root.path(path)); // a link to the sample module
            terminal.root.writeScript(path, scripts[i % 2]);
        }
        QVERIFY(terminal.boot());
        for (int round = 0; round < 4; ++round) {
            QCOMPARE(terminal.call("restart"_s), QString());
            QVERIFY(terminal.waitForAll("RUNNING"_s));
            QTRY_COMPARE(helpers().size(), count);
            terminal.forgetEvents();
            // They wait for the supervisor, and it for the test.
            kill(terminal.pid(), SIGSTOP);
            terminal.bus.stop();
            terminal.bus.start();
            terminal.reconnect();
            // The reply comes behind the subscription.
            QVERIFY(!terminal.connection().interface()->isServiceRegistered("com.velmora.Jovara.ApplicationManager"_s));
            kill(terminal.pid(), SIGCONT);
            for (int i = 0; i < count; ++i) {
                QVERIFY(terminal.waitForEvent("end_of_init_m-%1 repeated=true"_s.arg(i)));
            }
        }
        QCOMPARE(terminal.end(SIGTERM), 0);
        QVERIFY(Terminal::wait([] { return helpers().isEmpty(); }));
        QCOMPARE(terminal.logCount("ret false"_s), 0);
    }
};

QTEST_GUILESS_MAIN(RunTest)

#include "RunTest.moc"
