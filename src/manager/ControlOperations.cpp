#include "manager/ControlOperations.h"

#include "catalogue/Saturated.h"
#include "initstep/LaunchAhead.h"
#include "manager/Inventory.h"
#include "manager/Journal.h"
#include "supervision/SupervisionState.h"

#include <jov/Log.h>

#include <limits>

int ControlOperations::startAll()
{
    Log::debug("startAll");
    constexpr int lowest = std::numeric_limits<int>::min();
    constexpr int highest = std::numeric_limits<int>::max();
    LaunchAhead::Walk walk(m_context.ahead, lowest, highest);
    walk.allowUpTo(highest);
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
    m_context.ahead.clear();
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
    // It stops the later steps, too, and nothing may be launched there meanwhile.
    m_context.ahead.clear();
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
