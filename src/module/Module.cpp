#include "module/Module.h"

#include "catalogue/ApplicationRecord.h"
#include "catalogue/ModulePaths.h"
#include "contract/Events.h"
#include "contract/ExitText.h"
#include "module/ChildReaper.h"
#include "module/CrashPolicy.h"
#include "module/ModuleOutput.h"
#include "module/WaitReport.h"
#include "supervision/BusAccess.h"
#include "supervision/SupervisionObserver.h"
#include "supervision/SupervisionState.h"

#include <jov/JovEvent.h>
#include <jov/JovProcess.h>
#include <jov/JovRoot.h>
#include <jov/Log.h>

#include <QFile>

#include <algorithm>
#include <csignal>
#include <utility>

namespace {

/// Industrial mode runs the terminal without its sound and its desk application.
bool isLeftOutInIndustrialMode(const QString &name)
{
    return qEnvironmentVariableIsSet("INDUSTRIAL_MODE")
        && (name == QLatin1String("jovaudio") || name == QLatin1String("kelmmi"));
}

} // namespace

Module::Module(ApplicationRecord *record, const ModuleContext &context)
    : Application(record)
    , m_context(context)
{
    const QString name = getName();
    if (!m_context.bus.subscribeEvent(Events::endOfInitOf(name), this, SLOT(endOfInitReceived(JovEvent)))) {
        Log::error("[Module] constructor %1 cannot subscribe to end_of_init", name);
    }
    connect(this, &Module::sig_crashed, this, &Module::slot_crashed);

    Module::setState(ModuleState::Stopped);
    setStatus(QStringLiteral("OK"));
}

Module::~Module()
{
    m_context.bus.unsubscribeEvent(Events::endOfInitOf(getName()), this, SLOT(endOfInitReceived(JovEvent)));
}

void Module::setState(ModuleState state)
{
    const ModuleState old = getState();
    Application::setState(state);
    if (old == ModuleState::Stopping) {
        m_stopTime = m_startTimer.elapsed();
    }
    if (old != state) {
        m_context.observer.noteState(getName(), old, state);
        Q_EMIT changed();
    }
}

bool Module::start()
{
    const QString name = getName();
    if (getState() != ModuleState::Stopped || m_startPending || m_context.state.startsRefused()
        || !waitForPreviousProcess()) {
        Log::error("[Module] start %1 ret false (state= %2)", name, stateText(getState()));
        return false;
    }
    settleAhead();
    return begin() && await();
}

bool Module::canBegin() const
{
    return getState() == ModuleState::Stopped && !m_startPending && !m_context.state.startsRefused()
        && isPreviousReaped();
}

bool Module::begin()
{
    m_context.bus.notifyEvent(Events::initMessage,
                              {{Events::message, QStringLiteral("Starting application %1").arg(getName())}});
    setState(ModuleState::Starting);
    return launch();
}

bool Module::beginAhead()
{
    settleAhead();
    m_ahead = Ahead::Launched;
    if (!begin()) {
        m_ahead = Ahead::NotLaunched;
    }
    return m_ahead == Ahead::Launched;
}

void Module::settleAhead()
{
    if (std::exchange(m_ahead, Ahead::No) == Ahead::Launched) {
        startResult();
    }
}

// A module has one process: a killed one that is not reaped yet is still it, and its end must not be taken for
// the end of the next. One of an earlier list of modules can still be held, too.
bool Module::isPreviousReaped() const
{
    return !m_process.isRunning() && !ChildReaper::instance().holds(getName());
}

bool Module::waitForPreviousProcess()
{
    if (isPreviousReaped()) {
        return true;
    }
    m_startPending = true;
    const quint64 generation = m_context.state.stopGeneration();
    m_context.state.waits().waitUntil(
        [&] { return isPreviousReaped() || !m_startPending || m_context.state.stopGeneration() != generation; });
    const bool goOn = m_startPending && isPreviousReaped() && getState() == ModuleState::Stopped
        && !m_context.state.startsRefused() && m_context.state.stopGeneration() == generation;
    m_startPending = false;
    return goOn;
}

