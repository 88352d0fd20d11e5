#include "manager/Inventory.h"

#include "initstep/EarlyMistakes.h"
#include "initstep/InitStepFile.h"

#include <jov/Log.h>
#include <jov/SettingsParam.h>

void Inventory::readMemorySize()
{
    QString ddrSize;
    if (settings_get_param(PlatformKey::memorySize, ddrSize) >= 0 && !ddrSize.isEmpty()) {
        m_ddrSize = ddrSize;
    }
}

bool Inventory::build(const QString &ownName, const ModuleContext &context)
{
    if (!parseInitStep(m_steps, ownName)) {
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
        if (!step->buildTree(context)) {
            Log::warning("Error while building %1 tree", step->getName());
            return false;
        }
    }
    warnOfEarlyMistakes(m_catalogue);
    return true;
}

void Inventory::clear()
{
    Log::debug("Clear all lists");
    m_steps.clearInitSteps();
    m_catalogue.clearApplications();
}

InitStep *Inventory::getInitStepOfModule(const QString &name)
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
