#include "catalogue/ApplicationRecord.h"
#include "contract/Events.h"
#include "manager/BootSummary.h"
#include "manager/ControlOperations.h"
#include "manager/Inspection.h"
#include "manager/Inventory.h"
#include "manager/Journal.h"
#include "manager/MandatorySettings.h"
#include "manager/ParentReport.h"
#include "manager/StartupProgression.h"
#include "module/ChildReaper.h"
#include "support/DataTable.h"
#include "support/FakeSupervision.h"
#include "support/RootDir.h"

#include <jov/JovEvent.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QSignalSpy>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <utility>

namespace {

const QString folder = "/etc/JovApplication/module/"_s;

ModuleLimits shortLimits(int stop)
{
    ModuleLimits limits;
    limits.stop = 1000;
    limits.stopWithEverything = stop;
    limits.launchAhead = 50;
    return limits;
}

/**
 * A terminal from a text: "1 A B<A | 5p C~D D! E@A" has the step 1 and the parallel step 5; B depends on A, C announces
 * itself when D is launched, D ends at once, and E is early after A. The others announce themselves at once.
 */
class Boot : public FakeSupervision
{
public:
    Boot(const RootDir &root, const QString &text, bool ahead = true, int limit = 100, int stop = 50)
        : FakeSupervision(shortLimits(stop))
    {
        Parameters parameters;
        parameters.launchesAhead = limit;
        state.setParameters(parameters);
        state.beginStart();
        ChildReaper::instance().waitForGivenUp(5000); // Those of the boot before: a start would wait for them.
        QDir(root.path("/usr/lib/JovApplication"_s)).removeRecursively();
        root.keepLog();
        QString xml;
        for (const QString &step : text.split(" | "_s)) {
            QStringList words = step.split(u' ');
            const QString value = words.first().chopped(words.first().endsWith(u'p') ? 1 : 0);
            const bool isParallel = words.takeFirst().endsWith(u'p') && ahead;
            xml += "<step name=\"s%1\" value=\"%1\" parallel=\"%2\"/>"_s.arg(value, isParallel ? "true"_s : "True"_s);
            for (const QString &word : qAsConst(words)) {
                addModule(root, word, "s"_s + value, ahead);
            }
        }
        root.write(folder + "ApplicationManager/initStep.xml"_s, "<initStep>" + xml.toUtf8() + "</initStep>");
        bus.onEvent = [this](const QString &event) { answer(event); };
        if (!inventory.build("ApplicationManager"_s, {state, bus, journal, *this, crashes})) {
            qFatal("%s cannot be built", qPrintable(text));
        }
    }

    Journal journal; // which the modules of the inventory report to until the last of them is gone
    Inventory inventory;
    LaunchAhead launches{state, inventory.catalogue(), inventory.steps()};
    const StartContext context{state, journal, *this, launches};
    ControlOperations control{state, inventory, journal, context};
    ParentReport report;
    MandatorySettings settings{state, bus, journal, inventory.catalogue()};
    StartupProgression progression{state, bus, inventory.steps(), context, settings, report};
    QStringList launched; ///< and "?" where the mandatory settings are checked
    std::function<void(const QString &)> onLaunch = [](const QString &) {};

    Module *module(const QString &name) { return inventory.getInitStepOfModule(name)->nodes[name].get(); }
    [[nodiscard]] QString states()
    {
        QStringList states;
        for (const auto &[name, record] : inventory.catalogue().applicationMap) {
            if (record) {
                states << name + u'=' + record->getState().left(4);
            }
        }
        return states.join(u' ');
    }

private:
    void addModule(const RootDir &root, const QString &word, const QString &step, bool ahead)
    {
        static const QRegularExpression form("^(\\w+)(!?)(?:~(\\w+))?(?:<([\\w,]+))?(?:@([\\w,]*))?$"_s);
        const QRegularExpressionMatch parts = form.match(word);
        const QString name = parts.captured(1);
        QString config = "<config><initStep>%1</initStep><dependencies>"_s.arg(step);
        for (const QString &dependency : parts.captured(4).split(u',', Qt::SkipEmptyParts)) {
            config += "<dependency>%1</dependency>"_s.arg(dependency);
        }
        config += "</dependencies>"_s;
        if (ahead && word.contains(u'@')) {
            config += "<early after=\"%1\"/><early after=\"-\"/>"_s.arg(parts.captured(5).replace(u',', "\t&#10;"_s));
        }
        root.write(folder + name + "/config.xml"_s, (config + "</config>"_s).toUtf8());
        const bool fails = !parts.captured(2).isEmpty();
        root.writeScript("/usr/lib/JovApplication/"_s + name, fails ? "exit 3" : "exec sleep 1000");
        if (!fails) {
            m_announces.insert(ahead && !parts.captured(3).isEmpty() ? parts.captured(3) : name, name);
        }
    }

