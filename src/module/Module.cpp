#include "module/Module.h"

#include "catalogue/ApplicationRecord.h"
#include "catalogue/ModulePaths.h"
#include "module/CrashPolicy.h"
#include "supervision/SupervisionObserver.h"
#include "supervision/Supervisor.h"
#include "supervision/WaitLoop.h"

#include <jov/JovProcess.h>
#include <jov/JovRoot.h>
#include <jov/Log.h>

#include <QFile>

#include <csignal>

using namespace ModuleState;

namespace {

QString endOfInitEvent(const QString &name)
{
    return QStringLiteral("end_of_init_") + name;
}

const QString presentationReadyEvent = QStringLiteral("presentationReady");

/// Industrial mode runs the terminal without its sound and its desk application.
bool isLeftOutInIndustrialMode(const QString &name)
{
    return qEnvironmentVariableIsSet("INDUSTRIAL_MODE")
        && (name == QLatin1String("jovaudio") || name == QLatin1String("kelmmi"));
}

} // namespace

Module::Module(ApplicationRecord *record, Supervisor &supervisor)
    : Application(record)
    , m_supervisor(supervisor)
    , m_record(record)
{
    const QString name = getName();
    if (!m_supervisor.subscribeEvent(endOfInitEvent(name), this, SLOT(slot_endOfInit()))) {
        Log::error("[Module] constructor %1 cannot subscribe to end_of_init", name);
    }
    connect(this, &Module::sig_crashed, this, &Module::slot_crashed);

    Module::setState(Stopped);
    if (isWebClient()) {
        m_webappTimer = std::make_unique<QTimer>();
        m_webappTimer->setSingleShot(true);
        m_webappTimer->setTimerType(Qt::PreciseTimer);
        m_webappTimer->setInterval(m_supervisor.moduleLimits().presentation);
        connect(m_webappTimer.get(), &QTimer::timeout, this, &Module::slot_webapp_timeout);
        m_supervisor.subscribeEvent(presentationReadyEvent, this, SLOT(presentationReady()));
    }
    setStatus(QStringLiteral("OK"));
}

Module::~Module()
{
    if (isWebClient()) {
        m_supervisor.unsubscribeEvent(presentationReadyEvent, this, SLOT(presentationReady()));
    }
    m_supervisor.unsubscribeEvent(endOfInitEvent(getName()), this, SLOT(slot_endOfInit()));
}

bool Module::isWebClient() const
{
    return getName() == QLatin1String("JovWebClient");
}

void Module::setState(const QString &state)
{
    const QString old = getState();
    Application::setState(state);
    if (old != state) {
        m_supervisor.observer().noteState(getName(), old, state);
    }
}

bool Module::start()
{
    const QString name = getName();
    if (getState() != Stopped || m_startPending || m_supervisor.startsRefused() || !waitForPreviousProcess()) {
        Log::error("[Module] start %1 ret false (state= %2)", name, getState());
        return false;
    }
    m_supervisor.notifyEvent(QStringLiteral("init_message"),
                             {{QStringLiteral("message"), QStringLiteral("Starting application %1").arg(name)}});
    setState(Starting);
    if (!launch()) {
        return false;
    }
    return waitUntilStarted();
}

// There is one process a module: a killed one that is not reaped yet still counts, and its end must not be taken for
// the end of the next.
bool Module::waitForPreviousProcess()
{
    const auto reaped = [this] { return !m_process.isRunning(); };
    if (reaped()) {
        return true;
    }
    m_startPending = true;
    const quint64 generation = m_supervisor.stopGeneration();
    m_supervisor.waits().waitUntil(
        [&] { return reaped() || !m_startPending || m_supervisor.stopGeneration() != generation; });
    const bool goOn = m_startPending && reaped() && getState() == Stopped && !m_supervisor.startsRefused()
        && m_supervisor.stopGeneration() == generation;
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
    ChildProcess::Command command;
    command.program = directory + name;
    command.arguments = QStringList(QStringLiteral("--moduleName=") + name) + m_record->getExtraArgs();
    command.workingDirectory = directory;
    command.quiet = !m_supervisor.debugMode();
    if (!m_process.start(command)) {
        Log::warning("[Module] launch error :%1 exec : %2", m_process.errorString(), command.program);
        return false;
    }
    const qint64 pid = m_process.processId();
    Log::info("[Module] PID of :%1 : %2", name, pid);
    config->setID(QString::number(pid));
    m_supervisor.observer().noteLaunch(name);
    return true;
}

bool Module::waitUntilStarted()
{
    const QString name = getName();
    const quint64 run = m_run;
    const bool settled = waitState({Running, Stopped}, -1);
    if (m_run != run) {
        Log::error("[Module] start %1 ret false [stopped] state= %2)", name, Stopped);
        return false;
    }
    if (!settled) {
        Log::error("[Module] start %1 ret false [timeout kill] state= %2)", name, getState());
        killAsOurOwnDoing();
        setState(Stopped);
        return false;
    }
    if (getState() == Stopped) {
        Log::error("[Module] start %1 ret false [stopped] state= %2)", name, getState());
        return false;
    }
    Log::debug("[Module] start %1 ret true state= %2)", name, getState());
    return true;
}

