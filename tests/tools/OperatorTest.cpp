#include "support/DataTable.h"
#include "support/Terminal.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <memory>

namespace {

constexpr char terminalFiles[] = "step one 1\nstep five 5 home\nstep nine 9\n"
                                 "A one\nB one <A\nC one <A --ready-after=300\nFive five\nNine nine\n"
                                 "Quits one --exit-after=20 --exit-code=3 --never-ready\nAfterQuits one <Quits";

struct Outcome
{
    int status = -1;
    QString out;
    QString err;
};

void start(QProcess &process, const QString &words)
{
    process.start(QStringLiteral(JOVCTL), words.split(u' ', Qt::SkipEmptyParts));
}

Outcome outcomeOf(QProcess &process)
{
    // Not waitForFinished(): the event loop must run, because the daemon's modules are children of this test, too.
    Terminal::wait([&] { return process.state() == QProcess::NotRunning; }, 30000);
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

Outcome jovctl(const QString &words)
{
    QProcess process;
    start(process, words);
    return outcomeOf(process);
}

/// A watch that runs beside the test.
class Watch : public QProcess
{
public:
    Watch() { start(QStringLiteral(JOVCTL), {"watch"_s, "--json"_s}); }

    bool waitFor(const char *text, int times = 1)
    {
        return Terminal::wait([&] { return (m_output += readAllStandardOutput()).count(text) >= times; });
    }

    int interrupt()
    {
        ::kill(pid_t(processId()), SIGINT);
        const int status = outcomeOf(*this).status;
        return exitStatus() == NormalExit ? status : -1;
    }

    /// The states of each module, in order, "gap" where a change does not begin at the state before it.
    [[nodiscard]] QMap<QString, QStringList> states() const
    {
        QMap<QString, QStringList> states;
        const QList<QByteArray> lines = m_output.split('\n');
        for (const QByteArray &line : lines) {
            const QJsonObject object = QJsonDocument::fromJson(line).object();
            QStringList &list = states[object.value("name"_s).toString()];
            const QString old = object.value("old"_s).toString();
            if (object.value("kind"_s).toString() == "change"_s && (list.isEmpty() || list.last() != old)) {
                list << (list.isEmpty() ? old : "gap"_s);
            }
            list << object.value("state"_s).toString();
        }
        return states;
    }

private:
    QByteArray m_output;
};

} // namespace

class OperatorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusals_data()
    {
        columns<QString, int>("words", "status");
        for (const char *words :
             {"", "lst", "list --nonsense", "list A", "start", "log-level 8", "log-level loud", "log-level 1 2",
              "top --interval 0", "top --interval nan", "boot --svg", "boot 1 2", "list --timeout 0"}) {
            row(words, words, 2);
        }
        for (const char *words :
             {"list", "status A", "start A", "stop-all", "restart-app", "shutdown", "boot", "top --once", "metrics"}) {
            row(words, words, 3);
        }
    }

    // Wrong usage, and no daemon: on a bus, and without one.
    void refusals()
    {
        const auto [words, status] = cells<QString, int>();
        {
            const PrivateBus bus;
            const Outcome outcome = jovctl(words);
            QCOMPARE(outcome.status, status);
            QVERIFY(outcome.err.startsWith("jovctl: "_s) && outcome.err.count(u'\n') == 1);
            QCOMPARE(outcome.err.endsWith("ApplicationManager is not running\n"_s), status == 3);
            QCOMPARE(outcome.out.contains("jovara_up 0\n"_s), words == "metrics"_s);
            QCOMPARE(outcome.out.isEmpty(), words != "metrics"_s);
        }
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere/at/all");
        QCOMPARE(jovctl(words).status, status);
        qunsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    }

    void muteBus()
    {
        PrivateBus bus;
        ::kill(pid_t(bus.processId()), SIGSTOP);
        const Outcome outcome = jovctl("list"_s);
        bus.stop();
        QCOMPARE(outcome.status, 3);
        QVERIFY(outcome.err.contains("the bus does not answer"_s));
    }

    void metricsFile_data()
    {
        columns<QString, int, QString>("file", "status", "content");
        row("no daemon", "metrics", 3, "jovara_up 0");
        row("no folder", "nowhere/metrics", 1, "of before");
        row("a folder", "folder", 1, "of before");
    }

    void metricsFile()
    {
        const auto [file, status, content] = cells<QString, int, QString>();
        const PrivateBus bus;
        const RootDir folder;
        folder.write("/metrics"_s, "of before");
        folder.write("/folder/file"_s, {});
        const Outcome outcome = jovctl("metrics --output="_s + folder.path(u'/' + file));
        QCOMPARE(outcome.status, status);
        QCOMPARE(outcome.out, QString());
        QVERIFY(outcome.err.count(u'\n') == 1);
        QVERIFY(folder.read("/metrics"_s).contains(content.toLatin1()));
        QCOMPARE(QDir(folder.path(QString())).entryList({"*metrics*"_s}, QDir::Files), QStringList("metrics"_s));
    }