    void answer(const QString &event)
    {
        if (event == Events::checkMandatorySettings) {
            launched << "?"_s;
            const JovEvent succeeded(QString(), {{Events::reboot, false}});
            QTimer::singleShot(20, &settings, [=] { settings.checkMandatorySettingsSuccess(succeeded); });
        }
        if (event != Events::initMessage || !bus.events.last().contains("Starting application "_s)) {
            return;
        }
        const QString name = bus.events.last().section(u' ', -1);
        launched << name;
        onLaunch(name);
        for (const QString &announced : m_announces.values(name)) {
            QTimer::singleShot(0, module(announced), &Module::slot_endOfInit);
        }
    }

    QMultiMap<QString, QString> m_announces; ///< by the module whose launch they wait for, mostly their own
};

} // namespace

class AheadTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void graphs_data()
    {
        columns<QString, int, int, QString, QString, QString>("terminal", "target", "limit", "oneByOne", "ahead",
                                                              "others"); // that do not run
        row("diamond, below it", "5p A B~C<A C<A D<B,C E<D", 0, 9, "A B C D E", "A B C D E", "");
        row("two components", "5p A~E B<A D E<D", 0, 9, "A B D E", "A D E B", "");
        row("limited", "5p A~F B<A D~G E F G", 0, 2, "A B D E F G", "A D E F B G", "");
        row("failing root", "5p A! B<A C D<B,C | 6 E", 0, 9, "A C E", "A C E", "A=STOP B=STOP D=STOP");
        row("failing son", "5p A~C B!<A C D<A,B", 0, 9, "A B C", "A C B", "B=STOP D=STOP");
        row("a slow one in the middle", "5p A B~E<A C<B D E<D", 0, 9, "A B C D E", "A D B E C", "");
        row("a step holds the next", "5p A~B B | 6p C", 0, 9, "A B C", "A B C", "");
        row("early at once", "5 A~D B | 6 C D@", 0, 9, "A B C D", "A D B C", "");
        row("early after another step", "5 A B~D | 6 C D@A", 0, 9, "A B C D", "A D B C", "");
        row("early with dependencies", "5 A B~E | 6 D@ E<D@A", 0, 9, "A B D E", "A D E B", "");
        row("early that fails", "5 A~D B | 6 C D!@ E<D", 0, 9, "A B C D", "A D B C", "D=STOP E=STOP");
        row("early in a parallel step", "5 A~C B | 6p C@ D@C E", 0, 9, "A B C D E", "A C D B E", "");
        row("early after nobody", "5 A~D | 6 D@X", 0, 9, "A D", "A D", "");
        row("early circle", "5 A | 6 D@E E@D F@F", 0, 9, "A D E F", "A D E F", "");
        row("into a held boot", "1 A B | 3 C@ | 4 D@", 3, 9, "A B C", "A C B", "D=STOP");
        row("mandatory settings", "1 SettingsManager B | 4 C@ | 5 D@ E@", 999, 9, "B SettingsManager C ? D E",
            "B C SettingsManager ? D E", "");
    }

    // The order of the launches differs. Counts, lines and states are the same.
    void graphs()
    {
        const auto [terminal, target, limit] = cells<QString, int, int>();
        int counts[] = {0, 0};
        QStringList lines[2];
        for (const int ahead : {0, 1}) {
            Boot boot(m_root, terminal, ahead > 0, limit);
            if (target > 0) {
                boot.progression.begin(target);
            } else {
                counts[ahead] = boot.control.startAll();
            }
            QTEST(boot.launched.join(u' '), ahead ? "ahead" : "oneByOne");
            QTEST(boot.states().remove(QRegularExpression("\\w+=RUNN ?"_s)).trimmed(), "others");
            lines[ahead] =
                m_root.log().filter(QRegularExpression(" ret |Cannot be started|launch error|not managed"_s));
        }
        QCOMPARE(counts[1], counts[0]);
        QCOMPARE(lines[1], lines[0]);
    }

    void mistakes_data()
    {
        columns<QString, QString>("terminal", "warning");
        row("not installed", "5 A | 6 D@X,A", "warning Module D : early after 'X', which is not installed");
        row("circle of two", "5 A | 6 D@E,A E@D", "warning Module D : early in a circle : D;E;D");
        row("of itself", "5 A@A", "warning Module A : early in a circle : A;A");
        row("dependencies", "5 C B<C A<B@ C2@D D@E E@C2 | 6 F@A", "warning Module C2 : early in a circle : C2;D;E;C2");
        row("against a dependency", "5 B@C C<B | 6 A@C", "warning Module B : early in a circle : B;C;B");
        row("none", "5 A B<A C@A D<C@A,B | 6 E@D,C", "");
    }

    void mistakes()
    {
        const auto [terminal, warning] = cells<QString, QString>();
        Boot boot(m_root, terminal);
        QCOMPARE(m_root.log().filter(" : early "_s), warning.isEmpty() ? QStringList() : QStringList{warning});
    }

    // It holds the end of its step, but not the launches: it counts for a limited time. Only walks take it over.
    void hangingModule()
    {
        Boot boot(m_root, "5p A~Z B~Z C D E<C"_s, true, 1);
        QElapsedTimer clock;
        clock.start();
        boot.onLaunch = [&](const QString &name) {
            QVERIFY(name != "C"_s || clock.elapsed() >= 40);
            if (name == "D"_s) {
                QTimer::singleShot(0, &boot.progression, [&] {
                    QVERIFY(boot.control.startModule("B"_s));
                    QCOMPARE(m_root.log().filter("start B ret false (state= STARTING)"_s).size(), 1);
                    QVERIFY(boot.control.startModule("E"_s));
                    boot.control.stopAll();
                });
            }
        };
        QCOMPARE(boot.control.startAll(), 1);
        QCOMPARE(boot.launched.join(u' '), "A B C D E"_s);
    }

    // A parent that runs after its step is over: its dependents are for later walks. What a call stops, for its step.
    void stepIsOver()
    {
        Boot boot(m_root, "5p A! B<A | 6 C D F | 7 E@D"_s);
        boot.onLaunch = [&](const QString &name) {
            name == "C"_s ? boot.module("A"_s)->slot_endOfInit() : void();
            name == "D"_s ? void(boot.control.stopModule("E"_s)) : void();
        };
        boot.control.startAll();
        QCOMPARE(boot.launched.join(u' '), "A C D F E"_s);
        boot.control.rebootAccepted();
        QVERIFY(boot.state.isRebootRequested() && !boot.state.startFailed() && boot.control.stopModuleAlone("A"_s));
        boot.state.setRestartPending(true);
        boot.control.restartModules({"C"_s});
        QCOMPARE(boot.states(), "A=STOP B=STOP C=RUNN D=RUNN E=RUNN F=RUNN"_s);
        boot.inventory.catalogue().find("D"_s)->setInitStep(QString());
        QVERIFY(!boot.control.startModule("D"_s));
        QVERIFY(m_root.log().contains("warning getInitStepOfModule D: module config not ok :RUNNING"_s));
    }

    void stopFlag()
    {
        Boot boot(m_root, "5p A B<A"_s);
        boot.onLaunch = [&](const QString & /*name*/) { boot.state.failStart(); };
        boot.control.startAll();
        QCOMPARE(boot.states(), "A=RUNN B=STOP"_s);
    }

    // What was killed is launched ahead as soon as it is reaped, though the walk waits elsewhere.
    void startAfterKills()
    {
        Boot boot(m_root, "5p A~Z C"_s);
        const auto answer = std::exchange(boot.bus.onEvent, [&](const QString & /*event*/) {
            boot.bus.events.last().endsWith(u'C') ? QTimer::singleShot(0, [&] { boot.control.stopAll(); }) : void();
        });
        boot.control.startAll();
        QCOMPARE(boot.states(), "A=STOP C=STOP"_s);
        boot.bus.onEvent = answer;
        QTimer tick;
        tick.callOnTimeout([&] { boot.states() == "A=STAR C=RUNN"_s ? boot.module("A"_s)->slot_endOfInit() : void(); });
        tick.start(1);
        boot.state.beginStart();
        boot.control.startAll();
        QCOMPARE(boot.states(), "A=RUNN C=RUNN"_s);
    }

    // Modules under way are killed as starting ones are, nothing is launched any more, and a restart may again.
    void stopOfEverything()
    {
        Boot boot(m_root, "5p A B~Z C~Z D<A E! | 6 F@A"_s);
        boot.onLaunch = [&](const QString &name) {
            if (name == "C"_s && boot.launched.size() == 3) {
                QTimer::singleShot(0, &boot.progression, [&] { boot.control.stopAll(); });
            }
        };
        QCOMPARE(boot.control.startAll(), 1);
        QCOMPARE(boot.launched.join(u' '), "A B C E"_s);
        QTRY_COMPARE(boot.states(), "A=STOP B=STOP C=STOP D=STOP E=STOP F=STOP"_s);
        QCOMPARE(m_root.log().filter(QRegularExpression("stopped [BC] ret false \\[during start\\]"_s)).size(), 2);
        QCOMPARE(m_root.log().filter(QRegularExpression("start [BCE] ret false \\[stopped\\]"_s)).size(), 3);
    }

    // The step 5 stands for the one that shows the home page; C ends at once, and the default step is empty.
    void history()
    {
        Boot boot(m_root, "1 A | 5 B C!<B | 6 D"_s);
        QObject parent;
        Inspection::create(&parent, boot.state, boot.inventory, boot.journal, boot.progression);
        const auto *inspection = parent.findChild<Inspection *>();
        QSignalSpy states(inspection, &Inspection::ModuleStateChanged);
        QSignalSpy done(inspection, &Inspection::StepDone);
        boot.journal.noteStart(false);
        connect(&boot.journal, &Journal::stepDone, &boot.journal,
                [&](const QString & /*name*/, int value) { value == 5 ? boot.journal.noteEndOfInit() : void(); });
        boot.control.startAll();
        boot.journal.noteComplete();
        const qulonglong complete = inspection->completeAt();
        QCOMPARE(states.first(), (QVariantList{"A"_s, "STOPPED"_s, "STARTING"_s}));
        QCOMPARE(done.first(), (QVariantList{1, "s1"_s}));

        const ListOfMaps modules = inspection->ListModules();
        const ListOfMaps steps = inspection->ListSteps();
        const qulonglong begin = inspection->startedAt();
        const auto of = [begin](const QVariantMap &map, const char *key) {
            return map.value(QLatin1String(key)).toULongLong() - begin;
        };
        QList<qulonglong> times{of(steps[0], "StartedAt"), of(modules[0], "LaunchedAt"), of(modules[0], "ReadyAt")};
        times << of(steps[0], "DoneAt") << of(modules[2], "LaunchedAt") << of(modules[2], "ExitedAt");
        times << inspection->homepageAt() - begin << of(steps[2], "StartedAt") << of(modules[3], "ReadyAt");
        times << of(steps[3], "DoneAt") << complete - begin;
        QVERIFY(std::is_sorted(times.begin(), times.end()) && times[1] < times[2] && times[4] < times[5]);
        QVERIFY(qAbs(qint64(complete) - QDeadlineTimer::current().deadlineNSecs() / 1000) < 60000000);
        QCOMPARE(modules[2].value("ReadyAt"_s).toULongLong() + modules[0].value("ExitedAt"_s).toULongLong(), 0ULL);
        QString facts;
        for (auto fact = modules[2].cbegin(); fact != modules[2].cend(); ++fact) {
            facts += fact.key().endsWith("At"_s) ? QString() : fact->toString() + u' ';
        }
        QCOMPARE(facts, "B  3 false 1 0 0 C 0 1 STOPPED EXITED_3 s5 "_s); // by the names of the keys
        QCOMPARE(modules[1].value("Dependents"_s).toStringList() + steps[1].value("Modules"_s).toStringList(),
                 (QStringList{"C"_s, "B"_s, "C"_s}));

        const QJsonObject summary = bootSummary(boot.journal, boot.inventory.steps());
        QCOMPARE(summary["total"_s].toInt(), int(times[9]));
        QCOMPARE(summary["homepage"_s].toInt(), int(times[6]));
        QCOMPARE(summary["steps"_s].toArray()[0].toArray(),
                 (QJsonArray{"s1"_s, 1, qint64(times[0]), qint64(times[3])}));
        const QJsonArray launches = summary["modules"_s].toArray();
        QCOMPARE(launches[0].toArray(), (QJsonArray{"A"_s, 0, qint64(times[1]), qint64(times[2])}));
        QCOMPARE(launches[2].toArray(), (QJsonArray{"C"_s, 1, qint64(times[4]), -qint64(times[5])}));
        QCOMPARE(summary["dependencies"_s].toArray(), (QJsonArray{QJsonArray{2, 1}}));
        const int changes = states.size();
        boot.journal.noteComplete();
        boot.journal.noteState("A"_s, ModuleState::None, ModuleState::Running);
        QVERIFY(inspection->completeAt() == complete && states.size() == changes);
        boot.journal.noteState("C"_s, ModuleState::Stopped, ModuleState::Running);
        boot.journal.noteStart(true);
        QCOMPARE(inspection->homepageAt() + inspection->completeAt(), 0ULL);
        boot.control.startModule("C"_s); // which was ready before the restart, and ends
        const QJsonArray again = bootSummary(boot.journal, boot.inventory.steps())["modules"_s].toArray();
        QVERIFY(again[0].toArray()[3].toInt() < 0);
    }

    void stops_data()
    {
        columns<QString, QString, int, QString, QString>("terminal", "hanging", "steps", "oneByOne", "ahead");
        row("diamond", "5p A B<A C<A D<B,C", "", 1, "D B C A", "D B C A");
        row("steps", "5 A B<A | 6p C D | 7p E F<E G!", "", 4, "F E C D B A", "F E C D B A");
        row("one that hangs holds what it depends on", "5p A B<A C<B D E<D F<E", "C", 1, "C B A F E D", "C F E D B A");
        row("from one on", "5p Root A<Root B<A C<Root Z | 6 D E<D | 7 F", "", 3, "F E D B A C Root",
            "F E D B C A Root");
        row("two chains that hang", "5p A B<A C<B D E<D", "C B E D", 1, "C B A E D", "C E B D A");
    }

    // The processes end in the order of the events, which differs. Counts, lines and states are the same.
    void stops()
    {
        const auto [terminal, hanging, steps] = cells<QString, QString, int>();
        const int hung = hanging.split(u' ', Qt::SkipEmptyParts).size();
        QStringList lines[2];
        qint64 times[] = {0, 0};
        for (const int ahead : {0, 1}) {
            // Long enough for a process to end on a busy machine.
            Boot boot(m_root, terminal, ahead > 0, 100, hanging.isEmpty() ? 5000 : 300);
            boot.control.startAll();
            if (terminal.contains(u'D')) { // as one whose presentation is not on the screen yet
                boot.module("D"_s)->setState(ModuleState::WebClientStarted);
            }
            boot.bus.onEvent = [&boot, hangs = hanging](const QString &event) {
                const QString name = event.section(u'_', -1);
                if (!hangs.contains(name)) {
                    kill(boot.inventory.catalogue().getApplicationID(name).toInt(), SIGTERM);
                }
            };
            boot.bus.events.clear();
            QElapsedTimer elapsed;
            elapsed.start();
            const bool isOne = terminal.contains("Root"_s);
            const int count = isOne ? int(boot.control.stopModule("Root"_s)) : boot.control.stopAll();
            times[ahead] = elapsed.elapsed();
            QTEST(boot.bus.events.join(u' ').remove("stop_module_"_s), ahead ? "ahead" : "oneByOne");
            lines[ahead] = m_root.log().filter(QRegularExpression("\\] (stop |stopped)|stopped in|Trying"_s));
            lines[ahead].replaceInStrings(QRegularExpression("\\d+ ms"_s), QString());
            lines[ahead].sort();
            QCOMPARE(lines[ahead].filter(" stopped in "_s).size(), steps);
            QCOMPARE(lines[ahead].filter(" ret false "_s).size(), hung);
            QCOMPARE(count, isOne ? 1 : boot.bus.events.size() - hung);
        }
        QCOMPARE(lines[1], lines[0]);
        QVERIFY2(hanging.size() < 2 || times[1] < times[0], "each has a limit of its own");
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(AheadTest)

#include "AheadTest.moc"
