#include "module/Application.h"

#include "catalogue/ApplicationRecord.h"

namespace {

void addTo(Application::Map &map, Application *node)
{
    if (node && !map.contains(node->getName())) {
        map.insert(node->getName(), node);
    }
}

} // namespace

Application::Application(ApplicationRecord *record)
    : config(record)
{ }

Application::~Application()
{
    const QString name = getName();
    for (Application *son : qAsConst(sons)) {
        son->removeParent(name);
    }
    for (Application *parent : qAsConst(parents)) {
        parent->removeSon(name);
    }
}

QString Application::getName() const
{
    return config ? config->getName() : QString();
}

bool Application::isModule() const
{
    return config && config->getType() == ApplicationType::Module;
}

ModuleState Application::getState() const
{
    return config ? config->getModuleState() : ModuleState::None;
}

void Application::setState(ModuleState state)
{
    if (config) {
        config->setModuleState(state);
    }
}

void Application::setStatus(const QString &status)
{
    if (config) {
        config->setStatus(status);
    }
}

void Application::addParent(Application *node)
{
    addTo(parents, node);
}

void Application::addSon(Application *node)
{
    addTo(sons, node);
}

void Application::removeParent(const QString &name)
{
    parents.remove(name);
}

void Application::removeSon(const QString &name)
{
    sons.remove(name);
}
