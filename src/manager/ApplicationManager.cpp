#include "manager/ApplicationManager.h"

#include "contract/Components.h"
#include "contract/Events.h"
#include "contract/HistoryNames.h"
#include "manager/ApplicationManagerAdaptor.h"
#include "manager/BootSummary.h"
#include "manager/Inspection.h"
#include "manager/StepFile.h"
#include "monitoring/ApplicationMemory.h"

#include <jov/JovProcess.h>
#include <jov/JovRoot.h>
#include <jov/Log.h>

ApplicationManager::ApplicationManager(const ManagerTiming &timing)
    : JovModule(Components::applicationManager)
    , m_state(timing.module)
    , m_bus(*this)
    , m_reboot(m_bus, m_state, timing.reboot)
    , m_crashes(m_state, m_journal, *this, m_reboot)
    , m_blackBox([this] { return m_progression.currentStep(); })
    , m_launchAhead(m_state, m_inventory.catalogue(), m_inventory.steps())
    , m_control(m_state, m_inventory, m_journal, m_startContext)
    , m_watchdog(m_bus, m_control, m_inventory.catalogue(), m_procReader, timing.watchdog)
    , m_settings(m_bus, m_watchdog)
    , m_endOfInit(m_state, m_bus, m_journal, m_settings, m_watchdog)
    , m_startContext{m_state, m_journal, m_endOfInit, m_launchAhead}
    , m_mandatorySettings(m_state, m_bus, m_journal, m_inventory.catalogue())
    , m_progression(m_state, m_bus, m_inventory.steps(), m_startContext, m_mandatorySettings, m_parentReport)
    , m_restarts(m_state, *this)
{
    noteEnds();
}

ApplicationManager::~ApplicationManager()
{
    m_blackBox.noteEnd();
    ApplicationManager::clearAllLists();
}

bool ApplicationManager::check()
{
    Log::debug("Check");
    m_ownRecord.setName(getModuleName());
    m_ownRecord.setType(ApplicationType::Module);
    m_ownRecord.setDescription(QStringLiteral("ApplicationManager"));
    return true;
}

bool ApplicationManager::deploy()
{
    m_timer.restart();
    Log::debug("deploy");
    Log::info("deploy done in  %1 ms", m_timer.elapsed());
    return true;
}

bool ApplicationManager::init()
{
    beginStart();
    Log::debug("init");
    m_timer.restart();
    m_restarts.reset();
    m_inventory.readMemorySize();
    if (!buildAll()) {
        noteFailedInit();
        return false;
    }
    registerDBusApplicationConfig();
    registerDBusSetting();
    subscribeEvent(Events::lockReboot, this, SLOT(pltfLockReboot(JovEvent)));
    if (!subscribeEvent(Events::unlockReboot, this, SLOT(pltfUnlockReboot(JovEvent)))) {
        Log::debug("Application manager Erreur subcribe event PLTF_UNLOCK_REBOOT");
    }
    new ApplicationManagerAdaptor(this, m_state.waits());
    Inspection::create(this, m_state, m_inventory, m_journal, m_progression);
    m_initialised = true;
    Log::info("Init done in %1 ms", m_timer.elapsed());
    return true;
}

bool ApplicationManager::init_step()
{
    Log::debug("run");
    // A second daemon does not come so far: its end is none of the terminal's.
    m_blackBox.begin(m_state.parameters().historyFile, m_state.parameters().historySize);
    const OutputSetting &output = m_state.parameters().moduleOutput;
    if (output.kind == OutputSetting::Kind::File && !m_state.usesOwnStreams()) {
        m_outputFiles.createMissing(output, m_inventory.steps().moduleNames());
    }
    m_progression.begin(readStepFile(JovRoot::rooted(QStringLiteral("/tmp/step"))));
    return true;
}

bool ApplicationManager::stop()
{
    m_timer.restart();
    Log::debug("stop");
    unsubscribeEvent(Events::lockReboot, this, SLOT(pltfLockReboot(JovEvent)));
    unsubscribeEvent(Events::unlockReboot, this, SLOT(pltfUnlockReboot(JovEvent)));
    m_state.failStart();
    m_watchdog.cancel();
    m_crashes.end();
    stopAll();
    // Where frames of walks are still on the stack the destructor does it, after they have returned with the loop.
    if (m_state.waits().depth() == 0) {
        clearAllLists();
    }
    return true;
}

void ApplicationManager::clearAllLists()
{
    m_launchAhead.clear();
    m_inventory.clear();
}

void ApplicationManager::beginStart()
{
    m_state.beginStart();
    m_crashes.release();
    m_reboot.cancel();
    m_state.setParameters(Parameters::read(getParameters()));
    m_mandatorySettings.reset();
    m_journal.noteStart(m_initialised);
    m_blackBox.noteRestart();
    if (m_initialised) {
        m_blackBox.begin(m_state.parameters().historyFile, m_state.parameters().historySize);
        Q_EMIT parametersRead();
    }
}

// A second daemon beside one that runs is not the terminal's: it has nothing to write down.
void ApplicationManager::noteFailedInit()
{
    const JovReply reply = m_bus.syncRemoteCall(Components::applicationManager, QStringLiteral("getStepInfra"), {});
    if (reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown")) {
        m_blackBox.begin(m_state.parameters().historyFile, m_state.parameters().historySize);
        m_journal.noteFailedStart({{History::Key::cause, QString(History::Cause::files)}});
    }
}