bool Module::launch()
{
    setStatus(QStringLiteral("OK"));
    const QString name = getName();
    if (isLeftOutInIndustrialMode(name)) {
        Log::info("[Module] industrial mode, do not launch %1", name);
        return false;
    }
    const QString directory = JovRoot::rooted(ModulePaths::moduleDirectory());
    ++m_run;
    m_startTimer.restart();
    launching();
    ChildProcess::Command command;
    command.name = name;
    command.mask = m_context.state.parameters().moduleUmask;
    command.program = directory + name;
    command.arguments = QStringList(QStringLiteral("--moduleName=") + name) + config->getExtraArgs();
    command.workingDirectory = directory;
    command.quiet = !m_context.state.usesOwnStreams();
    Descriptor output;
    if (command.quiet) {
        openModuleOutput(m_context.state.parameters().moduleOutput, name, m_logProgram, output);
        command.output = output.number();
    }
    if (!m_process.start(command)) {
        Log::warning("[Module] launch error :%1 exec : %2", m_process.errorString(), command.program);
        return false;
    }
    const qint64 pid = m_process.processId();
    Log::info("[Module] PID of :%1 : %2", name, pid);
    config->setID(QString::number(pid));
    m_context.observer.noteLaunch(name);
    return true;
}

bool Module::await()
{
    if (std::exchange(m_ahead, Ahead::No) == Ahead::NotLaunched) {
        return false;
    }
    const QString name = getName();
    const quint64 run = m_run;
    const WaitReport report(name, m_process.processId(), m_context.state.limits().waitReport);
    const bool settled = waitState({ModuleState::Running, ModuleState::Stopped}, -1);
    if (m_run != run) {
        Log::error("[Module] start %1 ret false [stopped] state= %2)", name, stateText(ModuleState::Stopped));
        return false;
    }
    if (!settled) {
        Log::error("[Module] start %1 ret false [timeout kill] state= %2)", name, stateText(getState()));
        killAsOurOwnDoing();
        setState(ModuleState::Stopped);
        return false;
    }
    return startResult();
}

bool Module::startResult() const
{
    if (getState() == ModuleState::Stopped) {
        Log::error("[Module] start %1 ret false [stopped] state= %2)", getName(), stateText(getState()));
        return false;
    }
    Log::debug("[Module] start %1 ret true state= %2)", getName(), stateText(getState()));
    return true;
}

bool Module::waitState(std::initializer_list<ModuleState> states, int timeout)
{
    Log::debug("waitState() method - timeout : %1", timeout);
    const quint64 run = m_run;
    const quint64 generation = m_context.state.stopGeneration();
    const bool unlimited = timeout < 0;
    const auto isReached = [&](ModuleState state) { return state == getState(); };
    const auto reached = [&] { return m_run != run || std::any_of(states.begin(), states.end(), isReached); };
    // Only a wait without a limit is given up by a stop of everything: the others end in time by themselves.
    const auto released = [&] { return unlimited && m_context.state.stopGeneration() != generation; };
    const WaitLoop::Outcome outcome =
        m_context.state.waits().waitUntil([&] { return reached() || released(); }, timeout);
    return outcome == WaitLoop::Outcome::Reached && reached();
}

bool Module::stop()
{
    const QString name = getName();
    const ModuleState state = getState();
    if (state != ModuleState::Running && state != ModuleState::WebClientStarted) {
        killAsOurOwnDoing();
        Log::error("[Module] stopped %1 ret false [during start] (state= %2)", name, stateText(state));
        setState(ModuleState::Stopped);
        settleAhead();
        return false;
    }
    return awaitStop(beginStop());
}

int Module::beginStop()
{
    const QString name = getName();
    if (getState() == ModuleState::Running) {
        settleAhead();
    }
    setState(ModuleState::Stopping);
    m_startTimer.restart();
    m_stoppedRun = m_run;
    m_stopExpired = false;
    Log::info("Trying to stop module %1", name);
    m_context.bus.notifyEvent(Events::stopOf(name));
    if (!m_process.isRunning()) {
        // Somebody else's announcement had made it "RUNNING": there is nothing that could end.
        setState(ModuleState::Stopped);
    }
    return stopLimit();
}

int Module::stopLimit() const
{
    const ModuleLimits &limits = m_context.state.limits();
    return m_context.state.startFailed() ? limits.stopWithEverything : limits.stop;
}

int Module::stopTimeLeft() const
{
    return int(qMax(stopLimit() - m_startTimer.elapsed(), qint64(1)));
}

