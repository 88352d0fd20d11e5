#include "contract/Components.h"
#include "contract/Events.h"
#include "manager/MandatorySettings.h"
#include "manager/ParentReport.h"
#include "manager/RestartControl.h"
#include "manager/StartupProgression.h"
#include "manager/StepFile.h"
#include "support/DataTable.h"
#include "support/FakeSupervision.h"
#include "support/RootDir.h"

#include <jov/JovEvent.h>

#include <QTimer>

#include <sys/stat.h>

namespace {

/// A progression over steps without modules, each named for its value.
class StartUp : public FakeSupervision
{
public:
    explicit StartUp(const std::vector<int> &values)
    {
        state.beginStart();
        for (const int value : values) {
            steps.addStep(QString::number(value), value, false);
        }
    }

    ParentReport report;
    MandatorySettings settings{state, bus, observer, catalogue};
    StartupProgression progression{state, bus, steps, startContext, settings, report};

    /// "1 3": what was started; the numbers that were announced.
    [[nodiscard]] QString startedSteps() const { return observer.notes.filter("step "_s).join(u' ').remove("step "_s); }
    [[nodiscard]] QString announced() const
    {
        return bus.events.filter("init_step_infra"_s).join(u' ').remove("init_step_infra "_s);
    }
};

/// Writes a restart down, and does what the test says in its stop and its start.
class Restarts : public FakeSupervision, public RestartSteps
{
public:
    QStringList done;
    std::function<void()> inStop = [] {};
    bool canBuild = true;
    RestartControl control{state, *this};

    void order(const QString &words)
    {
        using Kind = RestartControl::Kind;
        const QMap<QString, std::function<void()>> orders{{"rebuild"_s, [this] { control.request(Kind::Rebuild); }},
                                                          {"again"_s, [this] { control.request(Kind::StartAgain); }},
                                                          {"call4"_s, [this] { control.requestUnlessLocked(4); }},
                                                          {"call5"_s, [this] { control.requestUnlessLocked(5); }},
                                                          {"lock"_s, [this] { control.lock(); }},
                                                          {"unlock4"_s, [this] { control.unlock(4); }},
                                                          {"unlock5"_s, [this] { control.unlock(5); }},
                                                          {"reset"_s, [this] { control.reset(); }},
                                                          {"ending"_s, [this] { state.setEnding(); }},
                                                          {"unusable"_s, [this] { canBuild = false; }}};
        for (const QString &word : words.split(u' ', Qt::SkipEmptyParts)) {
            orders[word]();
        }
    }

    void stopEverything() override
    {
        done << "stop"_s;
        inStop();
    }
    void clearAllLists() override { done << "clear"_s; }
    void beginStart() override { done << "begin"_s; }
    bool buildAll() override
    {
        done << "build"_s;
        return canBuild;
    }
    void startEverything() override { done << "start"_s; }
    void resumeProgression() override { done << "resume"_s; }
    void endDaemon() override { done << "end"_s; }
};

const QString rebuilt = "stop clear begin build start resume"_s;
const QString startedAgain = "stop begin start resume"_s;

} // namespace

class StartUpTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_root.keepLog(); }

    void stepFile_data()
    {
        columns<QByteArray, int, QString>("content", "target", "line");
        row("blanks around", QByteArray(" 3 \n7"), 3, "debug Step file ==>  3 ");
        row("none", QByteArray(), 999, "warning No Step file");
        row("NUL", QByteArray("1\0 9", 4), 1, "debug Step file ==> 1");
        row("empty line", QByteArray("\n3"), 0, "debug Step file ==> ");
        row("no number", QByteArray("2x"), 0, "debug Step file ==> 2x");
        row("beyond", QByteArray("2147483648"), 0, "debug Step file ==> 2147483648");
        row("longest line", QByteArray(4095, ' ') + "3\n", 3, "debug Step file ==> ");
        row("longer line", QByteArray(4096, ' ') + "3\n", 999, "warning Step file Not readable");
        row("line without end", QByteArray(2 << 20, ' '), 999, "warning Step file Not readable");
        row("pipe", QByteArray("P"), 999, "warning Step file Not readable");
        row("folder", QByteArray("F"), 999, "warning Step file Not readable");
    }

    void stepFile()
    {
        const auto [content, target, line] = cells<QByteArray, int, QString>();
        const QString name = "/step "_s + QString::fromLatin1(QTest::currentDataTag());
        const QByteArray path = m_root.path(name).toLatin1();
        if (content == "P") {
            QCOMPARE(mkfifo(path.constData(), 0600), 0);
        } else if (!content.isNull()) {
            m_root.write(content == "F" ? name + "/file"_s : name, content);
        }
        QCOMPARE(readStepFile(m_root.path(name)), target);
        QCOMPARE(m_root.log().filter(line).size(), 1);
    }

    void progression_data()
    {
        using Ints = QList<int>;
        columns<int, Ints, QString, QString, int, QString>("target", "events", "started", "announced", "current",
                                                           "line");
        row("held at once", 0, Ints(), "", "", 0, "InitStep: 0 (current=0) not managed");
        row("held", 3, Ints(), "1 3", "1 2 3", 3, "InitStep: 3 (prev:0 max:8)");
        row("below the current", 3, Ints{2}, "1 3", "1 2 3", 3, "InitStep: 2 (current=3) not managed");
        row("the current", 3, Ints{3}, "1 3", "1 2 3", 3, "InitStep: 3 (current=3) not managed");
        row("the next", 3, Ints{4}, "1 3", "1 2 3 4", 4, "InitStep: 4 (prev:3 max:8)");
        row("the first of its own", 3, Ints{5}, "1 3 7 8", "1 2 3 4 5 6", 8, "InitStep: 8 (prev:7 max:8)");
        row("smallest", 3, Ints{-2147483647 - 1}, "1 3", "1 2 3", 3, "InitStep: -2147483648 (current=3) not managed");
        row("the last", 8, Ints{50}, "1 3 7 8", "1 2 3 4 5 6", 50, "InitStep: 50 (prev:8 max:8)");
        row("all", 999, Ints(), "1 3 7 8", "1 2 3 4 5 6", 999, "InitStep: 999 (prev:0 max:8)");
        row("greatest", 2147483647, Ints(), "1 3 7 8", "1 2 3 4 5 6", 2147483647, "initStepDone: 8");
    }

    void progression()
    {
        const auto [target, events] = cells<int, QList<int>>();
        StartUp startUp({1, 3, 7, 8});
        startUp.progression.begin(target);
        for (const int event : events) {
            startUp.progression.slot_init_step(event);
        }
        QTEST(startUp.startedSteps(), "started");
        QTEST(startUp.announced(), "announced");
        QTEST(startUp.progression.currentStep(), "current");
        QFETCH(QString, line);
        QCOMPARE(m_root.log().filter(line).size(), 1);
        // Once it goes on by itself it no longer listens.
        const bool listens = startUp.progression.currentStep() < 5;
        QCOMPARE(startUp.bus.subscriptions.contains("init_step"_s), listens);
        QCOMPARE(m_root.log().filter("no mandatory settings check"_s).size(), listens ? 0 : 1);
    }

    void duringAPass_data()
    {
        columns<QString, QString, QString, bool>("what", "started", "announced", "listens");
        row("lower events are refused, the highest is held", "events", "1 3 7 8", "1 2 3 4 5 6", false);
        row("a stop", "stop", "1", "1 2", false);
        row("a restart", "restart", "1 1 3", "1 2 2 3", true);
        row("a restart, and an event before it goes on", "restart event", "1 1 3 7 8", "1 2 2 3 4 5 6", false);
    }

    // In the first step of a pass to 3.
    void duringAPass()
    {
        QFETCH(QString, what);
        const bool restarts = what.startsWith("restart"_s);
        StartUp startUp({1, 3, 7, 8});
        startUp.observer.inStep = [&] {
            for (const int event : what == "events"_s ? QList<int>{1, 5, 4} : QList<int>{restarts ? 0 : 5}) {
                startUp.progression.slot_init_step(event);
                QCOMPARE(startUp.progression.currentStep(), 1);
            }
            if (what != "events"_s) {
                startUp.state.failStart();
                startUp.state.setRestartPending(restarts);
                startUp.state.setRestarting(restarts);
            }
        };
        startUp.progression.begin(3);
        QCOMPARE(m_root.log().filter("InitStep: 1 (current=1) not managed"_s).size(), what == "events"_s ? 1 : 0);
        startUp.state.beginStart();
        if (restarts) {
            startUp.state.setRestartPending(false);
            startUp.steps.firstStep->startAll(startUp.startContext); // as a restart starts everything
            startUp.progression.slot_init_step(what.endsWith("event"_s) ? 5 : 0);
            QCOMPARE(startUp.progression.currentStep(), 2);
            startUp.state.setRestarting(false);
        }
        if (what != "events"_s) {
            startUp.progression.resumeAfterRestart(); // which may be a later one
            startUp.progression.resumeAfterRestart();
        }
        QTEST(startUp.startedSteps(), "started");
        QTEST(startUp.announced(), "announced");
        QTEST(startUp.bus.subscriptions.contains("init_step"_s), "listens");
    }

    // Of a boot that is held: no pass may run through the starts of a restart.
    void eventDuringARestart()
    {
        StartUp startUp({1, 7});
        startUp.progression.begin(4);
        startUp.state.setRestarting(true);
        startUp.progression.slot_init_step(5);
        QCOMPARE(startUp.progression.currentStep(), 4);
        startUp.state.setRestarting(false);
        startUp.progression.resumeAfterRestart();
        QCOMPARE(startUp.startedSteps(), "1 7"_s);
    }

    // A step file lists tens of thousands, or one far away: the numbers between are skipped. A stop ends the pass.
    void wideGaps()
    {
        StartUp startUp({1, 5, 2000000000});
        startUp.progression.begin(5);
        QCOMPARE(startUp.startedSteps(), "1 5 2000000000"_s);
        QVERIFY(m_root.log().size() < 100);
        StartUp stopped({8});
        stopped.observer.inStep = [&] { stopped.state.failStart(); };
        stopped.progression.begin(999);
        QCOMPARE(stopped.progression.currentStep(), 9);
    }

    void mandatorySettings_data()
    {
        columns<QString, QString, QString, bool>("settingsManager", "messages", "line", "failed");
        const QString asked = "Checking mandatory settings "_s;
        row("not installed", "", "", "error SettingsManager not in list : no mandatory settings check", false);
        row("not running", "STARTING", "SettingsManager crashed",
            "error SettingsManager not started : no mandatory settings check", true);
        row("checked", "answers no", asked + "Mandatory settings checked"_s, "checkMandatorySettings succeed", false);
        row("reboots", "answers yes", asked + "Reboot in progress"_s, "checkMandatorySettings interrupted (stopping)",
            true);
        row("crashes", "crashes", asked + "SettingsManager crashed"_s, "error SettingsManager crashed", true);
        row("ends", "ends", asked + "SettingsManager crashed"_s, "error SettingsManager crashed", true);
        row("stopped", "stops", "Checking mandatory settings", "checkMandatorySettings interrupted (stopping)", false);
    }

    void mandatorySettings()
    {
        QFETCH(QString, settingsManager);
        QFETCH(QString, line);
        QFETCH(bool, failed);
        StartUp startUp({});
        auto &record = startUp.catalogue.applicationMap[Components::settingsManager];
        if (!settingsManager.isEmpty()) {
            record = std::make_unique<ApplicationRecord>();
            record->setModuleState(settingsManager == "STARTING"_s ? ModuleState::Starting : ModuleState::Running);
        }
        const auto react = [&] {
            if (settingsManager.startsWith("answers"_s)) {
                const bool reboot = settingsManager.endsWith("yes"_s);
                startUp.settings.checkMandatorySettingsSuccess(JovEvent(QString(), {{Events::reboot, reboot}}));
            } else {
                record->setModuleState(ModuleState::Stopped);
                settingsManager == "stops"_s ? startUp.state.beginStop() : void();
                settingsManager == "crashes"_s ? startUp.state.rebootRequested() : void();
            }
        };
        startUp.bus.onEvent = [&](const QString &event) {
            if (event == Events::checkMandatorySettings) {
                QTimer::singleShot(0, &startUp.settings, react);
            }
        };
        QVERIFY(!startUp.settings.isDone());
        startUp.settings.check();
        QVERIFY(startUp.settings.isDone());
        QCOMPARE(startUp.settings.hasFailed(), failed);
        QCOMPARE(startUp.observer.notes.filter("failed by="_s).size(), int(failed));
        QCOMPARE(startUp.state.startFailed(), failed || settingsManager == "stops"_s);
        QTEST(startUp.bus.events.filter("init_message "_s).join(u' ').remove("init_message "_s), "messages");
        QCOMPARE(m_root.log().filter(line).size(), 1);
        QVERIFY(!settingsManager.startsWith("answers"_s) || startUp.bus.subscriptions.isEmpty());
        startUp.settings.reset();
        QVERIFY(!startUp.settings.isDone() && !startUp.settings.hasFailed());
        // The next check waits for an answer of its own.
        settingsManager = "ends"_s;
        startUp.state.beginStart();
        record ? record->setModuleState(ModuleState::Running) : void();
        startUp.settings.check();
        QCOMPARE(startUp.settings.hasFailed(), record != nullptr);
    }

    void restart_data()
    {
        columns<QString, QString, QString>("orders", "inStop", "done"); // the number of an order: the current step
        row("everything", "rebuild", "", rebuilt);
        row("the same modules", "again", "", startedAgain);
        row("files that cannot be used", "unusable rebuild", "", "stop clear begin build end");
        row("requests during the stop, the thorough one wins", "again", "again rebuild again", rebuilt);
        row("nothing stops the end", "ending rebuild", "", "");
        row("the end comes during the stop", "rebuild", "ending", "stop");
        row("too early", "call4", "", "");
        row("at once", "call5", "", startedAgain);
        row("held back", "lock call5 call5", "", "");
        row("let go", "lock call5 call5 unlock5 unlock5", "", startedAgain);
        row("let go, too early", "lock call4 unlock4", "", "");
        row("nothing to let go", "lock unlock5", "", "");
        row("forgotten with a new start", "lock call5 reset unlock5", "", "");
    }

    void restart()
    {
        const auto [orders, inStop, done] = cells<QString, QString, QString>();
        Restarts restarts;
        restarts.inStop = [&restarts, words = inStop] { restarts.order(words); };
        restarts.order(orders);
        QVERIFY2(!orders.contains("call"_s) || restarts.done.isEmpty(), "the caller has its reply before the stop");
        QCoreApplication::processEvents();
        QCOMPARE(restarts.done.join(u' '), done);
        QVERIFY(!restarts.state.restartPending());
        QCOMPARE(restarts.state.restarting(), !done.isEmpty() && !done.endsWith("resume"_s));
    }

    // Frames below hold nodes: the lists are cleared when they have returned, once for all requests.
    void putOff()
    {
        Restarts restarts;
        bool released = false;
        QTimer::singleShot(0, &restarts.control, [&] {
            restarts.control.request(RestartControl::Kind::Rebuild);
            restarts.control.request(RestartControl::Kind::StartAgain);
            QCOMPARE(restarts.done.join(u' '), "stop stop"_s);
            QVERIFY(restarts.state.restartPending() && restarts.state.startsRefused());
            released = true;
        });
        restarts.state.waits().waitUntil([&] { return released; });
        QCOMPARE(restarts.done.size(), 2);
        QTRY_COMPARE(restarts.done.join(u' '), "stop "_s + rebuilt);
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(StartUpTest)

#include "StartUpTest.moc"
