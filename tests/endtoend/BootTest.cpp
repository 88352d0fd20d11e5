#include "DataTable.h"
#include "Terminal.h"

#include <QFile>
#include <QTest>

#include <algorithm>
#include <csignal>

#include <sys/stat.h>
#include <unistd.h>

namespace {

/// What follows `text` in the log's lines that hold it, up to the next blank.
QString namesAfter(const Terminal &terminal, const QString &text)
{
    QStringList names;
    const QStringList lines = terminal.log().filter(text);
    for (const QString &line : lines) {
        names << line.mid(line.indexOf(text) + text.size()).section(QLatin1Char(' '), 0, 0);
    }
    return names.join(QLatin1Char(' '));
}

QString launched(const Terminal &terminal)
{
    return namesAfter(terminal, QStringLiteral("PID of :"));
}

void writeStepFile(const Terminal &terminal, const QByteArray &content)
{
    terminal.root.write(QStringLiteral("/tmp/step"), content);
}

constexpr char threeSteps[] = "step one 1\nstep three 3\nstep seven 7\nA one\nB three\nC seven";

} // namespace

class BootTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void order_data()
    {
        columns<QByteArray, QString, QString, QString, QString>("description", "variable", "started", "states",
                                                                "stopped");

        const QByteArray blocked = "step one 1\nA one --never-ready --exit-after=20\nB one <A\nC one";
        const QByteArray industrial = "step one 1\nX one\njovaudio one\nkelmmi one";
        row("diamond, then a step", QByteArray("step one 1\nstep two 2\nD one <C,B\nB one <A\nC one <A\nA one\nE two"),
            QString(), "A B C D E", "A:RUNNING B:RUNNING C:RUNNING D:RUNNING E:RUNNING", "E D B C A");
        row("roots by first mention", QByteArray("step one 1\nA one <Z,M\nM one\nZ one\nB one"), QString(), "Z M A B",
            "A:RUNNING B:RUNNING M:RUNNING Z:RUNNING", "A Z M B");
        row("start that fails", blocked, QString(), "A C", "A:STOPPED B:STOPPED C:RUNNING", "C");
        row("tried one by one", blocked, "INDUSTRIAL_APPMODE", "A B C", "A:STOPPED B:RUNNING C:RUNNING", "B C");
        row("industrial", industrial, "INDUSTRIAL_MODE", "X", "X:RUNNING jovaudio:STARTING kelmmi:STARTING", "X");
        row("step that is not there", QByteArray("step one 1\nA nowhere\nB one"), QString(), "B", "A: B:RUNNING", "B");
        row("default step", QByteArray("step one 1\nA default\nB one"), QString(), "B A", "A:RUNNING B:RUNNING", "A B");
        // The step that the stop walk does not reach goes down with its list.
        row("steps upside down", QByteArray("step five 5\nstep one 1\nA one\nB five"), QString(), "A B",
            "A:RUNNING B:RUNNING", "A");
    }

    void order()
    {
        QFETCH(QByteArray, description);
        QFETCH(QString, variable);
        QFETCH(QString, states);
        Terminal terminal(description);
        if (!variable.isEmpty()) {
            terminal.setVariable(variable, QString());
        }
        terminal.start();
        QVERIFY(terminal.waitForStates(states));
        QCOMPARE(terminal.end(SIGTERM), 0);
        QTEST(launched(terminal), "started");
        QTEST(namesAfter(terminal, QStringLiteral("Trying to stop module ")), "stopped");
    }

    void process()
    {
        Terminal terminal("step one 1\nfoo one -a --ready-after=5 -b");
        terminal.start();
        QVERIFY(terminal.waitForStates(QStringLiteral("foo:RUNNING")));
        const QList<pid_t> pids = terminal.modules().value(QStringLiteral("foo"));
        QCOMPARE(pids.size(), 1);
        const QString directory = terminal.root.path(QStringLiteral("/usr/lib/JovApplication"));
        QCOMPARE(Processes::below(terminal.pid()).first().commandLine,
                 directory + QStringLiteral("/foo --moduleName=foo -a --ready-after=5 -b"));
        QCOMPARE(QFile::symLinkTarget(QStringLiteral("/proc/%1/cwd").arg(pids.first())), directory);
        QCOMPARE(getpgid(pids.first()), pids.first());
        QCOMPARE(Processes::figure(pids.first(), "status", "SigBlk"), 0);
        QVERIFY(terminal.call(QStringLiteral("getModulesListInString"))
                    .startsWith(QStringLiteral("ID:%1 ").arg(pids.first())));
    }

    void events()
    {
        Terminal terminal(
            "step one 1\nstep home 7 home\nstep after 9\nA one\nJovWebClient home --presentation-after=1\nZ after");
        QVERIFY(terminal.boot());
        QStringList expected{QStringLiteral("init_step_infra num_step=1"),
                             QStringLiteral("init_message message=Starting application A"),
                             QStringLiteral("end_of_init_A")};
        for (int n = 2; n <= 6; ++n) {
            expected << QStringLiteral("init_step_infra num_step=%1").arg(n);
        }
        expected << QStringLiteral("init_message message=Starting application JovWebClient")
                 << QStringLiteral("end_of_init_JovWebClient") << QStringLiteral("presentationReady")
                 << QStringLiteral("end_of_init") << QStringLiteral("init_message message=Starting application Z")
                 << QStringLiteral("end_of_init_Z");
        QVERIFY(terminal.waitForEvent(expected.last()));
        QCOMPARE(terminal.events(), expected);
        QCOMPARE(terminal.call(QStringLiteral("getStepInfra")), QStringLiteral("-1"));
    }

    void stepFile_data()
    {
        columns<QByteArray, QString, QString>("content", "started", "line");

        row("blanks around", QByteArray(" 3 \n7"), "A B", "debug Step file ==>  3 ");
        row("none", QByteArray(), "A B C", "warning No Step file");
        row("NUL", QByteArray("1\0 9", 4), "A", "debug Step file ==> 1");
        row("empty line", QByteArray("\n3"), "", "debug InitStep: 0 (current=0) not managed");
        row("no number", QByteArray("three"), "", "debug InitStep: 0 (current=0) not managed");
        row("negative", QByteArray("-5"), "", "debug InitStep: -5 (current=0) not managed");
        row("greatest", QByteArray("2147483647"), "A B C", "debug InitStep: 2147483647 (prev:0 max:8)");
        row("beyond", QByteArray("2147483648"), "", "debug InitStep: 0 (current=0) not managed");
        row("long line", QByteArray(5000, ' ') + "3", "A B", "debug InitStep: 3 (prev:0 max:8)");
        row("line without end", QByteArray(2 << 20, ' '), "A B C", "warning Step file Not readable");
        row("pipe", QByteArray("P"), "A B C", "warning Step file Not readable");
        row("folder", QByteArray("F"), "A B C", "warning Step file Not readable");
    }

    void stepFile()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, started);
        QFETCH(QString, line);
        Terminal terminal(threeSteps);
        const QByteArray path = QFile::encodeName(terminal.root.path(QStringLiteral("/tmp/step")));
        if (content == "P") {
            QCOMPARE(mkfifo(path.constData(), 0600), 0);
        } else if (content == "F") {
            QCOMPARE(mkdir(path.constData(), 0700), 0);
        } else if (!content.isNull()) {
            writeStepFile(terminal, content);
        }
        terminal.start();
        QVERIFY(terminal.waitForLog(line));
        const int last = started.section(QLatin1Char(' '), -1) == QLatin1String("C") ? 7
            : started == QLatin1String("A")                                          ? 1
                                                                                     : 3;
        if (!started.isEmpty()) {
            QVERIFY(terminal.waitForLog(QStringLiteral("initStepDone: %1").arg(last)));
        }
        QCOMPARE(launched(terminal), started);
        QCOMPARE(terminal.logCount(line), 1);
    }

    void initStepEvent_data()
    {
        columns<QVariant, QString, QString>("number", "line", "started");

        row("below the current", QVariant(2), "InitStep: 2 (current=3) not managed", "A B");
        row("the next", QVariant(4), "InitStep: 4 (prev:3 max:8)", "A B");
        row("the first of its own", QVariant(5), "InitStep: 8 (prev:7 max:8)", "A B C");
        row("greatest", QVariant(2147483647), "initStepDone: 8", "A B C");
        row("smallest", QVariant(-2147483647 - 1), "InitStep: -2147483648 (current=3) not managed", "A B");
        row("text of a number", QVariant(QStringLiteral("4")), "InitStep: 4 (prev:3 max:8)", "A B");
        row("no number", QVariant(QStringLiteral("x")), "has no argument that fits", "A B");
        row("list", QVariant(QStringList{QStringLiteral("4")}), "has no argument that fits", "A B");
    }

    void initStepEvent()
    {
        QFETCH(QVariant, number);
        QFETCH(QString, line);
        Terminal terminal(threeSteps);
        writeStepFile(terminal, "3");
        terminal.start();
        QVERIFY(terminal.waitForLog(QStringLiteral("initStepDone: 3")));
        QTRY_COMPARE(terminal.call(QStringLiteral("getStepInfra")), QStringLiteral("3"));
        terminal.notify(QStringLiteral("init_step"), {{QStringLiteral("stepNum"), number}});
        QVERIFY(terminal.waitForLog(line));
        QVERIFY(!terminal.states().isEmpty());
        QTEST(launched(terminal), "started");
    }

    // No step starts before the one below it is done, and the current step never goes back.
    void heldEvent()
    {
        Terminal terminal(threeSteps);
        terminal.addModule(QStringLiteral("Slow"), QStringLiteral("one"), {}, {QStringLiteral("--ready-after=300")});
        writeStepFile(terminal, "2");
        terminal.start();
        QVERIFY(terminal.waitForLog(QStringLiteral("PID of :Slow")));
        for (const int number : {1, 5, 4}) {
            terminal.notify(QStringLiteral("init_step"), {{QStringLiteral("stepNum"), number}});
        }
        QVERIFY(terminal.waitForAll(QStringLiteral("RUNNING")));
        const QStringList log = terminal.log();
        const auto at = [&](const char *text) { return log.indexOf(log.filter(QLatin1String(text)).value(0)); };
        QVERIFY(at("end of init Slow") < at("PID of :B"));
        QVERIFY(at("initStepDone: 3") < at("PID of :C"));
        QVERIFY(terminal.waitForEvent(QStringLiteral("init_step_infra num_step=6")));
        QStringList infra = terminal.events().filter(QStringLiteral("init_step_infra"));
        QCOMPARE(infra.size(), 6);
        std::sort(infra.begin(), infra.end());
        QCOMPARE(infra, terminal.events().filter(QStringLiteral("init_step_infra")));
    }

    void mandatorySettings_data()
    {
        columns<QByteArray, QVariant, int, QString, QString>("settingsManager", "reboot", "status", "message", "line");

        const QVariant silent;
        row("not installed", QByteArray(), silent, 0, "",
            "error SettingsManager not in list : no mandatory settings check");
        row("not running", QByteArray("\nSettingsManager one --never-ready --exit-after=1"), silent, 1,
            "SettingsManager crashed", "error SettingsManager not started : no mandatory settings check");
        row("checked", QByteArray("\nSettingsManager one"), QVariant(false), 0, "Mandatory settings checked",
            "debug checkMandatorySettings succeed");
        row("will reboot", QByteArray("\nSettingsManager one"), QVariant(true), 1, "Reboot in progress",
            "[AppMgr.init_step] interrupted because stopping");
        row("ends meanwhile", QByteArray("\nSettingsManager one --exit-after=200"), silent, 1,
            "SettingsManager crashed", "error SettingsManager crashed");
    }

    void mandatorySettings()
    {
        QFETCH(QByteArray, settingsManager);
        QFETCH(QVariant, reboot);
        QFETCH(int, status);
        QFETCH(QString, message);
        QFETCH(QString, line);
        Terminal terminal("step one 1\nstep five 5\nA one\nB five" + settingsManager);
        connect(&terminal, &Terminal::event, this, [&](const QString &name) {
            if (name == QLatin1String("checkMandatorySettings") && reboot.isValid()) {
                terminal.notify(QStringLiteral("checkMandatorySettingsSuccess"), {{QStringLiteral("reboot"), reboot}});
            }
        });
        QCOMPARE(terminal.startDaemon(), status);
        QVERIFY(terminal.waitForLog(line));
        QCOMPARE(terminal.logCount(line), 1);
        if (!message.isEmpty()) {
            QVERIFY(terminal.waitForEvent(QStringLiteral("init_message message=") + message));
        }
        QCOMPARE(terminal.logCount(QStringLiteral("PID of :B")), status == 0 ? 1 : 0);
        QCOMPARE(terminal.end(SIGTERM), 0);
    }

    void presentation_data()
    {
        columns<QByteArray, QByteArray, bool, bool>("arguments", "parameter", "sent", "up");

        row("in time", QByteArray("--presentation-after=50"), QByteArray(), false, true);
        row("never", QByteArray(), QByteArray(), false, false);
        row("too early", QByteArray("--ready-after=200"), QByteArray(), true, false);
        row("late, without the timer", QByteArray("--presentation-after=700"), QByteArray("no_webapp_timer=0"), false,
            true);
    }

    void presentation()
    {
        QFETCH(QByteArray, arguments);
        QFETCH(QByteArray, parameter);
        QFETCH(bool, sent);
        QFETCH(bool, up);
        Terminal terminal("step home 7 home\nJovWebClient home " + arguments);
        terminal.setDaemon(QStringLiteral(QUICK_DAEMON));
        const QString ini = QStringLiteral("/etc/JovApplication/platform.ini");
        terminal.root.write(ini, terminal.root.read(ini) + "[ApplicationManager]\n" + parameter + '\n');
        terminal.start();
        if (sent) {
            QVERIFY(terminal.waitForStates(QStringLiteral("JovWebClient:STARTING")));
            terminal.notify(QStringLiteral("presentationReady"));
        }
        if (up) {
            QVERIFY(terminal.waitForEvent(QStringLiteral("end_of_init")));
            QVERIFY(terminal.waitForStates(QStringLiteral("JovWebClient:RUNNING")));
            return;
        }
        // The start-up has no point any more: the manager gives up.
        QCOMPARE(terminal.end(0), 0);
        QCOMPARE(terminal.logCount(QStringLiteral("error Webapp timeout : Failed to receive presentationReady event")),
                 1);
        QVERIFY(!terminal.events().contains(QStringLiteral("end_of_init")));
    }
};

QTEST_GUILESS_MAIN(BootTest)

#include "BootTest.moc"
