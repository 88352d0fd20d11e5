#include "manager/StartupProgression.h"

#include "contract/Events.h"
#include "contract/Steps.h"
#include "initstep/InitStepChain.h"
#include "initstep/LaunchAhead.h"
#include "manager/MandatorySettings.h"
#include "manager/ParentReport.h"
#include "supervision/BusAccess.h"
#include "supervision/SupervisionState.h"

#include <jov/Log.h>

#include <utility>

namespace {

/// Numbers up to this one are announced to the platform, whether a step carries them or not.
constexpr int lastAnnounced = 6;
/// A gap between two steps that is wider is skipped at once instead of number by number.
constexpr int widestGap = 10000;

const char *const initStepSlot = SLOT(slot_init_step(int));

void logNotManaged(int stepNum, int currentStep)
{
    Log::debug("InitStep: %1 (current=%2) not managed", stepNum, currentStep);
}

} // namespace

void StartupProgression::begin(int target)
{
    m_currentStep = 0;
    m_bus.subscribeEvent(Events::initStep, this, initStepSlot);
    slot_init_step(target);
}

void StartupProgression::slot_init_step(int stepNum)
{
    // The boot sequence does not repeat an event that comes during a restart.
    if (!m_underWay && !m_state.restarting()) {
        m_underWay = true;
        drive(stepNum);
        m_underWay = false;
    } else if (stepNum > m_currentStep) {
        m_held = qMax(m_held.value_or(stepNum), stepNum);
    } else {
        logNotManaged(stepNum, m_currentStep);
    }
}

void StartupProgression::drive(int stepNum)
{
    for (std::optional<int> target = stepNum; target; target = nextTarget()) {
        if (*target <= m_currentStep) {
            logNotManaged(*target, m_currentStep);
            continue;
        }
        const InitStep *last = m_steps.last();
        Log::debug("InitStep: %1 (prev:%2 max:%3)", *target, m_currentStep, last ? last->getValue() : 0);
        if (!pass(m_currentStep + 1, *target)) {
            return;
        }
        passDone(*target);
    }
}

std::optional<int> StartupProgression::nextTarget()
{
    if (m_held) {
        const std::optional<int> held = m_held;
        m_held.reset();
        return held;
    }
    const InitStep *last = m_steps.last();
    if (!m_byItself || !last || last->getValue() <= m_currentStep) {
        return std::nullopt;
    }
    const InitStep *above = m_steps.getStepAbove(m_currentStep);
    const bool wideGap = above && qint64(above->getValue()) - m_currentStep > widestGap;
    return wideGap ? above->getValue() : m_currentStep + 1;
}

bool StartupProgression::pass(int from, int target)
{
    LaunchAhead::Walk walk(m_context.ahead, from, target);
    walk.allowUpTo(m_mandatorySettings.isDone() ? target : qMin(target, Steps::firstOwn - 1));
    for (qint64 number = from; number <= target; number = following(int(number), target)) {
        const int n = int(number);
        m_currentStep = n;
        if (n <= lastAnnounced) {
            m_bus.notifyEvent(Events::initStepInfra, {{Events::numStep, n}});
        }
        if (m_state.startFailed()) {
            interrupted(target);
            return false;
        }
        if (!m_mandatorySettings.isDone() && n >= Steps::firstOwn) {
            m_mandatorySettings.check();
            walk.allowUpTo(target);
        }
        if (InitStep *step = m_steps.getStepByValue(n)) {
            step->startAll(m_context);
            Log::debug("initStepDone: %1", n);
        }
    }
    // A restart can have interrupted the very last step of the pass.
    if (m_state.restartPending()) {
        interrupted(target);
        return false;
    }
    return true;
}

/// The number after this one: numbers without an effect are skipped at once, even two billion of them.
qint64 StartupProgression::following(int number, int target) const
{
    if (number < lastAnnounced || m_state.startFailed()) {
        return qint64(number) + 1;
    }
    const InitStep *above = m_steps.getStepAbove(number);
    return above ? above->getValue() : qint64(target) + 1;
}

void StartupProgression::interrupted(int target)
{
    Log::debug("[AppMgr.init_step] interrupted because stopping");
    if (m_state.restartPending()) {
        m_interruptedTarget = target;
        return;
    }
    m_bus.unsubscribeEvent(Events::initStep, this, initStepSlot);
    if (m_mandatorySettings.hasFailed()) {
        // The boot script must learn of it, or it would wait for ever.
        report();
    }
    m_held.reset();
}

void StartupProgression::passDone(int target)
{
    m_currentStep = target;
    report();
    if (target >= Steps::firstOwn && !m_byItself) {
        m_byItself = true;
        m_bus.unsubscribeEvent(Events::initStep, this, initStepSlot);
    }
}

void StartupProgression::resumeAfterRestart()
{
    if (m_underWay || (!m_interruptedTarget && !m_held)) {
        return;
    }
    m_underWay = true;
    const std::optional<int> target = std::exchange(m_interruptedTarget, std::nullopt);
    if (!target || pass(m_currentStep, *target)) {
        if (target) {
            passDone(*target);
        }
        if (const std::optional<int> next = nextTarget()) {
            drive(*next);
        }
    }
    m_underWay = false;
}

void StartupProgression::report()
{
    m_parentReport.send(m_state.startFailed());
}
