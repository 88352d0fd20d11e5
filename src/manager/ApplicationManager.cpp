#include "manager/ApplicationManager.h"

#include "initstep/InitStepFile.h"
#include "manager/ApplicationManagerAdaptor.h"
#include "manager/Inspection.h"

#include <jov/Log.h>
#include <jov/SettingsParam.h>

#include <atomic>

namespace {

const QString lockEvent = QStringLiteral("PLTF_LOCK_REBOOT");
const QString unlockEvent = QStringLiteral("PLTF_UNLOCK_REBOOT");
const QString presentationReadyEvent = QStringLiteral("presentationReady");

std::unique_ptr<ApplicationManager> &singleton()
{
    static std::unique_ptr<ApplicationManager> manager;
    return manager;
}

std::atomic<bool> terminationTaken{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the flag is set in a signal handler");

} // namespace

ApplicationManager::ApplicationManager(const Timing &timing)
    : SupervisingComponent(QStringLiteral("ApplicationManager"))
    , m_timing(timing)
    , m_steps(*this)
    , m_watchdog(*this, m_catalogue, m_procReader, timing.watchdog)
    , m_settings(*this, m_watchdog)
    , m_restarts(*this)
    , m_mandatorySettings(*this)
    , m_progression(*this, m_steps)
{ }

ApplicationManager::~ApplicationManager()
{
    clearAllLists();
}

ApplicationManager &ApplicationManager::instance()
{
    if (!singleton()) {
        create(Timing());
    }
    return *singleton();
}

void ApplicationManager::create(const Timing &timing)
{
    singleton() = std::make_unique<ApplicationManager>(timing);
}

void ApplicationManager::destroy()
{
    singleton().reset();
}

void ApplicationManager::noteTermination() noexcept
{
    terminationTaken.store(true);
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
    QString ddrSize;
    if (settings_get_param(QStringLiteral("FAB_HW_DDRSIZE"), ddrSize) >= 0 && !ddrSize.isEmpty()) {
        m_ddrSize = ddrSize;
    }
    if (!buildAll()) {
        return false;
    }
    registerDBusApplicationConfig();
    registerDBusSetting();
    subscribeEvent(lockEvent, this, SLOT(pltfLockReboot(JovEvent)));
    if (!subscribeEvent(unlockEvent, this, SLOT(pltfUnlockReboot(JovEvent)))) {
        Log::debug("Application manager Erreur subcribe event PLTF_UNLOCK_REBOOT");
    }
    m_adaptor = new ApplicationManagerAdaptor(this);
    Inspection::create(*this);
    m_initialised = true;
    Log::info("Init done in %1 ms", m_timer.elapsed());
    return true;
}

bool ApplicationManager::init_step()
{
    Log::debug("run");
    m_progression.begin();
    return true;
}

bool ApplicationManager::stop()
{
    m_timer.restart();
    Log::debug("stop");
    unsubscribeEvent(lockEvent, this, SLOT(pltfLockReboot(JovEvent)));
    unsubscribeEvent(unlockEvent, this, SLOT(pltfUnlockReboot(JovEvent)));
    m_startFailed = true;
    m_watchdog.cancel();
    stopAll();
    // Where frames of walks are still on the stack the destructor does it, after they have returned with the loop.
    if (m_waits.depth() == 0) {
        clearAllLists();
    }
    return true;
}

/// A new start: nothing has failed, nothing is checked yet.
void ApplicationManager::beginStart()
{
    m_startFailed = false;
    m_initInProgress = true;
    m_remoteDisplayArmed = false;
    m_mandatorySettings.reset();
    m_journal.noteStart(m_initialised);
}

void ApplicationManager::resumeProgression()
{
    m_progression.resumeAfterRestart();
}

bool ApplicationManager::buildAll()
{
    if (!parseInitStep(m_steps, getModuleName())) {
        return false;
    }
    const auto place = [this](ApplicationRecord &record) {
        if (InitStep *step = m_steps.getStepByName(record.getInitStep())) {
            step->insertApplication(&record);
        } else {
            Log::warning("Module %1 : step '%2' does not exist, not started", record.getName(), record.getInitStep());
        }
    };
    if (!m_catalogue.scanApplications(ApplicationType::Module, m_ddrSize, place)) {
        return false;
    }
    for (InitStep *step = m_steps.firstStep; step; step = step->getNext()) {
        if (!step->buildTree()) {
            Log::warning("Error while building %1 tree", step->getName());
            return false;
        }
    }
    return true;
}

void ApplicationManager::clearAllLists()
{
    Log::debug("Clear all lists");
    m_steps.clearInitSteps();
    m_catalogue.clearApplications();
}

bool ApplicationManager::startFailed() const
{
    return m_startFailed || terminationTaken.load();
}

void ApplicationManager::rebootRequested()
{
    m_startFailed = true;
    m_initInProgress = false;
}

bool ApplicationManager::isEnding() const
{
    return isExiting() || terminationTaken.load();
}

bool ApplicationManager::startsRefused() const
{
    return isEnding() || restartPending() || m_stopWalks > 0;
}

void ApplicationManager::init_message(const QString &message)
{
    notifyEvent(QStringLiteral("init_message"), {{QStringLiteral("message"), message}});
}

void ApplicationManager::endOfInit()
{
    notifyEvent(QStringLiteral("end_of_init"), QVariantMap());
    if (m_initInProgress) {
        getMonitoringSettings();
    }
    m_initInProgress = false;
    m_journal.noteEndOfInit();
    startMonitoring();
}

void ApplicationManager::homepageStarting()
{
    // Here the presentation side of the start-up begins: a remote display may announce itself from now on.
    subscribeEvent(presentationReadyEvent, this, SLOT(remoteDisplayPresentationready(JovEvent)));
}

void ApplicationManager::remoteDisplayPresentationready(const JovEvent &)
{
    if (m_remoteDisplayArmed) {
        endOfInit();
    } else {
        unsubscribeEvent(presentationReadyEvent, this, SLOT(remoteDisplayPresentationready(JovEvent)));
    }
}
