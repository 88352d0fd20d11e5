#include "Inspection.h"

#include "BusNames.h"
#include "Journal.h"
#include "Terminal.h"
#include "Timeline.h"

#include <QDBusMetaType>
#include <QDBusReply>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>

namespace {

const QString manager = QStringLiteral("ApplicationManager");
const QString interface = QStringLiteral("com.velmora.Jovara.Inspection");

QDBusMessage ask(const Terminal &terminal, const QString &ofInterface, const QString &method,
                 const QVariantList &arguments = {})
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(BusNames::service(manager), BusNames::object(manager), ofInterface, method);
    message.setArguments(arguments);
    return terminal.connection().call(message);
}

ListOfMaps list(const Terminal &terminal, const char *method)
{
    const QDBusReply<ListOfMaps> reply = ask(terminal, interface, QLatin1String(method));
    return reply.value();
}

QVariantMap named(const ListOfMaps &maps, const char *name)
{
    for (const QVariantMap &map : maps) {
        if (map.value(QStringLiteral("Name")) == QLatin1String(name)) {
            return map;
        }
    }
    return {};
}

QString setLogLevel(const Terminal &terminal, int level)
{
    return ask(terminal, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Set"),
               {interface, QStringLiteral("LogLevel"), QVariant::fromValue(QDBusVariant(level))})
        .errorName();
}

/// The entries' events, "EVENT NAME", of one name or of all.
QStringList events(const ListOfMaps &timeline, const char *name)
{
    QStringList events;
    for (const QVariantMap &entry : timeline) {
        if (entry.value(QStringLiteral("Name")) == QLatin1String(name)) {
            events << entry.value(QStringLiteral("Event")).toString();
        }
    }
    return events;
}

} // namespace

class InspectionTest : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void changed(const QString &name, const QString &oldState, const QString &newState)
    {
        m_changes << QStringLiteral("%1 %2 %3").arg(name, oldState, newState);
    }
    void stepDone(int value, const QString &name) { m_steps << QStringLiteral("%1 %2").arg(value).arg(name); }