bool Module::waitState(const QStringList &states, int timeout)
{
    Log::debug("waitState() method - timeout : %1", timeout);
    const quint64 run = m_run;
    const quint64 generation = m_supervisor.stopGeneration();
    const bool unlimited = timeout < 0;
    const auto reached = [&] { return m_run != run || states.contains(getState()); };
    // Only a wait without a limit is given up by a stop of everything: the others end in time by themselves.
    const auto released = [&] { return unlimited && m_supervisor.stopGeneration() != generation; };
    const WaitLoop::Outcome outcome = m_supervisor.waits().waitUntil([&] { return reached() || released(); }, timeout);
    return outcome == WaitLoop::Outcome::Reached && reached();
}

bool Module::stop()
{
    const QString name = getName();
    const QString state = getState();
    if (state != Running && state != WebClientStarted) {
        killAsOurOwnDoing();
        Log::error("[Module] stopped %1 ret false [during start] (state= %2)", name, state);
        setState(Stopped);
        return false;
    }
    setState(Stopping);
    m_startTimer.restart();
    const quint64 run = m_run;
    Log::info("Trying to stop module %1", name);
    m_supervisor.notifyEvent(QStringLiteral("stop_module_") + name);
    if (!m_process.isRunning()) {
        // Somebody else's announcement had made it "RUNNING": there is nothing that could end.
        setState(Stopped);
    }
    const ModuleLimits &limits = m_supervisor.moduleLimits();
    const int limit = m_supervisor.startFailed() ? limits.stopWithEverything : limits.stop;
    const bool stopped = waitState({Stopped}, limit) || m_run != run;
    if (!stopped) {
        m_killedOnStop = m_process.isRunning();
        m_process.kill();
        Log::error("[Module] stopped %1 ret false [timeout] (state= %2)", name, getState());
        setState(Stopped);
    }
    Log::info("[Module] stop %1 done in %2 ms", name, m_startTimer.elapsed());
    return stopped;
}

void Module::killAsOurOwnDoing()
{
    m_startPending = false;
    if (m_process.isRunning()) {
        m_ownKill = !m_killedOnStop;
        m_process.kill();
    }
}

void Module::slot_endOfInit()
{
    const QString name = getName();
    Log::debug("[Module] end of init %1 received(start done in %2 ms)", name,
               m_startTimer.isValid() ? m_startTimer.elapsed() : 0);
    if (!isWebClient()) {
        setState(Running);
        return;
    }
    if (m_supervisor.getParameters().contains(QStringLiteral("no_webapp_timer"))) {
        Log::debug("no webapp timer");
    } else {
        Log::debug("Starting webapp timer");
        if (!m_webappTimer->isActive()) {
            // A timer that runs is left alone: the earlier deadline is the one that counts, and a flood costs nothing.
            m_webappTimer->start();
        }
    }
    setState(WebClientStarted);
}

void Module::presentationReady()
{
    Log::debug("presentationReady() method");
    if (getState() != WebClientStarted) {
        return;
    }
    if (m_webappTimer && m_webappTimer->isActive()) {
        Log::debug("Remove webapp timer");
        m_webappTimer->stop();
    }
    setState(Running);
}

void Module::slot_webapp_timeout()
{
    Log::debug("Webapp timer triggered");
    if (getState() != WebClientStarted) {
        return;
    }
    Log::error("Webapp timeout : Failed to receive presentationReady event");
    stop();
    if (m_supervisor.initInProgress()) {
        m_supervisor.stopManager();
    }
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
        m_supervisor.notifyEvent(
            QStringLiteral("SHOW_POPUP_EVENT"),
            {{QStringLiteral("text"), QStringLiteral("%1 stopped because of bad libs, will reset").arg(name)}});
    }
    const QString state = getState();
    if (crashed && state == Stopping) {
        Log::debug("[Module] Forgive crash in STOPPING state for %1", name);
        crashed = false;
    }
    if (m_ownKill) {
        crashed = false;
    }
    m_ownKill = false;
    m_killedOnStop = false;
    if (config) {
        config->setID(QStringLiteral("0"));
    }
    Log::debug("[Module] Process %1 in state %2 finished ret=%3 ; %4", name, state, code,
               crashed ? QLatin1String("Crashed") : QLatin1String("Normal"));
    exitCode = code;
    setStatus(getExitCodeInString(code));
    m_supervisor.observer().noteExit(name, code);
    setState(Stopped);
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
    if (m_supervisor.startFailed()) {
        Log::info("Module %1 crashed during ApplicationManager::stop", name);
        return;
    }
    Log::emergency("Terminal will reboot now: %1 crashed", name);
    // A kill after a stop's time-out is answered like any other crash: slot_finished() has cleared the flag by the time
    // that it tells of it. Set is what finds who calls this slot between the kill and the end of the process.
    if (m_killedOnStop) {
        m_killedOnStop = false;
        if (QFile::exists(JovRoot::rooted(QStringLiteral("/data/core/core.%1").arg(name)))) {
            Log::debug("Suppress core for %1 NO", name);
        }
        return;
    }
    CrashPolicy(m_supervisor).apply(name);
}
