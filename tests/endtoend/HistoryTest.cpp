#include "support/DataTable.h"
#include "support/Terminal.h"

#include <jov/Setting.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

const QString stepsFile = "/etc/JovApplication/module/ApplicationManager/initStep.xml"_s;
constexpr char description[] = "step one 1\nstep five 5 home\nSettingsManager one\nA five\nB five <A --ignore-stop";

QByteArray jovctl(const QStringList &words)
{
    QProcess process;
    process.start(QStringLiteral(JOVCTL), words);
    Terminal::wait([&] { return process.state() == QProcess::NotRunning; });
    return process.readAllStandardOutput();
}

QJsonArray history()
{
    return QJsonDocument::fromJson(jovctl({"history"_s, "--json"_s})).array();
}

void kill(Terminal &terminal, const QString &module, int signal)
{
    const int from = terminal.log().size();
    ::kill(terminal.modules().value(module).value(0), signal);
    QVERIFY(terminal.waitForLog(module + " was killed by "_s, from));
}

void exceedMemory(Terminal &terminal)
{
    for (const QString &id : {"MonitoringWatchRetry"_s, "MonitoringWatchDelay"_s}) {
        Setting setting;
        setting.setId(id);
        setting.setValue("1"_s);
        setting.setDefined(1);
        terminal.call("monitoringSettingsChanged"_s, {QVariant::fromValue(setting)});
    }
    QVERIFY(terminal.waitForLog("asking for a reboot"_s));
}

int listenAt(const QString &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    return bind(server, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 && listen(server, 1) == 0
        ? server
        : -1;
}

/// With all its processes, so that nothing is written down.
void killAll(Terminal &terminal)
{
    const QList<QList<pid_t>> modules = terminal.modules().values();
    terminal.end(SIGKILL);
    for (const QList<pid_t> &module : modules) {
        ::kill(module.value(0), SIGKILL);
    }
}

/// Has "A" run a script before its program, and what it prints go where `settings` say.
void redirect(Terminal &terminal, const QByteArray &script, const QByteArray &settings)
{
    const QString ini = "/etc/JovApplication/platform.ini"_s;
    terminal.root.write(ini, terminal.root.read(ini) + "[ApplicationManager]\n" + settings);
    const QString program = "/usr/lib/JovApplication/A"_s;
    QVERIFY(QFile::rename(terminal.root.path(program), terminal.root.path("/program"_s)));
    terminal.root.writeScript(program, script + " exec $JOV_ROOT/program $*");
}

} // namespace

class EndsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Each boot ends in its own way; the next one, and who reads the history then, learns of it.
    void ends()
    {
        struct End
        {
            QString cause, text;
            std::function<void(Terminal &)> run;
        };
        const QList<End> ends{
            {"crash"_s, "A crashed, killed by SIGSEGV; nobody took the request for a reboot"_s,
             [](Terminal &terminal) {
                 kill(terminal, "A"_s, SIGSEGV);
                 QVERIFY(terminal.waitForLog("no reboot yet (A crashed)"_s));
             }},
            {"stop_timeout"_s, "B did not stop in time and was killed"_s,
             [](Terminal &terminal) {
                 terminal.call("stopModule"_s, {"B"_s});
                 QVERIFY(terminal.waitForLog("stopped B ret false [timeout] (state= STOPPING)"_s));
                 QVERIFY(terminal.waitForLog("B was killed by SIGKILL"_s));
             }},
            {"memory"_s, "A used .*; nobody took the request for a reboot"_s, exceedMemory},
            {"crash"_s, "A crashed, killed by SIGKILL"_s,
             [](Terminal &terminal) {
                 kill(terminal, "A"_s, SIGKILL);
                 QTRY_VERIFY(history().at(0)["reason"_s].isObject()); // written
                 killAll(terminal);
             }},
            {"killed"_s, "the supervisor was killed"_s, killAll},
            {"power"_s, "power lost or rebooted by somebody else"_s,
             [](Terminal &terminal) {
                 killAll(terminal);
                 terminal.root.write("/run/boot_id"_s, "another");
             }},
            {"settings"_s, "the check of the mandatory settings failed .Reboot in progress"_s, [](Terminal &) {}},
            {"files"_s, "the daemon could not use its files"_s, {}}, // at its first start
            {"files"_s, "the daemon could not use its files"_s, [](Terminal &terminal) { terminal.call("restart"_s); }},
            {"order"_s, "the daemon was stopped by SIGTERM"_s,
             [](Terminal &terminal) {
                 kill(terminal, "A"_s, SIGSEGV);
                 terminal.call("restart"_s);
                 terminal.end(SIGINT);
             }},
            {"order"_s, "the daemon was stopped by a call over the bus"_s,
             [](Terminal &terminal) { terminal.call("stopManager"_s); }}};

        Terminal terminal(description);
        terminal.setDaemon(QStringLiteral(QUICK_DAEMON));
        terminal.setVariable("JOV_DURATIONS"_s, "stop=300 stop-with-everything=300 minute=100"_s);
        terminal.root.write("/run/boot_id"_s, "one");
        terminal.root.write("/etc/JovApplication/module/A/config.xml"_s,
                            "<config><initStep>five</initStep><maxMemory><DDRSz criteria=\"256MB\">1000</DDRSz>"
                            "</maxMemory></config>");
        bool failsCheck = false;
        // No size of the memory is as good as none.
        const QString ini = "/etc/JovApplication/platform.ini"_s;
        terminal.root.write(ini, terminal.root.read(ini) + "[platform]\nFAB_HW_DDRSIZE=\n");
        const QByteArray steps = terminal.root.read(stepsFile);
        connect(&terminal, &Terminal::event, &terminal, [&](const QString &name) {
            if (name == "checkMandatorySettings"_s) {
                terminal.notify("checkMandatorySettingsSuccess"_s, {{"reboot"_s, failsCheck}});
            }
        });
        for (const auto &end : ends) {
            const int from = terminal.log().size();
            failsCheck = end.cause == "settings"_s;
            if (end.run) {
                terminal.start();
                QVERIFY2(terminal.waitForLog(failsCheck ? "interrupted because stopping"_s : "initStepDone: 5"_s, from),
                         qPrintable(end.cause));
            }
            terminal.root.write(stepsFile, end.cause == "files"_s ? "<" : steps);
            end.run ? end.run(terminal) : terminal.start();
            QVERIFY(end.cause != "files"_s || terminal.wait([&] { return !terminal.isUp(); }));
            if (terminal.isUp()) {
                terminal.end(SIGTERM);
            }
            terminal.root.write(stepsFile, steps);
        }
        terminal.start();
        QVERIFY(terminal.waitForAll("RUNNING"_s));
        QTRY_COMPARE(history().size(), ends.size() + 1);
        // A second daemon writes nothing.
        terminal.root.write(stepsFile, "<");
        QCOMPARE(QProcess::execute(QStringLiteral(QUICK_DAEMON), {"--nodaemon"_s}), 1);
        const QJsonArray boots = history();
        for (int i = 0; i < ends.size(); ++i) {
            const QJsonObject boot = boots[ends.size() - i].toObject();
            QCOMPARE(boot["cause"_s].toString(), ends[i].cause);
            QVERIFY2(boot["text"_s].toString().contains(QRegularExpression(ends[i].text)),
                     qPrintable(boot["text"_s].toString()));
        }
        QCOMPARE(boots[0]["text"_s].toString(), "running"_s);
        const QByteArray metrics = jovctl({"metrics"_s});
        for (const char *total : {"crash\",module=\"A\"} 3", "power\",module=\"\"} 1", "order\",module=\"\"} 1"}) {
            QVERIFY2(metrics.contains(QByteArray("\njovara_reboots_total{cause=\"") + total), metrics.constData());
        }
        QVERIFY(boots[ends.size()]["reason"_s]["log"_s].toVariant().toStringList().join(u' ').contains("A crashed"_s));
    }

    void moduleOutput_data()
    {
        columns<QString>("setting");
        row("file", "file:/var/log/modules/%n");
        row("journal", "journal");
    }

    // What a module prints outlives its crash.
    void moduleOutput()
    {
        QFETCH(QString, setting);
        Terminal terminal("step one 1\nA one");
        terminal.setDaemon(QStringLiteral(QUICK_DAEMON));
        redirect(terminal, "echo 'low on paper';", "module_output=" + setting.toUtf8());
        terminal.root.write("/run/systemd/journal/.keep"_s, {});
        const int journal = listenAt(terminal.root.path("/run/systemd/journal/stdout"_s));
        QCOMPARE(terminal.startDaemon(), 0);
        if (setting == "journal"_s) {
            int stream = -1;
            QVERIFY(terminal.wait([&] { return (stream = accept4(journal, nullptr, nullptr, SOCK_NONBLOCK)) >= 0; }));
            std::array<char, 100> text = {};
            QByteArray all;
            QVERIFY(terminal.wait([&] {
                return all.append(text.data(), qMax(0, int(read(stream, text.data(), text.size())))).contains("paper");
            }));
            QCOMPARE(all, QByteArray("A\n\n6\n0\n0\n0\n0\nlow on paper\n"));
            close(stream); // A journal that ends does not end the module.
        } else {
            QVERIFY(terminal.wait([&] { return terminal.root.read("/var/log/modules/A"_s) == "low on paper\n"; }));
            kill(terminal, "A"_s, SIGKILL); // An emulator prints a line about SIGSEGV.
            QTRY_COMPARE(history().at(0)["reason"_s]["output"_s].toVariant().toStringList(),
                         QStringList("low on paper"_s));
        }
        close(journal);
        QCOMPARE(terminal.end(SIGTERM), 0);
    }

    // What a module prints survives the end of its log program, and the log program that of the supervisor, also if
    // that comes before its start.
    void logProgram()
    {
        Terminal terminal("step one 1\nA one");
        redirect(terminal, "cat $JOV_ROOT/say &",
                 "module_output=|pwd >>$JOV_ROOT/starts && exec cat >>$JOV_ROOT/%n.log\n"
                 "module_output_path=/%n.log");
        const QByteArray fifo = QFile::encodeName(terminal.root.path("/say"_s));
        QCOMPARE(mkfifo(fifo.constData(), 0600), 0);
        int say = -1;
        QByteArray all;
        const auto arrives = [&](const QByteArray &line) {
            all += line;
            return write(say, line.constData(), size_t(line.size())) == line.size()
                && Terminal::wait([&] { return terminal.root.read("/A.log"_s) == all; })
                && (QFile::permissions(terminal.root.path("/A.log"_s)) & 0x0077) == 0x0040;
        };
        const auto log = [&] {
            const QList<pid_t> children = Processes::children(terminal.pid());
            const auto found = std::find_if(children.begin(), children.end(),
                                            [](pid_t child) { return Processes::commandLine(child) == "cat"; });
            return found == children.end() ? 0 : *found;
        };
        const auto killLog = [&](int pause) {
            const int from = terminal.log().size();
            const pid_t pid = log();
            const auto line = "the log program has ended (killed by SIGTERM), next start in %1 s"_s.arg(pause);
            return pid > 0 && ::kill(pid, SIGTERM) == 0 && terminal.waitForLog(line, from);
        };
        const auto starts = [&] {
            QFile::remove(terminal.root.path("/A.log"_s));
            all.clear();
            say = open(fifo.constData(), O_RDWR | O_CLOEXEC);
            return terminal.startDaemon() == 0 && terminal.waitForAll("RUNNING"_s);
        };
        const auto outlivesDaemon = [&] {
            killAll(terminal);
            const bool isRead = arrives("last\n");
            close(say); // The last writer ends.
            return isRead && Terminal::wait([&] { return terminal.leftBehind().isEmpty(); });
        };
        QVERIFY(starts() && outlivesDaemon());
        QVERIFY(starts() && Terminal::wait([&] { return log() > 0; }));
        QVERIFY(killLog(1) && outlivesDaemon());
        QVERIFY(starts());
        QVERIFY(arrives("one\n"));
        for (const auto &[pause, line] : {std::pair(1, "two\n"), std::pair(2, "")}) {
            QTest::qWait(1100 * (pause - 1)); // longer than the shortest pause
            QVERIFY(killLog(pause) && arrives(line));
        }
        kill(terminal, "A"_s, SIGKILL); // in silence: an emulator reports others in its output
        QTRY_VERIFY(history().at(0)["reason"_s]["output"_s].toVariant().toStringList().endsWith("two"_s));
        QCOMPARE(terminal.call("startModule"_s, {"A"_s}), "true"_s);
        QVERIFY(Terminal::wait([&] { return log() > 0; }) && arrives("more\n")); // the next one, and its reader
        QVERIFY(outlivesDaemon());
        QCOMPARE(terminal.root.read("/starts"_s), QByteArray("/\n").repeated(6));
    }
};

QTEST_GUILESS_MAIN(EndsTest)

#include "HistoryTest.moc"