private Q_SLOTS:
    void initTestCase() { qDBusRegisterMetaType<ListOfMaps>(); }
    void keys()
    {
        Terminal terminal("step one 1\nstep two 2 home\nA one\nB one <A\nLost nowhere");
        terminal.start();
        QVERIFY(terminal.waitForLog(QStringLiteral("initStepDone: 2")));
        // Looking unknown names up leaves entries with nothing behind them.
        terminal.call(QStringLiteral("startModule"), {QStringLiteral("Unknown")});
        const ListOfMaps modules = list(terminal, "ListModules");
        QCOMPARE(modules.size(), 3);
        const QVariantMap a = named(modules, "A");
        QString types;
        for (auto value = a.begin(); value != a.end(); ++value) {
            types += value.key() + QLatin1Char(':') + QLatin1String(value->typeName()) + QLatin1Char(' ');
        }
        QCOMPARE(types,
                 QStringLiteral("Dependencies:QStringList Dependents:QStringList ExitCode:int ExitedAt:qulonglong "
                                "LaunchedAt:qulonglong MaxMemory:int Name:QString Pid:uint ReadyAt:qulonglong "
                                "Starts:uint State:QString Status:QString Step:QString "));
        QCOMPARE(a.value(QStringLiteral("Dependents")).toStringList(), QStringList(QStringLiteral("B")));
        QCOMPARE(a.value(QStringLiteral("Pid")).toInt(), int(terminal.modules().value(QStringLiteral("A")).value(0)));
        QVERIFY(a.value(QStringLiteral("LaunchedAt")).toULongLong() < a.value(QStringLiteral("ReadyAt")).toULongLong());
        QCOMPARE(named(modules, "Lost").value(QStringLiteral("Starts")).toUInt(), 0U);
        const QVariantMap one = named(list(terminal, "ListSteps"), "one");
        QCOMPARE(one.value(QStringLiteral("Modules")).toStringList(),
                 QStringList({QStringLiteral("A"), QStringLiteral("B")}));
        QVERIFY(one.value(QStringLiteral("DoneAt")).toULongLong()
                > named(modules, "B").value(QStringLiteral("ReadyAt")).toULongLong());
    }

    void runsAndRestarts()
    {
        Terminal terminal("step one 1\nA one\nEnds one --exit-after=30 --exit-code=5 --never-ready\nGoes one");
        terminal.start();
        QVERIFY(terminal.waitForLog(QStringLiteral("initStepDone: 1")));
        QVERIFY(QFile::remove(terminal.root.path(QStringLiteral("/usr/lib/JovApplication/Goes"))));
        terminal.call(QStringLiteral("restart"));
        const ListOfMaps modules = list(terminal, "ListModules");
        QCOMPARE(modules.size(), 2);
        QCOMPARE(named(modules, "A").value(QStringLiteral("Starts")).toUInt(), 2U);
        QCOMPARE(named(modules, "Ends").value(QStringLiteral("Starts")).toUInt(), 2U);
        QCOMPARE(named(modules, "Ends").value(QStringLiteral("ExitCode")).toInt(), 5);
        QCOMPARE(named(modules, "Ends").value(QStringLiteral("ReadyAt")).toULongLong(), 0ULL);
        const ListOfMaps timeline = list(terminal, "GetTimeline");
        QCOMPARE(events(timeline, "").join(QLatin1Char(' ')), QStringLiteral("start stop_all restart"));
        QCOMPARE(events(timeline, "A").join(QLatin1Char(' ')),
                 QStringLiteral("STARTING launched RUNNING STOPPING exited STOPPED STARTING launched RUNNING"));
        quint64 before = 0;
        for (const QVariantMap &entry : timeline) {
            const quint64 time = entry.value(QStringLiteral("Time")).toULongLong();
            QVERIFY(time >= before);
            before = time;
        }
    }

    void logLevel()
    {
        Terminal terminal("step one 1\nA one");
        QVERIFY(terminal.boot());
        QVERIFY(!setLogLevel(terminal, -1).isEmpty());
        QVERIFY(!setLogLevel(terminal, 8).isEmpty());
        QCOMPARE(setLogLevel(terminal, 3), QString());
        const int lines = terminal.log().size();
        terminal.call(QStringLiteral("restartModule"), {QStringLiteral("A")});
        QCOMPARE(terminal.log().size(), lines);
        QCOMPARE(setLogLevel(terminal, 7), QString());
        terminal.call(QStringLiteral("restartModule"), {QStringLiteral("A")});
        QVERIFY(terminal.log().size() > lines);
    }

    void signalsOfAStart()
    {
        Terminal terminal("step one 1\nA one\nJovWebClient one <A --presentation-after=10");
        QDBusConnection bus = terminal.connection();
        bus.connect(QString(), BusNames::object(manager), interface, QStringLiteral("ModuleStateChanged"), this,
                    SLOT(changed(QString, QString, QString)));
        bus.connect(QString(), BusNames::object(manager), interface, QStringLiteral("StepDone"), this,
                    SLOT(stepDone(int, QString)));
        terminal.start();
        QTRY_COMPARE(m_steps.mid(0, 1), QStringList(QStringLiteral("1 one")));
        QCOMPARE(m_changes,
                 QStringList({QStringLiteral("A STOPPED STARTING"), QStringLiteral("A STARTING RUNNING"),
                              QStringLiteral("JovWebClient STOPPED STARTING"),
                              QStringLiteral("JovWebClient STARTING WEB_CLIENT_STARTED"),
                              QStringLiteral("JovWebClient WEB_CLIENT_STARTED RUNNING")}));
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

    void newRecordIsNoChange()
    {
        Journal journal;
        QSignalSpy spy(&journal, &Journal::moduleStateChanged);
        const QString name = QStringLiteral("A");
        journal.noteState(name, QString(), QStringLiteral("STOPPED"));
        journal.noteState(name, QString(), QStringLiteral("STOPPED"));
        QCOMPARE(spy.count(), 0);
        journal.noteState(name, QStringLiteral("STOPPED"), QStringLiteral("RUNNING"));
        journal.noteState(name, QString(), QStringLiteral("STOPPED"));
        QCOMPARE(spy.count(), 2);
        QCOMPARE(spy.last().at(1).toString(), QStringLiteral("RUNNING"));
    }

private:
    QStringList m_changes;
    QStringList m_steps;
};

QTEST_GUILESS_MAIN(InspectionTest)

#include "InspectionTest.moc"
