#include "manager/ControlOperations.h"

#include "catalogue/Saturated.h"
#include "manager/Inventory.h"
#include "manager/Journal.h"
#include "supervision/SupervisionState.h"

#include <jov/Log.h>

int ControlOperations::startAll()
{
    Log::debug("startAll");
    qint64 count = 0;
    for (InitStep *step = m_inventory.steps().firstStep; step; step = step->getNext()) {
        Log::debug("Starting step %1", step->getName());
        if (m_state.startFailed()) {
            Log::debug("[AppMgr.startall] interrupted because stopping");
            break;
        }
        count += step->startAll(m_context);
    }
    return saturated(count);
}

int ControlOperations::stopAll()
{
    Log::debug("stopAll");
    m_state.beginStop();
    m_journal.noteStopAll();
    int count = 0;
    for (InitStep *step = m_inventory.steps().last(); step; step = step->getPrev()) {
        Log::debug("Stopping step %1", step->getName());
        count += step->stopAll(false);
    }
    m_state.endStop();
    return count;
}

void ControlOperations::rebootComes(const QVariantMap &reason)
{
    m_journal.noteReboot(reason);
}

void ControlOperations::rebootRefused()
{
    m_journal.noteUntakenReboot();
}

void ControlOperations::rebootAccepted()
{
    m_state.noteRebootRequest();
}

bool ControlOperations::startModule(const QString &moduleName)
{
    Log::debug("startModule %1", moduleName);
    InitStep *step = m_inventory.getInitStepOfModule(moduleName);
    return step && step->startApplication(moduleName);
}

bool ControlOperations::stopModule(const QString &moduleName)
{
    Log::debug("stopModule %1", moduleName);
    InitStep *step = m_inventory.getInitStepOfModule(moduleName);
    return step && step->stopApplication(moduleName, true);
}

bool ControlOperations::stopModuleAlone(const QString &moduleName)
{
    InitStep *step = m_inventory.getInitStepOfModule(moduleName);
    return step && step->stopApplication(moduleName, false);
}

void ControlOperations::restartModule(const QString &moduleName)
{
    Log::debug("Restarting module %1", moduleName);
    if (InitStep *step = m_inventory.getInitStepOfModule(moduleName)) {
        step->stopApplication(moduleName, false);
        step->startApplication(moduleName);
    }
}

void ControlOperations::restartModules(const QStringList &moduleNames)
{
    Log::debug("Restarting module List ");
    for (const QString &moduleName : moduleNames) {
        if (m_state.startsRefused()) {
            return;
        }
        restartModule(moduleName);
    }
}
