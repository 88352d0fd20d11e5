#include "initstep/Forest.h"

#include "catalogue/ApplicationRecord.h"
#include "initstep/InitStep.h"
#include "module/WebClient.h"

#include <jov/Log.h>

#include <QVector>

namespace {

// A ladder of diamonds has millions of branches; past this many a step's log lines say no more.
constexpr int branchLinesCeiling = 10000;

} // namespace

bool Forest::build()
{
    const QStringList names = m_step.applications.keys();
    for (const QString &name : names) {
        if (m_done.contains(name)) {
            continue;
        }
        const bool sound = descend(name);
        if (Log::enabled(JovLogger::Debug)) {
            logBranches(name);
        }
        if (!sound) {
            Log::error("%1", m_failure);
            return false;
        }
    }
    return true;
}

// Depth first along the dependencies in their order, which is the order in which the branches would come.
bool Forest::descend(const QString &head)
{
    if (!enter(head)) {
        return false;
    }
    while (!m_path.isEmpty()) {
        Level &top = m_path.last();
        if (top.next == top.dependencies.size()) {
            leave();
            continue;
        }
        const QString dependency = top.dependencies.at(top.next++);
        if (m_onPath.contains(dependency)) {
            m_failure = QStringLiteral("[InitStep] Module cyclic dependencies : ")
                + (path() << dependency).join(QLatin1Char(';'));
            return false;
        }
        if (!m_done.contains(dependency) && !enter(dependency)) {
            return false;
        }
    }
    return true;
}

bool Forest::enter(const QString &name)
{
    const ApplicationRecord *record = m_step.applications.value(name);
    if (!record) {
        m_failure = QStringLiteral("[InitStep] Module '%1' dependency failed with '%2'").arg(m_path.last().name, name);
        return false;
    }
    m_path.append({name, record->getDependencies()});
    m_onPath.insert(name);
    return true;
}

// All chains from this module are valid: its node and its links are made, and it is not entered again.
void Forest::leave()
{
    const Level level = m_path.takeLast();
    m_onPath.remove(level.name);
    m_done.insert(level.name);
    Module &module = node(level.name);
    if (level.dependencies.isEmpty()) {
        m_step.roots.append(&module);
    }
    for (const QString &dependency : level.dependencies) {
        Module &parent = node(dependency);
        parent.addSon(&module);
        module.addParent(&parent);
    }
}

Module &Forest::node(const QString &name)
{
    std::unique_ptr<Module> &slot = m_step.nodes[name];
    if (!slot) {
        slot = makeModule(m_step.applications.value(name), m_context);
    }
    return *slot;
}

QStringList Forest::path() const
{
    QStringList names;
    for (const Level &level : m_path) {
        names << level.name;
    }
    return names;
}

// One line a branch, up to the first branch that fails; only at the debug level.
void Forest::logBranches(const QString &head) const
{
    QStringList branch{head};
    QVector<int> next{0};
    int lines = 0;
    while (!branch.isEmpty() && lines < branchLinesCeiling) {
        const ApplicationRecord *record = m_step.applications.value(branch.last());
        if (!record) {
            return;
        }
        const QStringList dependencies = record->getDependencies();
        if (dependencies.isEmpty()) {
            Log::debug("[InitStep] Branch ok : %1", branch.join(QLatin1Char(';')));
            ++lines;
        }
        if (next.last() == dependencies.size()) {
            branch.removeLast();
            next.removeLast();
            continue;
        }
        const QString &dependency = dependencies.at(next.last()++);
        if (branch.contains(dependency)) {
            return;
        }
        branch.append(dependency);
        next.append(0);
    }
    if (lines == branchLinesCeiling) {
        Log::debug("[InitStep] more branches below %1 are not listed", head);
    }
}
