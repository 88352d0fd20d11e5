#include "support/DataTable.h"
#include "support/Processes.h"
#include "support/RootDir.h"

#include <QDir>
#include <QProcess>

#include <algorithm>
#include <csignal>

namespace {

constexpr int patience = 60000; // ms, for a machine with much else to do

const QStringList patient = {"--timeout"_s, "60"_s};

/// A simulator with a folder of its own for its temporary files.
class Run : public QProcess
{
public:
    explicit Run(const QStringList &arguments, const QString &program = QStringLiteral(SIMULATOR))
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("TMPDIR"_s, m_temporary.path());
        setProcessEnvironment(environment);
        setProcessChannelMode(QProcess::MergedChannels);
        start(program, arguments);
    }
    ~Run() override
    {
        terminate();
        waitForFinished(patience);
    }
    QString output() { return m_output += QString::fromUtf8(readAll()); }
    bool said(const QString &text)
    {
        while (!output().contains(text) && waitForReadyRead(patience)) { }
        return m_output.contains(text);
    }
    /// The texts, with "|" between them, come one after the other; what came up to there is forgotten.
    bool goesOn(const QString &texts)
    {
        const QStringList parts = texts.split(u'|');
        return std::all_of(parts.begin(), parts.end(), [this](const QString &text) {
            const bool isSaid = said(text);
            isSaid ? void() : qWarning("missing: %s", qPrintable(text));
            m_output.remove(0, m_output.indexOf(text) + text.size());
            return isSaid;
        });
    }
    /// The exit status, or the negative number of the signal.
    int end()
    {
        waitForFinished(patience);
        return exitStatus() == QProcess::CrashExit ? -exitCode() : exitCode();
    }
    [[nodiscard]] bool leftNoFiles() const { return QDir(m_temporary.path()).isEmpty(); }

private:
    QTemporaryDir m_temporary;
    QString m_output;
};

/// The files of a terminal with one step, in which "fine" starts and then "odd", which gets the argument.
void writeTerminal(const RootDir &root, const QString &argument, const QString &dependency = "fine"_s)
{
    const QString folder = "/etc/JovApplication/module/%1"_s;
    root.write(folder.arg("ApplicationManager/initStep.xml"_s),
               "<initStep><step name='only' value='1' show_homepage='true'/></initStep>");
    root.write(folder.arg("fine/config.xml"_s), "<config><initStep>only</initStep></config>");
    root.write(folder.arg("odd/config.xml"_s),
               "<config><initStep>only</initStep><dependencies><dependency>%1</dependency></dependencies>"
               "<extra_args><arg>%2</arg></extra_args></config>"_s.arg(dependency, argument)
                   .toUtf8());
}

} // namespace

class SimulatorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void once_data()
    {
        columns<QStringList, int, QString>("arguments", "boots", "texts");
        const auto crash = [](const char *module) {
            return QStringList{"--crash"_s, QString::fromLatin1(module), "--after"_s, "1"_s};
        };
        row("boot and stop", QStringList(), 1,
            "Platform         up|step infra       done|JovWebClient     ready, waiting for its presentation|"
            "JovWebClient     up|All 16 modules are up|JovWebClient     stopped|"
            "Platform         stopped|ended with status 0");
        const QStringList few = {"--terminal"_s, "leak"_s};
        row("a module crashes", few + crash("painter"), 2,
            "All 4 modules are up|painter          ended unexpectedly|archived:|"
            "reboot requested by ApplicationManager: painter crashed|The terminal boots again|All 4 modules are up");
        row("in parallel, and the owner of the screen crashes",
            QStringList{"--terminal"_s, "parallel"_s} + crash("JovWebClient"), 2,
            "selftest         up|step desk        done|All 16 modules are up|JovWebClient     ended unexpectedly|"
            "jovwebclient_module_crash.jpg|All 16 modules are up");
        row("who is asked to reboot crashes", few + crash("Platform"), 2,
            "archived:|called with --soft --owner ApplicationManager --reason Platform crashed|All 4 modules are up");
    }

    void once()
    {
        const auto [arguments, boots, texts] = cells<QStringList, int, QString>();
        Run run(QStringList{"--once"_s} + patient + arguments);
        const int status = run.end();
        const QString output = run.output();
        QVERIFY2(status == 0 && output.count("the home page is shown"_s) == boots, qPrintable(output));
        QVERIFY2(run.goesOn(texts), qPrintable(output));
        QVERIFY(run.leftNoFiles());
    }

    void faultyTerminal_data()
    {
        columns<QString, QString, QStringList, QString>("argument", "dependency", "options", "complaint");
        const QString fine = "fine"_s;
        const QStringList none;
        row("never ready", "--never-ready"_s, fine, none,
            "waits for odd. Not running: odd|odd: has not announced that it is ready"_s);
        row("ends at once", "--nonsense</arg><arg>--exit-after=0"_s, fine, none,
            "odd              ended before it was ready, after| (exit status 0)|printed: sample-module: argument|"
            "Not running: odd|odd: ended (exit status 0)|    sample-module: argument"_s);
        row("crashes, and again after each reboot", "--crash-signal=ABRT"_s, fine, none,
            "emergency: Terminal will reboot now: odd crashed"_s);
        row("the files have errors", QString(), "missing"_s, none, "[dependency-missing]|is not booted"_s);
        row("the supervisor refuses the files", QString(), "missing"_s, QStringList("--force"_s),
            "has ended unexpectedly, with status 1"_s);
        row("warnings are errors", QString(), fine, QStringList("--strict"_s), "[settings-missing]|is not booted"_s);
        row("no home page", "home"_s, fine, QStringList("--force"_s),
            "All 2 modules are up|the home page was never shown"_s);
    }

    void faultyTerminal()
    {
        const auto [argument, dependency, options, complaint] = cells<QString, QString, QStringList, QString>();
        const RootDir files;
        writeTerminal(files, argument == "home"_s ? QString() : argument, dependency);
        if (argument == "home"_s) {
            const QString steps = "/etc/JovApplication/module/ApplicationManager/initStep.xml"_s;
            files.write(steps, files.read(steps).replace("true", "false"));
        }
        const QString results = files.path("/results.xml"_s);
        Run run(QStringList{"--once"_s, "--timeout"_s, "2"_s, "--terminal"_s, files.path(), "--junit"_s, results}
                + options);
        QCOMPARE(run.end(), 1);
        const QString output = run.output();
        QVERIFY2(run.goesOn(complaint), qPrintable(output));
        QVERIFY2(files.read("/results.xml"_s).contains("<failure"), qPrintable(output));
        QVERIFY(run.leftNoFiles());
    }

    void nothingSurvives_data()
    {
        // Who is killed: the end of a program's path.
        columns<QString, int, QStringList>("victim", "status", "options");
        const QStringList none;
        row("outer process", "outer"_s, -SIGKILL, none);
        row("inner process", "inner"_s, 1, none);
        row("both", "outer inner"_s, -SIGKILL, none);
        row("both, and the supervisor hangs", "outer inner"_s, -SIGKILL, QStringList("--isolate"_s));
        row("bus", "dbus-daemon"_s, 1, none);
        row("supervisor", "/ApplicationManager"_s, 1, none);
    }

    void nothingSurvives()
    {
        const auto [victim, status, options] = cells<QString, int, QStringList>();
        const RootDir files;
        writeTerminal(files, "--ready-after=100"_s);
        Run run(QStringList{"--terminal"_s, files.path()} + options);
        // One of the two modules is up, or both are.
        const bool isUp = run.said(victim == "inner"_s ? "fine             up"_s : "modules are up"_s);
        if (run.output().contains("no PID namespace"_s)) {
            QSKIP("the kernel allows no PID namespace");
        }
        QVERIFY2(isUp, qPrintable(run.output()));
        const QList<Processes::Process> processes = Processes::below(pid_t(run.processId()));
        QVERIFY(processes.size() >= 4); // inner, bus, supervisor, modules
        for (const Processes::Process &process : processes) {
            const bool hangs = !options.isEmpty() && process.commandLine.contains("/ApplicationManager"_s);
            QVERIFY(!hangs || kill(process.pid, SIGSTOP) == 0);
        }
        QVERIFY(!victim.contains("outer"_s) || kill(pid_t(run.processId()), SIGKILL) == 0);
        for (const Processes::Process &process : processes) {
            const bool isInner = process.parent == pid_t(run.processId());
            if (isInner ? victim.endsWith("inner"_s) : process.commandLine.section(u' ', 0, 0).endsWith(victim)) {
                QCOMPARE(kill(process.pid, SIGKILL), 0);
            }
        }
        QCOMPARE(run.end(), status);
        const auto isGone = [](const auto &process) { return Processes::commandLine(process.pid).isEmpty(); };
        QTRY_VERIFY_WITH_TIMEOUT(std::all_of(processes.begin(), processes.end(), isGone), patience);
        // Nobody is left to remove the root of two that are killed at once.
        QTRY_VERIFY_WITH_TIMEOUT(run.leftNoFiles() || victim == "outer inner"_s, patience);
    }

    void commands()
    {
        const RootDir files;
        writeTerminal(files, QString());
        Run run({"--terminal"_s, files.path()});
        run.write("stop fine\nstart-all\nnonsense\ncrash nobody\nrestart-all\nlist\ncrash fine\nquit\n");
        QCOMPARE(run.end(), 0);
        const QString texts =
            "modules are up|odd              stopped|fine stopped (exit status 0)|fine             up|odd              "
            "up|"
            "unknown command 'nonsense'|nobody: no running module|fine             stopped|odd              up|"
            "odd   only  RUNNING|No reboot follows|asking the supervisor to end"_s;
        const QString output = run.output();
        QVERIFY2(run.goesOn(texts), qPrintable(output));
    }

    void typedCommands()
    {
        const RootDir files;
        writeTerminal(files, QString());
        QByteArray lines = "_HiStOrY_V2_\n";
        for (int i = 0; i < 600; ++i) {
            lines += "status\\040" + QByteArray::number(i) + '\n';
        }
        files.write("/jov-simulator/history"_s, lines);
        const QTemporaryDir kept;
        // On a terminal of its own.
        const QString command = "TERM=xterm XDG_STATE_HOME=%1 " SIMULATOR " --terminal %1 --root %2"_s;
        Run run({"-qec"_s, command.arg(files.path(), kept.filePath("root"_s)), "/dev/null"_s}, "script"_s);
        QVERIFY(run.goesOn("terminal> "_s));
        run.write("stat\to\t");
        QVERIFY(run.goesOn("dd "_s));
        QFile log(kept.filePath("root/var/log/ApplicationManager.log"_s));
        QVERIFY(log.open(QIODevice::Append) && log.write("2026-01-01 warning meanwhile\n") > 0);
        log.close();
        QVERIFY(run.goesOn("meanwhile|terminal> status odd "_s));
        run.write("\n");
        QVERIFY(run.goesOn("RUNNING|terminal> "_s));
        run.write("\x1b[A\x1b[A");
        QVERIFY(run.goesOn("599"_s));
        run.write("\x15quit\n");
        QVERIFY(run.goesOn("has ended with status 0"_s));
        const QByteArray history = files.read("/jov-simulator/history"_s);
        QVERIFY2(history.count('\n') == 501 && history.endsWith("status\\040odd\nquit\n"), history.right(40));
    }

    void watchdogFollowsSettings()
    {
        Run run({"--terminal"_s, "leak"_s, "--watchdog-minute"_s, "100"_s});
        // At the first excess two restarts are left, unless the running supervisor hears of the change.
        run.write("set MonitoringWatchRetry 1\n");
        QVERIFY(run.said("reboot requested by ApplicationManager: Too much faulty applications restart"_s));
        QVERIFY2(!run.output().contains("hoarder          stopped"_s), qPrintable(run.output()));
        QVERIFY(run.said("The terminal boots again"_s));
        kill(pid_t(run.processId()), SIGTERM); // The supervisor may not have its handler yet.
        run.end();
        QVERIFY2(!run.output().contains("killing the supervisor"_s), qPrintable(run.output()));
    }

    void keptRoot()
    {
        const RootDir files;
        writeTerminal(files, QString());
        const QTemporaryDir kept;
        const QStringList arguments = {"--once"_s, "--root"_s, kept.filePath("root"_s)};
        QCOMPARE(Run(arguments + QStringList{"--terminal"_s, files.path()}).end(), 0);
        QVERIFY(QFile::remove(kept.filePath("root/etc/JovApplication/module/odd/config.xml"_s)));
        Run again(arguments + QStringList{"--force"_s});
        QCOMPARE(again.end(), 0);
        QVERIFY2(again.output().contains("(default) added to list"_s), qPrintable(again.output()));
        // A folder with anything else in it is left alone.
        QCOMPARE(Run({"--once"_s, "--root"_s, kept.path()}).end(), 2);
        QCOMPARE(Run({"--once"_s, "--terminal"_s, kept.path()}).end(), 2);
        QCOMPARE(QDir(kept.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{"root"_s});
    }

    void heldBoot()
    {
        const RootDir files;
        writeTerminal(files, QString());
        files.write("/tmp/step"_s, " 0 \n");
        Run run({"--terminal"_s, files.path()});
        run.write("step 1\n");
        QVERIFY2(run.said("step only        done"_s), qPrintable(run.output()));
        QVERIFY2(run.output().contains("The step file holds the boot at step 0"_s), qPrintable(run.output()));
        run.write("quit\n");
        QCOMPARE(run.end(), 0);
    }
};

QTEST_GUILESS_MAIN(SimulatorTest)

#include "SimulatorTest.moc"
