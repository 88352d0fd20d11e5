#include "initstep/InitStep.h"

#include "catalogue/ApplicationRecord.h"
#include "catalogue/Saturated.h"
#include "initstep/Forest.h"
#include "initstep/LaunchAhead.h"
#include "initstep/StartWalk.h"
#include "initstep/StopWalk.h"
#include "supervision/SupervisionObserver.h"
#include "supervision/SupervisionState.h"

#include <jov/Log.h>

#include <QElapsedTimer>
#include <QVector>

InitStep::InitStep(const QString &name, int value, bool showHomepage)
    : m_name(name)
    , m_value(value)
    , m_showHomepage(showHomepage)
{
    Log::debug("[InitStep]Add step '%1'", name);
}

InitStep::~InitStep()
{
    Log::debug("remove step %1", m_name);
}

void InitStep::insertApplication(ApplicationRecord *record)
{
    if (record->getType() == ApplicationType::Module) {
        applications.insert(record->getName(), record);
    }
}

bool InitStep::buildTree(const ModuleContext &context)
{
    Log::debug("building %1 tree with %2", m_name, [this] { return applications.keys().join(QLatin1Char(';')); });
    if (!Forest(*this, context).build()) {
        return false;
    }
    Log::debug("[InitStep] building %1 tree modules OK", m_name);
    return true;
}

int InitStep::startAll(const StartContext &context)
{
    Log::debug("[InitStep] StartingAll init step %1", m_name);
    QElapsedTimer timer;
    timer.start();
    if (m_showHomepage) {
        context.homePage.starting();
    }
    context.observer.noteStepStarted(m_name);
    if (m_parallel) {
        context.ahead.beginStep(*this);
    }
    const qint64 count = startForest(context.state);
    context.ahead.endStep(*this);
    if (context.state.startFailed()) {
        Log::debug("[initStep.start all] interrupted because stopping");
        return saturated(count);
    }
    if (m_showHomepage) {
        Log::debug("[InitStep] Show homepage");
        context.homePage.started();
    }
    Log::info("[InitStep] step %1 started in %2", m_name, timer.elapsed());
    context.observer.noteStepDone(m_name, m_value);
    return saturated(count);
}

qint64 InitStep::startForest(const SupervisionState &state)
{
    StartWalk walk(*this, state);
    qint64 count = 0;
    for (Module *root : qAsConst(roots)) {
        Log::debug("root Elem %1", root->getName());
        if (state.startFailed()) {
            break;
        }
        count += walk.start(*root);
    }
    return count;
}

bool InitStep::startApplication(const QString &name)
{
    Module *node = nodes[name].get();
    if (!node || !canStart(*node)) {
        return false;
    }
    // What came of the start shows in the module's state.
    node->start();
    return true;
}

bool InitStep::canStart(const Module &node, bool inWalk) const
{
    // On the production line modules are tried one by one, without what they depend on.
    if (qEnvironmentVariableIsSet("INDUSTRIAL_APPMODE")) {
        return true;
    }
    bool allRunning = true;
    const Application::Map parents = node.getParents();
    for (const Application *parent : parents) {
        const bool launchedAhead = inWalk && static_cast<const Module *>(parent)->isBegunAhead();
        if (parent->getState() != ModuleState::Running || launchedAhead) {
            Log::warning("[InitStep]Cannot be started: %1 because of %2", node.getName(), parent->getName());
            allRunning = false;
        }
    }
    return allRunning;
}

int InitStep::stopAll(bool recursive)
{
    // The last one first. Not by recursion: a file can list tens of thousands, and stops wait inside each other.
    QVector<InitStep *> steps{this};
    while (recursive && steps.constLast()->m_next) {
        steps.append(steps.constLast()->m_next);
    }
    qint64 count = 0;
    for (auto step = steps.crbegin(); step != steps.crend(); ++step) {
        count += (*step)->stopForest();
    }
    return saturated(count);
}

qint64 InitStep::stopForest()
{
    Log::debug("[InitStep] StoppingAll init step %1", m_name);
    QElapsedTimer timer;
    timer.start();
    StopWalk walk(m_parallel ? roots : QList<Module *>());
    qint64 count = 0;
    for (Module *root : qAsConst(roots)) {
        Log::debug("root Elem %1", root->getName());
        count += walk.stop(*root);
    }
    Log::info("[InitStep] step %1 stopped in %2 ms", m_name, timer.elapsed());
    return count;
}

bool InitStep::stopApplication(const QString &name, bool withDependents)
{
    Module *node = nodes[name].get();
    if (!node) {
        return false;
    }
    if (!withDependents) {
        node->stop();
        return true;
    }
    if (m_next) {
        m_next->stopAll(true);
    }
    StopWalk(m_parallel ? QList<Module *>{node} : QList<Module *>()).stop(*node);
    return true;
}
