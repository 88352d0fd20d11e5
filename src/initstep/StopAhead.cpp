#include "initstep/StopAhead.h"

#include "module/Module.h"

#include <QTimer>

#include <algorithm>

namespace {

bool isReady(const Module &module)
{
    const ModuleState state = module.getState();
    if (!module.isModule() || (state != ModuleState::Running && state != ModuleState::WebClientStarted)) {
        return false;
    }
    const Application::Map sons = module.getSons();
    return std::all_of(sons.cbegin(), sons.cend(),
                       [](const Application *son) { return son->getState() == ModuleState::Stopped; });
}

} // namespace

StopAhead::StopAhead(const QList<Module *> &nodes)
{
    QList<Module *> open = nodes;
    while (!open.isEmpty()) {
        Module *module = open.takeFirst();
        if (m_modules.contains(module)) {
            continue;
        }
        m_modules.insert(module);
        connect(module, &Module::changed, this, [this, module] { note(module); });
        examine(module);
        const Application::Map sons = module->getSons();
        for (Application *son : sons) {
            open << static_cast<Module *>(son);
        }
    }
}

void StopAhead::note(Module *module)
{
    if (module->getState() == ModuleState::Stopped) {
        const Application::Map parents = module->getParents();
        for (Application *parent : parents) {
            examine(static_cast<Module *>(parent));
        }
    }
}

void StopAhead::examine(Module *module)
{
    if (!m_modules.contains(module)) {
        return;
    }
    m_examine << module;
    if (!m_queued) {
        m_queued = true;
        QMetaObject::invokeMethod(this, &StopAhead::stopReady, Qt::QueuedConnection);
    }
}

void StopAhead::stopReady()
{
    m_queued = false;
    while (!m_examine.isEmpty()) {
        Module *module = m_examine.takeFirst();
        if (isReady(*module)) {
            m_begun.insert(module);
            QTimer::singleShot(module->beginStop(), Qt::PreciseTimer, this, [module] { module->expireStop(); });
        }
    }
}