void ApplicationManager::noteEnds()
{
    connect(&m_journal, &Journal::startFailed, &m_blackBox, &BlackBox::noteFailed);
    connect(&m_journal, &Journal::rebootComes, &m_blackBox, &BlackBox::noteReboot);
    connect(&m_journal, &Journal::rebootUntaken, &m_blackBox, &BlackBox::noteUntaken);
    connect(&m_reboot, &RebootRequest::untaken, &m_journal, &Journal::rebootUntaken);
    connect(&m_journal, &Journal::ending, &m_blackBox, &BlackBox::noteReason);
    connect(&m_journal, &Journal::stepDone, this, [this](const QString & /*name*/, int value) {
        if (value == m_inventory.steps().last()->getValue()) {
            m_journal.noteComplete();
            m_blackBox.noteStarted(bootSummary(m_journal, m_inventory.steps()));
        }
    });
}

bool ApplicationManager::buildAll()
{
    return m_inventory.build(getModuleName(), {m_state, m_bus, m_journal, *this, m_crashes});
}

void ApplicationManager::restart()
{
    Log::debug("restart");
    // Before init() has read the files there is nothing that a restart could bring up to date.
    if (m_initialised && !isExiting()) {
        m_restarts.request(RestartControl::Kind::Rebuild);
    }
}

void ApplicationManager::stopManager()
{
    Log::debug("stopManager");
    m_journal.noteEnding(
        {{History::Key::cause, QString(History::Cause::order)},
         {History::Key::by,
          SupervisionState::isTerminationTaken() ? QStringLiteral("SIGTERM") : QStringLiteral("bus")}});
    m_state.failStart();
    m_state.setEnding();
    exit();
}

void ApplicationManager::endDaemon()
{
    m_journal.noteEnding({{History::Key::cause, QString(History::Cause::files)}});
    stopManager();
}

void ApplicationManager::restartApp()
{
    m_restarts.requestUnlessLocked(m_progression.currentStep());
}

void ApplicationManager::pltfLockReboot(const JovEvent & /*event*/)
{
    Log::debug("ApplicationManager: pltfLockReboot : received event : PLTF_LOCK_REBOOT");
    m_restarts.lock();
}

void ApplicationManager::pltfUnlockReboot(const JovEvent & /*event*/)
{
    // The line names the lock operation in both cases: field tools match it.
    Log::debug("ApplicationManager: pltfLockReboot : received event : PLTF_UNLOCK_REBOOT");
    m_restarts.unlock(m_progression.currentStep());
}

int ApplicationManager::startAll()
{
    return m_control.startAll();
}

int ApplicationManager::stopAll()
{
    return m_control.stopAll();
}

bool ApplicationManager::startModule(const QString &moduleName)
{
    return m_control.startModule(moduleName);
}

bool ApplicationManager::stopModule(const QString &moduleName)
{
    return m_control.stopModule(moduleName);
}

void ApplicationManager::restartModule(const QString &moduleName)
{
    m_control.restartModule(moduleName);
}

void ApplicationManager::restartModule(const QStringList &moduleList)
{
    m_control.restartModules(moduleList);
}

void ApplicationManager::restartPresentation()
{
    Log::debug("restartPresentation");
    Log::warning("Method restartPresentation is only accessible for host simulator");
}

void ApplicationManager::setAdminPasswd(const QString &cmdLine)
{
    Log::debug("setAdminPasswd %1", cmdLine);
    const QByteArray command = cmdLine.toLatin1();
    Log::warning("%1", QString::fromLatin1(command));
    qor_system(command);
}

int ApplicationManager::getStepInfra()
{
    return m_state.initInProgress() ? m_progression.currentStep() : -1;
}

ListApplicationConfig ApplicationManager::getApplicationsForSettingsDeployment()
{
    return m_inventory.catalogue().getApplicationsForSettingsDeployment(m_ownRecord);
}

ListApplicationConfig ApplicationManager::getModulesList()
{
    return m_inventory.catalogue().getModulesList();
}

QString ApplicationManager::getModulesListInString()
{
    return m_inventory.catalogue().getModulesListInString();
}

ListApplicationConfig ApplicationManager::getApplicationsList()
{
    return m_inventory.catalogue().getApplicationsList();
}

QString ApplicationManager::getApplicationsListInString()
{
    return m_inventory.catalogue().getApplicationsListInString();
}

int ApplicationManager::getMemoryUsage(const QString &moduleName, const QString &file, const QString &memmory)
{
    Log::debug("getMemoryUsage %1", moduleName);
    return m_procReader.getMemoryUsage(m_inventory.catalogue().getApplicationID(moduleName), file, memmory);
}

int ApplicationManager::getFreeMemory()
{
    return m_procReader.getFreeMemory();
}

int ApplicationManager::getTotalMemory()
{
    return m_procReader.getTotalMemory();
}

double ApplicationManager::getCpuUsage(const QString &moduleName)
{
    // Each measurement holds up the end for two seconds, and calls can be queued.
    if (m_state.isEnding()) {
        return 0;
    }
    return m_procReader.getCpuUsage(m_inventory.catalogue().getApplicationID(moduleName));
}

bool ApplicationManager::enoughMemory()
{
    return ::enoughMemory(m_inventory.catalogue(), m_procReader);
}

ListSetting ApplicationManager::monitoringSettingsChanged(const Setting &setting)
{
    m_settings.monitoringSettingsChanged(setting);
    return {};
}
