#include "manager/StartupProgression.h"

#include "initstep/InitStepChain.h"
#include "manager/ApplicationManager.h"

#include <jov/JovRoot.h>
#include <jov/Log.h>

#include <QFile>
#include <QFileInfo>

namespace {

constexpr int allSteps = 999;
constexpr int longestLine = 4096; // bytes
/// Numbers up to this one are announced to the platform, whether a step carries them or not.
constexpr int lastAnnounced = 6;
/// From here on the progression needs no events any more.
constexpr int firstOwnStep = 5;
/// A gap between two steps that is wider is passed over at once instead of number by number.
constexpr int widestGap = 10000;

const QString initStepEvent = QStringLiteral("init_step");

void tellNotManaged(int stepNum, int currentStep)
{
    Log::debug("InitStep: %1 (current=%2) not managed", stepNum, currentStep);
}

} // namespace

int readStepFile(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        Log::warning("No Step file");
        return allSteps;
    }
    QFile file(path);
    if (!info.isFile() || !file.open(QIODevice::ReadOnly)) {
        Log::warning("Step file Not readable");
        return allSteps;
    }
    // Two more: readLine() counts a NUL behind the text.
    QByteArray line = file.readLine(longestLine + 2);
    if (line.endsWith('\n')) {
        line.chop(1);
    }
    // The text ends at a NUL byte.
    line.truncate(int(qstrlen(line.constData())));
    if (line.size() > longestLine) {
        Log::warning("Step file Not readable");
        return allSteps;
    }
    const QString text = QString::fromLocal8Bit(line);
    Log::debug("Step file ==> %1", text);
    return text.trimmed().toInt();
}

void StartupProgression::begin()
{
    m_currentStep = 0;
    const int target = readStepFile(JovRoot::rooted(QStringLiteral("/tmp/step")));
    m_manager.subscribeEvent(initStepEvent, &m_manager, SLOT(slot_init_step(int)));
    m_manager.slot_init_step(target);
}

void StartupProgression::goTo(int stepNum)
{
    // A pass that a restart interrupted is under way, too: the boot sequence does not repeat its events.
    if (!m_underWay && !m_interruptedTarget) {
        m_underWay = true;
        drive(stepNum);
        m_underWay = false;
    } else if (stepNum > m_currentStep) {
        m_held = qMax(m_held.value_or(stepNum), stepNum);
    } else {
        tellNotManaged(stepNum, m_currentStep);
    }
}

void StartupProgression::drive(int stepNum)
{
    for (std::optional<int> target = stepNum; target; target = nextTarget()) {
        if (*target <= m_currentStep) {
            tellNotManaged(*target, m_currentStep);
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
    for (qint64 number = from; number <= target; number = following(int(number), target)) {
        const int n = int(number);
        m_currentStep = n;
        if (n <= lastAnnounced) {
            m_manager.notifyEvent(QStringLiteral("init_step_infra"), {{QStringLiteral("num_step"), n}});
        }
        if (m_manager.startFailed()) {
            interrupted(target);
            return false;
        }
        if (!m_manager.mandatorySettings().isDone() && n >= firstOwnStep) {
            m_manager.mandatorySettings().check();
        }
        if (InitStep *step = m_steps.getStepByValue(n)) {
            step->startAll(false);
            Log::debug("initStepDone: %1", n);
        }
    }
    // A restart can have interrupted the very last step of the pass.
    if (m_manager.restartPending()) {
        interrupted(target);
        return false;
    }
    return true;
}

/// The number after this one: numbers that nobody can notice are passed over at once, were there two milliards of them.
qint64 StartupProgression::following(int number, int target) const
{
    if (number < lastAnnounced || m_manager.startFailed()) {
        return qint64(number) + 1;
    }
    const InitStep *above = m_steps.getStepAbove(number);
    return above ? above->getValue() : qint64(target) + 1;
}

void StartupProgression::interrupted(int target)
{
    Log::debug("[AppMgr.init_step] interrupted because stopping");
    if (m_manager.restartPending()) {
        m_interruptedTarget = target;
        return;
    }
    m_manager.unsubscribeEvent(initStepEvent, &m_manager, SLOT(slot_init_step(int)));
    if (m_manager.mandatorySettings().hasFailed()) {
        // The boot script must learn of it, or it would wait for ever.
        m_manager.killFather();
    }
    m_held.reset();
}

void StartupProgression::passDone(int target)
{
    m_currentStep = target;
    m_manager.killFather();
    if (target >= firstOwnStep && !m_byItself) {
        m_byItself = true;
        m_manager.unsubscribeEvent(initStepEvent, &m_manager, SLOT(slot_init_step(int)));
    }
}

void StartupProgression::resumeAfterRestart()
{
    if (!m_interruptedTarget || m_underWay) {
        return;
    }
    const int target = *m_interruptedTarget;
    m_interruptedTarget.reset();
    m_underWay = true;
    if (pass(m_currentStep, target)) {
        passDone(target);
        if (const std::optional<int> next = nextTarget()) {
            drive(*next);
        }
    }
    m_underWay = false;
}
