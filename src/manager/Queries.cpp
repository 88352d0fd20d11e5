// The operations that answer questions, and those that hand over to the watchdog: slots of the facade.

#include "manager/ApplicationManager.h"
#include "monitoring/ApplicationMemory.h"

#include <jov/Log.h>

int ApplicationManager::getStepInfra()
{
    return m_initInProgress ? m_progression.currentStep() : -1;
}

ListApplicationConfig ApplicationManager::getApplicationsForSettingsDeployment()
{
    return m_catalogue.getApplicationsForSettingsDeployment(m_ownRecord);
}

ListApplicationConfig ApplicationManager::getModulesList()
{
    return m_catalogue.getModulesList();
}

QString ApplicationManager::getModulesListInString()
{
    return m_catalogue.getModulesListInString();
}

ListApplicationConfig ApplicationManager::getApplicationsList()
{
    return m_catalogue.getApplicationsList();
}

QString ApplicationManager::getApplicationsListInString()
{
    return m_catalogue.getApplicationsListInString();
}

int ApplicationManager::getMemoryUsage(const QString &moduleName, const QString &file, const QString &memmory)
{
    Log::debug("getMemoryUsage %1", moduleName);
    return m_procReader.getMemoryUsage(m_catalogue.getApplicationID(moduleName), file, memmory);
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
    if (isEnding()) {
        return 0;
    }
    return m_procReader.getCpuUsage(m_catalogue.getApplicationID(moduleName));
}

bool ApplicationManager::enoughMemory()
{
    return ::enoughMemory(m_catalogue, m_procReader);
}

ListSetting ApplicationManager::monitoringSettingsChanged(const Setting &setting)
{
    m_settings.monitoringSettingsChanged(setting);
    return {};
}

void ApplicationManager::startMonitoring()
{
    m_watchdog.startMonitoring();
}

void ApplicationManager::stopMonitoring()
{
    m_watchdog.stopMonitoring();
}

void ApplicationManager::checkMemory()
{
    m_watchdog.checkMemory();
}

void ApplicationManager::restartOutOfMemoryModules()
{
    m_watchdog.restartOutOfMemoryModules();
}

void ApplicationManager::getMonitoringSettings()
{
    m_settings.getMonitoringSettings();
}