bool Module::awaitStop(int limit)
{
    const quint64 run = m_stoppedRun;
    const bool ended = waitState({ModuleState::Stopped}, limit) || m_run != run;
    // By expireStop(), perhaps in the turn of the event loop in which this wait ends, too.
    const bool expired = m_stopExpired && m_stoppedRun == run;
    const bool stopped = ended && !expired;
    if (!stopped) {
        const ModuleState state = ended || expired ? ModuleState::Stopping : getState();
        Log::error("[Module] stopped %1 ret false [timeout] (state= %2)", getName(), stateText(state));
    }
    if (!ended && !expired) {
        killAfterLimit();
    }
    settleAhead();
    Log::info("[Module] stop %1 done in %2 ms", getName(), m_stopTime);
    return stopped;
}

void Module::expireStop()
{
    if (getState() == ModuleState::Stopping && m_run == m_stoppedRun) {
        m_stopExpired = true;
        killAfterLimit();
    }
}

void Module::killAfterLimit()
{
    m_killedOnStop = m_process.isRunning();
    m_killedWithEverything = m_killedOnStop && m_context.state.startFailed();
    m_process.kill();
    setState(ModuleState::Stopped);
}

void Module::killAsOurOwnDoing()
{
    m_startPending = false;
    if (m_process.isRunning()) {
        m_ownKill = !m_killedOnStop;
        m_process.kill();
    }
}

void Module::endOfInitReceived(const JovEvent &event)
{
    const bool isOfAnother = event.getArgument(Events::repeated).toBool() || isLate();
    if (getState() == ModuleState::Starting || !isOfAnother) {
        slot_endOfInit();
    }
}

// A process that was killed during its start may have announced itself just before. That would make a module without a
// process "RUNNING", and the start that is to come would not launch it.
bool Module::isLate() const
{
    return getState() == ModuleState::Stopped && (m_startPending || m_context.state.restarting());
}

void Module::slot_endOfInit()
{
    const QString name = getName();
    Log::debug("[Module] end of init %1 received(start done in %2 ms)", name,
               m_startTimer.isValid() ? m_startTimer.elapsed() : 0);
    announced();
}

void Module::announced()
{
    setState(ModuleState::Running);
}

void Module::slot_finished(int code, QProcess::ExitStatus exitStatus)
{
    const QString name = getName();
    bool crashed = exitStatus == QProcess::CrashExit;
    if (code == 0 && crashed) {
        code = SIGABRT;
    }
    if (code == 127 && !crashed) {
        Log::error("[Module] process %1 stopped because of bad libs", name);
        m_context.bus.notifyEvent(
            Events::showPopup,
            {{Events::text, QStringLiteral("%1 stopped because of bad libs, will reset").arg(name)}});
    }
    const ModuleState state = getState();
    if (crashed && state == ModuleState::Stopping) {
        Log::debug("[Module] Forgive crash in STOPPING state for %1", name);
        crashed = false;
    }
    if (m_ownKill) {
        crashed = false;
    }
    m_ownKill = false;
    m_stopTimedOut = std::exchange(m_killedOnStop, false);
    if (config) {
        config->setID(QStringLiteral("0"));
    }
    Log::debug("[Module] Process %1 in state %2 finished ret=%3 ; %4", name, stateText(state), code,
               crashed ? QLatin1String("Crashed") : QLatin1String("Normal"));
    exitCode = code;
    setStatus(getExitCodeInString(code));
    m_context.observer.noteExit(name, code, exitStatus == QProcess::CrashExit);
    setState(ModuleState::Stopped);
    if (state == ModuleState::Stopped) {
        Q_EMIT changed();
    }
    m_killedWithEverything = m_killedWithEverything && crashed;
    if (crashed) {
        Q_EMIT sig_crashed();
    }
}

void Module::slot_error(QProcess::ProcessError error)
{
    Log::error("[Module] Process %1 error %2", getName(), getProcessErrorInString(error));
}

void Module::slot_crashed()
{
    const QString name = getName();
    // The process can be reaped when the next start has begun already.
    if (std::exchange(m_killedWithEverything, false) || m_context.state.startFailed()) {
        Log::info("Module %1 crashed during ApplicationManager::stop", name);
        return;
    }
    Log::emergency("Terminal will reboot now: %1 crashed", name);
    m_context.crashes.note({name, exitCode, m_stopTimedOut});
    // A kill after a stop's time-out is answered like any other crash, as slot_finished() has cleared the flag before
    // it emits the signal. It is set only for a caller of this slot between the kill and the end of the process.
    if (m_killedOnStop) {
        m_killedOnStop = false;
        if (QFile::exists(JovRoot::rooted(QStringLiteral("/data/core/core.%1").arg(name)))) {
            Log::debug("Suppress core for %1 NO", name);
        }
        return;
    }
    m_context.crashes.apply(name);
}
