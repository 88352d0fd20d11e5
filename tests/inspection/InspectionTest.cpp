#include "manager/Inspection.h"

#include "client/BusClient.h"
#include "manager/Journal.h"
#include "manager/Timeline.h"
#include "support/Processes.h"
#include "support/Terminal.h"

#include <QDBusMetaType>
#include <QDBusReply>
#include <QFile>
#include <QTest>

#include <algorithm>

namespace {

const QString interface = "com.velmora.Jovara.Inspection"_s;

QDBusMessage ask(const Terminal &terminal, const QString &method)
{
    return terminal.connection().call(Terminal::message(method, {}, interface));
}

QString setLogLevel(const Terminal &terminal, int level)
{
    const QVariantList arguments{interface, "LogLevel"_s, QVariant::fromValue(QDBusVariant(level))};
    return terminal.connection()
        .call(Terminal::message("Set"_s, arguments, "org.freedesktop.DBus.Properties"_s))
        .errorName();
}

/// The events of one name, or of the whole daemon.
QString events(const TimelineList &timeline, const QString &name)
{
    QStringList events;
    for (const TimelineEntry &entry : timeline) {
        if (entry.name == name) {
            events << entry.event;
        }
    }
    return events.join(u' ');
}

} // namespace

class InspectionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsAndRestarts()
    {
        qDBusRegisterMetaType<ListOfMaps>();
        Terminal terminal("step one 1\nA one\nB one <A\nEnds one --exit-after=30 --exit-code=5 --never-ready\n"
                          "Goes one\nLost nowhere");
        const QString ini = "/etc/JovApplication/platform.ini"_s;
        terminal.root.write(ini, terminal.root.read(ini) + "[platform]\nFAB_HW_DDRSIZE=64MB\n");
        terminal.root.write("/etc/JovApplication/module/A/config.xml"_s,
                            "<config><initStep>one</initStep><maxMemory><DDRSz criteria=\"64MB\">7</DDRSz>"
                            "</maxMemory></config>");
        terminal.start();
        QVERIFY(terminal.waitForLog("initStepDone: 5"_s));
        QCOMPARE(terminal.log().filter("warning Module Lost : step 'nowhere' does not exist, not started"_s).size(), 1);
        // Looking unknown names up leaves entries with nothing behind them.
        terminal.call("startModule"_s, {"Unknown"_s});
        const QDBusMessage get =
            Terminal::message("Get"_s, {interface, "CompleteAt"_s}, "org.freedesktop.DBus.Properties"_s);
        const QDBusReply<QDBusVariant> complete = terminal.connection().call(get);
        QVERIFY(complete.value().variant().toULongLong() >= readSteps(ask(terminal, "ListSteps"_s)).last().doneAt);
        QVERIFY(QFile::remove(terminal.root.path("/usr/lib/JovApplication/Goes"_s)));
        QVERIFY(!setLogLevel(terminal, -1).isEmpty() && !setLogLevel(terminal, 8).isEmpty());
        for (const int level : {3, 7, 3}) { // it begins with 7
            QVERIFY(setLogLevel(terminal, level).isEmpty());
        }
        QCOMPARE(terminal.log().filter("info log level 3, it was 7"_s).size(), 2);
        terminal.root.write(ini, terminal.root.read(ini) + "[ApplicationManager]\nmodule_umask=077\n");
        const int lines = terminal.log().size();
        terminal.call("restart"_s);
        QCOMPARE(terminal.log(lines).filter("PID of :"_s), QStringList());

        const QVariantMap first = QDBusReply<ListOfMaps>(ask(terminal, "ListModules"_s)).value().value(0);
        QString types;
        for (auto value = first.begin(); value != first.end(); ++value) {
            types += value.key() + u':' + QLatin1String(value->typeName()) + u' ';
        }
        QCOMPARE(types,
                 "Dependencies:QStringList Dependents:QStringList ExitCode:int ExitedAt:qulonglong ExitedBySignal:bool "
                 "Exits:uint ExitsBySignal:uint LaunchedAt:qulonglong MaxMemory:int Name:QString Pid:uint "
                 "ReadyAt:qulonglong Starts:uint State:QString Status:QString Step:QString "_s);
        const ModuleList modules = readModules(ask(terminal, "ListModules"_s));
        QCOMPARE(moduleNames(modules), (QStringList{"A"_s, "B"_s, "Ends"_s, "Lost"_s}));
        QCOMPARE(modules[0].dependents, QStringList("B"_s));
        QCOMPARE(pid_t(modules[0].pid), terminal.modules().value("A"_s).value(0));
        QCOMPARE(Processes::figure(pid_t(modules[0].pid), "status", "Umask"), 77);
        QVERIFY(modules[0].readyAt > modules[0].launchedAt);
        QCOMPARE(modules[0].maxMemory.figure(), 7);
        QVERIFY(modules[0].starts == 2 && modules[2].starts == 2 && modules[3].starts == 0);
        QVERIFY(modules[2].exits == 2 && modules[2].exitsBySignal == 0 && modules[0].exits == 1);
        QVERIFY(modules[2].exitCode == 5 && modules[2].readyAt == 0);
        const StepInfo one = readSteps(ask(terminal, "ListSteps"_s)).value(0);
        QCOMPARE(one.modules, (QStringList{"A"_s, "B"_s, "Ends"_s}));
        const TimelineList timeline = readTimeline(ask(terminal, "GetTimeline"_s));
        QCOMPARE(events(timeline, QString()), "start stop_all restart"_s);
        QCOMPARE(events(timeline, "A"_s),
                 "STARTING launched RUNNING STOPPING exited STOPPED STARTING launched RUNNING"_s);
        QVERIFY(std::is_sorted(timeline.begin(), timeline.end(),
                               [](const auto &earlier, const auto &later) { return earlier.time < later.time; }));
    }

    void exits()
    {
        Journal journal;
        journal.noteExit("A"_s, 11, true);
        journal.noteExit("A"_s, 0, false);
        const Journal::ModuleHistory history = journal.module("A"_s);
        QVERIFY(history.exits == 2 && history.exitsBySignal == 1 && !history.exitedBySignal);
    }

    void timelineKeepsTheStart()
    {
        Timeline timeline;
        const auto add = [&](quint64 from, int count, const char *event) {
            for (int i = 0; i < count; ++i) {
                timeline.add({from + quint64(i), QLatin1String(event), QString()});
            }
        };
        const auto count = [&](const char *event) {
            const std::vector<Timeline::Entry> entries = timeline.entries();
            return std::count_if(entries.begin(), entries.end(),
                                 [&](const auto &entry) { return entry.event == QLatin1String(event); });
        };
        add(0, 1000, "before");
        timeline.beginStartUp();
        add(1000, 500, "boot");
        timeline.endStartUp();
        add(10000, 9000, "later");
        QCOMPARE(timeline.entries().size(), Timeline::capacity);
        QCOMPARE(count("boot"), 500);
        QCOMPARE(timeline.entries().front().time, quint64(1000));
        QCOMPARE(timeline.entries().back().time, quint64(18999));
        // The next start is the one that counts; one without an end fills no more than its share.
        timeline.beginStartUp();
        add(20000, 20000, "endless");
        QCOMPARE(timeline.entries().size(), Timeline::capacity);
        QCOMPARE(count("boot"), 0);
        QCOMPARE(timeline.entries().back().time, quint64(39999));
    }
};

QTEST_GUILESS_MAIN(InspectionTest)

#include "InspectionTest.moc"
