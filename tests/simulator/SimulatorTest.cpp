#include "DataTable.h"
#include "Processes.h"
#include "RootDir.h"

#include <QDir>
#include <QProcess>
#include <QTest>

#include <algorithm>
#include <csignal>

namespace {

constexpr int patience = 60000; // ms, for a machine with much else to do

const QStringList patient = {QStringLiteral("--timeout"), QStringLiteral("60")};

/// A simulator with a folder of its own for its temporary files.
class Run
{
public:
    explicit Run(const QStringList &arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TMPDIR"), m_temporary.path());
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QStringLiteral(SIMULATOR), arguments);
    }
    ~Run()
    {
        m_process.terminate();
        m_process.waitForFinished(patience);
    }

    QString output()
    {
        m_output += QString::fromUtf8(m_process.readAll());
        return m_output;
    }
    bool said(const QString &text)
    {
        while (!output().contains(text) && m_process.waitForReadyRead(patience)) { }
        return output().contains(text);
    }
    void command(const char *line) { m_process.write(QByteArray(line) + '\n'); }
    /// The exit status, or the negative number of the signal.
    int end()
    {
        m_process.waitForFinished(patience);
        return m_process.exitStatus() == QProcess::CrashExit ? -m_process.exitCode() : m_process.exitCode();
    }
    [[nodiscard]] pid_t pid() const { return static_cast<pid_t>(m_process.processId()); }
    [[nodiscard]] bool leftNoFiles() const { return QDir(m_temporary.path()).isEmpty(); }

private:
    QTemporaryDir m_temporary;
    QProcess m_process;
    QString m_output;
};

/// The files of a terminal with one step, in which "fine" starts and then "odd", which gets the argument.
void writeTerminal(const RootDir &root, const QString &argument, const QString &dependency = QStringLiteral("fine"))
{
    const QString folder = QStringLiteral("/etc/JovApplication/module/%1");
    root.write(folder.arg(QStringLiteral("ApplicationManager/initStep.xml")),
               "<initStep><step name='only' value='1' show_homepage='true'/></initStep>");
    root.write(folder.arg(QStringLiteral("fine/config.xml")), "<config><initStep>only</initStep></config>");
    root.write(
        folder.arg(QStringLiteral("odd/config.xml")),
        QStringLiteral("<config><initStep>only</initStep><dependencies><dependency>%1</dependency></dependencies>"
                       "<extra_args><arg>%2</arg></extra_args></config>")
            .arg(dependency, argument)
            .toUtf8());
}

bool isGone(pid_t pid)
{
    QFile file(QStringLiteral("/proc/%1/cmdline").arg(pid));
    return !file.open(QIODevice::ReadOnly) || file.readAll().isEmpty(); // a zombie has none
}

} // namespace

class SimulatorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void once_data()
    {
        columns<QStringList, int, QStringList>("arguments", "boots", "saidInOrder");
        const auto crash = [](const char *module) {
            return QStringList{QStringLiteral("--crash"), QString::fromLatin1(module), QStringLiteral("--after"),
                               QStringLiteral("1")};
        };
        const auto texts = [](std::initializer_list<const char *> list) {
            QStringList lines;
            for (const char *text : list) {
                lines << QString::fromLatin1(text);
            }
            return lines;
        };
        row("boot and stop", QStringList(), 1,
            texts({"Platform         up", "step infra       done", "JovWebClient     up", "All 16 modules are up",
                   "JovWebClient     stopped", "Platform         stopped", "ended with status 0"}));
        row("a module crashes", crash("store"), 2,
            texts({"All 16 modules are up", "store            ended unasked",
                   "archived:", "reboot asked for by ApplicationManager: store crashed", "The terminal boots again",
                   "All 16 modules are up", "ended with status 0"}));
        row("the owner of the screen crashes", crash("JovWebClient"), 2,
            texts({"JovWebClient     ended unasked", "jovwebclient_module_crash.jpg", "The terminal boots again",
                   "All 16 modules are up"}));
        row("who is asked to reboot crashes", crash("Platform"), 2,
            texts({"archived:", "called with --soft --owner ApplicationManager --reason Platform crashed",
                   "The terminal boots again", "All 16 modules are up"}));
    }

    void once()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, boots);
        QFETCH(QStringList, saidInOrder);
        Run run(QStringList{QStringLiteral("--once")} + patient + arguments);
        const int status = run.end();
        const QString output = run.output();
        QVERIFY2(status == 0 && output.count(QStringLiteral("the home page is shown")) == boots, qPrintable(output));
        int place = 0;
        for (const QString &text : qAsConst(saidInOrder)) {
            place = output.indexOf(text, place);
            QVERIFY2(place >= 0, qPrintable(QStringLiteral("missing: %1\n%2").arg(text, output)));
        }
        QVERIFY(run.leftNoFiles());
    }

    void faultyTerminal_data()
    {
        columns<QString, QString, QString>("argument", "dependency", "complaint");
        const QString fine = QStringLiteral("fine");
        row("never ready", QStringLiteral("--never-ready"), fine, QStringLiteral("waits for odd. Not up: odd"));
        row("ends at once", QStringLiteral("--exit-after=0"), fine, QStringLiteral("Not up: odd"));
        row("crashes, and again after each reboot", QStringLiteral("--crash-signal=ABRT"), fine,
            QStringLiteral("emergency: Terminal will reboot now: odd crashed"));
        row("the supervisor refuses the files", QString(), QStringLiteral("missing"),
            QStringLiteral("ended by itself, with status 1"));
    }

    void faultyTerminal()
    {
        QFETCH(QString, argument);
        QFETCH(QString, dependency);
        QFETCH(QString, complaint);
        const RootDir files;
        writeTerminal(files, argument, dependency);
        Run run({QStringLiteral("--once"), QStringLiteral("--timeout"), QStringLiteral("4"),
                 QStringLiteral("--terminal"), files.path()});
        QCOMPARE(run.end(), 1);
        QVERIFY2(run.output().contains(complaint), qPrintable(run.output()));
        QVERIFY(run.leftNoFiles());
    }

    void nothingSurvives_data()
    {
        columns<QString, QString>("victim", "moment"); // the beginning of its command line
        const QString up = QStringLiteral("modules are up");
        row("simulator", QString(), up);
        row("simulator, booting", QString(), QStringLiteral("fine             up"));
        row("keeper", QStringLiteral(SIMULATOR), up);
        row("bus", QStringLiteral("dbus-daemon"), up);
        row("supervisor", QFileInfo(QStringLiteral(SIMULATOR)).path() + QStringLiteral("/ApplicationManager"), up);
    }

    void nothingSurvives()
    {
        QFETCH(QString, victim);
        QFETCH(QString, moment);
        const RootDir files;
        writeTerminal(files, QStringLiteral("--ready-after=100"));
        Run run({QStringLiteral("--terminal"), files.path()});
        QVERIFY2(run.said(moment), qPrintable(run.output()));
        const QList<Processes::Process> processes = Processes::below(run.pid());
        QVERIFY(processes.size() >= 4); // keeper, bus, supervisor, modules
        pid_t killed = victim.isEmpty() ? run.pid() : 0;
        for (const Processes::Process &process : processes) {
            if (killed == 0 && process.commandLine.startsWith(victim)) {
                killed = process.pid;
            }
        }
        QVERIFY(killed > 0);
        kill(killed, SIGKILL);
        QCOMPARE(run.end(), victim.isEmpty() ? -SIGKILL : 1);
        QTRY_VERIFY_WITH_TIMEOUT(run.leftNoFiles(), patience);
        QTRY_VERIFY_WITH_TIMEOUT(std::all_of(processes.begin(), processes.end(),
                                             [](const Processes::Process &process) { return isGone(process.pid); }),
                                 patience);
    }

    void commands()
    {
        const RootDir files;
        writeTerminal(files, QString());
        Run run({QStringLiteral("--terminal"), files.path()});
        for (const char *line : {"stop fine", "start-all", "nonsense", "crash nobody", "restart-all", "list", "quit"}) {
            run.command(line);
        }
        QCOMPARE(run.end(), 0);
        const QString output = run.output();
        int place = 0;
        for (const char *text :
             {"modules are up", "odd              stopped", "fine stopped (EXITED_OK)", "fine             up",
              "odd              up", "'nonsense' is no command", "nobody: no module", "fine             stopped",
              "odd              up", "odd   only  RUNNING", "is asked to end"}) {
            place = output.indexOf(QLatin1String(text), place);
            QVERIFY2(place >= 0, qPrintable(QStringLiteral("missing: %1\n%2").arg(QLatin1String(text), output)));
        }
    }

    void watchdogFollowsSettings()
    {
        Run run({QStringLiteral("--terminal"), QStringLiteral("leak"), QStringLiteral("--watchdog-minute"),
                 QStringLiteral("100")});
        // At the first excess two restarts are left, unless the running supervisor hears of the change.
        run.command("set MonitoringWatchRetry 1");
        QVERIFY(
            run.said(QStringLiteral("reboot asked for by ApplicationManager: Too much faulty applications restart")));
        QVERIFY2(!run.output().contains(QStringLiteral("hoarder          stopped")), qPrintable(run.output()));
        QVERIFY(run.said(QStringLiteral("The terminal boots again")));
    }

    void keptRoot()
    {
        const RootDir files;
        writeTerminal(files, QString());
        const QTemporaryDir kept;
        const QStringList arguments = {QStringLiteral("--once"), QStringLiteral("--root"),
                                       kept.filePath(QStringLiteral("root"))};
        QCOMPARE(Run(arguments + QStringList{QStringLiteral("--terminal"), files.path()}).end(), 0);
        QVERIFY(QFile::remove(kept.filePath(QStringLiteral("root/etc/JovApplication/module/odd/config.xml"))));
        Run again(arguments);
        QCOMPARE(again.end(), 0);
        QVERIFY2(again.output().contains(QStringLiteral("(default) added to list")), qPrintable(again.output()));
        // A folder with anything else in it is left alone.
        QCOMPARE(Run({QStringLiteral("--once"), QStringLiteral("--root"), kept.path()}).end(), 2);
        QCOMPARE(QDir(kept.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList{QStringLiteral("root")});
    }

    void heldBoot()
    {
        const RootDir files;
        writeTerminal(files, QString());
        files.write(QStringLiteral("/tmp/step"), " 0 \n");
        Run run({QStringLiteral("--terminal"), files.path()});
        run.command("step 1");
        QVERIFY2(run.said(QStringLiteral("step only        done")), qPrintable(run.output()));
        QVERIFY2(run.output().contains(QStringLiteral("The step file holds the boot at step 0")),
                 qPrintable(run.output()));
        run.command("quit");
        QCOMPARE(run.end(), 0);
    }
};

QTEST_GUILESS_MAIN(SimulatorTest)

#include "SimulatorTest.moc"