    void saysWhatItWaitsFor()
    {
        Terminal terminal("step one 1\nA one\nSlow one --ready-after=2500\nLost nowhere");
        terminal.start();
        QVERIFY(terminal.waitForStates("A:RUNNING Lost: Slow:RUNNING"_s));
        const Outcome outcome = jovctl("restart Slow"_s);
        QVERIFY2(outcome.err.startsWith("jovctl: waiting for Slow (STARTING)\n"_s), qPrintable(outcome.err));
        QCOMPARE(outcome.err.count("Slow"_s), 1);
        QCOMPARE(outcome.status, 0);
        QCOMPARE(jovctl("start-all"_s).status, 0);
        QCOMPARE(jovctl("watch --timeout 0.2"_s).status, 0);
        ::kill(terminal.pid(), SIGSTOP);
        terminal.root.write("/metrics"_s, "of before");
        for (const QString &words :
             {"list"_s, "stop Slow"_s, "metrics --output="_s + terminal.root.path("/metrics"_s)}) {
            const Outcome late = jovctl(words + " --timeout=0.2"_s);
            QCOMPARE(late.status, 1);
            QCOMPARE(late.err, "jovctl: the time of --timeout is over\n"_s);
        }
        QCOMPARE(terminal.root.read("/metrics"_s), QByteArray("of before"));
        ::kill(terminal.pid(), SIGCONT);
    }

