// The operations that start and stop: slots of the facade, reached from the bus, from events and from the parts.

#include "catalogue/Saturated.h"
#include "manager/ApplicationManager.h"

#include <jov/JovProcess.h>
#include <jov/Log.h>

int ApplicationManager::startAll()
{
    Log::debug("startAll");
    m_remoteDisplayArmed = false;
    qint64 count = 0;
    for (InitStep *step = m_steps.firstStep; step; step = step->getNext()) {
        Log::debug("Starting step %1", step->getName());
        if (startFailed()) {
            Log::debug("[AppMgr.startall] interrupted because stopping");
            break;
        }
        count += step->startAll(false);
    }
    return saturated(count);
}

int ApplicationManager::stopAll()
{
    Log::debug("stopAll");
    m_startFailed = true;
    m_remoteDisplayArmed = false;
    m_journal.noteStopAll();
    ++m_stopGeneration;
    ++m_stopWalks;
    int count = 0;
    for (InitStep *step = m_steps.last(); step; step = step->getPrev()) {
        Log::debug("Stopping step %1", step->getName());
        count += step->stopAll(false);
    }
    --m_stopWalks;
    return count;
}

void ApplicationManager::restart()
{
    Log::debug("restart");
    // Before init() has read the files there is nothing that a restart could bring up to date.
    if (m_initialised) {
        m_restarts.request(RestartControl::Kind::Rebuild);
    }
}

void ApplicationManager::stopManager()
{
    Log::debug("stopManager");
    m_startFailed = true;
    exit();
}

void ApplicationManager::restartApp()
{
    m_restarts.requestUnlessLocked(m_progression.currentStep());
}

void ApplicationManager::_restartAll()
{
    Log::debug("Call of _restartAll() by restartApp()");
    m_restarts.request(RestartControl::Kind::StartAgain);
}

void ApplicationManager::pltfLockReboot(const JovEvent &)
{
    Log::debug("ApplicationManager: pltfLockReboot : received event : PLTF_LOCK_REBOOT");
    m_restarts.lock();
}

void ApplicationManager::pltfUnlockReboot(const JovEvent &)
{
    // The line names the lock operation in both cases: field tools match it.
    Log::debug("ApplicationManager: pltfLockReboot : received event : PLTF_UNLOCK_REBOOT");
    m_restarts.unlock(m_progression.currentStep());
}

InitStep *ApplicationManager::getInitStepOfModule(const QString &name)
{
    const ApplicationRecord *record = m_catalogue.find(name);
    if (!record) {
        Log::warning("getInitStepOfModule %1: module not in map", name);
        return nullptr;
    }
    const QString stepName = record->getInitStep();
    if (stepName.isEmpty()) {
        Log::warning("getInitStepOfModule %1: module config not ok :%2", name, record->getState());
        return nullptr;
    }
    InitStep *step = m_steps.getStepByName(stepName);
    if (!step) {
        Log::warning("getInitStepOfModule %1: step %2 does not exist", name, stepName);
    }
    return step;
}

bool ApplicationManager::startModule(const QString &moduleName)
{
    Log::debug("startModule %1", moduleName);
    InitStep *step = getInitStepOfModule(moduleName);
    return step && step->startApplication(moduleName);
}

bool ApplicationManager::stopModule(const QString &moduleName)
{
    Log::debug("stopModule %1", moduleName);
    InitStep *step = getInitStepOfModule(moduleName);
    return step && step->stopApplication(moduleName, true);
}

bool ApplicationManager::stopModuleAlone(const QString &moduleName)
{
    InitStep *step = getInitStepOfModule(moduleName);
    return step && step->stopApplication(moduleName, false);
}

void ApplicationManager::restartModule(const QString &moduleName)
{
    Log::debug("Restarting module %1", moduleName);
    if (InitStep *step = getInitStepOfModule(moduleName)) {
        step->stopApplication(moduleName, false);
        step->startApplication(moduleName);
    }
}

void ApplicationManager::restartModule(const QStringList &moduleList)
{
    Log::debug("Restarting module List ");
    for (const QString &moduleName : moduleList) {
        if (startsRefused()) {
            return;
        }
        restartModule(moduleName);
    }
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

void ApplicationManager::slot_init_step(int stepNum)
{
    m_progression.goTo(stepNum);
}

void ApplicationManager::checkMandatorySettingsSuccess(const JovEvent &event)
{
    m_mandatorySettings.answered(event);
}
