#include "support/DataTable.h"
#include "support/Terminal.h"

#include <jov/BusNames.h>

#include <QDir>
#include <QFile>

#include <memory>

namespace {

constexpr char wholeTerminal[] =
    "step one 1\nstep home 7 home\nOther one\nJovGate one\nJovWebClient home --presentation-after=1 --stop-after=100\n"
    "Last home <JovWebClient";

const QString archive = "/log/log.var.tar.gz"_s;
const QString recordsFile = "/records"_s;
const QString emergency = "emergency Terminal will reboot now: "_s;

} // namespace

/// The terminal's own "Platform", asked over the bus; notes what it was asked beside the stand-ins' records.
class PlatformStandIn : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")

public:
    PlatformStandIn(const QDBusConnection &connection, const QString &records)
        : m_records(records)
    {
        QDBusConnection bus(connection);
        bus.registerObject(BusNames::object("Platform"_s), this, QDBusConnection::ExportScriptableSlots);
        bus.registerService(BusNames::service("Platform"_s));
    }

public Q_SLOTS:
    Q_SCRIPTABLE void reboot(int mode, bool immediately, const QString &owner, const QString &reason)
    {
        QFile file(m_records);
        if (file.open(QIODevice::Append)) {
            file.write("Platform %1 %2 %3 %4\n"_s.arg(mode).arg(immediately).arg(owner, reason).toUtf8());
        }
    }

private:
    const QString m_records;
};

class CrashTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void policy_data()
    {
        columns<QString, QStringList, bool, QString>("module", "records", "archived", "states");
        const QString image = "jpg2fb -a -C ROOT/usr/bin/JovApplication/%1_module_crash.jpg"_s;
        const QString platform = "Platform 1 1 ApplicationManager %1 crashed"_s;
        row("gate", "JovGate", QStringList{image.arg("jovgate"_s), platform.arg("JovGate"_s)}, false,
            "JovGate:STOPPED JovWebClient:STOPPED Last:STOPPED Other:RUNNING");
        row("web client", "JovWebClient", QStringList{image.arg("jovwebclient"_s), platform.arg("JovWebClient"_s)},
            false, "JovGate:RUNNING JovWebClient:STOPPED Last:RUNNING Other:RUNNING");
        row("platform", "Platform", QStringList{"reboot --soft --owner ApplicationManager --reason Platform crashed"_s},
            true, "JovGate:RUNNING JovWebClient:RUNNING Last:RUNNING Other:RUNNING Platform:STOPPED");
        row("any other", "Other", QStringList{platform.arg("Other"_s)}, true,
            "JovGate:RUNNING JovWebClient:RUNNING Last:RUNNING Other:STOPPED");
    }

    void policy()
    {
        QFETCH(QString, module);
        QFETCH(QStringList, records);
        QFETCH(QString, states);
        Terminal terminal(wholeTerminal);
        // It comes when the web client, which could paint over it, has ended.
        terminal.root.writeScript("/usr/bin/jpg2fb"_s,
                                  "pgrep -f $JOV_ROOT/.*/JovWebClient || echo \"jpg2fb $*\" >>$JOV_ROOT/records");
        // It comes when the logs are archived.
        terminal.root.writeScript("/sbin/reboot"_s,
                                  "cd $JOV_ROOT && [ -s ./log/*.gz ] && echo \"reboot $*\" >>records");
        std::unique_ptr<PlatformStandIn> platform;
        if (module == "Platform"_s) {
            terminal.addModule(module, "one"_s);
        } else {
            platform = std::make_unique<PlatformStandIn>(terminal.connection(), terminal.root.path(recordsFile));
        }
        QCOMPARE(terminal.startDaemon(), 0);
        QVERIFY(terminal.waitForAll("RUNNING"_s));
        QVERIFY(terminal.root.read(archive).isEmpty());
        kill(terminal.modules().value(module).value(0), SIGSEGV);
        QVERIFY(terminal.waitForLog(emergency + module + " crashed"_s));
        QVERIFY(terminal.waitForStates(states));
        records.replaceInStrings("ROOT"_s, terminal.root.path());
        QVERIFY(terminal.wait([&] { return terminal.records().size() >= records.size(); }));
        QStringList found = terminal.records();
        found.sort(Qt::CaseInsensitive);
        records.sort(Qt::CaseInsensitive);
        QCOMPARE(found, records);
        QTEST(!terminal.root.read(archive).isEmpty(), "archived");
        QCOMPARE(int(QFile::permissions(terminal.root.path(archive))) & 0x0077, 0);
    }

    // The sixth archive replaces the oldest; without its folder the first one makes it.
    void keptArchives()
    {
        Terminal terminal("step one 1\nA one");
        terminal.setDaemon(QStringLiteral(QUICK_DAEMON));
        QVERIFY(QDir(terminal.root.path("/log"_s)).removeRecursively());
        QVERIFY(terminal.boot());
        for (int i = 1; i <= 7; ++i) {
            kill(terminal.modules().value("A"_s).value(0), SIGSEGV);
            QVERIFY(terminal.wait([&] { return terminal.logCount("no reboot yet (A crashed)"_s) == i; }));
            terminal.root.write("/var/log/big"_s, QByteArray(100, char('0' + i)));
            QCOMPARE(terminal.call("restart"_s), QString());
            QVERIFY(terminal.waitForStates("A:RUNNING"_s));
            const QStringList files = QDir(terminal.root.path("/log"_s)).entryList(QDir::Files);
            QCOMPARE(files.size(), qMin(i, 6));
        }
        QVERIFY(terminal.root.read(archive + ".1"_s) != terminal.root.read(archive));
        PlatformStandIn platform(terminal.connection(), terminal.root.path(recordsFile));
        QTest::qWait(1200); // a request that a restart has cancelled would be repeated by now
        QCOMPARE(terminal.records(), QStringList());
        terminal.root.writeScript("/usr/bin/tar"_s, "exit 3");
        kill(terminal.modules().value("A"_s).value(0), SIGSEGV);
        QVERIFY(terminal.waitForLog(" may be incomplete: tar: exit status 3"_s));
    }

    void endlessArchive_data()
    {
        columns<int, bool>("signal", "restart");
        row("limit", 0, false);
        row("end of the daemon", SIGTERM, false);
        row("restart", 0, true);
    }

    // The end of another module is noticed meanwhile.
    void endlessArchive()
    {
        const auto [signal, restart] = cells<int, bool>();
        Terminal terminal("step one 1\nA one\nB one");
        terminal.setDaemon(QStringLiteral(QUICK_DAEMON));
        terminal.root.writeScript("/usr/bin/tar"_s, "(echo >$JOV_ROOT/begun; while :; do sleep 0.1; done) & wait");
        PlatformStandIn platform(terminal.connection(), terminal.root.path(recordsFile));
        QVERIFY(terminal.boot());
        kill(terminal.modules().value("A"_s).value(0), SIGSEGV);
        QVERIFY(terminal.wait([&] { return !terminal.root.read("/begun"_s).isEmpty(); }));
        kill(terminal.modules().value("B"_s).value(0), SIGKILL);
        QVERIFY(terminal.waitForLog("info Module B crashed during ApplicationManager::stop"_s));
        QCOMPARE(terminal.logCount("finished ret=9 ; Crashed"_s), 1);
        QCOMPARE(terminal.call("getStepInfra"_s), "-1"_s);
        QCOMPARE(terminal.call("startAll"_s), "0"_s);
        if (restart) { // It does not wait for the archive, nor does the reboot any longer.
            QCOMPARE(terminal.call("restart"_s), QString());
            QVERIFY(terminal.wait([&] { return terminal.records().size() == 1; }));
            QVERIFY(terminal.waitForStates("A:RUNNING B:RUNNING"_s));
        }
        QCOMPARE(terminal.logCount("tar was killed"_s), 0);
        if (signal != 0) {
            QCOMPARE(terminal.end(signal), 0);
        }
        QVERIFY(terminal.waitForLog(" is incomplete: tar was killed after "_s));
        QVERIFY(!QFile::exists(terminal.root.path(archive))
                && QFile::exists(terminal.root.path(archive + ".partial"_s)));
        const QString line = terminal.log().filter("tar was killed"_s).value(0);
        QCOMPARE(line.section(u' ', -2, -2).toInt() < 2000, signal != 0);
        QVERIFY(terminal.wait([&] { return terminal.records().size() == 1; }));
        QCOMPARE(terminal.leftBehind().filter("/usr/bin/tar"_s), QStringList());
    }

    void hangingCommand_data()
    {
        columns<QString, QString>("module", "command");
        row("picture", "JovGate", "/usr/bin/jpg2fb");
        row("reboot", "Platform", "/sbin/reboot");
    }

    void hangingCommand()
    {
        const auto [module, command] = cells<QString, QString>();
        Terminal terminal("step one 1\nOther one\n"_s + module + " one"_s);
        terminal.root.writeScript(command, "echo >$JOV_ROOT/begun; until [ -e $JOV_ROOT/go ]; do sleep 0.1; done");
        QVERIFY(terminal.boot());
        kill(terminal.modules().value(module).value(0), SIGSEGV);
        QVERIFY(terminal.wait([&] { return !terminal.root.read("/begun"_s).isEmpty(); }));
        kill(terminal.modules().value("Other"_s).value(0), SIGSEGV);
        QVERIFY(terminal.waitForLog("Module Other crashed during ApplicationManager::stop"_s));
        QCOMPARE(terminal.end(SIGTERM), 0);
        terminal.root.write("/go"_s, "");
        QVERIFY(terminal.wait([&] { return terminal.leftBehind().isEmpty(); }));
    }

    void crashWhenAskedToStop()
    {
        Terminal terminal("step one 1\nA one --crash-on-stop");
        QVERIFY(terminal.boot());
        QCOMPARE(terminal.call("stopModule"_s, {"A"_s}), "true"_s);
        QCOMPARE(terminal.logCount("[Module] Forgive crash in STOPPING state for A"_s), 1);
        QCOMPARE(terminal.logCount(emergency), 0);
    }
};

QTEST_GUILESS_MAIN(CrashTest)

#include "CrashTest.moc"
