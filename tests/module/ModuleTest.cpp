#include "catalogue/ApplicationRecord.h"
#include "module/ChildReaper.h"
#include "module/WaitReport.h"
#include "module/WebClient.h"
#include "support/DataTable.h"
#include "support/FakeSupervision.h"
#include "support/Processes.h"
#include "support/RootDir.h"

#include <jov/JovEvent.h>

#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <ctime>

#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

volatile sig_atomic_t otherHandlerCalls = 0;

ModuleLimits shortLimits(int stop = 300)
{
    ModuleLimits limits;
    limits.stop = stop;
    limits.stopWithEverything = 50;
    limits.presentation = 100;
    return limits;
}

/// Keeps a short patience, during a start-up.
class ShortSupervision : public FakeSupervision
{
public:
    explicit ShortSupervision(int stop = 300)
        : FakeSupervision(shortLimits(stop))
    {
        state.beginStart();
    }
};

} // namespace

class ModuleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // As a library's own.
    void initTestCase()
    {
        std::signal(SIGCHLD, [](int) { otherHandlerCalls = otherHandlerCalls + 1; });
    }

    void init()
    {
        m_root.keepLog();
        ChildReaper::instance().waitForGivenUp(5000); // A start would wait for those of the test before.
        m_record = ApplicationRecord();
        m_record.setName("M"_s);
        makeModule();
    }

    void wait_data()
    {
        columns<int, int, bool>("reachedAfter", "limit", "reached");
        row("at once", 0, -1, true);
        row("later", 100, -1, true);
        row("in time", 100, 5000, true);
        row("never", -1, 150, false);
        row("too late", 400, 150, false);
        row("no time", 0, 0, false);
    }

    void wait()
    {
        const auto [reachedAfter, limit] = cells<int, int>();
        WaitLoop waits;
        QSignalSpy idle(&waits, &WaitLoop::idle);
        bool reached = reachedAfter == 0;
        QTimer timer;
        timer.setTimerType(Qt::PreciseTimer);
        connect(&timer, &QTimer::timeout, this, [&] { reached = true; });
        if (reachedAfter > 0) {
            timer.start(reachedAfter);
        }
        QElapsedTimer elapsed;
        elapsed.start();
        const std::clock_t before = std::clock();
        QTEST(waits.waitUntil([&] { return reached; }, limit) == WaitLoop::Outcome::Reached, "reached");
        QVERIFY(elapsed.elapsed() + 1
                >= qMin(limit < 0 ? reachedAfter : limit, reachedAfter < 0 ? limit : reachedAfter));
        QVERIFY2(std::clock() - before < CLOCKS_PER_SEC / 20, "a wait sleeps");
        QCOMPARE(idle.count(), reachedAfter == 0 ? 0 : 1);
        QCOMPARE(waits.depth(), 0);
    }

    /// Two calls that arrive together: the wait that the first begins must not keep the second from being answered.
    void waitGoesOnWithTheBatch()
    {
        WaitLoop waits;
        bool reached = false;
        QEventLoop loop;
        WaitLoop::Outcome outcome = WaitLoop::Outcome::Released;
        const auto first = [&] {
            outcome = waits.waitUntil([&] { return reached; }, 5000);
            loop.quit();
        };
        QMetaObject::invokeMethod(&loop, first, Qt::QueuedConnection);
        const auto second = [&] {
            reached = true;
            waits.waitUntil([] { return false; }, 300);
        };
        QMetaObject::invokeMethod(&loop, second, Qt::QueuedConnection);
        const std::clock_t before = std::clock();
        loop.exec();
        QVERIFY2(std::clock() - before < CLOCKS_PER_SEC / 20, "a wait sleeps above one that is over");
        QCOMPARE(outcome, WaitLoop::Outcome::Reached);
    }

    void missingProgram()
    {
        ShortSupervision supervision;
        QCOMPARE(mkfifo(qPrintable(m_root.path("/fifo"_s)), 0600), 0);
        supervision.state.setParameters(Parameters::read({{"module_output"_s, "file:/fifo"_s}}));
        QVERIFY(QFile::remove(m_root.path("/usr/lib/JovApplication/M"_s)));
        Module module(&m_record, supervision.moduleContext());
        supervision.state.setRestartPending(true);
        QVERIFY(!module.start());
        QCOMPARE(module.getState(), ModuleState::Stopped);
        supervision.state.setRestartPending(false);
        QVERIFY(!module.start());
        QCOMPARE(module.getState(), ModuleState::Starting);
        QCOMPARE(m_root.log().filter("warning module_output of M cannot be opened: "_s).size(), 1);
        QVERIFY(!module.start());
        QVERIFY(!module.stop());
        makeModule();
        QTimer::singleShot(0, &module, &Module::slot_endOfInit);
        QVERIFY(module.start());
    }

    // The new process begins when the killed one has been reaped, and the old end is not taken for the new one's.
    void startAfterKill()
    {
        ShortSupervision supervision;
        Module module(&m_record, supervision.moduleContext());
        QSignalSpy crashed(&module, &Module::sig_crashed);
        disconnect(&module, &Module::sig_crashed, &module, &Module::slot_crashed);
        pid_t first = 0;
        QTimer::singleShot(20, this, [&] {
            first = m_record.getID().toInt();
            QVERIFY(!module.stop());
            supervision.bus.onEvent = [&](const QString &) { QTimer::singleShot(0, &module, &Module::slot_endOfInit); };
            QVERIFY(module.start());
            // It is not our child any more, not even a dead one.
            QVERIFY(waitpid(first, nullptr, WNOHANG) == -1);
        });
        QVERIFY(!module.start());
        QVERIFY(module.getState() == ModuleState::Running && m_record.getID().toInt() != first);
        QTest::qWait(50);
        QCOMPARE(module.getState(), ModuleState::Running);
        QCOMPARE(crashed.count(), 0);
        // Only that kill was ours.
        kill(m_record.getID().toInt(), SIGKILL);
        QTRY_COMPARE(crashed.count(), 1);
        QVERIFY(otherHandlerCalls > 0);
    }

    // A kill reaches the children of a module; those of one that ended by itself go before its next start.
    void childrenOfAModule()
    {
        ShortSupervision supervision;
        m_root.writeScript("/usr/lib/JovApplication/M"_s, "(trap '' TERM; exec sleep 1001) & sleep 1002; exit 3");
        QList<Processes::Process> family;
        const auto remain = [&family] {
            return int(std::count_if(family.begin(), family.end(), [](const Processes::Process &process) {
                return Processes::commandLine(process.pid).contains("sleep 100");
            }));
        };
        {
            Module module(&m_record, supervision.moduleContext());
            QTimer look;
            connect(&look, &QTimer::timeout, &module, [&] {
                family = Processes::below(m_record.getID().toInt());
                if (remain() == 2) {
                    look.stop();
                    module.slot_endOfInit();
                }
            });
            const auto start = [&] {
                family.clear();
                look.start(10);
                QVERIFY(module.start());
            };
            start();
            QCOMPARE(remain(), 2);
            kill(family.last().pid, SIGTERM);
            QTRY_COMPARE(module.getExitCode(), 3);
            QCOMPARE(remain(), 1);
            const QList<Processes::Process> first = family;
            start();
            QTRY_VERIFY(Processes::commandLine(first.first().pid).isEmpty());
            QCOMPARE(remain(), 2);
            QVERIFY(!module.stop());
            QVERIFY(!module.stop());
            QTRY_COMPARE(remain(), 0);
            QTRY_COMPARE(m_root.log().filter("emergency Terminal"_s).size(), 1); // the first kill is a crash
            start();
            QCOMPARE(remain(), 2);
        }
        QTRY_COMPARE(remain(), 0);
    }

    // All read from one pipe, and one that reads without waiting does not make the others do so.
    void standardInput()
    {
        m_root.writeScript("/usr/lib/JovApplication/M"_s, "dd iflag=nonblock; exec sleep 1000");
        ApplicationRecord otherRecord;
        otherRecord.setName("N"_s);
        m_root.writeScript("/usr/lib/JovApplication/N"_s, "exec sleep 1000");
        ShortSupervision supervision;
        Module module(&m_record, supervision.moduleContext());
        Module other(&otherRecord, supervision.moduleContext());
        const int before = Processes::descriptors(getpid()).size();
        for (Module *started : {&module, &other}) {
            QTimer::singleShot(0, started, &Module::slot_endOfInit);
            QVERIFY(started->start());
        }
        QVERIFY(Processes::descriptors(getpid()).size() <= before + 2);
        const auto isBlocking = [](const ApplicationRecord &record) {
            return (Processes::figure(record.getID().toInt(), "fdinfo/0", "flags") / 1000) % 10 < 4;
        };
        QTRY_VERIFY(!isBlocking(m_record));
        QVERIFY(isBlocking(otherRecord));
    }

    // Somebody else's child that has ended is the first that waitid() names.
    void foreignZombie()
    {
        const pid_t foreign = fork();
        if (foreign == 0) {
            _exit(0);
        }
        ShortSupervision supervision;
        Module module(&m_record, supervision.moduleContext());
        QTimer::singleShot(0, &module, &Module::slot_endOfInit);
        QVERIFY(module.start());
        kill(m_record.getID().toInt(), SIGTERM);
        QTRY_COMPARE(module.getState(), ModuleState::Stopped);
        QCOMPARE(waitpid(foreign, nullptr, WNOHANG), foreign);
    }

    // A debugger keeps a killed process: nobody waits for it but a start of the same name.
    void heldByADebugger()
    {
        ShortSupervision supervision;
        auto module = std::make_unique<Module>(&m_record, supervision.moduleContext());
        QTimer::singleShot(0, module.get(), &Module::slot_endOfInit);
        QVERIFY(module->start());
        const pid_t pid = m_record.getID().toInt();
        const pid_t debugger = fork();
        if (debugger == 0) {
            while (ptrace(PTRACE_SEIZE, pid, nullptr, nullptr) == 0 || pause() < 0) { }
        }
        QTRY_VERIFY(Processes::figure(pid, "status", "TracerPid") == debugger);
        QElapsedTimer elapsed;
        elapsed.start();
        module = std::make_unique<Module>(&m_record, supervision.moduleContext());
        QVERIFY(elapsed.elapsed() < 1000);
        QTimer::singleShot(100, this, [debugger] { kill(debugger, SIGKILL); });
        supervision.bus.onEvent = [&](const QString &) {
            QTimer::singleShot(0, module.get(), &Module::slot_endOfInit);
        };
        QVERIFY(module->start());
        QVERIFY(elapsed.elapsed() >= 90);
        QCOMPARE(waitpid(debugger, nullptr, 0), debugger);
    }

    // A kill during a stop of everything, reaped when the next start has begun: nothing reboots the terminal.
    void killedWithEverything()
    {
        ShortSupervision supervision;
        Module module(&m_record, supervision.moduleContext());
        QTimer::singleShot(0, &module, &Module::slot_endOfInit);
        QVERIFY(module.start());
        supervision.state.failStart();
        QVERIFY(!module.stop());
        const QString line = m_root.log().filter("info [Module] stop M done in "_s).value(0);
        QVERIFY2(line.section(u' ', -2, -2).toInt() >= shortLimits().stopWithEverything, qPrintable(line));
        supervision.state.beginStart();
        QTRY_COMPARE(m_root.log().filter("info Module M crashed during ApplicationManager::stop"_s).size(), 1);
        QCOMPARE(m_root.log().filter("emergency"_s).size(), 0);
        // The next crash is one again.
        QTimer::singleShot(0, &module, &Module::slot_endOfInit);
        QVERIFY(module.start());
        kill(m_record.getID().toInt(), SIGSEGV);
        QTRY_COMPARE(m_root.log().filter("emergency Terminal"_s).size(), 1);
    }

    // What the history records of it, with the end of what it has printed; the mask of the modules is not that of the
    // daemon.
    void crash()
    {
        QString printed = "0\n1"_s;
        for (int i = 2; i < 12; ++i) {
            printed += "\n%1"_s.arg(i);
        }
        m_root.write("/out/M"_s, printed.toUtf8());
        m_root.write("/data/core/core.M"_s, {});
        ShortSupervision supervision;
        supervision.state.setParameters(
            Parameters::read({{"module_output"_s, "file:/out/%n"_s}, {"module_umask"_s, "77"_s}}));
        const mode_t mask = umask(027);
        Module module(&m_record, supervision.moduleContext());
        QTimer::singleShot(0, &module, &Module::slot_endOfInit);
        QVERIFY(module.start());
        QCOMPARE(umask(mask), mode_t(027));
        kill(m_record.getID().toInt(), SIGSEGV);
        QTRY_COMPARE(module.getState(), ModuleState::Stopped);
        const QString reason = "reboot cause=crash core=%1 module=M output=%2 signal=11"_s.arg(
            m_root.path("/data/core/core.M"_s), printed.mid(4).replace(u'\n', u'|'));
        QCOMPARE(supervision.observer.notes, (QStringList{"launch M"_s, "exit M 11 1"_s, reason}));
        QVERIFY(supervision.state.startFailed() && supervision.state.isRebootRequested());
        QTRY_COMPARE(supervision.bus.calls, QStringList{"Platform.reboot,1,true,ApplicationManager,M crashed"_s});
        QVERIFY(!supervision.state.initInProgress());
        supervision.state.beginStart();
        QVERIFY(!supervision.state.isRebootRequested() && supervision.state.initInProgress());
    }

    void repeatedAnnouncement_data()
    {
        columns<int, bool, int>("state", "repeated", "after");
        const auto add = [](const char *name, ModuleState state, bool repeated, ModuleState after) {
            row(name, int(state), repeated, int(after));
        };
        add("waited for", ModuleState::Starting, true, ModuleState::Running);
        add("stopped", ModuleState::Stopped, true, ModuleState::Stopped);
        add("stopping", ModuleState::Stopping, true, ModuleState::Stopping);
        add("new", ModuleState::Stopped, false, ModuleState::Running);
    }

    void repeatedAnnouncement()
    {
        const auto [state, repeated] = cells<int, bool>();
        ShortSupervision supervision;
        Module module(&m_record, supervision.moduleContext());
        module.setState(ModuleState(state));
        module.endOfInitReceived(JovEvent("end_of_init_M"_s, {{"repeated"_s, repeated}}));
        QTEST(int(module.getState()), "after");
    }

    void startsOnlyOnce()
    {
        ShortSupervision supervision;
        Module module(&m_record, supervision.moduleContext());
        QTimer::singleShot(0, &module, &Module::slot_endOfInit);
        QVERIFY(module.start());
        kill(m_record.getID().toInt(), SIGSTOP);
        supervision.bus.onEvent = [&](const QString &event) {
            if (event == "stop_module_M"_s) {
                // The second stop kills it; both starts then wait for its end.
                QTimer::singleShot(0, this, [&] {
                    QVERIFY(!module.stop());
                    QTimer::singleShot(0, this, [&] { QVERIFY(!module.start()); });
                    module.start();
                });
            } else {
                QTimer::singleShot(0, &module, &Module::slot_endOfInit);
            }
        };
        module.stop();
        QTRY_COMPARE(supervision.bus.events.count("init_message Starting application M"_s), 2);
    }

    // A stop in progress keeps its limit when everything is stopped.
    void stopBelowAStopOfEverything()
    {
        ShortSupervision supervision(5000);
        Module module(&m_record, supervision.moduleContext());
        QTimer::singleShot(0, &module, &Module::slot_endOfInit);
        QVERIFY(module.start());
        QTimer::singleShot(0, &module, [&] { supervision.state.beginStop(); });
        QTimer::singleShot(100, &module, [&] { kill(m_record.getID().toInt(), SIGTERM); });
        QVERIFY(module.stop());
    }

    // Somebody else's announcement can make a module "RUNNING" that has no process.
    void nothingToStop()
    {
        ShortSupervision supervision;
        Module module(&m_record, supervision.moduleContext());
        module.slot_endOfInit();
        QCOMPARE(module.getState(), ModuleState::Running);
        QVERIFY(module.stop());
        QCOMPARE(module.getState(), ModuleState::Stopped);
    }

    // Each pause is twice as long as the one before.
    void waitReport()
    {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/no/bus");
        QElapsedTimer elapsed;
        elapsed.start();
        const WaitReport report("M"_s, 1, 30);
        const auto lines = [this] { return m_root.log().filter("waiting for M (process 1) since 0 s"_s).size(); };
        QTRY_VERIFY(lines() >= 3);
        QVERIFY(elapsed.elapsed() >= 190);
    }

    // Only the first deadline counts, and after the presentation there is none.
    void presentationTimer()
    {
        ShortSupervision supervision(5000);
        m_record.setName("JovWebClient"_s);
        WebClient module(&m_record, supervision.moduleContext());
        module.setState(ModuleState::Starting);
        module.presentationReady();
        QCOMPARE(module.getState(), ModuleState::Starting);
        module.slot_endOfInit();
        module.slot_endOfInit();
        module.presentationReady();
        module.presentationReady();
        QCOMPARE(module.getState(), ModuleState::Running);
        QTest::qWait(200);
        QVERIFY(supervision.bus.calls.isEmpty());
        QTimer again;
        again.callOnTimeout(&module, [&] { supervision.bus.calls.isEmpty() ? module.slot_endOfInit() : again.stop(); });
        again.start(10);
        QElapsedTimer elapsed;
        elapsed.start();
        QTRY_COMPARE(supervision.bus.calls, QStringList{"stopManager"_s});
        QVERIFY(elapsed.elapsed() < 4000);
        QCOMPARE(module.getState(), ModuleState::Stopped);
        module.slot_webapp_timeout();
        QCOMPARE(supervision.bus.calls.size(), 1);
    }

    // A restarted web client has the whole time again.
    void presentationTimerOfEachRun()
    {
        ShortSupervision supervision;
        m_record.setName("JovWebClient"_s);
        m_root.writeScript("/usr/lib/JovApplication/JovWebClient"_s, "exec sleep 1000");
        WebClient module(&m_record, supervision.moduleContext());
        QTimer::singleShot(0, &module, &Module::slot_endOfInit);
        QTimer::singleShot(60, &module, [&] { kill(m_record.getID().toInt(), SIGTERM); });
        supervision.state.failStart(); // its end is no crash to answer
        QVERIFY(!module.start());
        supervision.state.beginStart();
        QTimer::singleShot(0, &module, &Module::slot_endOfInit);
        QTimer::singleShot(70, &module, &WebClient::presentationReady);
        QVERIFY(module.start());
    }

private:
    /// The module's program sleeps; it ends, with this status, when it is killed or told so.
    void makeModule() const { m_root.writeScript("/usr/lib/JovApplication/M"_s, "exec sleep 1000"); }

    RootDir m_root;
    ApplicationRecord m_record;
};

QTEST_GUILESS_MAIN(ModuleTest)

#include "ModuleTest.moc"
