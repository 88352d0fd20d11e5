#include "catalogue/ApplicationRecord.h"
#include "module/ChildReaper.h"
#include "module/ModuleOutput.h"
#include "module/OutputFiles.h"
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
#include <utility>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

volatile sig_atomic_t otherHandlerCalls = 0;
constexpr int stopWithEverything = 50;
constexpr int presentation = 100;
const QString program = "/usr/lib/JovApplication/M"_s;

} // namespace

class ModuleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // As a library's own.
    void initTestCase()
    {
        std::signal(SIGPIPE, SIG_IGN);
        std::signal(SIGCHLD, [](int) { otherHandlerCalls = otherHandlerCalls + 1; });
    }

    void init()
    {
        m_root.keepLog();
        ChildReaper::instance().waitForGivenUp(5000); // A start would wait for those of the test before.
        m_record = ApplicationRecord();
        m_record.setName("M"_s);
        m_root.writeScript(program, "exec sleep 1000");
        makeModule<Module>(300);
    }

    void cleanup() { m_module.reset(); }

    void missingProgram()
    {
        QCOMPARE(mkfifo(qPrintable(m_root.path("/fifo"_s)), 0600), 0);
        m_supervision->state.setParameters(Parameters::read({{"module_output"_s, "file:/fifo"_s}}));
        QVERIFY(QFile::remove(m_root.path(program)));
        m_supervision->state.setRestartPending(true);
        QVERIFY(!m_module->start());
        QCOMPARE(m_module->getState(), ModuleState::Stopped);
        m_supervision->state.setRestartPending(false);
        QVERIFY(!m_module->start());
        QCOMPARE(m_module->getState(), ModuleState::Starting);
        QCOMPARE(logged("warning module_output of M cannot be opened: "_s), 1);
        QVERIFY(!m_module->start());
        QVERIFY(!m_module->stop());
        m_root.writeScript(program, "exec sleep 1000");
        QVERIFY(m_module->start());
        QCOMPARE(m_supervision->observer.notes, QStringList{"launch M"_s});
    }

    // The new process begins when the killed one has been reaped, and the old end is not taken for the new one's.
    void startAfterKill()
    {
        QSignalSpy crashed(m_module.get(), &Module::sig_crashed);
        disconnect(m_module.get(), &Module::sig_crashed, m_module.get(), &Module::slot_crashed);
        const auto announce = std::exchange(m_supervision->bus.onEvent, [](const QString &) {});
        pid_t first = 0;
        QTimer::singleShot(20, m_module.get(), [&] {
            first = pid();
            QVERIFY(!m_module->stop());
            m_supervision->bus.onEvent = announce;
            QVERIFY(m_module->start());
            // It is not our child any more, not even a dead one.
            QVERIFY(waitpid(first, nullptr, WNOHANG) == -1);
        });
        QVERIFY(!m_module->start());
        QVERIFY(m_module->getState() == ModuleState::Running && pid() != first);
        QTest::qWait(50);
        QCOMPARE(m_module->getState(), ModuleState::Running);
        QCOMPARE(crashed.count(), 0);
        QCOMPARE(m_record.getStatus(), "OK"_s); // no longer how the first one ended
        // Only that kill was ours.
        kill(pid(), SIGKILL);
        QTRY_COMPARE(crashed.count(), 1);
        QVERIFY(otherHandlerCalls > 0);
    }

    // A kill reaches the children of a module; those of one that ended by itself go before its next start.
    void childrenOfAModule()
    {
        m_root.writeScript(program, "(trap '' TERM; exec sleep 1001) & sleep 1002; exit 3");
        QList<Processes::Process> family;
        const auto remain = [&family] {
            return int(std::count_if(family.begin(), family.end(), [](const Processes::Process &process) {
                return Processes::commandLine(process.pid).contains("sleep 100");
            }));
        };
        QTimer look;
        look.callOnTimeout([&] {
            family = Processes::below(pid());
            if (remain() == 2) {
                look.stop();
                m_module->slot_endOfInit();
            }
        });
        m_supervision->bus.onEvent = [&](const QString &event) {
            if (event == "init_message"_s) {
                family.clear();
                look.start(10);
            }
        };
        QVERIFY(m_module->start());
        kill(family.last().pid, SIGTERM);
        QTRY_COMPARE(m_module->getExitCode(), 3);
        QCOMPARE(remain(), 1);
        const pid_t first = family.first().pid;
        QVERIFY(m_module->start());
        QTRY_VERIFY(Processes::commandLine(first).isEmpty());
        QCOMPARE(remain(), 2);
        QVERIFY(!m_module->stop());
        QVERIFY(!m_module->stop());
        QTRY_COMPARE(remain(), 0);
        QTRY_COMPARE(logged("emergency Terminal"_s), 1); // the first kill is a crash
        QVERIFY(m_module->start());
        kill(family.last().pid, SIGTERM);
        QTRY_COMPARE(m_module->getState(), ModuleState::Stopped);
        m_module.reset();
        QTRY_COMPARE(remain(), 0);
    }

    // All read from one pipe, and one that reads without waiting does not make the others do so.
    void standardInput()
    {
        m_root.writeScript(program, "dd iflag=nonblock; exec sleep 1000");
        m_root.writeScript("/usr/lib/JovApplication/N"_s, "exec sleep 1000");
        ApplicationRecord otherRecord;
        otherRecord.setName("N"_s);
        Module other(&otherRecord, m_supervision->moduleContext());
        const int before = Processes::descriptors(getpid()).size();
        QVERIFY(m_module->start());
        QTimer::singleShot(0, &other, &Module::slot_endOfInit);
        QVERIFY(other.start());
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
        siginfo_t end;
        QCOMPARE(waitid(P_PID, id_t(foreign), &end, WEXITED | WNOWAIT), 0);
        QVERIFY(m_module->start());
        kill(pid(), SIGTERM);
        QTRY_COMPARE(m_module->getState(), ModuleState::Stopped);
        QCOMPARE(waitpid(foreign, nullptr, WNOHANG), foreign);
    }

    // A debugger keeps a killed process: nobody waits for it but a start of the same name.
    void heldByADebugger()
    {
        SKIP_EMULATED("an emulated process cannot be a debugger");
        QVERIFY(m_module->start());
        const pid_t held = pid();
        const pid_t debugger = fork();
        if (debugger == 0) {
            while (ptrace(PTRACE_SEIZE, held, nullptr, nullptr) == 0 || pause() < 0) { }
        }
        QTRY_VERIFY(Processes::figure(held, "status", "TracerPid") == debugger);
        QElapsedTimer elapsed;
        elapsed.start();
        makeModule<Module>(300);
        QVERIFY(elapsed.elapsed() < 1000);
        QTimer::singleShot(0, this, [this] { m_module->endOfInitReceived(JovEvent("end_of_init_M"_s)); });
        QTimer::singleShot(100, this, [debugger] { kill(debugger, SIGKILL); });
        QVERIFY(m_module->start());
        QVERIFY(elapsed.elapsed() >= 90);
        QCOMPARE(waitpid(debugger, nullptr, 0), debugger);
    }

    // A kill during a stop of everything, reaped when the next start has begun: nothing reboots the terminal.
    void killedWithEverything()
    {
        QVERIFY(m_module->start());
        m_supervision->state.failStart();
        QVERIFY(!m_module->stop());
        const QString line = m_root.log().filter("info [Module] stop M done in "_s).value(0);
        QVERIFY2(line.section(u' ', -2, -2).toInt() >= stopWithEverything, qPrintable(line));
        m_supervision->state.beginStart();
        QTRY_COMPARE(logged("info Module M crashed during ApplicationManager::stop"_s), 1);
        QCOMPARE(logged("emergency"_s), 0);
        // The next crash is one again.
        QVERIFY(m_module->start());
        kill(pid(), SIGSEGV);
        QTRY_COMPARE(logged("emergency Terminal"_s), 1);
    }

    // What the history records of it, with the end of what it has printed; the mask and the descriptors of the modules
    // are not those of the daemon.
    void crash()
    {
        m_root.write("/out/M"_s, "0\n1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n");
        m_root.writeScript(program,
                           "ls /proc/self/fd >$JOV_ROOT/open; sh -c 'kill -PIPE $$'; echo $?; exec sleep 1000");
        m_root.write("/data/core/core.M"_s, {});
        SupervisionState &state = m_supervision->state;
        state.setParameters(Parameters::read({{"module_output"_s, "file:/out/%n"_s}, {"module_umask"_s, "77"_s}}));
        const mode_t mask = umask(027);
        const Descriptor notOurs(dup(STDERR_FILENO)); // without O_CLOEXEC
        QVERIFY(m_module->start());
        QCOMPARE(umask(mask), mode_t(027));
        QTRY_VERIFY(m_root.read("/out/M"_s).endsWith("11\n0\n"));
        QCOMPARE(m_root.read("/open"_s), QByteArray("0\n1\n2\n3\n"));
        QVERIFY(fcntl(notOurs.number(), F_GETFD) == 0);
        kill(pid(), SIGSEGV);
        QTRY_COMPARE(m_module->getState(), ModuleState::Stopped);
        QVERIFY(m_root.log().filter(QRegularExpression("Process M |emergency"_s)).first().startsWith("error"_s));
        const QString reason = "reboot cause=crash core=%1 module=M output=3|4|5|6|7|8|9|10|11|0 signal=11"_s;
        QCOMPARE(m_supervision->observer.notes,
                 (QStringList{"launch M"_s, "exit M 11 1"_s, reason.arg(m_root.path("/data/core/core.M"_s))}));
        QVERIFY(state.startFailed() && state.isRebootRequested() && !state.initInProgress());
        QTRY_COMPARE(m_supervision->bus.calls, QStringList{"Platform.reboot,1,true,ApplicationManager,M crashed"_s});
        state.beginStart();
        QVERIFY(!state.isRebootRequested() && state.initInProgress());
    }

    void announcement_data()
    {
        columns<int, bool, bool, int>("state", "repeated", "restarting", "after");
        row("waited for", int(ModuleState::Starting), true, true, int(ModuleState::Running));
        row("stopped", int(ModuleState::Stopped), true, false, int(ModuleState::Stopped));
        row("stopping", int(ModuleState::Stopping), true, false, int(ModuleState::Stopping));
        row("new", int(ModuleState::Stopped), false, false, int(ModuleState::Running));
        row("of a killed process", int(ModuleState::Stopped), false, true, int(ModuleState::Stopped));
    }

    void announcement()
    {
        const auto [state, repeated, restarting] = cells<int, bool, bool>();
        m_supervision->state.setRestarting(restarting);
        m_module->setState(ModuleState(state));
        m_module->endOfInitReceived(JovEvent("end_of_init_M"_s, {{"repeated"_s, repeated}}));
        QTEST(int(m_module->getState()), "after");
    }

    void startsOnlyOnce()
    {
        QVERIFY(m_module->start());
        kill(pid(), SIGSTOP);
        // The second stop kills it; both starts then wait for its end.
        QTimer::singleShot(0, m_module.get(), [this] {
            QVERIFY(!m_module->stop());
            QTimer::singleShot(0, m_module.get(), [this] { QVERIFY(!m_module->start()); });
            m_module->start();
        });
        m_module->stop();
        QTRY_COMPARE(m_supervision->bus.events.count("init_message Starting application M"_s), 2);
    }

    // A stop in progress keeps its limit when everything is stopped. That an earlier one was too slow is forgotten.
    void stopBelowAStopOfEverything()
    {
        makeModule<Module>(5000);
        QVERIFY(m_module->start());
        QTest::qWait(100);
        m_module->beginStop();
        QVERIFY(m_module->stopTimeLeft() > 4900);
        m_supervision->state.failStart(); // its end is no crash to answer
        m_module->expireStop();
        QVERIFY(!m_module->awaitStop(0));
        m_supervision->state.beginStart();
        QVERIFY(m_module->start());
        QTimer::singleShot(0, m_module.get(), [this] { m_supervision->state.beginStop(); });
        QTimer::singleShot(100, m_module.get(), [this] { kill(pid(), SIGTERM); });
        QVERIFY(m_module->stop());
    }

    // Somebody else's announcement can make a module "RUNNING" that has no process.
    void nothingToStop()
    {
        m_module->slot_endOfInit();
        QCOMPARE(m_module->getState(), ModuleState::Running);
        QVERIFY(m_module->stop());
        QCOMPARE(m_module->getState(), ModuleState::Stopped);
        QVERIFY(m_module->beginAhead() && !m_module->stop() && !m_module->isBegunAhead());
    }

    // A log program that a change replaces reads to the end, and a start-up is over before one begins; a file that has
    // grown is moved away.
    void output()
    {
        std::unique_ptr<LogProgram> log;
        Descriptor output;
        for (const auto &command : {"|cat; echo >$JOV_ROOT/end"_s, "|cat"_s}) {
            openModuleOutput(Parameters::read({{"module_output"_s, command}}).moduleOutput, "M"_s, log, output);
            QCOMPARE(log->command(), command.mid(1));
        }
        QTRY_VERIFY(QFile::exists(m_root.path("/end"_s)));
        QElapsedTimer sinceLaunch;
        sinceLaunch.start();
        openModuleOutput(Parameters::read({{"module_output"_s, "|echo >$JOV_ROOT/begun"_s}}).moduleOutput, "M"_s, log,
                         output);
        QTRY_VERIFY((output.reset(log->open()), QFile::exists(m_root.path("/begun"_s)))); // more launches
        QVERIFY(sinceLaunch.elapsed() >= 450);
        m_root.write("/large"_s, QByteArray(70000, '.'));
        const mode_t mask = umask(077);
        openModuleOutput(Parameters::read({{"module_output"_s, "file:/large"_s}}).moduleOutput, "M"_s, log, output);
        umask(0);
        const OutputSetting own = Parameters::read({{"module_output"_s, "file:/new/%n"_s}}).moduleOutput;
        OutputFiles files;
        files.createMissing(own, {"M"_s, "N"_s});
        openModuleOutput(own, "M"_s, log, output);
        umask(mask);
        QTRY_COMPARE(int(QFile::permissions(m_root.path("/new/N"_s))) & 0x0077, 0x0040);
        QCOMPARE(int(QFile::permissions(m_root.path("/new"_s))) & 0x0022, 0);
        QCOMPARE(int(QFile::permissions(m_root.path("/large"_s))) & 0x0077, 0x0040);
        QCOMPARE(m_root.read("/large.old"_s).size(), 70000);
    }

    // Each pause is twice as long as the one before.
    void waitReport()
    {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/no/bus");
        QElapsedTimer elapsed;
        elapsed.start();
        const WaitReport report("M"_s, 1, 30);
        QTRY_VERIFY(logged("waiting for M (process 1) since 0 s"_s) >= 3);
        QVERIFY(elapsed.elapsed() >= 190);
    }

    // Only the first deadline counts, and after the presentation there is none.
    void presentationTimer()
    {
        makeModule<WebClient>(5000);
        auto *client = static_cast<WebClient *>(m_module.get());
        client->setState(ModuleState::Starting);
        client->presentationReady();
        QCOMPARE(client->getState(), ModuleState::Starting);
        client->slot_endOfInit();
        client->slot_endOfInit();
        client->presentationReady();
        client->presentationReady();
        QCOMPARE(client->getState(), ModuleState::Running);
        QTest::qWait(200);
        const QStringList &calls = m_supervision->bus.calls;
        QVERIFY(calls.isEmpty() && logged("Webapp timer triggered"_s) == 0);
        m_supervision->bus.onEvent = [this](const QString & /*stop*/) {
            QVERIFY(m_supervision->observer.notes.contains("ending cause=presentation"_s));
        };
        QTimer again;
        again.callOnTimeout([&] { calls.isEmpty() ? client->slot_endOfInit() : again.stop(); });
        again.start(10);
        QElapsedTimer elapsed;
        elapsed.start();
        QTRY_COMPARE(calls, QStringList{"stopManager"_s});
        QVERIFY(elapsed.elapsed() < 4000);
        QCOMPARE(client->getState(), ModuleState::Stopped);
        client->slot_webapp_timeout();
        m_supervision->state.endInit();
        client->setState(ModuleState::WebClientStarted);
        client->slot_webapp_timeout(); // after the boot it is only stopped
        QCOMPARE(client->getState(), ModuleState::Stopped);
        QCOMPARE(calls.size(), 1);
    }

    // A restarted web client has the whole time again.
    void presentationTimerOfEachRun()
    {
        makeModule<WebClient>(300);
        auto *client = static_cast<WebClient *>(m_module.get());
        QTimer::singleShot(60, client, [this] { kill(pid(), SIGTERM); });
        m_supervision->state.failStart(); // its end is no crash to answer
        QVERIFY(!client->start());
        m_supervision->state.beginStart();
        QTimer::singleShot(70, client, &WebClient::presentationReady);
        QVERIFY(client->start());
    }

private:
    /// During a start-up; it announces itself at once.
    template <typename Kind>
    void makeModule(int stopLimit)
    {
        m_module.reset();
        m_supervision = std::make_unique<FakeSupervision>(ModuleLimits{stopLimit, stopWithEverything, presentation});
        m_supervision->state.beginStart();
        m_module = std::make_unique<Kind>(&m_record, m_supervision->moduleContext());
        m_supervision->bus.onEvent = [this](const QString &event) {
            if (event == "init_message"_s) {
                QTimer::singleShot(0, m_module.get(), &Module::slot_endOfInit);
            }
        };
    }
    [[nodiscard]] pid_t pid() const { return m_record.getID().toInt(); }
    [[nodiscard]] int logged(const QString &text) const { return m_root.log().filter(text).size(); }

    RootDir m_root;
    ApplicationRecord m_record;
    std::unique_ptr<FakeSupervision> m_supervision;
    std::unique_ptr<Module> m_module;
};

QTEST_GUILESS_MAIN(ModuleTest)

#include "ModuleTest.moc"
