#include "BusNames.h"
#include "DataTable.h"
#include "Terminal.h"

#include <QFile>
#include <QTest>

#include <csignal>
#include <memory>

namespace {

constexpr char wholeTerminal[] =
    "step one 1\nstep home 7 home\nOther one\nJovGate one\nJovWebClient home --presentation-after=1\n"
    "Last home <JovWebClient";

const QString archive = QStringLiteral("/log/log.var.tar.gz");
const QString recordsFile = QStringLiteral("/records");
const QString emergency = QStringLiteral("emergency Terminal will reboot now: ");

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
        bus.registerObject(BusNames::object(QStringLiteral("Platform")), this, QDBusConnection::ExportScriptableSlots);
        bus.registerService(BusNames::service(QStringLiteral("Platform")));
    }

public Q_SLOTS:
    Q_SCRIPTABLE void reboot(int mode, bool immediately, const QString &owner, const QString &reason)
    {
        QFile file(m_records);
        if (file.open(QIODevice::Append)) {
            file.write(QStringLiteral("Platform %1 %2 %3 %4\n").arg(mode).arg(immediately).arg(owner, reason).toUtf8());
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

        const QString image = QStringLiteral("jpg2fb -a -C ROOT/usr/bin/JovApplication/%1_module_crash.jpg");
        const QString platform = QStringLiteral("Platform 1 1 ApplicationManager %1 crashed");
        row("gate", "JovGate",
            QStringList{image.arg(QStringLiteral("jovgate")), platform.arg(QStringLiteral("JovGate"))}, false,
            "JovGate:STOPPED JovWebClient:STOPPED Last:STOPPED Other:RUNNING");
        row("web client", "JovWebClient",
            QStringList{image.arg(QStringLiteral("jovwebclient")), platform.arg(QStringLiteral("JovWebClient"))}, false,
            "JovGate:RUNNING JovWebClient:STOPPED Last:RUNNING Other:RUNNING");
        row("platform", "Platform",
            QStringList{QStringLiteral("reboot --soft --owner ApplicationManager --reason Platform crashed")}, true,
            "JovGate:RUNNING JovWebClient:RUNNING Last:RUNNING Other:RUNNING Platform:STOPPED");
        row("any other", "Other", QStringList{platform.arg(QStringLiteral("Other"))}, true,
            "JovGate:RUNNING JovWebClient:RUNNING Last:RUNNING Other:STOPPED");
    }

    void policy()
    {
        QFETCH(QString, module);
        QFETCH(QStringList, records);
        QFETCH(QString, states);
        Terminal terminal(wholeTerminal);
        terminal.standIn(QStringLiteral("/usr/bin/jpg2fb"));
        terminal.standIn(QStringLiteral("/sbin/reboot"));
        std::unique_ptr<PlatformStandIn> platform;
        if (module == QLatin1String("Platform")) {
            terminal.addModule(module, QStringLiteral("one"));
        } else {
            platform = std::make_unique<PlatformStandIn>(terminal.connection(), terminal.root.path(recordsFile));
        }
        QCOMPARE(terminal.startDaemon(), 0);
        QVERIFY(terminal.waitForAll(QStringLiteral("RUNNING")));
        QVERIFY(terminal.root.read(archive).isEmpty());
        kill(terminal.modules().value(module).value(0), SIGSEGV);
        QVERIFY(terminal.waitForLog(emergency + module + QStringLiteral(" crashed")));
        QVERIFY(terminal.waitForStates(states));
        records.replaceInStrings(QStringLiteral("ROOT"), terminal.root.path());
        QVERIFY(terminal.wait([&] { return terminal.records().size() >= records.size(); }));
        QStringList found = terminal.records();
        found.sort(Qt::CaseInsensitive);
        records.sort(Qt::CaseInsensitive);
        QCOMPARE(found, records);
        QTEST(!terminal.root.read(archive).isEmpty(), "archived");
    }

    void whoseKill_data()
    {
        columns<QByteArray, bool, QStringList, bool, QString>("arguments", "up", "methods", "crash", "line");

        const QStringList stop{QStringLiteral("stopModule")};
        const QStringList twice{QStringLiteral("stopModule"), QStringLiteral("stopModule")};
        row("after the time-out", QByteArray("--ignore-stop"), true, stop, true,
            "[Module] stopped A ret false [timeout] (state= STOPPING)");
        row("after the time-out, everything stops", QByteArray("--ignore-stop"), true,
            QStringList{QStringLiteral("stopAll")}, false, "Module A crashed during ApplicationManager::stop");
        row("while it stops", QByteArray("--ignore-stop"), true, twice, false,
            "[Module] stopped A ret false [during start] (state= STOPPING)");
        row("while it starts", QByteArray("--never-ready"), false, stop, false,
            "[Module] stopped A ret false [during start] (state= STARTING)");
        row("crash when asked to stop", QByteArray("--crash-on-stop"), true, stop, false,
            "[Module] Forgive crash in STOPPING state for A");
    }

    // A kill is a crash only when the module had its time to end.
    void whoseKill()
    {
        QFETCH(QByteArray, arguments);
        QFETCH(bool, up);
        QFETCH(QStringList, methods);
        QFETCH(bool, crash);
        QFETCH(QString, line);
        Terminal terminal("step one 1\nA one " + arguments);
        terminal.setDaemon(QStringLiteral(QUICK_DAEMON));
        terminal.start();
        QVERIFY(terminal.waitForStates(up ? QStringLiteral("A:RUNNING") : QStringLiteral("A:STARTING")));
        for (const QString &method : qAsConst(methods)) {
            terminal.sendAsync(
                method, method == QLatin1String("stopModule") ? QVariantList{QStringLiteral("A")} : QVariantList());
            QTest::qWait(50);
        }
        QVERIFY(terminal.waitForLog(line));
        QVERIFY(terminal.wait([&] { return terminal.modules().isEmpty(); }));
        QVERIFY(terminal.waitForStates(QStringLiteral("A:STOPPED")));
        if (crash) {
            QVERIFY(terminal.waitForLog(emergency));
            QVERIFY(terminal.wait([&] { return !terminal.root.read(archive).isEmpty(); }));
        }
        QCOMPARE(terminal.logCount(emergency), crash ? 1 : 0);
    }

    void exitCodes_data()
    {
        columns<QByteArray, QString, QString>("arguments", "status", "event");

        row("normal", QByteArray("--exit-code=0"), "EXITED_OK", "");
        row("status", QByteArray("--exit-code=3"), "EXITED_3", "");
        row("libraries", QByteArray("--exit-code=127"), "BAD_LIBRARIES",
            "SHOW_POPUP_EVENT text=A stopped because of bad libs, will reset");
    }

    void exitCodes()
    {
        QFETCH(QByteArray, arguments);
        QFETCH(QString, status);
        QFETCH(QString, event);
        Terminal terminal("step one 1\nA one --never-ready --exit-after=50 " + arguments);
        terminal.start();
        QVERIFY(terminal.waitForLog(QStringLiteral("; Normal")));
        QVERIFY(terminal.waitForStates(QStringLiteral("A:STOPPED")));
        QVERIFY(terminal.call(QStringLiteral("getModulesListInString"))
                    .startsWith(QStringLiteral("ID:0 name:A type:0 status:%1 ").arg(status)));
        QVERIFY(event.isEmpty() || terminal.waitForEvent(event));
        QCOMPARE(terminal.logCount(emergency), 0);
    }

    // A crash in the time before the terminal goes down is only noted; a restart is what brings it up again.
    void onlyTheFirst()
    {
        Terminal terminal("step one 1\nA one\nB one");
        PlatformStandIn platform(terminal.connection(), terminal.root.path(recordsFile));
        QVERIFY(terminal.boot());
        kill(terminal.modules().value(QStringLiteral("A")).value(0), SIGKILL);
        QVERIFY(terminal.waitForStates(QStringLiteral("A:STOPPED B:RUNNING")));
        kill(terminal.modules().value(QStringLiteral("B")).value(0), SIGABRT);
        QVERIFY(terminal.waitForLog(QStringLiteral("info Module B crashed during ApplicationManager::stop")));
        QVERIFY(terminal.wait([&] { return !terminal.records().isEmpty(); }));
        QCOMPARE(terminal.records(), QStringList{QStringLiteral("Platform 1 1 ApplicationManager A crashed")});
        QCOMPARE(terminal.logCount(QStringLiteral("finished ret=9 ; Crashed")), 1);
        QCOMPARE(terminal.call(QStringLiteral("startAll")), QStringLiteral("0"));
        QCOMPARE(terminal.call(QStringLiteral("restart")), QString());
        QCOMPARE(terminal.states(), QStringLiteral("A:RUNNING B:RUNNING"));
    }
};

QTEST_GUILESS_MAIN(CrashTest)

#include "CrashTest.moc"