    void leavesNoJournalctl()
    {
        const RootDir root;
        root.write("/etc/JovApplication/platform.ini"_s, "[ApplicationManager]\nmodule_output=journal\n");
        root.writeScript("/bin/journalctl"_s, "echo $$ >$JOV_ROOT/pid; exec sleep 60");
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(root.path("/bin:"_s)) + path);
        const Outcome outcome = jovctl("log -f --timeout 0.5 A"_s);
        qputenv("PATH", path);
        QCOMPARE(outcome.status, 0);
        QVERIFY(root.read("/pid"_s).toInt() > 0 && ::kill(root.read("/pid"_s).toInt(), 0) != 0);
    }

    void saysWhatIsMissing()
    {
        Terminal terminal("step one 1\nJovWebClient one --ignore-stop");
        terminal.setDaemon(QStringLiteral(QUICK_DAEMON));
        terminal.root.write("/etc/JovApplication/platform.ini"_s,
                            "[ApplicationManager]\nno_webapp_timer=1\nmodule_output=file:/log/%n\n");
        terminal.root.write("/usr/lib/JovApplication/Broken"_s, "no program");
        terminal.root.write("/etc/JovApplication/module/Broken/config.xml"_s,
                            "<config><initStep>one</initStep></config>");
        terminal.start();
        QVERIFY(terminal.waitForStates("Broken:STARTING JovWebClient:WEB_CLIENT_STARTED"_s));
        QVERIFY(jovctl("status Broken"_s).out.contains("it was not launched"_s));
        QVERIFY(jovctl("start Broken"_s).err.contains("it was not launched"_s));
        QTRY_VERIFY(jovctl("log Broken"_s).err.contains("the module has printed nothing"_s));
        QVERIFY(jovctl("status JovWebClient"_s).out.contains("not announced its presentation"_s));
        QVERIFY(!jovctl("metrics"_s).out.contains("step_start_seconds{"_s));
    }

    void stopRunsOut_data()
    {
        columns<QString>("words");
        row("with what depends on it", "stop A");
        row("alone", "restart Stubborn");
    }

    void stopRunsOut()
    {
        QFETCH(QString, words);
        Terminal terminal("step one 1\nA one\nStubborn one <A --ignore-stop");
        terminal.setDaemon(QStringLiteral(QUICK_DAEMON));
        QVERIFY(terminal.boot());
        const Outcome outcome = jovctl(words);
        QVERIFY2(outcome.err.contains("jovctl: Stubborn did not stop in time"_s), qPrintable(outcome.err));
        QCOMPARE(outcome.status, 5);
        QVERIFY(jovctl("status"_s).out.contains("waiting for the reboot"_s));
    }

    void stopsTwice()
    {
        Terminal terminal("step one 1\nStubborn one --ignore-stop");
        QVERIFY(terminal.boot());
        QProcess first;
        start(first, "stop Stubborn"_s);
        QVERIFY(terminal.waitForStates("Stubborn:STOPPING"_s));
        QCOMPARE(jovctl("stop Stubborn"_s).status, 0);
        const QString text = outcomeOf(first).err;
        QVERIFY2(text.endsWith("Stubborn was killed before it had stopped\n"_s), qPrintable(text));
    }

    void restartWithBrokenFiles()
    {
        Terminal terminal("step one 1\nA one");
        QVERIFY(terminal.boot());
        terminal.root.write("/etc/JovApplication/module/ApplicationManager/initStep.xml"_s, "<initStep");
        const Outcome outcome = jovctl("restart-all"_s);
        QVERIFY2(outcome.err.contains("jovctl verify"_s), qPrintable(outcome.err));
        QCOMPARE(outcome.status, 3);
    }

    // The history has what the daemon has said of the start-up, but for the microseconds of a module that ended.
    void previousBoot()
    {
        Terminal terminal(terminalFiles);
        QStringList chains;
        for (const QString &words : {"boot"_s, "boot --previous"_s}) {
            terminal.start();
            QVERIFY(terminal.waitForLog("initStepDone: 9"_s, terminal.log().size()));
            const QString chain = jovctl(words).out.section("Critical chain"_s, 1);
            chains << QString(chain).remove(QRegularExpression("[\\d.]+ m?s\\b"_s));
            QCOMPARE(terminal.end(SIGTERM), 0);
        }
        QVERIFY2(chains.first().contains("1 one: A , then C \n"_s), qPrintable(chains.first()));
        QCOMPARE(chains.last(), chains.first());
    }

    void failedStart()
    {
        Terminal terminal("step one 1\nstep five 5\nSettingsManager one --exit-after=0 --never-ready\nA one\nB five");
        terminal.start();
        QVERIFY(terminal.waitForLog("interrupted because stopping"_s));
        const Outcome outcome = jovctl("status"_s);
        QVERIFY2(outcome.out.contains("State       failed, the check of the mandatory settings"_s),
                 qPrintable(outcome.out));
    }

    void restartHeldBack()
    {
        Terminal terminal("step one 1\nstep five 5\nA one\nB five");
        terminal.root.write("/tmp/step"_s, "3\n");
        terminal.start();
        QVERIFY(terminal.waitForLog("initStepDone: 1"_s));
        QVERIFY(jovctl("status B"_s).out.contains("its step has the value 5, and the start-up has reached 3"_s));
        Outcome outcome = jovctl("restart-app"_s);
        QVERIFY2(outcome.err.contains("has reached step 3"_s), qPrintable(outcome.err));
        QCOMPARE(outcome.status, 1);
        QVERIFY(jovctl("status"_s).out.contains("held at step 3"_s));
        QCOMPARE(jovctl("step 5"_s).status, 0);
        QVERIFY(terminal.waitForAll("RUNNING"_s));
        QVERIFY(jovctl("step 6"_s).err.contains("no longer listens"_s));
        terminal.notify("PLTF_LOCK_REBOOT"_s);
        QVERIFY(terminal.waitForLog("received event : PLTF_LOCK_REBOOT"_s));
        outcome = jovctl("restart-app"_s);
        QVERIFY2(outcome.err.contains("locked"_s), qPrintable(outcome.err));
        QCOMPARE(outcome.status, 1);
    }

    // One is there before the daemon, the other one comes in the middle of its start.
    void watches()
    {
        QString files = "step one 1\n"_s;
        for (int i = 10; i < 30; ++i) {
            files += "M%1 one --ready-after=20\n"_s.arg(i);
        }
        Terminal terminal(files.toUtf8().constData());
        Watch early;
        QVERIFY(early.waitFor("\"there\":false"));
        terminal.start();
        QVERIFY(terminal.waitForLog("PID of :M15"_s));
        Watch late;
        QVERIFY(late.waitFor("\"kind\":\"step\""));
        QCOMPARE(terminal.end(SIGTERM), 0);
        QVERIFY(early.waitFor("\"there\":false", 2) && late.waitFor("\"there\":false"));
        QVERIFY(early.interrupt() == 0 && late.interrupt() == 0);
        const QStringList life = "STOPPED STARTING RUNNING STOPPING STOPPED"_s.split(u' ');
        const QMap<QString, QStringList> earlyStates = early.states();
        const QMap<QString, QStringList> lateStates = late.states();
        QCOMPARE(lateStates.value("M29"_s), life);
        for (int i = 10; i < 30; ++i) {
            QCOMPARE(earlyStates.value("M%1"_s.arg(i)), life);
            const QStringList told = lateStates.value("M%1"_s.arg(i));
            QVERIFY(told.size() >= 3);
            QCOMPARE(told, life.mid(life.size() - told.size()));
        }
    }

    void commands_data()
    {
        columns<QString, int, QString, QString>("words", "status", "pattern", "states");
        const QString all =
            "A:RUNNING AfterQuits:STOPPED B:RUNNING C:RUNNING Five:RUNNING Nine:RUNNING Quits:STOPPED"_s;
        const QString none = QString(all).replace("RUNNING"_s, "STOPPED"_s);
        row("list", "list", 0, "(?m)^Five +five +RUNNING +\\d+ +1 ", all);
        row("why it ended", "status Quits", 4, "Why +its process ended .*exit status 3", all);
        row("why it was not started", "status AfterQuits", 4,
            "Why +it depends on Quits, .*: its process ended .* .exit status 3.", all);
        row("overview", "status", 4, "(?m)^State +up$(.|\n)*2 of 7 are not running:\n(.|\n)*AfterQuits: it depends",
            all);
        row("states for scripts", "is-running A Quits", 4, "^A RUNNING\nQuits STOPPED\n$", all);
        row("tree", "tree", 0, "A RUNNING\n.*B RUNNING\n.*C RUNNING\n", all);
        row("graph", "tree --dot", 0, "\"A\" -> \"B\";", all);
        row("top", "top --once --interval 0.1", 0, "(?m)^A +\\d+ +\\d+\\.\\d .*RUNNING", all);
        row("boot", "boot", 0, "took .*home page was shown after(.|\n)*1 one: (A .*, then [BC]|Quits) ", all);
        row("forecast", "boot --what-if parallel=one early=A:", 0, "Expected with these words: (.|\\n)*LAUNCHED AT",
            all);
        row("metrics", "metrics", 0,
            "\njovara_current_step 10\n(.|\n)*\njovara_boot_seconds \\d(.|\n)*# TYPE jovara_module_starts_total "
            "counter\n"
            "(.|\n)*\njovara_module_exits_total\\{module=\"Quits\",step=\"one\",how=\"code\"\\} 1\n",
            all);
        row("metrics for the other format", "metrics --openmetrics", 0,
            "# TYPE jovara_module_starts counter\njovara_module_starts_total(.|\n)*# EOF\n$", all);
        row("present log level", "log-level", 0, "^7 \\(debug\\)\n$", all);
        for (const char *words :
             {"list --json", "list --json --names", "tree --json", "top --once --json --interval 0.1", "boot --json"}) {
            row(words, words, 0, "\"A\"", all);
        }
        row("status --json", "status --json A Quits", 4, "\"A\"", all);
        row("near miss", "start five", 2, "unknown module \"five\". Did you mean Five\\?", all);
        row("one bad name, nothing done", "stop A nonsense", 2, "unknown module \"nonsense\"", all);
        row("running", "start A", 0, "A is already running", all);
        row("ends at once", "start Quits", 1, "Quits is not running: .*exit status 3", all);
        row("dependency missing", "start AfterQuits", 1, "depends on Quits, which is not running", all);
        row("stopped", "stop Quits", 0, "already stopped", all);
        row("restart", "restart B Five", 0, "B restarted(.|\n)*Five restarted", all);
        row("stop and what hangs on it", "stop A", 0, "A stopped.*\nalso stopped.*: B, C, Five, Nine", none);
        row("stopped one by one", "status", 4, "(?m)^State +stopped, .*start-all", none);
        row("some cannot start", "start-all", 1, "not running: AfterQuits, Quits", all);
        row("log level", "log-level info", 0, "6 \\(info\\)", all);
        row("log level without messages", "log-level 5", 0, "5 \\(warning\\)", all);
        row("stop all", "stop-all", 0, "all modules are stopped", none);
        row("state after stop all", "status", 4, "(?m)^State +stopped, .*restart-all", none);
        row("start after stop all", "start-all", 1, "Use: jovctl restart-all", none);
        row("restart all", "restart-all", 1, "not running: AfterQuits, Quits", all);
        row("restart app", "restart-app", 1, "not running: AfterQuits, Quits", all);
        row("shutdown", "shutdown", 0, "", "");
    }

    void commands()
    {
        const auto [words, status, pattern, states] = cells<QString, int, QString, QString>();
        if (!m_terminal) {
            m_terminal = std::make_unique<Terminal>(terminalFiles);
            m_terminal->start();
        }
        QVERIFY(m_terminal->waitForLog("initStepDone: 9"_s));
        const Outcome outcome = jovctl(words);
        const QString text = outcome.out + outcome.err;
        QVERIFY2(QRegularExpression(pattern).match(text).hasMatch(), qPrintable(text));
        QVERIFY(!words.contains("--json"_s) || !QJsonDocument::fromJson(text.toUtf8()).isNull());
        QVERIFY(!text.contains(QChar(0x1b)));
        QVERIFY2(outcome.status == status, qPrintable("status %1: %2"_s.arg(outcome.status).arg(text)));
        QCOMPARE(m_terminal->states(), states);
    }

    void cleanupTestCase() { m_terminal.reset(); }

private:
    std::unique_ptr<Terminal> m_terminal;
};

QTEST_GUILESS_MAIN(OperatorTest)

#include "OperatorTest.moc"
